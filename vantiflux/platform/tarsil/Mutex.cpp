#include <vantiflux/platform/tarsil/Mutex.h>

#include <linux/membarrier.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <vantiflux/platform/tarsil/WaitGraph.h>

namespace Tarsil {

constinit std::atomic<std::uint32_t> Attention::counts_[size] = {};
constinit std::atomic<bool> Attention::asymmetric_{false};

/// Registers the process for the barrier; until then, and where the kernel has none, who unlocks makes a fence.
struct AttentionSetUp {
  AttentionSetUp() {
    if (syscall(SYS_membarrier, MEMBARRIER_CMD_REGISTER_PRIVATE_EXPEDITED, 0, 0) == 0)
      Attention::asymmetric_.store(true, std::memory_order_relaxed);
  }
};

namespace {

const AttentionSetUp setUp;

/// Tries before a thread goes to sleep: about the time of a short critical section, far below that of a wake-up.
constexpr int spins = 64;

} // namespace

void heavyFence() noexcept {
  if (Attention::isAsymmetric())
    syscall(SYS_membarrier, MEMBARRIER_CMD_PRIVATE_EXPEDITED, 0, 0);
}

void Mutex::lockSlow(ThreadId self, Wait wait) {
  for (int i = 0; i < spins; ++i) {
    if (Attention::of(this).load(std::memory_order_relaxed) != 0)
      break; // somebody sleeps already: do not jump the queue
    ThreadId seen = owner_.load(std::memory_order_relaxed);
    if (seen == 0 && owner_.compare_exchange_weak(seen, self, std::memory_order_acquire, std::memory_order_relaxed))
      return;
    __builtin_ia32_pause();
  }
  WaitGraph::the().lock(*this, self, wait);
}

void Mutex::unlockSlow() {
  WaitGraph::the().unlock(*this);
}

void Mutex::wake(const Mutex* mutex) {
  WaitGraph::the().wake(mutex);
}

bool Mutex::tryLock() {
  const ThreadId self = thisThread();
  ThreadId seen = 0;
  if (owner_.compare_exchange_strong(seen, self, std::memory_order_acquire, std::memory_order_relaxed))
    return true;
  if (seen != self)
    return false;
  ++depth_;
  return true;
}

bool Mutex::isInUse() const noexcept {
  return WaitGraph::the().isAwaited(*this) || isLocked(); // in the order in which a thread passes through both
}

} // namespace Tarsil
