#include "../../apps/vantiflux/Watcher.h"

#include <algorithm>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <core/Support.h>
#include <gtest/gtest.h>

namespace {

using namespace Vantiflux;
using Host::Watcher;
using Strings = std::vector<std::string>;

/// Keeps what is told, as "label=value".
class Lines {
public:
  Watcher::Sink sink() {
    return [this](std::uint64_t, const std::string& label, const std::string& text) {
      const std::lock_guard lock(mutex_);
      lines_.push_back(label + '=' + text);
    };
  }
  Strings take() {
    const std::lock_guard lock(mutex_);
    return std::exchange(lines_, {});
  }
  bool holds(const std::string& text) {
    const std::lock_guard lock(mutex_);
    return std::any_of(lines_.begin(), lines_.end(),
                       [&](const std::string& line) { return line.find(text) != std::string::npos; });
  }

private:
  std::mutex mutex_;
  Strings lines_;
};

TEST(Watcher, TellsEveryValueOfSlotsThatAreThereAndSlotsThatCome) {
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
    EXPECT_EQ(watcher.unmatched(), Strings{"late*"});
    EXPECT_EQ(lines.take(), Strings{"There=1.5"});
    space.addOutSlot("Late/Text", &late);
    EXPECT_TRUE(watcher.unmatched().empty());
    other.push(9.0F);
    late.push(std::string("one"));
    late.push(std::string("two"));
    EXPECT_EQ(lines.take(), (Strings{"Late/Text=one", "Late/Text=two"}));

    space.removeOutSlot("There", &there);
    EXPECT_FALSE(there.isConnected());
    EXPECT_EQ(watcher.unmatched(), Strings{"there"});
    there.push(7.0F);
    EXPECT_TRUE(lines.take().empty());
  }
  EXPECT_FALSE(late.isConnected());
  std::vector<LabeledInSlot> left;
  space.getInSlots("*", left);
  EXPECT_TRUE(left.empty());
  space.removeOutSlot("Late/Text", &late);
  space.removeOutSlot("Other", &other);
}

TEST(Watcher, FollowsRoutesToLabelsThatNoSlotHas) {
  Namespace space;
  space.enable();
  OutSlot<float> number;
  OutSlot<std::string> text;
  space.addOutSlot("Number", &number);
  space.addOutSlot("Text", &text);
  Lines lines;
  {
    Watcher watcher(space, {"screen/*", "Screen/Line"}, lines.sink());
    EXPECT_EQ(watcher.unmatched(), (Strings{"screen/*", "Screen/Line"}));
    number.push(1.0F);
    space.addRoute("Number", "Screen/Number"); // brings the value that is there
    EXPECT_EQ(lines.take(), Strings{"Screen/Number=1"});
    space.addRoute("*", "Screen/L*"); // a pattern, met by the label that is watched by name
    EXPECT_EQ(lines.take(), Strings{"Screen/Line=1"});
    text.push(std::string("a"));
    number.push(2.0F);
    EXPECT_EQ(lines.take(), (Strings{"Screen/Line=a", "Screen/Number=2", "Screen/Line=2"}));

    space.removeRoute("Number", "Screen/Number");
    EXPECT_EQ(space.findInSlot("Screen/Number", nullptr), nullptr);
    space.clearRoutes(); // of which no listener is told
    number.push(3.0F);
    EXPECT_TRUE(lines.take().empty());
    EXPECT_FALSE(number.isConnected());
    EXPECT_EQ(watcher.unmatched(), (Strings{"screen/*", "Screen/Line"}));
  }
  space.removeOutSlot("Number", &number);
  space.removeOutSlot("Text", &text);
}

TEST(Watcher, TellsAValueOnceThoughManyWaysLeadToItsLabel) {
  Namespace space;
  space.enable();
  OutSlot<float> number;
  space.addOutSlot("Number", &number);
  space.addRoute("*", "*");
  space.addRoute("num*", "NUMBER");
  space.addRoute("Number", "Copy");
  Lines lines;
  {
    Watcher watcher(space, {"*", "number", "Copy"}, lines.sink());
    number.push(1.0F);
    Strings told = lines.take();
    std::sort(told.begin(), told.end());
    EXPECT_EQ(told, (Strings{"Copy=1", "Number=1"}));
  }
  space.removeOutSlot("Number", &number);
}

TEST(Watcher, SurvivesNodesThatComeAndGoWhileTheyPush) {
  Namespace space;
  space.enable();
  Lines lines;
  {
    Watcher watcher(space, {"*", "Copy"}, lines.sink());
    space.addRoute("*", "Copy");
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

} // namespace
