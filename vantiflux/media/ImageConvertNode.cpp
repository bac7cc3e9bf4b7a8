#include <vantiflux/media/ImageConvertNode.h>

#include <iterator>

#include <vantiflux/core/FieldRow.h>

namespace Vantiflux {

const char* const ImageConvertNode::typeName_ = "ImageConvert";
const char* const ImageConvertNode::author_ = "The Vantiflux developers";
const char* const ImageConvertNode::shortDescription_ = "Converts Video frames to to a given format.";
const char* const ImageConvertNode::longDescription_ =
    "Converts images to luminance (Y800), to colour (RGB24) or to brightness and colour of each pixel (Y444). Which of "
    "them an image becomes depends on its own format as well.";

using N = ImageConvertNode;
Field ImageConvertNode::fields_[] = {
    fieldRow<N>("format", "format to convert to", "Y800", &N::setFormat, &N::getFormat),
};
NodeType ImageConvertNode::type_(typeName_, &ImageConvertNode::create, author_, shortDescription_, longDescription_,
                                 fields_, std::size(fields_));

Node* ImageConvertNode::create() {
  return new ImageConvertNode;
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
