#include <vantiflux/platform/pelorn/Wait.h>

#include "support.h"

namespace {

using Pelorn::Wait;

TEST(Wait, SignalSticksUntilCreatedAnew) {
  Wait wait;
  EXPECT_FALSE(wait.wait(-1)) << "no channel: nothing to wait for";
  EXPECT_EQ(-1, wait.descriptor());
  wait.signal(); // no channel: forgotten
  ASSERT_TRUE(wait.create());
  EXPECT_TRUE(wait.wait(0));
  EXPECT_TRUE(wait.wait(5));
  wait.signal();
  EXPECT_FALSE(wait.wait(0));
  EXPECT_FALSE(wait.wait(-1));
  pollfd entry{wait.descriptor(), POLLIN, 0};
  EXPECT_EQ(1, ::poll(&entry, 1, 0));
  ASSERT_TRUE(wait.create());
  EXPECT_TRUE(wait.wait(0));
  wait.close();
  EXPECT_FALSE(wait.wait(0));
}

TEST(Wait, SignalCloseAndCreateWakeAllWhoWait) {
  const std::function<void(Wait&)> ends[] = {[](Wait& w) { w.signal(); }, [](Wait& w) { w.close(); },
                                             [](Wait& w) { w.create(); }};
  for (const auto& end : ends) {
    Wait wait;
    ASSERT_TRUE(wait.create());
    std::atomic<int> woken{0};
    const auto sleep = [&] { woken += wait.wait(-1) ? 100 : 1; };
    test::Worker first(sleep), second(sleep);
    EXPECT_TRUE(first.blocked() && second.blocked());
    end(wait);
    first.join();
    second.join();
    EXPECT_EQ(2, woken);
  }
}

TEST(Wait, ManyThreadsAtOnce) {
  Wait wait;
  ASSERT_TRUE(wait.create());
  std::atomic<bool> stop{false};
  test::Worker waiter([&] {
    while (!stop)
      wait.wait(1);
  });
  for (int i = 0; i < 500; ++i) {
    wait.signal();
    wait.close();
    ASSERT_TRUE(wait.create());
  }
  stop = true;
}

} // namespace
