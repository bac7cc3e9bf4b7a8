#include <vantiflux/devices/SerialNode.h>

#include <chrono>
#include <string>

#include <gtest/gtest.h>

#include <devices/Support.h>

namespace {

using namespace Vantiflux;
using test::Bench;
using test::Messages;
using test::Pty;
using Clock = std::chrono::steady_clock;

TEST(SerialNode, RunsOnlyWhileItIsInUse) {
  Pty pty;
  Bench<SerialNode> bench({{"Device", pty.path()}});
  EXPECT_EQ(bench.node->getState(), Node::Sleeping);
  EXPECT_EQ(bench.node->getShortInfo(), "");
  for (int round = 0; round < 3; ++round) {
    bench.route();
    EXPECT_TRUE(bench.runs("Operating on " + pty.path()));
    bench.unroute();
    EXPECT_EQ(bench.node->getState(), Node::Sleeping);
  }
}

TEST(SerialNode, CutsByDelimiterWhateverTheBursts) {
  Pty pty;
  Bench<SerialNode> bench({{"Device", pty.path()}, {"Delimiter", "10"}});
  bench.route();
  ASSERT_TRUE(bench.runs("Operating"));
  pty.send("one\ntw");
  EXPECT_EQ(bench.inbox.wait(1), (Messages{"one\n"}));
  for (const char c : std::string("o\n\xE4\n"))
    pty.send(std::string(1, c));
  EXPECT_EQ(bench.inbox.wait(3), (Messages{"one\n", "two\n", "\xC3\xA4\n"}));
}

TEST(SerialNode, SendsTheInitStringInPiecesAndBeforeAnythingElse) {
  Pty pty;
  Bench<SerialNode> bench({{"Device", pty.path()}, {"InitString", "a#b#c"}});
  bench.writer.push(std::string("stored\xE4"));
  const auto begin = Clock::now();
  bench.route(); // delivers the stored value
  EXPECT_EQ(pty.receive(1), "a");
  bench.writer.push(std::string("|more"));
  EXPECT_EQ(pty.receive(1), "b");
  EXPECT_GE(Clock::now() - begin, std::chrono::milliseconds(500));
  EXPECT_EQ(pty.receive(1), "c");
  EXPECT_GE(Clock::now() - begin, std::chrono::milliseconds(1000));
  EXPECT_EQ(pty.receive(12), "stored\xE4|more");
  bench.writer.push(std::string("|last"));
  EXPECT_EQ(pty.receive(5), "|last");
}

TEST(SerialNode, SendsTheDeinitStringInOnePiece) {
  Pty pty;
  Bench<SerialNode> bench({{"Device", pty.path()}, {"DeinitString", "x#y"}});
  for (int round = 0; round < 2; ++round) {
    bench.route();
    bench.unroute();
    EXPECT_EQ(pty.receive(3), "x#y");
  }
}

TEST(SerialNode, SaysWhyItCannotOpen) {
  Pty pty;
  Bench<SerialNode> bench({{"Device", "/dev/nonexistent"}});
  bench.route();
  EXPECT_EQ(bench.node->getState(), Node::Error);
  EXPECT_EQ(bench.node->getShortInfo(), "Cannot open serial port /dev/nonexistent");
  EXPECT_EQ(bench.log().size(), 1u);
  bench.unroute();
  bench.node->setFieldValue("Device", pty.path());
  bench.node->setFieldValue("Parity", "strange");
  bench.route();
  EXPECT_EQ(bench.node->getState(), Node::Error);
  EXPECT_EQ(bench.log().back(), "Parity cannot be \"strange\"");
  bench.unroute();
  bench.node->setFieldValue("Parity", "Odd");
  bench.route();
  EXPECT_TRUE(bench.runs("Operating on " + pty.path()));
}

TEST(SerialNode, SleepsWhenTheDeviceGoes) {
  Pty pty;
  Bench<SerialNode> bench({{"Device", pty.path()}, {"DeinitString", "bye"}});
  bench.route();
  ASSERT_TRUE(bench.runs("Operating"));
  pty.hangUp();
  EXPECT_TRUE(bench.reaches(Node::Sleeping));
  bench.writer.push(std::string("to nobody"));
  bench.unroute();
  Pty other;
  bench.node->setFieldValue("Device", other.path());
  bench.route();
  other.send("back");
  EXPECT_EQ(bench.inbox.wait(1), (Messages{"back"}));
}

TEST(SerialNode, AStalledLineBlocksNeitherWritersNorTheEnd) {
  Pty pty;
  Bench<SerialNode> bench({{"Device", pty.path()}, {"DeinitString", "unsendable"}});
  bench.route();
  ASSERT_TRUE(bench.runs("Operating"));
  const std::string block(100000, 'x');
  for (int i = 0; i < 30; ++i)
    bench.writer.push(block);
  EXPECT_EQ(bench.log().size(), 1u); // and not 19
  bench.unroute();
  EXPECT_EQ(bench.node->getState(), Node::Sleeping);
}

} // namespace
