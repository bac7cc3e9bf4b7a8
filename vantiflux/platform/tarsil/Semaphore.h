#pragma once

#include <atomic>
#include <cstdint>

#include <vantiflux/Export.h>

namespace Tarsil {

/// A counting semaphore; both halves stay in user space unless a thread has to sleep or to be woken.
/// *Threads.* All operations from any thread. Every `up` lets one `down` through.
class VANTIFLUX_API Semaphore {
public:
  explicit Semaphore(std::uint32_t count = 0) noexcept : count_(count) {}
  Semaphore(const Semaphore&) = delete;
  Semaphore& operator=(const Semaphore&) = delete;

  void up() noexcept {
    count_.fetch_add(1, std::memory_order_seq_cst);
    if (sleepers_.load(std::memory_order_seq_cst) != 0)
      wakeOne();
  }

  /// Takes one off the count; blocks while it is 0.
  void down() noexcept {
    if (!tryDown())
      downSlow();
  }

  bool tryDown() noexcept {
    std::uint32_t count = count_.load(std::memory_order_relaxed);
    while (count != 0)
      if (count_.compare_exchange_weak(count, count - 1, std::memory_order_acquire, std::memory_order_relaxed))
        return true;
    return false;
  }

private:
  void downSlow() noexcept;
  void wakeOne() noexcept;

  std::atomic<std::uint32_t> count_;
  std::atomic<std::uint32_t> sleepers_{0}; ///< threads in downSlow
};

} // namespace Tarsil
