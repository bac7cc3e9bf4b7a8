#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

#include <vantiflux/Export.h>
#include <vantiflux/platform/tarsil/ThreadId.h>
#include <vantiflux/platform/tarsil/ThreadSafety.h>

namespace Tarsil {

class WaitGraph;
struct Lease;

/// How many threads wait for a mutex, or have lent one, by a hash of its address. Who unlocks looks here after he let
/// go, when the mutex itself may be gone already.
class VANTIFLUX_API Attention {
public:
  static std::atomic<std::uint32_t>& of(const void* mutex) noexcept {
    return counts_[(reinterpret_cast<std::uintptr_t>(mutex) >> 4) % size];
  }
  /// Whether heavyFence does what it says; otherwise who unlocks does a fence of his own.
  static bool isAsymmetric() noexcept { return asymmetric_.load(std::memory_order_relaxed); }

private:
  friend struct AttentionSetUp;
  static constexpr std::size_t size = 512;
  static std::atomic<std::uint32_t> counts_[size];
  static std::atomic<bool> asymmetric_;
};

/// A full fence on every running thread of the process: other threads' stores before it are seen from here on, and
/// their loads after it see what was stored before. Dear; it lets the frequent side do with none.
VANTIFLUX_API void heavyFence() noexcept;

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
    ThreadId seen = 0;
    if (owner_.compare_exchange_strong(seen, self, std::memory_order_acquire, std::memory_order_relaxed))
      return;
    if (seen == self)
      ++depth_;
    else
      lockSlow(self, wait);
  }

  // Lets go with a plain store. Whoever comes to wait counts himself into `attention` and then makes a heavy fence, so
  // either he sees the store or this thread sees the count.
  void unlock() TARSIL_RELEASE() TARSIL_NO_ANALYSIS {
    if (depth_ != 0) {
      --depth_;
      return;
    }
    const std::atomic<std::uint32_t>& attention = Attention::of(this);
    if (attention.load(std::memory_order_relaxed) != 0)
      return unlockSlow();
    if (Attention::isAsymmetric())
      owner_.store(0, std::memory_order_release);
    else
      owner_.exchange(0, std::memory_order_seq_cst);
    std::atomic_signal_fence(std::memory_order_seq_cst);
    if (attention.load(std::memory_order_seq_cst) != 0)
      wake(this);
  }

  bool tryLock() TARSIL_TRY_ACQUIRE(true) TARSIL_NO_ANALYSIS;

  /// Whether any thread owns the mutex now; a snapshot for all but the owner.
  bool isLocked() const noexcept { return owner_.load(std::memory_order_seq_cst) != 0; }
  /// Whether any thread owns the mutex or waits for it; a snapshot. Dear.
  bool isInUse() const noexcept;
  /// Whether its owner has lent it, now or further out.
  bool isLent() const noexcept { return lease_.load(std::memory_order_seq_cst) != nullptr; }
  /// For the owner: whether the next `unlock` releases the mutex to anybody who wants it.
  bool isLastLock() const noexcept { return depth_ == 0 && !isLent(); }
  bool isLockedByThisThread() const noexcept { return owner_.load(std::memory_order_relaxed) == thisThread(); }

private:
  friend class WaitGraph;

  void lockSlow(ThreadId self, Wait wait);
  void unlockSlow();
  static void wake(const Mutex* mutex);

  std::atomic<ThreadId> owner_{0};
  std::uint32_t depth_ = 0; ///< locks beyond the first; the owner's
  const Kind kind_;
  std::atomic<Lease*> lease_{nullptr}; ///< to whom it goes back, innermost first; written under the wait graph's lock
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
