#include <vantiflux/platform/tarsil/Mutex.h>

#include <vantiflux/platform/tarsil/WaitGraph.h>

namespace Tarsil {

namespace {

/// Tries before a thread goes to sleep: about the time of a short critical section, far below that of a wake-up.
constexpr int spins = 64;

} // namespace

void Mutex::lockSlow(ThreadId self, Wait wait) {
  for (int i = 0; i < spins; ++i) {
    std::uintptr_t seen = word_.load(std::memory_order_relaxed);
    if ((seen & contended) != 0)
      break; // somebody sleeps already: do not jump the queue
    if (seen == 0 && word_.compare_exchange_weak(seen, self, std::memory_order_acquire, std::memory_order_relaxed))
      return;
    __builtin_ia32_pause();
  }
  WaitGraph::the().lock(*this, self, wait);
}

void Mutex::unlockSlow() {
  WaitGraph::the().unlock(*this);
}

bool Mutex::tryLock() {
  const ThreadId self = thisThread();
  std::uintptr_t seen = 0;
  if (word_.compare_exchange_strong(seen, self, std::memory_order_acquire, std::memory_order_relaxed))
    return true;
  if ((seen & ~contended) == self) {
    ++depth_;
    return true;
  }
  return seen == contended && WaitGraph::the().tryLock(*this, self);
}

} // namespace Tarsil
