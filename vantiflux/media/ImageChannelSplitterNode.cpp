#include <vantiflux/media/ImageChannelSplitterNode.h>

#include <vantiflux/values/image/ChannelSplit.h>

namespace Vantiflux {

using N = ImageChannelSplitterNode;

template <>
const char* const NodeDescription<N>::typeName_ = "ImageChannelSplitter";
template <>
const char* const NodeDescription<N>::shortDescription_ =
    "Filter that splits images into their red, green, blue and alpha channels.";
template <>
const char* const NodeDescription<N>::longDescription_ =
    "Publishes the channels of each image as images in the format Y800. An image that is not in one of the common RGB "
    "formats is converted first.";
template <>
NodeType NodeDescription<N>::type_(typeName_, &create, author_, shortDescription_, longDescription_, nullptr, 0);

const NodeType* ImageChannelSplitterNode::type() const {
  return &type_;
}

ImageChannelSplitterNode::ImageChannelSplitterNode() {
  attachSlot("Red Channel", red_);
  attachSlot("Green Channel", green_);
  attachSlot("Blue Channel", blue_);
  attachSlot("Alpha Channel", alpha_);
  frameIn_.addListener(*this);
  publishSlots();
}

ImageChannelSplitterNode::~ImageChannelSplitterNode() {
  disable();
  ImageChannelSplitterNode::stop();
}

void ImageChannelSplitterNode::start() {
  if (findInSlot("Frame In", &frameIn_) == nullptr)
    addInSlot("Frame In", &frameIn_);
}

void ImageChannelSplitterNode::stop() {
  removeInSlot("Frame In", &frameIn_);
}

// Two writers may leave one value for two calls: the second finds nothing, and must not wait for it.
void ImageChannelSplitterNode::newData(BasicInSlot&) {
  if (frameIn_.empty())
    return;
  const Data<SmartPtr<Image>> frame = frameIn_.pop();
  Data<SmartPtr<Image>> red(frame), green(frame), blue(frame), alpha(frame);
  for (Data<SmartPtr<Image>>* const plane : {&red, &green, &blue, &alpha})
    plane->getValue().acquire();
  const Image none;
  splitChannels(frame.getValue() ? *frame.getValue() : none,
                {*red.getValue(), *green.getValue(), *blue.getValue(), *alpha.getValue()});
  red_.push(red);
  green_.push(green);
  blue_.push(blue);
  alpha_.push(alpha);
}

} // namespace Vantiflux
