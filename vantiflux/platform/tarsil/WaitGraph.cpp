#include <vantiflux/platform/tarsil/WaitGraph.h>

#include <algorithm>

#include <vantiflux/platform/tarsil/Futex.h>

namespace Tarsil {

WaitGraph& WaitGraph::the() {
  // Never destroyed: mutexes are used until the last thread of the process has gone.
  static WaitGraph* const graph = new WaitGraph;
  return *graph;
}

ThreadId WaitGraph::owner(const Mutex& mutex) {
  return mutex.word_.load(std::memory_order_acquire) & ~Mutex::contended;
}

Waiter* WaitGraph::find(ThreadId thread) {
  const auto found =
      std::find_if(waiters_.begin(), waiters_.end(), [&](const Waiter* w) { return w->thread == thread; });
  return found == waiters_.end() ? nullptr : *found;
}

// Takes the mutex if it is free; otherwise marks it, so that its owner's unlock comes here.
bool WaitGraph::acquireOrMark(Mutex& mutex, Waiter& waiter) {
  std::uintptr_t seen = mutex.word_.load(std::memory_order_relaxed);
  for (;;) {
    if ((seen & ~Mutex::contended) == 0 && waiter.leases.empty()) {
      const std::uintptr_t taken = waiter.thread | (seen & Mutex::contended);
      if (mutex.word_.compare_exchange_weak(seen, taken, std::memory_order_acquire, std::memory_order_relaxed))
        return true;
    } else if ((seen & Mutex::contended) != 0 ||
               mutex.word_.compare_exchange_weak(seen, seen | Mutex::contended, std::memory_order_acquire,
                                                 std::memory_order_relaxed)) {
      return false;
    }
  }
}

// Clears the contended mark of a mutex that this thread owns when nobody needs it any more.
void WaitGraph::settle(Mutex& mutex) {
  if (mutex.lease_ != nullptr ||
      std::any_of(waiters_.begin(), waiters_.end(), [&](const Waiter* w) { return w->mutex == &mutex; }))
    return;
  mutex.word_.fetch_and(~Mutex::contended, std::memory_order_relaxed);
}

void WaitGraph::lock(Mutex& mutex, ThreadId self, Mutex::Wait wait) {
  Waiter waiter{.thread = self, .wait = wait, .mutex = &mutex};
  std::unique_lock guard(lock_);
  bool waits = false;
  while (waiter.state != Waiter::State::Granted) {
    if (acquireOrMark(mutex, waiter))
      break;
    if (!waits) {
      waits = true;
      waiters_.push_back(&waiter);
      breakRings(waiter);
      continue;
    }
    sleep(waiter, guard);
    waiter.passedOver = true;
  }
  if (waits && waiter.state != Waiter::State::Granted)
    std::erase(waiters_, &waiter);
  settle(mutex);
}

bool WaitGraph::tryLock(Mutex& mutex, ThreadId self) {
  Waiter waiter{.thread = self, .wait = Mutex::Wait::Plain, .mutex = &mutex};
  const std::lock_guard guard(lock_);
  std::uintptr_t seen = mutex.word_.load(std::memory_order_relaxed);
  if ((seen & ~Mutex::contended) != 0 || !acquireOrMark(mutex, waiter))
    return false;
  settle(mutex);
  return true;
}

// The mutex goes back to a thread that sleeps, so those who wait for it now wait for that one and rings may close; and
// the lender itself, once it has everything back, may be served where it could not before.
void WaitGraph::giveBack(Mutex& mutex) {
  {
    const Lease* const lease = mutex.lease_;
    Waiter& lender = *lease->lender;
    mutex.lease_ = lease->outer;
    mutex.depth_ = lease->depth;
    mutex.word_.store(lender.thread | Mutex::contended, std::memory_order_release);
    std::erase_if(lender.leases, [&](const auto& open) { return open.get() == lease; });
    if (lender.leases.empty()) { // it may go on: let it look again at what it waits for
      lender.wake.store(1, std::memory_order_release);
      futexWake(lender.wake, 1);
    }
  }
  for (Waiter* const waiter : std::vector<Waiter*>(waiters_))
    if (std::find(waiters_.begin(), waiters_.end(), waiter) != waiters_.end())
      breakRings(*waiter);
}

void WaitGraph::unlock(Mutex& mutex) {
  const std::lock_guard guard(lock_);
  if (mutex.lease_ != nullptr)
    return giveBack(mutex);
  const auto next = std::find_if(waiters_.begin(), waiters_.end(),
                                 [&](const Waiter* w) { return w->mutex == &mutex && w->leases.empty(); });
  if (next == waiters_.end()) {
    const bool waited =
        std::any_of(waiters_.begin(), waiters_.end(), [&](const Waiter* w) { return w->mutex == &mutex; });
    mutex.word_.store(waited ? Mutex::contended : 0, std::memory_order_seq_cst);
  } else if ((*next)->passedOver) {
    Waiter& heir = **next;
    mutex.word_.store(heir.thread | Mutex::contended, std::memory_order_seq_cst);
    grant(heir, Waiter::State::Granted);
  } else {
    Waiter& first = **next;
    mutex.word_.store(Mutex::contended, std::memory_order_seq_cst);
    first.wake.store(1, std::memory_order_release);
    futexWake(first.wake, 1);
  }
}

// Ends a wait: from here on the thread counts as running.
void WaitGraph::grant(Waiter& waiter, Waiter::State state) {
  waiter.state = state;
  std::erase(waiters_, &waiter);
  waiter.wake.store(1, std::memory_order_release);
  futexWake(waiter.wake, 1);
}

void WaitGraph::sleep(Waiter& waiter, std::unique_lock<std::mutex>& guard) {
  if (waiter.state != Waiter::State::Asleep)
    return;
  guard.unlock();
  while (waiter.wake.load(std::memory_order_acquire) == 0)
    futexWait(waiter.wake, 0);
  guard.lock();
  waiter.wake.store(0, std::memory_order_relaxed);
}

void WaitGraph::begin(ThreadRun& run, ThreadId self) {
  const std::lock_guard guard(lock_);
  run.id = self;
}

void WaitGraph::finish(ThreadRun& run) {
  const std::lock_guard guard(lock_);
  run.finished = true;
  for (Waiter* const waiter : std::vector<Waiter*>(waiters_))
    if (waiter->run == &run) {
      waiter->wake.store(1, std::memory_order_release);
      futexWake(waiter->wake, 1);
    }
}

bool WaitGraph::join(ThreadRun& run, ThreadId self) {
  if (run.id == self)
    return false;
  Waiter waiter{.thread = self, .wait = Mutex::Wait::Yielding, .run = &run};
  std::unique_lock guard(lock_);
  if (run.finished)
    return true;
  waiters_.push_back(&waiter);
  breakRings(waiter);
  while (waiter.state == Waiter::State::Asleep && (!run.finished || !waiter.leases.empty()))
    sleep(waiter, guard);
  if (waiter.state == Waiter::State::Asleep)
    std::erase(waiters_, &waiter);
  return run.finished;
}

// A wait that closes rings is the moment at which they are parted; no ring comes into being otherwise.
void WaitGraph::breakRings(Waiter& waiter) {
  for (;;) {
    Ring ring;
    if (waiter.state != Waiter::State::Asleep || !findRing(waiter, waiter.thread, ring) || !resolve(ring))
      return;
  }
}

bool WaitGraph::findRing(Waiter& from, ThreadId to, Ring& ring) {
  // A ring is no longer than the number of waiters: a chain that runs into a foreign ring ends there.
  if (std::find(ring.begin(), ring.end(), &from) != ring.end())
    return false;
  ring.push_back(&from);
  ThreadId next = 0;
  if (from.mutex != nullptr)
    next = owner(*from.mutex);
  else if (from.run != nullptr && !from.run->finished)
    next = from.run->id;
  if (reaches(next, to, ring))
    return true;
  for (const auto& lease : from.leases)
    if (reaches(owner(*lease->mutex), to, ring))
      return true;
  ring.pop_back();
  return false;
}

bool WaitGraph::reaches(ThreadId thread, ThreadId to, Ring& ring) {
  if (thread == 0)
    return false;
  if (thread == to)
    return true;
  Waiter* const waiter = find(thread);
  return waiter != nullptr && findRing(*waiter, to, ring);
}

bool WaitGraph::resolve(const Ring& ring) {
  const auto lender = [&](std::size_t i) { return ring[(i + 1) % ring.size()]; };
  const auto wants = [&](std::size_t i, Mutex::Kind kind) {
    const Mutex* const mutex = ring[i]->mutex;
    return mutex != nullptr && mutex->kind_ == kind && owner(*mutex) == lender(i)->thread &&
           lender(i)->wait != Mutex::Wait::Plain;
  };
  for (std::size_t i = 0; i < ring.size(); ++i)
    if (wants(i, Mutex::Kind::Plain) && lend(*ring[i], lender(i)))
      return true;
  for (std::size_t i = 0; i < ring.size(); ++i)
    if (wants(i, Mutex::Kind::Delivery) && ring[i]->wait == Mutex::Wait::Delivery && lend(*ring[i], lender(i)))
      return true;
  // What is left: threads that wait for each other's deliveries or runs to end. One of them has to go on without.
  for (std::size_t i = 0; i < ring.size(); ++i) {
    if (ring[i]->run != nullptr && ring[i]->leases.empty()) {
      grant(*ring[i], Waiter::State::Abandoned);
      return true;
    }
    if (wants(i, Mutex::Kind::Delivery) && lend(*ring[i], lender(i)))
      return true;
  }
  return false;
}

bool WaitGraph::lend(Waiter& to, Waiter* lender) {
  if (!to.leases.empty()) // it must get its own back before it goes on
    return false;
  Mutex& mutex = *to.mutex;
  lender->leases.push_back(std::make_unique<Lease>(Lease{&mutex, lender, mutex.depth_, mutex.lease_}));
  mutex.lease_ = lender->leases.back().get();
  mutex.depth_ = 0;
  mutex.word_.store(to.thread | Mutex::contended, std::memory_order_release);
  grant(to, Waiter::State::Granted);
  return true;
}

} // namespace Tarsil
