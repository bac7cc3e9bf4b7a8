#include <vantiflux/platform/tarsil/Event.h>

#include <atomic>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <vantiflux/platform/tarsil/Semaphore.h>

namespace {

TEST(Event, ManualResetLetsAllThroughUntilReset) {
  Tarsil::Event event(true, false);
  EXPECT_FALSE(event.test());
  EXPECT_FALSE(event.wait(1));
  std::atomic<int> through{0};
  std::vector<std::thread> waiters;
  for (int i = 0; i < 4; ++i)
    waiters.emplace_back([&] {
      event.wait();
      ++through;
    });
  event.set();
  for (std::thread& waiter : waiters)
    waiter.join();
  EXPECT_EQ(through, 4);
  EXPECT_TRUE(event.test());
  event.reset();
  EXPECT_FALSE(event.test());
}

TEST(Event, AutoResetLetsOneThrough) {
  Tarsil::Event event(false, true);
  EXPECT_TRUE(event.test());
  EXPECT_FALSE(event.test());
  std::atomic<int> through{0};
  std::vector<std::thread> waiters;
  for (int i = 0; i < 4; ++i)
    waiters.emplace_back([&] {
      event.wait();
      ++through;
    });
  for (int i = 1; i <= 4; ++i) {
    event.set();
    while (through < i)
      std::this_thread::yield();
    EXPECT_EQ(through, i);
  }
  for (std::thread& waiter : waiters)
    waiter.join();
}

TEST(Semaphore, EveryUpLetsOneDownThrough) {
  Tarsil::Semaphore semaphore(2);
  EXPECT_TRUE(semaphore.tryDown());
  EXPECT_TRUE(semaphore.tryDown());
  EXPECT_FALSE(semaphore.tryDown());
  constexpr int each = 5000;
  std::atomic<int> taken{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 3; ++i) {
    threads.emplace_back([&] {
      for (int n = 0; n < each; ++n)
        semaphore.up();
    });
    threads.emplace_back([&] {
      for (int n = 0; n < each; ++n) {
        semaphore.down();
        ++taken;
      }
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(taken, 3 * each);
  EXPECT_FALSE(semaphore.tryDown());
}

} // namespace
