#include <vantiflux/platform/tarsil/ObjectThread.h>

#include <atomic>
#include <functional>
#include <memory>
#include <stdexcept>

#include <gtest/gtest.h>

#include <vantiflux/platform/tarsil/Event.h>

namespace {

struct Runner {
  explicit Runner(std::function<void()> work) : body(std::move(work)) {}
  int run() {
    body();
    return 0;
  }
  std::function<void()> body;
  Tarsil::ObjectThread<Runner> thread{this, &Runner::run};
};

TEST(Thread, RunsOnceForEachStart) {
  std::atomic<int> runs{0};
  Runner runner([&] { ++runs; });
  EXPECT_FALSE(runner.thread.isRunning());
  EXPECT_TRUE(runner.thread.join()); // never started
  for (int i = 1; i <= 100; ++i) {
    EXPECT_TRUE(runner.thread.start());
    EXPECT_TRUE(runner.thread.join());
    EXPECT_FALSE(runner.thread.isRunning());
    EXPECT_EQ(runs, i);
  }
}

TEST(Thread, IsRestartedWithoutAJoinOnceItsRunIsOver) {
  std::atomic<int> runs{0};
  Runner runner([&] { ++runs; });
  for (int i = 0; i < 20; ++i) {
    runner.thread.start();
    while (runner.thread.isRunning())
      Tarsil::Thread::yield();
  }
  EXPECT_EQ(runs, 20);
}

TEST(Thread, JoinOfItselfAndOfEachOtherReturns) {
  Tarsil::Event done;
  std::unique_ptr<Runner> self;
  bool joined = true;
  self = std::make_unique<Runner>([&] {
    joined = self->thread.join();
    done.set();
  });
  self->thread.start();
  done.wait();
  EXPECT_TRUE(self->thread.join());
  EXPECT_FALSE(joined);

  for (int round = 0; round < 50; ++round) {
    std::unique_ptr<Runner> one;
    std::unique_ptr<Runner> two;
    Tarsil::Event go;
    one = std::make_unique<Runner>([&] {
      go.wait();
      two->thread.join();
    });
    two = std::make_unique<Runner>([&] {
      go.wait();
      one->thread.join();
    });
    one->thread.start();
    two->thread.start();
    go.set();
    EXPECT_TRUE(one->thread.join());
    EXPECT_TRUE(two->thread.join());
  }
}

TEST(Thread, MayDestroyItself) {
  Tarsil::Event gone;
  struct Short {
    explicit Short(Tarsil::Event& event) : gone(event) {}
    int run() {
      Tarsil::Event& event = gone;
      delete this;
      event.set();
      return 0;
    }
    Tarsil::Event& gone;
    Tarsil::ObjectThread<Short> thread{this, &Short::run};
  };
  auto* const runner = new Short(gone);
  runner->thread.start();
  gone.wait();
}

TEST(Thread, SurvivesWhatItsBodyThrows) {
  Runner one([] { throw std::runtime_error("expected by the test"); });
  Runner two([] { throw 7; });
  one.thread.start();
  two.thread.start();
  EXPECT_TRUE(one.thread.join());
  EXPECT_TRUE(two.thread.join());
}

} // namespace
