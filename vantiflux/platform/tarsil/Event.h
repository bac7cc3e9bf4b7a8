#pragma once

#include <atomic>
#include <cstdint>

#include <vantiflux/Export.h>

namespace Tarsil {

/// A flag that threads can wait for. With `manualReset` it stays set, for all waiters, until `reset`; without, each
/// `set` lets one `wait` or one successful `test` through. *Threads.* All operations from any thread.
class VANTIFLUX_API Event {
public:
  explicit Event(bool manualReset = true, bool initiallySet = false) noexcept
      : state_(initiallySet ? 1 : 0), manualReset_(manualReset) {}
  Event(const Event&) = delete;
  Event& operator=(const Event&) = delete;

  void set() noexcept;
  void reset() noexcept { state_.store(0, std::memory_order_release); }
  /// Blocks until the event is set.
  void wait() noexcept { wait(-1); }
  /// The same for at most `milliseconds` (negative: without limit). Returns whether the event was set.
  bool wait(int milliseconds) noexcept;
  /// Whether the event is set, without blocking.
  bool test() noexcept;

private:
  std::atomic<std::uint32_t> state_; ///< 1 while set
  std::atomic<std::uint32_t> sleepers_{0};
  const bool manualReset_;
};

} // namespace Tarsil
