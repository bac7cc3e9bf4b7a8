#include <vantiflux/media/VideoNode.h>

#include <iterator>

#include <vantiflux/core/FieldRow.h>
#include <vantiflux/media/VideoNodeV4L.h>

namespace Vantiflux {

using N = VideoNode;

template <>
const char* const NodeDescription<N>::typeName_ = "Video";
template <>
const char* const NodeDescription<N>::shortDescription_ = "Grabs video frames from frame grabber devices.";
template <>
const char* const NodeDescription<N>::longDescription_ =
    "Publishes the frames of a camera or a frame grabber while somebody uses them. The device is named by its number, "
    "by the path of its file, or by a pattern such as *webcam* for the name of its card.";

template <>
Field NodeDescription<N>::fields_[] = {
    fieldRow<N>("Device",
                "A number starting at 0 specifying the device the Video Node should use to grab video frames.", "0",
                &N::setDevice, &N::getDevice),
    fieldRow<N>("Channel",
                "A number starting at 0 specifying the channel of the device the Video Node should use to grab video "
                "frames. This is used for devices that have more than one input channel (e.g. Composite Video and "
                "S-Video).",
                "0", &N::setChannel, &N::getChannel),
    fieldRow<N>("Width", "The width of the video data in pixels.", "0", &N::setWidth, &N::getWidth),
    fieldRow<N>("Height", "The height of the video data in pixels.", "0", &N::setHeight, &N::getHeight),
    fieldRow<N>("FrameRate", "The framerate (frames per second).", "0", &N::setFrameRate, &N::getFrameRate),
    fieldRow<N>("Format", "The format of the video data", "", &N::setFormat, &N::getFormat),
    fieldRow<N>("FlipX", "Flip the image horizontally (when the hardware supports it).", "false", &N::setFlipX,
                &N::getFlipX),
    fieldRow<N>("FlipY", "Flip the image vertically (when the hardware supports it).", "false", &N::setFlipY,
                &N::getFlipY),
    fieldRow<N>("Trigger", "Use an external hardware trigger (when the hardware supports it).", "false", &N::setTrigger,
                &N::getTrigger),
};
template <>
NodeType NodeDescription<N>::type_(typeName_, &VideoNode::create, author_, shortDescription_, longDescription_, fields_,
                                   std::size(fields_));

const NodeType* VideoNode::type() const {
  return &type_;
}

Node* VideoNode::create() {
  return VideoNodeV4L_create();
}

VideoNode::VideoNode() {
  attachSlot("Frames", frames_);
  publishSlots();
}

VideoNode::~VideoNode() = default;

void VideoNode::trim(std::string& text) {
  constexpr const char* blanks = " \t\r\n";
  text.erase(text.find_last_not_of(blanks) + 1);
  text.erase(0, text.find_first_not_of(blanks));
}

} // namespace Vantiflux
