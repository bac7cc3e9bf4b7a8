#include <vantiflux/media/ImageConvertNode.h>

#include <iterator>

#include <vantiflux/core/FieldRow.h>

namespace Vantiflux {

using N = ImageConvertNode;

template <>
const char* const NodeDescription<N>::typeName_ = "ImageConvert";
template <>
const char* const NodeDescription<N>::shortDescription_ = "Converts Video frames to to a given format.";
template <>
const char* const NodeDescription<N>::longDescription_ =
    "Converts images to luminance (Y800), to colour (RGB24) or to brightness and colour of each pixel (Y444). Which of "
    "them an image becomes depends on its own format as well.";

template <>
Field NodeDescription<N>::fields_[] = {
    fieldRow<N>("format", "format to convert to", "Y800", &N::setFormat, &N::getFormat),
};
template <>
NodeType NodeDescription<N>::type_(typeName_, &create, author_, shortDescription_, longDescription_, fields_,
                                   std::size(fields_));

const NodeType* ImageConvertNode::type() const {
  return &type_;
}

ImageConvertNode::ImageConvertNode()
    : ThreadedImageFilterNode("frame_in", "image input", "frames_out", "image output") {}

ImageConvertNode::~ImageConvertNode() {
  disable();
  endWorker();
}

SmartPtr<Image> ImageConvertNode::transform(SmartPtr<Image>& frame) const {
  const Image none;
  SmartPtr<Image> converted;
  converted.acquire();
  (frame ? *frame : none).convertFormat(Image::string2Format(getFormat()), *converted);
  return converted;
}

} // namespace Vantiflux
