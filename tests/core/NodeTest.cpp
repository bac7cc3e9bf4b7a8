#include <vantiflux/core/Node.h>

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <core/Support.h>
#include <vantiflux/core/ClockNode.h>

namespace {

using namespace Vantiflux;

/// Counts how often it is started and stopped.
struct CountingNode : Node {
  CountingNode() {
    in.addListener(*this);
    out.addListener(*this);
    addInSlot("In", &in);
    addOutSlot("Out", &out);
    publishSlots();
  }
  ~CountingNode() override { disable(); }
  void start() override { ++starts; }
  void stop() override { ++stops; }
  InSlot<float> in;
  OutSlot<float> out;
  int starts = 0;
  int stops = 0;
};

TEST(Node, RunsWhileOneOfItsSlotsIsInUse) {
  InSlot<float> reader;
  OutSlot<float> writer;
  Namespace ns;
  ns.enable();
  auto* const node = new CountingNode;
  ns.addNamespace("n", std::unique_ptr<Node>(node));
  EXPECT_EQ(node->starts, 0);
  EXPECT_EQ(node->getState(), Node::Sleeping);
  ns.addInSlot("n/Out", &reader);
  EXPECT_EQ(node->starts, 1);
  ns.addOutSlot("n/In", &writer);
  ns.addRoute("n/Out", "n/Out");
  EXPECT_EQ(node->starts, 1);
  ns.removeInSlot("n/Out", &reader);
  EXPECT_EQ(node->stops, 0);
  ns.removeOutSlot("n/In", &writer);
  EXPECT_EQ(node->stops, 1);
  node->out.disconnect(&reader); // once too often
  EXPECT_EQ(node->stops, 1);
  ns.addInSlot("n/Out", &reader);
  EXPECT_EQ(node->starts, 2);
  ns.disable();
  EXPECT_EQ(node->stops, 2);
  EXPECT_EQ(node->getState(), Node::Disabled);
  ns.enable();
  EXPECT_EQ(node->starts, 3);
}

TEST(Node, ReportsStateAndTheLatestLines) {
  CountingNode node;
  node.setState(Node::Error, "broken");
  node.setState(Node::Running);
  EXPECT_EQ(node.getShortInfo(), "broken");
  std::vector<std::string> lines{"stale"};
  node.getLog(lines);
  EXPECT_TRUE(lines.empty());
  for (int i = 1; i <= 19; ++i)
    node.addLog(std::to_string(i));
  node.getLog(lines);
  EXPECT_EQ(lines.size(), 19u);
  EXPECT_EQ(lines.front(), "1");
  for (int i = 20; i <= 45; ++i)
    node.addLog(std::to_string(i));
  node.getLog(lines);
  EXPECT_EQ(lines.size(), 19u);
  EXPECT_EQ(lines.front(), "27");
  EXPECT_EQ(lines.back(), "45");
  EXPECT_EQ(node.typeName(), "Node");
  EXPECT_EQ(node.type(), nullptr);
  EXPECT_STREQ(Node::stateName(static_cast<Node::State>(7)), "[NA]");
}

TEST(ThreadedNode, WorksWhileConnectedAndInvalidatesItsValue) {
  test::Reader reader;
  Namespace ns;
  ns.enable();
  auto* const source = new test::SourceNode;
  ns.addNamespace("s", std::unique_ptr<Node>(source));
  for (int round = 1; round <= 20; ++round) {
    const int before = reader.count;
    ns.addInSlot("s/Out", &reader.slot);
    test::waitFor([&] { return reader.count > before + 1; });
    EXPECT_EQ(source->getState(), Node::Running);
    ns.removeInSlot("s/Out", &reader.slot);
    EXPECT_EQ(source->getState(), Node::Sleeping);
    EXPECT_EQ(source->getShortInfo(), "done");
    EXPECT_EQ(source->runs, round);
    InSlot<float> late;
    source->out.connect(&late); // starts it again, with no value from the last run
    source->out.disconnect(&late);
    source->runs = round;
  }
}

TEST(ClockNode, TellsTheTimeOnlyWhileAsked) {
  InSlot<Time> reader;
  InSlot<Time> late;
  Namespace ns;
  ns.enable();
  EXPECT_EQ(ns.addNamespace(NodeType::newInstance("clock")), "Clock");
  EXPECT_EQ(ns.addNamespace(NodeType::newInstance("CLOCK")), "Clock 2");
  auto& clock = dynamic_cast<ClockNode&>(*ns.getNamespace("Clock 2"));
  EXPECT_EQ(clock.getState(), Node::Sleeping);
  std::vector<LabeledOutSlot> slots;
  ns.getOutSlots("clock*/time", slots);
  ASSERT_EQ(slots.size(), 2u);
  EXPECT_EQ(slots[1].label, "Clock 2/Time");
  ns.addInSlot("Clock 2/Time", &reader);
  const Data<Time> first = reader.pop();
  const Data<Time> second = reader.pop();
  EXPECT_EQ(clock.getState(), Node::Running);
  EXPECT_EQ(first.getValue().seconds, static_cast<double>(static_cast<long>(first.getValue().seconds)));
  EXPECT_GT(second.getValue().seconds, first.getValue().seconds);
  ns.addInSlot("Clock 2/Time", &late);
  EXPECT_FALSE(late.empty());
  ns.removeInSlot("Clock 2/Time", &late);
  ns.removeInSlot("Clock 2/Time", &reader);
  EXPECT_EQ(clock.getState(), Node::Sleeping);
}

TEST(NodeWorker, ReportsWhatItsRunThrows) {
  struct Thrower : ThreadedNode {
    Thrower() {
      out.addListener(*this);
      addOutSlot("Out", &out);
    }
    ~Thrower() override {
      disable();
      stop();
    }
    int thread() override { throw Exception("device on fire"); }
    OutSlot<float> out;
  };
  Thrower node; // no heap to keep it: its end waits for the runs' last steps
  InSlot<float> in;
  node.out.connect(&in);
  test::waitFor([&] { return node.getState() == Node::Error; });
  EXPECT_EQ(node.getShortInfo(), "device on fire");
  node.out.disconnect(&in); // it has ended by itself: returns at once
  node.out.connect(&in);
  node.out.disconnect(&in);
}

} // namespace
