#include <vantiflux/media/BasicThreadedFilterNode.h>

#include <atomic>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <platform/support.h>
#include <vantiflux/core/Namespace.h>

namespace {

using namespace Vantiflux;
using test::eventually;

constexpr const char* dropped = "BasicThreadedFilterNode::newData frame dropped\n";

SmartPtr<Image> frameOfWidth(unsigned width) {
  SmartPtr<Image> frame;
  frame.acquire();
  frame->setParameters(width, 1, Image::Y800);
  return frame;
}

/// Passes frames on, each when the test lets it through.
class GateNode : public ThreadedImageFilterNode {
public:
  GateNode() : ThreadedImageFilterNode("in", "what comes", "out", "what goes") {}
  ~GateNode() override {
    disable();
    endWorker();
  }

  SmartPtr<Image> transform(SmartPtr<Image>& frame) const override {
    ++entered;
    gate.wait();
    if (frame->width() == 13)
      throw std::runtime_error("unlucky frame");
    return frame;
  }

  mutable std::atomic<int> entered{0};
  mutable Tarsil::Event gate{false, false};
};

struct Scene {
  Scene() {
    space.enable();
    space.addOutSlot("producer", &producer);
    space.addInSlot("reader", &reader);
    space.addNamespace("n", std::unique_ptr<Node>(node));
    space.addRoute("producer", "n/in");
  }
  ~Scene() {
    node->gate.set();
    space.clear();
    space.removeOutSlot("producer", &producer);
    space.removeInSlot("reader", &reader);
  }
  void route() { space.addRoute("n/out", "reader"); }
  void unroute() { space.removeRoute("n/out", "reader"); }
  bool enters(int count) const {
    return eventually([&] { return node->entered == count; });
  }
  /// Pushes until the worker, which may still be on its way back from the frame before, is ready to take it.
  void give(const Data<SmartPtr<Image>>& frame) {
    EXPECT_TRUE(eventually([&] {
      testing::internal::CaptureStderr();
      producer.push(frame);
      return testing::internal::GetCapturedStderr().empty();
    }));
  }
  unsigned pop() { return reader.pop().getValue()->width(); }

  Namespace space;
  OutSlot<SmartPtr<Image>> producer;
  InSlot<SmartPtr<Image>> reader;
  GateNode* node = new GateNode;
};

TEST(ThreadedFilter, DropsWhatComesWhileItIsBusyAndNeverHoldsUpTheProducer) {
  Scene scene;
  scene.route();
  scene.producer.push(frameOfWidth(1));
  ASSERT_TRUE(scene.enters(1));
  testing::internal::CaptureStderr();
  scene.producer.push(frameOfWidth(2)); // returns, although the gate is shut
  scene.producer.push(frameOfWidth(3));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), std::string(dropped) + dropped);
  scene.node->gate.set();
  EXPECT_EQ(scene.pop(), 1U);
  // What was dropped does not come later; the next one does, stamped when it was ready.
  const BasicData::TimeStamp early = 1;
  scene.give(Data<SmartPtr<Image>>(frameOfWidth(4), early));
  ASSERT_TRUE(scene.enters(2));
  scene.node->gate.set();
  const auto data = scene.reader.pop();
  EXPECT_EQ(data.getValue()->width(), 4U);
  EXPECT_GT(data.getTimeStamp(), early);
}

TEST(ThreadedFilter, TellsOfItsBeginningAndEnd) {
  Scene scene;
  EXPECT_EQ(scene.node->getState(), Node::Sleeping);
  testing::internal::CaptureStdout();
  scene.route();
  EXPECT_TRUE(eventually([&] { return scene.node->getState() == Node::Running; }));
  scene.unroute();
  const std::string text = testing::internal::GetCapturedStdout();
  const std::string prefix = "BasicThreadedFilterNode::";
  std::size_t at = 0;
  for (const char* const line :
       {"start \n", "start thread STARTED\n", "stop stopping thread\n", "thread end \n", "stop thread STOPPED\n"}) {
    at = text.find(prefix + line, at);
    EXPECT_NE(at, std::string::npos) << line << " in\n" << text;
  }
  EXPECT_NE(text.find(prefix + "thread begin \n"), std::string::npos);
  EXPECT_EQ(scene.node->getState(), Node::Sleeping);

  testing::internal::CaptureStdout();
  scene.node->stop();
  EXPECT_EQ(testing::internal::GetCapturedStdout(), prefix + "stop thread STOPPED\n");
}

TEST(ThreadedFilter, RunsWhileItsOutSlotIsUsedWhateverHappensToTheOther) {
  Scene scene;
  scene.route();
  EXPECT_TRUE(eventually([&] { return scene.node->getState() == Node::Running; }));
  for (unsigned width = 1; width <= 3; ++width) {
    scene.space.removeRoute("producer", "n/in");
    EXPECT_EQ(scene.node->getState(), Node::Running);
    scene.producer.invalidateValue();
    scene.space.addRoute("producer", "n/in");
    scene.give(frameOfWidth(width));
    scene.node->gate.set();
    EXPECT_EQ(scene.pop(), width);
  }
}

TEST(ThreadedFilter, SurvivesAnExceptionOfItsWork) {
  Scene scene;
  scene.route();
  for (const unsigned width : {13U, 14U}) {
    scene.give(frameOfWidth(width));
    scene.node->gate.set();
    EXPECT_TRUE(scene.enters(width == 13 ? 1 : 2));
  }
  EXPECT_EQ(scene.pop(), 14U);
  std::vector<std::string> lines;
  scene.node->getLog(lines);
  EXPECT_EQ(lines, std::vector<std::string>{"unlucky frame"});
}

TEST(ThreadedFilter, DropsItsOwnFramesThatComeBack) {
  Scene scene;
  scene.space.addRoute("n/out", "n/in");
  scene.route();
  testing::internal::CaptureStderr();
  scene.producer.push(frameOfWidth(5));
  scene.node->gate.set();
  EXPECT_EQ(scene.pop(), 5U);
  scene.unroute();
  scene.space.removeRoute("n/out", "n/in");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), dropped);
  EXPECT_EQ(scene.node->entered, 1);
}

TEST(ThreadedFilter, StopsAtAnyMoment) {
  Scene scene;
  std::atomic<bool> over{false};
  testing::internal::CaptureStderr();
  testing::internal::CaptureStdout();
  std::thread producer([&] {
    while (!over) {
      scene.producer.push(frameOfWidth(1));
      scene.node->gate.set();
    }
  });
  for (int round = 0; round < 300; ++round) {
    scene.route();
    if (round % 3 == 0)
      scene.pop();
    scene.unroute();
    EXPECT_NE(scene.node->getState(), Node::Running);
  }
  over = true;
  producer.join();
  testing::internal::GetCapturedStdout();
  testing::internal::GetCapturedStderr();
}

} // namespace
