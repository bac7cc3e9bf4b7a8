#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

#include "Settings.h"
#include "TestCard.h"

struct v4l2_buffer;
struct v4l2_fmtdesc;
struct v4l2_format;
struct v4l2_frmivalenum;
struct v4l2_frmsizeenum;
struct v4l2_input;
struct v4l2_requestbuffers;

namespace Camera {

class Opening;

/// One simulated camera: what all who have it open share. *Threads.* Guarded by the lock of the registry.
struct Device {
  explicit Device(Settings s);

  /// Counts a call and tells whether it is one that fails.
  bool fails(const std::string& request, std::map<std::string, unsigned>& counts);
  const TestCard& card();

  const Settings settings;
  Size size;
  std::string layout;
  unsigned input = 0;
  std::uint32_t frames = 0;              ///< delivered since it was plugged in
  const Opening* owner = nullptr;        ///< who has buffers of it
  std::map<std::string, unsigned> calls; ///< of all openings, by request
  std::map<std::string, unsigned> opens; ///< the calls that concern no opening

private:
  std::optional<TestCard> card_;
  std::string cardKey_;
};

/// A simulated camera as one caller has it open. Its descriptor is a timer that ticks with the frames, so that every
/// way of waiting for a descriptor works. *Threads.* Guarded by the lock of the registry, but for the descriptor.
class Opening {
public:
  /// What a system call results in: 0 or an `errno` value.
  using Error = int;

  Opening(std::shared_ptr<Device> device, int timer);
  ~Opening();
  Opening(const Opening&) = delete;
  Opening& operator=(const Opening&) = delete;

  Error request(unsigned long code, void* argument);
  /// The memory behind a buffer, for the part of `mmap` that maps it.
  Error findBuffer(std::size_t length, off_t offset, int& memory) const;
  Error read(void* frame, std::size_t size, std::size_t& count);
  /// Whether a call of that name fails, by the settings.
  bool fails(const std::string& name) { return device_->fails(name, counts_); }

  /// Takes it away from under who has it open, and wakes him.
  void unplug();
  bool isGone() const noexcept { return gone_; }
  bool isStreaming() const noexcept { return streaming_; }
  const Device& device() const noexcept { return *device_; }

private:
  struct Buffer {
    std::size_t length;
    bool queued;
    unsigned char* address;
  };

  Error perform(unsigned long code, void* argument);
  Error queryCapability(void* argument) const;
  Error enumInput(v4l2_input& input) const;
  Error enumFormat(v4l2_fmtdesc& format) const;
  Error enumSize(v4l2_frmsizeenum& size) const;
  Error enumInterval(v4l2_frmivalenum& interval) const;
  Error getFormat(v4l2_format& format) const;
  Error setFormat(v4l2_format& format, bool trying);
  Error requestBuffers(v4l2_requestbuffers& wanted);
  Error queryBuffer(v4l2_buffer& buffer) const;
  Error queueBuffer(const v4l2_buffer& buffer);
  Error dequeueBuffer(v4l2_buffer& buffer);
  Error selectInput(unsigned input);
  Error stream(bool on);

  bool offers(std::string_view layout) const;
  void arm(bool on) const;
  bool takeTick() const;
  void delivered();
  void freeBuffers();
  std::size_t stride() const;

  const std::shared_ptr<Device> device_;
  const int timer_;
  std::map<std::string, unsigned> counts_; ///< calls of this opening, by request
  int memory_ = -1;                        ///< the file that the buffers lie in
  std::vector<Buffer> buffers_;
  std::vector<unsigned> queue_; ///< of a fixed capacity: streaming allocates nothing
  std::uint32_t sequence_ = 0;
  bool streaming_ = false;
  bool gone_ = false;
};

} // namespace Camera
