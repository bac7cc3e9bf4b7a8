#include <vantiflux/platform/tarsil/Mutex.h>

#include <atomic>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <vantiflux/platform/tarsil/Event.h>
#include <vantiflux/platform/tarsil/ObjectThread.h>

namespace {

using Tarsil::Mutex;
using Tarsil::MutexLock;

/// Returns when a thread waits for the mutex: only then a try from outside finds it marked for it.
void waitUntil(const std::atomic<bool>& flag) {
  while (!flag.load())
    std::this_thread::yield();
}

TEST(Mutex, ExcludesAndCountsItsLocks) {
  Mutex mutex;
  long shared = 0;
  constexpr int rounds = 20000;
  const auto work = [&] {
    for (int i = 0; i < rounds; ++i) {
      const MutexLock outer(mutex);
      const MutexLock inner(mutex);
      ++shared;
    }
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i)
    threads.emplace_back(work);
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(shared, 4L * rounds);
  EXPECT_FALSE(mutex.isLocked());
}

TEST(Mutex, TryLockFailsOnlyForOthers) {
  Mutex mutex;
  mutex.lock();
  EXPECT_TRUE(mutex.tryLock());
  EXPECT_TRUE(mutex.isLockedByThisThread());
  bool taken = true;
  std::thread([&] { taken = mutex.tryLock(); }).join();
  EXPECT_FALSE(taken);
  mutex.unlock();
  mutex.unlock();
  std::thread([&] {
    taken = mutex.tryLock();
    mutex.unlock();
  }).join();
  EXPECT_TRUE(taken);
}

// A thread that is joined needs, on its way out, what the joining thread holds: more than once, and recursively.
TEST(MutexLending, AJoinLendsWhatItHolds) {
  struct Worker {
    int run() {
      go.wait();
      for (int i = 0; i < 3; ++i) {
        const MutexLock first(mutex);
        const MutexLock second(mutex);
        ++entered;
      }
      return 0;
    }
    Mutex mutex;
    Tarsil::Event go;
    int entered = 0;
    Tarsil::ObjectThread<Worker> thread{this, &Worker::run};
  } worker;
  worker.thread.start();
  {
    const MutexLock twice(worker.mutex);
    const MutexLock held(worker.mutex);
    worker.go.set();
    EXPECT_TRUE(worker.thread.join());
    EXPECT_EQ(worker.entered, 3);
    EXPECT_TRUE(worker.mutex.isLockedByThisThread());
  }
  EXPECT_FALSE(worker.mutex.isLocked());
}

// The ring has four members; the one that can lend is not the one that closes it.
TEST(MutexLending, FindsTheLenderInALongRing) {
  struct Ring {
    int inner() {
      const MutexLock a(first);
      innerHolds = true;
      waitUntil(middleHolds);
      const MutexLock b(second);
      return 0;
    }
    int middle() {
      const MutexLock b(second);
      middleHolds = true;
      waitUntil(outerHolds);
      const MutexLock c(third);
      return 0;
    }
    Mutex first, second, third;
    std::atomic<bool> innerHolds{false}, middleHolds{false}, outerHolds{false};
    Tarsil::ObjectThread<Ring> innerThread{this, &Ring::inner};
    Tarsil::ObjectThread<Ring> middleThread{this, &Ring::middle};
  } ring;
  ring.innerThread.start();
  ring.middleThread.start();
  waitUntil(ring.innerHolds);
  waitUntil(ring.middleHolds);
  const MutexLock c(ring.third);
  ring.outerHolds = true;
  EXPECT_TRUE(ring.innerThread.join());
  EXPECT_TRUE(ring.middleThread.join());
}

// Two deliveries that run into each other, as in a ring of routes, pass one through the other.
TEST(MutexLending, DeliveriesPassThroughEachOther) {
  Mutex a(Mutex::Kind::Delivery);
  Mutex b(Mutex::Kind::Delivery);
  std::atomic<int> inside{0};
  const auto deliver = [&](Mutex& mine, Mutex& other) {
    for (int i = 0; i < 2000; ++i) {
      const MutexLock outer(mine, Mutex::Wait::Delivery);
      const MutexLock inner(other, Mutex::Wait::Delivery);
      ++inside;
    }
  };
  std::thread one([&] { deliver(a, b); });
  std::thread two([&] { deliver(b, a); });
  one.join();
  two.join();
  EXPECT_EQ(inside, 4000);
}

// Two that wait for the end of each other's deliveries, or runs, cannot both be served: both go on nevertheless.
TEST(MutexLending, MutualEndsAreGivenUp) {
  for (int round = 0; round < 50; ++round) {
    Mutex a(Mutex::Kind::Delivery);
    Mutex b(Mutex::Kind::Delivery);
    std::atomic<int> ready{0};
    const auto listen = [&](Mutex& mine, Mutex& other) {
      const MutexLock delivery(mine, Mutex::Wait::Delivery);
      ++ready;
      while (ready < 2)
        std::this_thread::yield();
      const MutexLock end(other, Mutex::Wait::Yielding);
    };
    std::thread one([&] { listen(a, b); });
    std::thread two([&] { listen(b, a); });
    one.join();
    two.join();
    EXPECT_FALSE(a.isLocked());
    EXPECT_FALSE(b.isLocked());
  }
}

} // namespace
