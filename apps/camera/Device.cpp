#include "Device.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include <linux/videodev2.h>

namespace Camera {

namespace {

std::uint32_t fourCCOf(const std::string& layout) {
  std::uint32_t code = 0;
  std::memcpy(&code, layout.data(), sizeof code);
  return code;
}

std::string layoutOf(std::uint32_t code) {
  std::string layout(4, '\0');
  std::memcpy(layout.data(), &code, sizeof code);
  return layout;
}

template <std::size_t size>
void setText(__u8 (&field)[size], std::string_view text) {
  std::memset(field, 0, size);
  std::memcpy(field, text.data(), std::min(text.size(), size - 1));
}

// The names of the requests that settings know; the others have none.
const char* nameOf(unsigned long code) {
  switch (code) {
  case VIDIOC_QUERYCAP:
    return "QUERYCAP";
  case VIDIOC_ENUMINPUT:
    return "ENUMINPUT";
  case VIDIOC_S_INPUT:
    return "S_INPUT";
  case VIDIOC_ENUM_FMT:
    return "ENUM_FMT";
  case VIDIOC_ENUM_FRAMESIZES:
    return "ENUM_FRAMESIZES";
  case VIDIOC_ENUM_FRAMEINTERVALS:
    return "ENUM_FRAMEINTERVALS";
  case VIDIOC_G_FMT:
    return "G_FMT";
  case VIDIOC_S_FMT:
    return "S_FMT";
  case VIDIOC_REQBUFS:
    return "REQBUFS";
  case VIDIOC_QUERYBUF:
    return "QUERYBUF";
  case VIDIOC_QBUF:
    return "QBUF";
  case VIDIOC_DQBUF:
    return "DQBUF";
  case VIDIOC_STREAMON:
    return "STREAMON";
  case VIDIOC_STREAMOFF:
    return "STREAMOFF";
  default:
    return "";
  }
}

} // namespace

Device::Device(Settings s) : settings(std::move(s)), size(settings.sizes.front()), layout(settings.formats.front()) {}

bool Device::fails(const std::string& request, std::map<std::string, unsigned>& counts) {
  ++calls[request];
  const unsigned count = ++counts[request];
  const auto found = settings.failing.find(request);
  return found != settings.failing.end() && count >= found->second;
}

const TestCard& Device::card() {
  const std::string key = layout + std::to_string(size.width) + "x" + std::to_string(size.height);
  if (!card_ || key != cardKey_) {
    card_.emplace(size, layout);
    cardKey_ = key;
  }
  return *card_;
}

Opening::Opening(std::shared_ptr<Device> device, int timer) : device_(std::move(device)), timer_(timer) {
  if (device_->settings.readOnly)
    arm(true); // there is no request that begins the stream
}

Opening::~Opening() {
  freeBuffers();
}

Opening::Error Opening::request(unsigned long code, void* argument) {
  if (fails(nameOf(code)))
    return EIO;
  return gone_ ? ENODEV : perform(code, argument);
}

Opening::Error Opening::perform(unsigned long code, void* argument) {
  switch (code) {
  case VIDIOC_QUERYCAP:
    return queryCapability(argument);
  case VIDIOC_ENUMINPUT:
    return enumInput(*static_cast<v4l2_input*>(argument));
  case VIDIOC_G_INPUT:
    *static_cast<unsigned*>(argument) = device_->input;
    return 0;
  case VIDIOC_S_INPUT:
    return selectInput(*static_cast<const unsigned*>(argument));
  case VIDIOC_ENUM_FMT:
    return enumFormat(*static_cast<v4l2_fmtdesc*>(argument));
  case VIDIOC_ENUM_FRAMESIZES:
    return enumSize(*static_cast<v4l2_frmsizeenum*>(argument));
  case VIDIOC_ENUM_FRAMEINTERVALS:
    return enumInterval(*static_cast<v4l2_frmivalenum*>(argument));
  case VIDIOC_G_FMT:
    return getFormat(*static_cast<v4l2_format*>(argument));
  case VIDIOC_S_FMT:
    return setFormat(*static_cast<v4l2_format*>(argument), false);
  case VIDIOC_TRY_FMT:
    return setFormat(*static_cast<v4l2_format*>(argument), true);
  case VIDIOC_REQBUFS:
    return requestBuffers(*static_cast<v4l2_requestbuffers*>(argument));
  case VIDIOC_QUERYBUF:
    return queryBuffer(*static_cast<v4l2_buffer*>(argument));
  case VIDIOC_QBUF:
    return queueBuffer(*static_cast<const v4l2_buffer*>(argument));
  case VIDIOC_DQBUF:
    return dequeueBuffer(*static_cast<v4l2_buffer*>(argument));
  case VIDIOC_STREAMON:
    return stream(true);
  case VIDIOC_STREAMOFF:
    return stream(false);
  default:
    return ENOTTY;
  }
}

Opening::Error Opening::queryCapability(void* argument) const {
  auto& capability = *static_cast<v4l2_capability*>(argument);
  capability = {};
  setText(capability.driver, "vantiflux");
  setText(capability.card, device_->settings.card);
  setText(capability.bus_info, "platform:vantiflux");
  capability.version = 0x060100;
  capability.device_caps =
      V4L2_CAP_VIDEO_CAPTURE | (device_->settings.readOnly ? V4L2_CAP_READWRITE : V4L2_CAP_STREAMING);
  capability.capabilities = capability.device_caps | V4L2_CAP_DEVICE_CAPS;
  return 0;
}

Opening::Error Opening::enumInput(v4l2_input& input) const {
  const auto& inputs = device_->settings.inputs;
  const unsigned index = input.index;
  if (index >= inputs.size())
    return EINVAL;
  input = {};
  input.index = index;
  input.type = V4L2_INPUT_TYPE_CAMERA;
  setText(input.name, inputs[index]);
  return 0;
}

Opening::Error Opening::selectInput(unsigned input) {
  if (input >= device_->settings.inputs.size())
    return EINVAL;
  device_->input = input;
  return 0;
}

Opening::Error Opening::enumFormat(v4l2_fmtdesc& format) const {
  const auto& formats = device_->settings.formats;
  const unsigned index = format.index;
  if (format.type != V4L2_BUF_TYPE_VIDEO_CAPTURE || index >= formats.size())
    return EINVAL;
  format = {};
  format.index = index;
  format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
  format.pixelformat = fourCCOf(formats[index]);
  setText(format.description, "Simulated " + formats[index]);
  return 0;
}

bool Opening::offers(std::string_view layout) const {
  const auto& formats = device_->settings.formats;
  return std::find(formats.begin(), formats.end(), layout) != formats.end();
}

Opening::Error Opening::enumSize(v4l2_frmsizeenum& size) const {
  const auto& sizes = device_->settings.sizes;
  if (size.index >= sizes.size() || !offers(layoutOf(size.pixel_format)))
    return EINVAL;
  size.type = V4L2_FRMSIZE_TYPE_DISCRETE;
  size.discrete = {sizes[size.index].width, sizes[size.index].height};
  return 0;
}

Opening::Error Opening::enumInterval(v4l2_frmivalenum& interval) const {
  if (interval.index > 0 || device_->settings.rate <= 0 || !offers(layoutOf(interval.pixel_format)))
    return EINVAL;
  interval.type = V4L2_FRMIVAL_TYPE_DISCRETE;
  interval.discrete = {1000, static_cast<__u32>(std::lround(device_->settings.rate * 1000))};
  return 0;
}

Opening::Error Opening::getFormat(v4l2_format& format) const {
  if (format.type != V4L2_BUF_TYPE_VIDEO_CAPTURE)
    return EINVAL;
  const TestCard& card = device_->card();
  v4l2_pix_format& pix = format.fmt.pix;
  pix = {};
  pix.width = device_->size.width;
  pix.height = device_->size.height;
  if (device_->settings.liesAbout("SIZE"))
    pix.width = pix.height = 60000;
  pix.pixelformat = fourCCOf(device_->layout);
  pix.field = V4L2_FIELD_NONE;
  pix.bytesperline = static_cast<__u32>(card.bytesPerLine());
  pix.sizeimage = static_cast<__u32>(card.size());
  pix.colorspace = V4L2_COLORSPACE_SRGB;
  return 0;
}

// Grants the nearest of the offered sizes, as drivers with fixed sizes do.
Opening::Error Opening::setFormat(v4l2_format& format, bool trying) {
  if (format.type != V4L2_BUF_TYPE_VIDEO_CAPTURE)
    return EINVAL;
  if (!trying && (streaming_ || device_->owner != nullptr))
    return EBUSY;
  const Settings& settings = device_->settings;
  std::string layout = layoutOf(format.fmt.pix.pixelformat);
  if (!offers(layout)) {
    if (!settings.adjust)
      return EINVAL;
    layout = settings.formats.front();
  }
  const auto distance = [wanted = format.fmt.pix](Size size) {
    return std::abs(std::int64_t{size.width} - wanted.width) + std::abs(std::int64_t{size.height} - wanted.height);
  };
  const Size before = device_->size;
  const std::string layoutBefore = device_->layout;
  device_->size = *std::min_element(settings.sizes.begin(), settings.sizes.end(),
                                    [&](Size a, Size b) { return distance(a) < distance(b); });
  device_->layout = layout;
  const Error error = getFormat(format);
  if (trying) {
    device_->size = before;
    device_->layout = layoutBefore;
  }
  return error;
}

} // namespace Camera
