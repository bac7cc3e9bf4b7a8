#include <vantiflux/platform/pelorn/VideoDevice.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <sstream>

#include <fcntl.h>
#include <linux/videodev2.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <vantiflux/platform/pelorn/Deadline.h>
#include <vantiflux/platform/pelorn/Notifier.h>

namespace Pelorn {

namespace {

// A field of a driver's answer need not have an end mark.
template <std::size_t size>
std::string textOf(const __u8 (&field)[size]) {
  const auto* const text = reinterpret_cast<const char*>(field);
  std::string result(text, strnlen(text, size));
  for (char& c : result)
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f)
      c = '?';
  return result;
}

std::string sizeText(std::uint32_t width, std::uint32_t height) {
  return std::to_string(width) + "x" + std::to_string(height);
}

// Frames a second of an interval in seconds.
std::string rateText(const v4l2_fract& interval) {
  if (interval.numerator == 0)
    return "?";
  std::ostringstream text;
  text << static_cast<double>(interval.denominator) / interval.numerator;
  return text.str();
}

} // namespace

std::string VideoDevice::path(unsigned long number) {
  return "/dev/video" + std::to_string(number);
}

// Without blocking: a frame that poll announced may be gone when it is asked for, and that must not hold up a stop.
bool VideoDevice::open(const std::string& path) {
  int fd = -1;
  do {
    fd = ::open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
  } while (fd < 0 && errno == EINTR);
  file_ = Descriptor(fd);
  return fd >= 0;
}

bool VideoDevice::request(unsigned long code, void* argument) const {
  int result = -1;
  do {
    result = ::ioctl(file_.get(), code, argument);
  } while (result < 0 && errno == EINTR);
  return result >= 0;
}

bool VideoDevice::queryCapability(std::string& card) const {
  v4l2_capability capability{};
  if (!request(VIDIOC_QUERYCAP, &capability))
    return false;
  card = textOf(capability.card);
  return true;
}

bool VideoDevice::selectInput(int input) const {
  return request(VIDIOC_S_INPUT, &input);
}

bool VideoDevice::getFormat(VideoFormat& format) const {
  v4l2_format current{};
  current.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
  if (!request(VIDIOC_G_FMT, &current))
    return false;
  format = {current.fmt.pix.width, current.fmt.pix.height, current.fmt.pix.pixelformat};
  return true;
}

bool VideoDevice::setFormat(const VideoFormat& format) const {
  v4l2_format wanted{};
  wanted.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
  wanted.fmt.pix.width = format.width;
  wanted.fmt.pix.height = format.height;
  wanted.fmt.pix.pixelformat = format.pixelFormat;
  wanted.fmt.pix.field = V4L2_FIELD_ANY;
  return request(VIDIOC_S_FMT, &wanted) && wanted.fmt.pix.pixelformat == format.pixelFormat;
}

VideoDevice::Ready VideoDevice::waitForFrame(int wake) const {
  std::array<pollfd, 2> entries = {{{wake, POLLIN, 0}, {file_.get(), POLLIN, 0}}};
  if (pollUntil(entries.data(), entries.size(), Deadline(-1)) < 0)
    return Ready::Failed;
  if ((entries[0].revents & POLLIN) != 0)
    return Ready::Woken;
  return (entries[1].revents & POLLIN) != 0 ? Ready::Frame : Ready::NotReadable;
}

VideoDevice::Reading VideoDevice::read(unsigned char* frame, std::size_t size) const {
  ssize_t count = -1;
  do {
    count = ::read(file_.get(), frame, size);
  } while (count < 0 && errno == EINTR);
  if (count < 0 && errno == EAGAIN)
    return Reading::Nothing;
  return count >= 0 && static_cast<std::size_t>(count) == size ? Reading::Whole : Reading::Failed;
}

bool VideoDevice::inputName(unsigned index, std::string& name) const {
  v4l2_input input{};
  input.index = index;
  if (index >= listLimit || !request(VIDIOC_ENUMINPUT, &input))
    return false;
  name = textOf(input.name);
  return true;
}

bool VideoDevice::offeredFormat(unsigned index, std::string& description, std::uint32_t& pixelFormat) const {
  v4l2_fmtdesc format{};
  format.index = index;
  format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
  if (index >= listLimit || !request(VIDIOC_ENUM_FMT, &format))
    return false;
  description = textOf(format.description);
  pixelFormat = format.pixelformat;
  return true;
}

std::vector<VideoMode> VideoDevice::modes(std::uint32_t pixelFormat) const {
  std::vector<VideoMode> result;
  v4l2_frmsizeenum size{};
  size.pixel_format = pixelFormat;
  for (; size.index < listLimit && request(VIDIOC_ENUM_FRAMESIZES, &size); ++size.index) {
    if (size.type == V4L2_FRMSIZE_TYPE_DISCRETE) {
      result.push_back({sizeText(size.discrete.width, size.discrete.height),
                        rates(pixelFormat, size.discrete.width, size.discrete.height)});
      continue;
    }
    const v4l2_frmsize_stepwise& range = size.stepwise; // the only entry of its list
    result.push_back(
        {sizeText(range.min_width, range.min_height) + " to " + sizeText(range.max_width, range.max_height),
         rates(pixelFormat, range.max_width, range.max_height)});
    break;
  }
  return result;
}

std::string VideoDevice::rates(std::uint32_t pixelFormat, std::uint32_t width, std::uint32_t height) const {
  std::string result;
  v4l2_frmivalenum interval{};
  interval.pixel_format = pixelFormat;
  interval.width = width;
  interval.height = height;
  for (; interval.index < listLimit && request(VIDIOC_ENUM_FRAMEINTERVALS, &interval); ++interval.index) {
    result += interval.index > 0 ? ", " : "";
    if (interval.type == V4L2_FRMIVAL_TYPE_DISCRETE) {
      result += rateText(interval.discrete);
      continue;
    }
    result += rateText(interval.stepwise.max) + " to " + rateText(interval.stepwise.min);
    break;
  }
  return result;
}

} // namespace Pelorn
