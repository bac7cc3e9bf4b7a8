#include <vantiflux/platform/tarsil/Semaphore.h>

#include <bit>

#include <vantiflux/platform/tarsil/Futex.h>

namespace Tarsil {

namespace {

// The half on which threads sleep.
const std::atomic<std::uint32_t>& countOf(const std::atomic<std::uint64_t>& state) noexcept {
  static_assert(sizeof(state) == sizeof(std::uint64_t) && std::endian::native == std::endian::little);
  return reinterpret_cast<const std::atomic<std::uint32_t>&>(state);
}

} // namespace

void Semaphore::downSlow() noexcept {
  state_.fetch_add(sleeper, std::memory_order_relaxed);
  std::uint64_t state = state_.load(std::memory_order_relaxed);
  for (;;) {
    if (static_cast<std::uint32_t>(state) == 0) {
      futexWait(countOf(state_), 0);
      state = state_.load(std::memory_order_relaxed);
    } else if (state_.compare_exchange_weak(state, state - 1 - sleeper, std::memory_order_acquire,
                                            std::memory_order_relaxed)) {
      return;
    }
  }
}

void Semaphore::wakeOne() noexcept {
  futexWake(countOf(state_), 1);
}

} // namespace Tarsil
