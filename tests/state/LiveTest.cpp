// Loading into a tree that is at work.
#include <atomic>
#include <sstream>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include <vantiflux/core/InSlot.h>
#include <vantiflux/core/Root.h>
#include <vantiflux/state/StateKeeperXML.h>
#include <vantiflux/values/SlotTypes.h>

#include "Support.h"

namespace Vantiflux::Test {
namespace {

Node& nodeOf(Namespace& space, const std::string& label) {
  return dynamic_cast<Node&>(*space.getNamespace(label));
}

class LiveState : public testing::Test {
protected:
  void SetUp() override {
    const Root::WriteLock lock;
    Root::the().addInSlot("Now", &now);
  }

  void TearDown() override {
    const Root::WriteLock lock;
    Root::the().clear();
    Root::the().removeInSlot("Now", &now);
  }

  InSlot<Time> now;
};

TEST_F(LiveState, RulesOfTheFileConnectItsNodes) {
  // The rule stands before the node, and behind it; and a rule that crosses two levels.
  for (const std::string contents :
       {"<Route from='C/Time' to='now'/><Node label='C' type='Clock'/>",
        "<Node label='C' type='Clock'/><Route from='c/*' to='NOW'/>",
        "<Namespace label='N'><Node label='C' type='Clock'/><ExternalRoute internal='C/Time' external='Now'/>"
        "</Namespace>"}) {
    {
      const Root::WriteLock lock;
      load(Root::the(), document(contents));
    }
    EXPECT_GT(now.pop().getValue().seconds, 1e9); // waits for the clock
    const Root::WriteLock lock;
    Root::the().clear();
    if (!now.empty())
      now.pop();
  }
}

TEST_F(LiveState, ANodeIsInitialisedCompleteAndTheOuterOnesFirst) {
  const Root::WriteLock lock;
  load(Root::the(), document("<Node label='a' type='StateSample'><Node label='b' type='StateSample'><Parameter"
                             " name='Title' value='inner'/></Node><Parameter name='Title' value='outer'/></Node>"));
  auto& outer = dynamic_cast<SampleNode&>(nodeOf(Root::the(), "a"));
  EXPECT_EQ("outer 1", outer.initialized);
  EXPECT_EQ("inner 0", dynamic_cast<SampleNode&>(nodeOf(outer, "b")).initialized);
}

// Clocks run, deliver and are replaced, while others look at the tree.
TEST_F(LiveState, LoadsOverAndOverBesideReaders) {
  std::string contents = "<Route from='*' to='now'/>";
  for (int i = 0; i < 5; ++i)
    contents += "<Node label='Clock' type='Clock'/>";
  const std::string text = document(contents);
  std::atomic<bool> done{false};
  std::thread reader([&] {
    while (!done) {
      const Root::ReadLock lock;
      Namespace copy;
      load(copy, save(Root::the()));
    }
  });
  for (int i = 0; i < 50; ++i) {
    {
      const Root::WriteLock lock;
      load(Root::the(), text);
      if (i % 5 == 4) {
        EXPECT_ANY_THROW(load(Root::the(), text + "<"));
      }
      EXPECT_EQ("Clock:Clock Clock 2:Clock Clock 3:Clock Clock 4:Clock Clock 5:Clock", outline(Root::the()));
    }
    EXPECT_GT(now.pop().getValue().seconds, 1e9);
  }
  done = true;
  reader.join();
}

} // namespace
} // namespace Vantiflux::Test
