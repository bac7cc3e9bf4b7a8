// The buffers of a simulated camera, and its frames.
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

} // namespace

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
  queue_.reserve(wanted.count);
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
  queue_.erase(queue_.begin());
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
