#include <vantiflux/media/ImageFlipNode.h>

#include <iterator>
#include <string>

#include <vantiflux/core/FieldRow.h>
#include <vantiflux/platform/tarsil/Console.h>
#include <vantiflux/values/image/Flip.h>

namespace Vantiflux {

using N = ImageFlipNode;

template <>
const char* const NodeDescription<N>::typeName_ = "ImageFlip";
template <>
const char* const NodeDescription<N>::shortDescription_ = "Flips Video frames.";
template <>
const char* const NodeDescription<N>::longDescription_ =
    "Mirrors images with whole bytes of colour for each pixel, at the horizontal axis, the vertical one, or both.";

template <>
Field NodeDescription<N>::fields_[] = {
    fieldRow<N>("flip_h", "horizontal image flipping", "false", &N::setFlipHorizontal, &N::getFlipHorizontal),
    fieldRow<N>("flip_v", "vertical image flipping", "false", &N::setFlipVertical, &N::getFlipVertical),
};
template <>
NodeType NodeDescription<N>::type_(typeName_, &create, author_, shortDescription_, longDescription_, fields_,
                                   std::size(fields_));

const NodeType* ImageFlipNode::type() const {
  return &type_;
}

ImageFlipNode::ImageFlipNode() : ThreadedImageFilterNode("frames_in", "image input", "frames_out", "image output") {}

ImageFlipNode::~ImageFlipNode() {
  disable();
  endWorker();
}

SmartPtr<Image> ImageFlipNode::transform(SmartPtr<Image>& frame) const {
  if (!frame) {
    frame.acquire();
    frame->setParameters(0, 0, Image::NONE);
  }
  if (!canFlip(frame->format())) {
    Tarsil::printErrorLine("image flip not implemented for image format:" +
                           std::string(Image::format2String(frame->format())));
    return frame;
  }
  const bool horizontal = getFlipHorizontal();
  const bool vertical = getFlipVertical();
  if (!horizontal && !vertical)
    return frame;
  SmartPtr<Image> flipped;
  flipped.acquire();
  flip(*frame, *flipped, horizontal, vertical);
  return flipped;
}

} // namespace Vantiflux
