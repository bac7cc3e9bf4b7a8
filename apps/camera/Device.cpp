#include "Device.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <ctime>

#include <linux/videodev2.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/timerfd.h>
#include <unistd.h>

namespace Camera {

namespace {

constexpr unsigned mostBuffers = 32;

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
    return std::abs(double{size.width} - wanted.width) + std::abs(double{size.height} - wanted.height);
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

std::size_t Opening::stride() const {
  const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
  return (buffers_.front().length + page - 1) / page * page;
}

Opening::Error Opening::requestBuffers(v4l2_requestbuffers& wanted) {
  if (device_->settings.readOnly || wanted.type != V4L2_BUF_TYPE_VIDEO_CAPTURE || wanted.memory != V4L2_MEMORY_MMAP)
    return EINVAL;
  if (streaming_ || (device_->owner != nullptr && device_->owner != this))
    return EBUSY;
  freeBuffers();
  if (wanted.count == 0)
    return 0;
  const unsigned forced = device_->settings.buffers;
  wanted.count = std::clamp(forced > 0 ? forced : wanted.count, 1U, mostBuffers);
  memory_ = ::memfd_create("simulated camera", MFD_CLOEXEC);
  buffers_.assign(wanted.count, {device_->card().size(), false, nullptr});
  if (memory_ < 0 || ::ftruncate(memory_, static_cast<off_t>(stride() * buffers_.size())) != 0) {
    freeBuffers();
    return ENOMEM;
  }
  for (std::size_t i = 0; i < buffers_.size(); ++i) {
    void* const address = ::mmap(nullptr, buffers_[i].length, PROT_READ | PROT_WRITE, MAP_SHARED, memory_,
                                 static_cast<off_t>(i * stride()));
    if (address == MAP_FAILED) {
      freeBuffers();
      return ENOMEM;
    }
    buffers_[i].address = static_cast<unsigned char*>(address);
  }
  device_->owner = this;
  if (device_->settings.liesAbout("COUNT"))
    wanted.count = 1000000;
  return 0;
}

void Opening::freeBuffers() {
  for (const Buffer& buffer : buffers_)
    if (buffer.address != nullptr)
      ::munmap(buffer.address, buffer.length);
  buffers_.clear();
  queue_.clear();
  if (memory_ >= 0)
    ::close(memory_);
  memory_ = -1;
  if (device_->owner == this)
    device_->owner = nullptr;
}

Opening::Error Opening::queryBuffer(v4l2_buffer& buffer) const {
  if (buffer.index >= buffers_.size())
    return EINVAL;
  buffer.length = static_cast<__u32>(device_->settings.liesAbout("LENGTH") ? 100 : buffers_[buffer.index].length);
  buffer.m.offset = static_cast<__u32>(buffer.index * stride());
  buffer.flags = buffers_[buffer.index].queued ? V4L2_BUF_FLAG_QUEUED : 0;
  return 0;
}

Opening::Error Opening::findBuffer(std::size_t length, off_t offset, int& memory) const {
  if (buffers_.empty() || offset < 0 || static_cast<std::size_t>(offset) % stride() != 0 ||
      static_cast<std::size_t>(offset) / stride() >= buffers_.size() || length > stride())
    return EINVAL;
  memory = memory_;
  return 0;
}

Opening::Error Opening::queueBuffer(const v4l2_buffer& buffer) {
  if (buffer.index >= buffers_.size() || buffers_[buffer.index].queued)
    return EINVAL;
  buffers_[buffer.index].queued = true;
  queue_.push_back(buffer.index);
  return 0;
}

Opening::Error Opening::stream(bool on) {
  if (on && buffers_.empty())
    return EINVAL;
  if (on && !streaming_)
    sequence_ = 0;
  streaming_ = on;
  arm(on);
  if (!on) {
    queue_.clear();
    for (Buffer& buffer : buffers_)
      buffer.queued = false;
  }
  return 0;
}

void Opening::arm(bool on) const {
  itimerspec spec{};
  if (on && !device_->settings.silent) {
    const double period = device_->settings.rate > 0 ? 1e9 / device_->settings.rate : 1;
    spec.it_interval.tv_sec = static_cast<std::time_t>(period / 1e9);
    spec.it_interval.tv_nsec = std::max(1L, static_cast<long>(std::fmod(period, 1e9)));
    spec.it_value = spec.it_interval;
  }
  ::timerfd_settime(timer_, 0, &spec, nullptr);
}

// By the bare system calls: the C library's functions lead to this library, which holds the lock. They must not wait
// either, although the caller may have opened the camera for waiting.
bool Opening::takeTick() const {
  pollfd tick{timer_, POLLIN, 0};
  if (::syscall(SYS_poll, &tick, 1, 0) != 1)
    return false;
  std::uint64_t ticks = 0;
  return ::syscall(SYS_read, timer_, &ticks, sizeof ticks) == static_cast<long>(sizeof ticks);
}

// A frame for which there is no buffer is lost, as in a real camera.
Opening::Error Opening::dequeueBuffer(v4l2_buffer& buffer) {
  if (!streaming_)
    return EINVAL;
  if (!takeTick() || queue_.empty())
    return EAGAIN;
  const unsigned index = queue_.front();
  queue_.pop_front();
  buffers_[index].queued = false;
  device_->card().draw(buffers_[index].address, device_->frames);
  buffer.index = device_->settings.liesAbout("INDEX") ? 77 : index;
  buffer.bytesused = static_cast<__u32>(buffers_[index].length);
  buffer.length = buffer.bytesused;
  buffer.flags = V4L2_BUF_FLAG_TIMESTAMP_MONOTONIC;
  buffer.field = V4L2_FIELD_NONE;
  timespec now{};
  ::clock_gettime(CLOCK_MONOTONIC, &now);
  buffer.timestamp = {now.tv_sec, now.tv_nsec / 1000};
  buffer.sequence = sequence_;
  delivered();
  return 0;
}

Opening::Error Opening::read(void* frame, std::size_t size, std::size_t& count) {
  if (fails("READ"))
    return EIO;
  if (gone_)
    return ENODEV;
  if (!device_->settings.readOnly)
    return EINVAL;
  if (!takeTick())
    return EAGAIN;
  std::vector<unsigned char> whole(device_->card().size());
  device_->card().draw(whole.data(), device_->frames);
  count = std::min(size, whole.size());
  count -= std::min<std::size_t>(count, device_->settings.shortBy);
  std::memcpy(frame, whole.data(), count);
  delivered();
  return 0;
}

void Opening::delivered() {
  ++device_->frames;
  ++sequence_;
  const Settings& settings = device_->settings;
  if (settings.unplug > 0 && sequence_ >= settings.unplug)
    unplug();
  else if (settings.frames > 0 && sequence_ >= settings.frames)
    arm(false);
}

// A timer that has run out wakes whoever waits for the descriptor.
void Opening::unplug() {
  gone_ = true;
  if (device_->owner == this)
    device_->owner = nullptr;
  itimerspec spec{};
  spec.it_value.tv_nsec = 1;
  ::timerfd_settime(timer_, 0, &spec, nullptr);
}

} // namespace Camera
