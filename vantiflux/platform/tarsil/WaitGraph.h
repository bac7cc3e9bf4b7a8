#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include <vantiflux/platform/tarsil/Mutex.h>
#include <vantiflux/platform/tarsil/ThreadId.h>

namespace Tarsil {

struct Waiter;

/// A mutex that its owner lent while it waits. Lives in the lender's Waiter.
struct Lease {
  Mutex* mutex;
  Waiter* lender;
  std::uint32_t depth; ///< the lender's locks beyond the first
  Lease* outer;        ///< an earlier lease of the same mutex that is still open
};

/// One run of a thread, seen by those who join it.
struct ThreadRun {
  // Guarded by the wait graph's lock.
  ThreadId id = 0; ///< valid once the run began
  bool finished = false;
};

/// A thread that sleeps for a mutex or for the end of another thread. Lives on the sleeper's stack.
struct Waiter {
  ThreadId thread;
  Mutex::Wait wait;
  Mutex* mutex = nullptr;   ///< what it waits for: a mutex,
  ThreadRun* run = nullptr; ///< or the end of a run
  enum class State : std::uint8_t { Asleep, Granted, Abandoned } state = State::Asleep;
  bool passedOver = false;                      ///< woke once in vain: the next unlock hands the mutex over
  std::vector<std::unique_ptr<Lease>> leases{}; ///< until they are returned it does not go on
  std::atomic<std::uint32_t> wake{0};
};

/// Who waits for whom, in the whole process. Only threads that have to sleep come here, and they stay brief: nothing is
/// called out to under its lock. See Mutex for what it is good for.
class WaitGraph {
public:
  static WaitGraph& the();

  void lock(Mutex& mutex, ThreadId self, Mutex::Wait wait);
  /// By the owner, who lets go.
  void unlock(Mutex& mutex);
  /// By a thread that has let go of what was a mutex then; it may be gone.
  void wake(const Mutex* mutex);
  bool isAwaited(const Mutex& mutex);

  /// Waits for the end of a run. Returns false when the wait was given up because that run waits, in the end, for this
  /// thread and no mutex could be lent to part them.
  bool join(ThreadRun& run, ThreadId self);
  void begin(ThreadRun& run, ThreadId self);
  void finish(ThreadRun& run);

private:
  /// A step of a ring: `waiter` waits for something that the thread of the next step must give.
  using Ring = std::vector<Waiter*>;

  static bool acquire(Mutex& mutex, const Waiter& waiter);
  Waiter* firstServable(const Mutex* mutex);
  void giveBack(Mutex& mutex);
  void sleep(Waiter& waiter, std::unique_lock<std::mutex>& guard);
  void breakRings(Waiter& waiter);
  bool findRing(Waiter& from, ThreadId to, Ring& ring);
  bool reaches(ThreadId thread, ThreadId to, Ring& ring);
  bool resolve(const Ring& ring);
  bool lend(Waiter& to, Waiter* lender);
  Waiter* find(ThreadId thread);
  void grant(Waiter& waiter, Waiter::State state);
  static void rouse(Waiter& waiter);
  static ThreadId owner(const Mutex& mutex);

  std::mutex lock_;              ///< guards everything below, every Waiter and every Mutex::lease_
  std::vector<Waiter*> waiters_; ///< in the order of their arrival
  Ring ring_;                    ///< for breakRings, which is not to ask for memory each time
};

} // namespace Tarsil
