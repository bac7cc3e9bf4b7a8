#include "../../apps/vantiflux/Watcher.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <core/Support.h>
#include <gtest/gtest.h>

namespace {

using namespace Vantiflux;
using Host::Watcher;

/// Keeps lines without their time stamp and lets a test wait for one.
class Lines {
public:
  Watcher::Sink sink() {
    return [this](const std::string& line) {
      const std::lock_guard lock(mutex_);
      lines_.push_back(line.substr(line.find('\t') + 1));
      changed_.notify_all();
      return true;
    };
  }
  void waitFor(const std::string& line) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return std::count(lines_.begin(), lines_.end(), line) > 0; });
  }
  bool holds(const std::string& text) {
    const std::lock_guard lock(mutex_);
    return std::any_of(lines_.begin(), lines_.end(),
                       [&](const std::string& line) { return line.find(text) != std::string::npos; });
  }

private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::string> lines_;
};

TEST(Watcher, PrintsSlotsThatAreThereAndSlotsThatCome) {
  Namespace space;
  space.enable();
  OutSlot<float> there, other;
  OutSlot<std::string> late;
  space.addOutSlot("There", &there);
  space.addOutSlot("Other", &other);
  there.push(1.5F);

  Lines lines;
  {
    Watcher watcher(space, {"there", "late*"}, lines.sink());
    EXPECT_EQ(watcher.unmatched(), std::vector<std::string>{"late*"});
    lines.waitFor("There\t1.5\n");
    space.addOutSlot("Late/Text", &late);
    EXPECT_TRUE(watcher.unmatched().empty());
    other.push(9.0F);
    late.push(std::string("here"));
    lines.waitFor("Late/Text\there\n");

    space.removeOutSlot("There", &there);
    EXPECT_FALSE(there.isConnected());
    there.push(7.0F);
    late.push(std::string("after"));
    lines.waitFor("Late/Text\tafter\n");
  }
  EXPECT_FALSE(late.isConnected());
  EXPECT_FALSE(lines.holds("Other"));
  EXPECT_FALSE(lines.holds("\t7"));
  space.removeOutSlot("Late/Text", &late);
  space.removeOutSlot("Other", &other);
}

TEST(Watcher, SurvivesNodesThatComeAndGoWhileTheyPush) {
  Namespace space;
  space.enable();
  Lines lines;
  {
    Watcher watcher(space, {"*"}, lines.sink());
    for (int i = 0; i < 30; ++i) {
      space.addNamespace("Source", std::make_unique<test::SourceNode>());
      while (i == 0 && !lines.holds("Source/Out"))
        std::this_thread::yield();
      space.removeNamespace("Source");
    }
    space.addNamespace("Last", std::make_unique<test::SourceNode>());
    while (!lines.holds("Last/Out"))
      std::this_thread::yield();
  } // ends while values still come
  space.clear();
}

TEST(Watcher, EndsItsLinesWhenTheSinkFails) {
  Namespace space;
  space.enable();
  OutSlot<long> slot;
  space.addOutSlot("Slot", &slot);
  std::atomic<int> calls{0};
  {
    Watcher watcher(space, {"*"}, [&](const std::string&) {
      ++calls;
      return false;
    });
    slot.push(1L);
    while (calls == 0)
      std::this_thread::yield();
    slot.push(2L);
  }
  EXPECT_EQ(calls, 1);
  space.removeOutSlot("Slot", &slot);
}

} // namespace
