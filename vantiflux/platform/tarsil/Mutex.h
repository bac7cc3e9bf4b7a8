#pragma once

#include <atomic>
#include <cstdint>

#include <vantiflux/Export.h>
#include <vantiflux/platform/tarsil/ThreadId.h>
#include <vantiflux/platform/tarsil/ThreadSafety.h>

namespace Tarsil {

class WaitGraph;
struct Lease;

/// A recursive mutex that stays in user space while nobody contends for it.
///
/// *Lending.* A tree of objects that call each other back cannot give all its locks one order. So a wait may be
/// declared as `Yielding` or `Delivery`: a point at which the waiting thread is ready to be called back. When a chain
/// of waiting threads closes into a ring, one of those that wait at such a point lends the mutex it owns to the thread
/// that wants it, as if that thread's work were a call back on the lender's own stack, and goes on only when the mutex
/// is returned. Mutual exclusion holds throughout: a lender does not run. A ring of plain waits alone is a mistake of
/// the callers and blocks, as with any mutex.
///
/// *Kinds.* A `Delivery` mutex is held while listeners run. To somebody who takes it to see deliveries end (a
/// `Yielding` request) it is lent only when there is no other way out of the ring, because to him the lender's delivery
/// counts as over although it is not.
///
/// *Threads.* All operations from any thread. A mutex must not be destroyed while a thread holds it or waits for it.
class VANTIFLUX_API TARSIL_CAPABILITY("mutex") Mutex {
public:
  enum class Kind : std::uint8_t { Plain, Delivery };
  enum class Wait : std::uint8_t { Plain, Yielding, Delivery };

  explicit Mutex(Kind kind = Kind::Plain) noexcept : kind_(kind) {}
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  /// Blocks until this thread owns the mutex. `wait` says what the thread is ready for meanwhile.
  void lock(Wait wait = Wait::Plain) TARSIL_ACQUIRE() TARSIL_NO_ANALYSIS {
    const ThreadId self = thisThread();
    std::uintptr_t seen = 0;
    if (word_.compare_exchange_strong(seen, self, std::memory_order_acquire, std::memory_order_relaxed))
      return;
    if ((seen & ~contended) == self)
      ++depth_;
    else
      lockSlow(self, wait);
  }

  void unlock() TARSIL_RELEASE() TARSIL_NO_ANALYSIS {
    if (depth_ != 0) {
      --depth_;
      return;
    }
    std::uintptr_t seen = thisThread();
    // Sequentially consistent: who leaves a delivery looks next whether somebody waits for that (see Graveyard).
    if (!word_.compare_exchange_strong(seen, 0, std::memory_order_seq_cst, std::memory_order_relaxed))
      unlockSlow();
  }

  bool tryLock() TARSIL_TRY_ACQUIRE(true) TARSIL_NO_ANALYSIS;

  /// Whether any thread owns the mutex now; true at once for the thread that owns it, a snapshot for all others.
  bool isLocked() const noexcept { return (word_.load(std::memory_order_seq_cst) & ~contended) != 0; }
  bool isLockedByThisThread() const noexcept {
    return (word_.load(std::memory_order_relaxed) & ~contended) == thisThread();
  }

private:
  friend class WaitGraph;

  /// Set in `word_` while a thread waits or a lease is open: locking and unlocking then go through the wait graph.
  static constexpr std::uintptr_t contended = 1;

  void lockSlow(ThreadId self, Wait wait);
  void unlockSlow();

  std::atomic<std::uintptr_t> word_{0}; ///< owner's ThreadId or 0, and the contended bit
  std::uint32_t depth_ = 0;             ///< locks beyond the first; the owner's
  const Kind kind_;
  Lease* lease_ = nullptr; ///< to whom the mutex goes back, innermost first; guarded by the wait graph's lock
};

/// Holds a mutex for the length of a scope.
class TARSIL_SCOPED_CAPABILITY MutexLock {
public:
  explicit MutexLock(Mutex& mutex, Mutex::Wait wait = Mutex::Wait::Plain) TARSIL_ACQUIRE(mutex) : mutex_(mutex) {
    mutex_.lock(wait);
  }
  ~MutexLock() TARSIL_RELEASE() { mutex_.unlock(); }
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;

private:
  Mutex& mutex_;
};

} // namespace Tarsil
