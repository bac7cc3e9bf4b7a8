#pragma once

#include <atomic>
#include <cstdint>

#include <vantiflux/Export.h>

namespace Tarsil {

/// A counting semaphore; both halves stay in user space unless a thread has to sleep or to be woken.
/// *Threads.* All operations from any thread. Every `up` lets one `down` through. Who came through may destroy the
/// semaphore, although the `up` that let him has not returned yet.
class VANTIFLUX_API Semaphore {
public:
  explicit Semaphore(std::uint32_t count = 0) noexcept : state_(count) {}
  Semaphore(const Semaphore&) = delete;
  Semaphore& operator=(const Semaphore&) = delete;

  void up() noexcept {
    if (state_.fetch_add(1, std::memory_order_acq_rel) >= sleeper)
      wakeOne();
  }

  /// Takes one off the count; blocks while it is 0.
  void down() noexcept {
    if (!tryDown())
      downSlow();
  }

  bool tryDown() noexcept {
    std::uint64_t state = state_.load(std::memory_order_relaxed);
    while (static_cast<std::uint32_t>(state) != 0)
      if (state_.compare_exchange_weak(state, state - 1, std::memory_order_acquire, std::memory_order_relaxed))
        return true;
    return false;
  }

private:
  static constexpr std::uint64_t sleeper = std::uint64_t{1} << 32;

  void downSlow() noexcept;
  void wakeOne() noexcept;

  /// The count in the lower half, threads in downSlow in the upper: one word, so that `up` touches the semaphore once.
  std::atomic<std::uint64_t> state_;
};

} // namespace Tarsil
