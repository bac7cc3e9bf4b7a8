// What the node's page says about the devices of this system.
#include <vantiflux/media/VideoNodeV4L.h>

#include <vantiflux/platform/xmlwrap/XMLText.h>

namespace Vantiflux {

using Pelorn::VideoDevice;
using XMLWrap::escapeText;

namespace {

// As many as the kernel has numbers for; there may be gaps between them.
constexpr unsigned long deviceLimit = 256;

std::string codeText(std::uint32_t pixelFormat) {
  std::string text;
  for (unsigned i = 0; i < 4; ++i) {
    const auto byte = static_cast<unsigned char>(pixelFormat >> (8 * i));
    text += byte >= 0x20 && byte < 0x7f ? static_cast<char>(byte) : '?';
  }
  return text;
}

std::string describeDevices() {
  std::string text;
  for (unsigned long i = 0; i < deviceLimit; ++i) {
    VideoDevice device;
    std::string card;
    if (device.open(VideoDevice::path(i)) && device.queryCapability(card))
      text += "Device " + std::to_string(i) + ": " + escapeText(card) + " (device file = " + VideoDevice::path(i) +
              ")<br>\n";
  }
  return text.empty() ? "No device found.<p>\n" : text;
}

std::string describeChannels(const VideoDevice& device) {
  std::string text;
  std::string name;
  for (unsigned i = 0; device.inputName(i, name); ++i)
    text += "Channel " + std::to_string(i) + ": " + escapeText(name) + "<br>\n";
  if (text.empty())
    return "The device does not have any channel.<p>\n";
  return "The device has the following channels:<br>\n" + text;
}

std::string describeFormats(const VideoDevice& device) {
  std::string text;
  std::string description;
  std::uint32_t pixelFormat = 0;
  for (unsigned i = 0; device.offeredFormat(i, description, pixelFormat); ++i) {
    text += escapeText(description) + " FCC(" + escapeText(codeText(pixelFormat)) + ")<br>\n";
    for (const Pelorn::VideoMode& mode : device.modes(pixelFormat))
      text += "&nbsp;&nbsp;" + mode.size + (mode.rates.empty() ? "<br>\n" : " at " + mode.rates + " Hz<br>\n");
  }
  if (text.empty())
    return "The device does not provide any video format.<p>\n";
  return "The device provides the following video formats:<br>\n" + text;
}

} // namespace

std::string VideoNodeV4L::getDetailedInfo() const {
  const Found found = found_.get();
  VideoDevice device;
  device.open(found.path);
  return std::string("API used for grabbing frames: ") + (found.isV4L2 ? "Video4Linux2" : "Video4Linux") + "<p>\n" +
         "The following devices are currently connected to the system:<p>\n" + describeDevices() +
         "Currently operating " + escapeText(found.card) + " (" + escapeText(found.path) + ")<p>\n" +
         describeChannels(device) + describeFormats(device);
}

} // namespace Vantiflux
