#include <vantiflux/platform/tarsil/Event.h>

#include <chrono>
#include <climits>

#include <vantiflux/platform/tarsil/Futex.h>

namespace Tarsil {

void Event::set() noexcept {
  const bool wakeAll = manualReset_;
  if (state_.exchange(State::set, std::memory_order_acq_rel) == State::awaited)
    futexWake(state_, wakeAll ? INT_MAX : 1);
}

void Event::reset() noexcept {
  std::uint32_t expected = State::set;
  state_.compare_exchange_strong(expected, State::unset, std::memory_order_acq_rel);
}

// Whether the event is set; an automatic one is left in the state `after` then.
bool Event::take(std::uint32_t after) noexcept {
  if (manualReset_)
    return state_.load(std::memory_order_acquire) == State::set;
  std::uint32_t expected = State::set;
  return state_.compare_exchange_strong(expected, after, std::memory_order_acq_rel);
}

bool Event::wait(int milliseconds) noexcept {
  if (test())
    return true;
  using Clock = std::chrono::steady_clock;
  const auto deadline = Clock::now() + std::chrono::milliseconds(milliseconds);
  // Who has slept cannot know whether others still do, so he leaves word that they may.
  while (!take(State::awaited)) {
    int left = -1;
    if (milliseconds >= 0) {
      left = static_cast<int>(std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count());
      if (left <= 0)
        return false;
    }
    std::uint32_t expected = State::unset;
    if (state_.compare_exchange_strong(expected, State::awaited, std::memory_order_acq_rel) ||
        expected == State::awaited)
      futexWait(state_, State::awaited, left);
  }
  return true;
}

} // namespace Tarsil
