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
  return mutex.owner_.load(std::memory_order_acquire);
}

Waiter* WaitGraph::find(ThreadId thread) {
  const auto found =
      std::find_if(waiters_.begin(), waiters_.end(), [&](const Waiter* w) { return w->thread == thread; });
  return found == waiters_.end() ? nullptr : *found;
}

// Takes the mutex if it is free and the waiter has back what it lent.
bool WaitGraph::acquire(Mutex& mutex, const Waiter& waiter) {
  ThreadId seen = 0;
  return waiter.leases.empty() && mutex.owner_.compare_exchange_strong(seen, waiter.thread, std::memory_order_seq_cst,
                                                                       std::memory_order_relaxed);
}

void WaitGraph::lock(Mutex& mutex, ThreadId self, Mutex::Wait wait) {
  Waiter waiter{.thread = self, .wait = wait, .mutex = &mutex};
  std::unique_lock guard(lock_);
  std::atomic<std::uint32_t>& attention = Attention::of(&mutex);
  attention.fetch_add(1, std::memory_order_seq_cst);
  heavyFence();
  bool waits = false;
  while (waiter.state != Waiter::State::Granted) {
    if (acquire(mutex, waiter)) {
      std::erase(waiters_, &waiter);
      break;
    }
    if (!waits) {
      waits = true;
      waiters_.push_back(&waiter);
      breakRings(waiter);
      continue;
    }
    sleep(waiter, guard);
    waiter.passedOver = true;
  }
  attention.fetch_sub(1, std::memory_order_relaxed);
}

// The mutex goes back to a thread that sleeps, so those who wait for it now wait for that one and rings may close; and
// the lender itself, once it has everything back, may be served where it could not before.
void WaitGraph::giveBack(Mutex& mutex) {
  {
    const Lease* const lease = mutex.lease_;
    Waiter& lender = *lease->lender;
    mutex.lease_ = lease->outer;
    mutex.depth_ = lease->depth;
    mutex.owner_.store(lender.thread, std::memory_order_release);
    Attention::of(&mutex).fetch_sub(1, std::memory_order_relaxed);
    std::erase_if(lender.leases, [&](const auto& open) { return open.get() == lease; });
    if (lender.leases.empty()) { // it may go on: let it look again at what it waits for
      rouse(lender);
    }
  }
  for (Waiter* const waiter : std::vector<Waiter*>(waiters_))
    if (std::find(waiters_.begin(), waiters_.end(), waiter) != waiters_.end())
      breakRings(*waiter);
}

Waiter* WaitGraph::firstServable(const Mutex* mutex) {
  const auto first = std::find_if(waiters_.begin(), waiters_.end(),
                                  [&](const Waiter* w) { return w->mutex == mutex && w->leases.empty(); });
  return first == waiters_.end() ? nullptr : *first;
}

void WaitGraph::unlock(Mutex& mutex) {
  const std::lock_guard guard(lock_);
  if (mutex.lease_ != nullptr)
    return giveBack(mutex);
  Waiter* const next = firstServable(&mutex);
  if (next != nullptr && next->passedOver) {
    mutex.owner_.store(next->thread, std::memory_order_seq_cst);
    grant(*next, Waiter::State::Granted);
    return;
  }
  mutex.owner_.store(0, std::memory_order_seq_cst);
  if (next != nullptr)
    rouse(*next);
}

// Whoever is found to wait at this address waits for a mutex that lives, be it another one by now: to be roused in vain
// does no harm.
void WaitGraph::wake(const Mutex* mutex) {
  const std::lock_guard guard(lock_);
  if (Waiter* const next = firstServable(mutex); next != nullptr && owner(*next->mutex) == 0)
    rouse(*next);
}

bool WaitGraph::isAwaited(const Mutex& mutex) {
  const std::lock_guard guard(lock_);
  return std::any_of(waiters_.begin(), waiters_.end(), [&](const Waiter* w) { return w->mutex == &mutex; });
}

// Lets a sleeper look again.
void WaitGraph::rouse(Waiter& waiter) {
  waiter.wake.store(1, std::memory_order_release);
  futexWake(waiter.wake, 1);
}

// Ends a wait: from here on the thread counts as running.
void WaitGraph::grant(Waiter& waiter, Waiter::State state) {
  waiter.state = state;
  std::erase(waiters_, &waiter);
  rouse(waiter);
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
      rouse(*waiter);
    }
}

bool WaitGraph::join(ThreadRun& run, ThreadId self) {
  Waiter waiter{.thread = self, .wait = Mutex::Wait::Yielding, .run = &run};
  std::unique_lock guard(lock_);
  if (run.finished) // before all else: identities of threads are used again
    return true;
  if (run.id == self)
    return false;
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
    ring_.clear();
    if (waiter.state != Waiter::State::Asleep || !findRing(waiter, waiter.thread, ring_) || !resolve(ring_))
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
  lender->leases.push_back(std::make_unique<Lease>(Lease{&mutex, lender, mutex.depth_, mutex.lease_.load()}));
  mutex.lease_ = lender->leases.back().get();
  mutex.depth_ = 0;
  Attention::of(&mutex).fetch_add(1, std::memory_order_relaxed);
  mutex.owner_.store(to.thread, std::memory_order_release);
  grant(to, Waiter::State::Granted);
  return true;
}

} // namespace Tarsil
