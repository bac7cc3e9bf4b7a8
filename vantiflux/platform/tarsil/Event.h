#pragma once

#include <atomic>
#include <cstdint>

#include <vantiflux/Export.h>

namespace Tarsil {

/// A flag that threads can wait for. With `manualReset` it stays set, for all waiters, until `reset`; without, each
/// `set` lets one `wait` or one successful `test` through.
/// *Threads.* All operations from any thread. Who has waited may destroy the event, although the `set` that woke him
/// has not returned yet.
class VANTIFLUX_API Event {
public:
  explicit Event(bool manualReset = true, bool initiallySet = false) noexcept
      : state_(initiallySet ? State::set : State::unset), manualReset_(manualReset) {}
  Event(const Event&) = delete;
  Event& operator=(const Event&) = delete;

  void set() noexcept;
  void reset() noexcept;
  /// Blocks until the event is set.
  void wait() noexcept { wait(-1); }
  /// The same for at most `milliseconds` (negative: without limit). Returns whether the event was set.
  bool wait(int milliseconds) noexcept;
  /// Whether the event is set, without blocking.
  bool test() noexcept { return take(State::unset); }

private:
  /// One word, so that `set` touches the event once and never after a waiter may have seen it.
  struct State {
    static constexpr std::uint32_t unset = 0;
    static constexpr std::uint32_t set = 1;
    static constexpr std::uint32_t awaited = 2; ///< unset, and somebody may sleep
  };
  bool take(std::uint32_t after) noexcept;

  std::atomic<std::uint32_t> state_;
  const bool manualReset_;
};

} // namespace Tarsil
