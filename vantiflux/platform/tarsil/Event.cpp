#include <vantiflux/platform/tarsil/Event.h>

#include <chrono>
#include <climits>

#include <vantiflux/platform/tarsil/Futex.h>

namespace Tarsil {

void Event::set() noexcept {
  state_.store(1, std::memory_order_seq_cst);
  if (sleepers_.load(std::memory_order_seq_cst) != 0)
    futexWake(state_, manualReset_ ? INT_MAX : 1);
}

bool Event::test() noexcept {
  if (manualReset_)
    return state_.load(std::memory_order_acquire) != 0;
  std::uint32_t expected = 1;
  return state_.compare_exchange_strong(expected, 0, std::memory_order_acquire);
}

bool Event::wait(int milliseconds) noexcept {
  if (test())
    return true;
  using Clock = std::chrono::steady_clock;
  const auto deadline = Clock::now() + std::chrono::milliseconds(milliseconds);
  bool set = false;
  sleepers_.fetch_add(1, std::memory_order_seq_cst);
  while (!(set = test())) {
    int left = -1;
    if (milliseconds >= 0) {
      left = static_cast<int>(std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count());
      if (left <= 0)
        break;
    }
    futexWait(state_, 0, left);
  }
  sleepers_.fetch_sub(1, std::memory_order_relaxed);
  return set;
}

} // namespace Tarsil
