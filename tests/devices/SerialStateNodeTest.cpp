// A pseudo-terminal has no control lines: the answer to the request for them is this program's, the rest is the
// system's.
#include <vantiflux/devices/SerialStateNode.h>

#include <atomic>
#include <cstdarg>
#include <string>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <termios.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <core/Support.h>
#include <devices/Support.h>
#include <vantiflux/devices/SerialNode.h>

namespace {

std::atomic<int> lines{-1}; ///< of every port; negative: it has none
std::atomic<int> readings{0};

} // namespace

extern "C" __attribute__((visibility("default"))) int interposed(int descriptor, unsigned long request, ...) noexcept
    asm("ioctl");

int interposed(int descriptor, unsigned long request, ...) noexcept {
  va_list arguments;
  va_start(arguments, request);
  void* const argument = va_arg(arguments, void*);
  va_end(arguments);
  const int state = lines;
  if (request == TIOCMGET && state >= 0) {
    ++readings;
    *static_cast<int*>(argument) = state;
    return 0;
  }
  return static_cast<int>(::syscall(SYS_ioctl, descriptor, request, argument));
}

namespace {

using namespace Vantiflux;
using test::eventually;

struct Scene {
  Scene() {
    lines = -1;
    ns.enable();
    ns.addInSlot("cts", &cts);
    ns.addInSlot("dsr", &dsr);
    node->setFieldValue("Device", pty.path());
    ns.addNamespace("n", std::unique_ptr<Node>(node));
  }
  ~Scene() {
    ns.clear();
    ns.removeInSlot("cts", &cts);
    ns.removeInSlot("dsr", &dsr);
  }
  void route() {
    ns.addRoute("n/CTS", "cts");
    ns.addRoute("n/DSR", "dsr");
  }
  void unroute() {
    ns.removeRoute("n/CTS", "cts");
    ns.removeRoute("n/DSR", "dsr");
  }
  bool reaches(Node::State state) const {
    return eventually([&] { return node->getState() == state; });
  }

  test::Pty pty;
  Namespace ns;
  InSlot<bool> cts, dsr;
  SerialStateNode* node = new SerialStateNode;
};

TEST(SerialStateNode, ReportsThatThereAreNoLines) {
  Scene scene;
  scene.route();
  EXPECT_TRUE(scene.reaches(Node::Error));
  EXPECT_EQ(scene.node->getShortInfo(), "could not get cts");
  scene.unroute();
  scene.node->setFieldValue("Device", "/dev/nonexistent");
  scene.route();
  EXPECT_TRUE(eventually([&] { return scene.node->getShortInfo() == "Cannot open serial port /dev/nonexistent"; }));
  EXPECT_EQ(scene.node->getState(), Node::Error);
}

TEST(SerialStateNode, PushesChangesOfEachLine) {
  Scene scene;
  lines = 0;
  scene.route();
  const int before = readings;
  EXPECT_TRUE(eventually([&] { return readings > before + 6; }));
  EXPECT_TRUE(scene.cts.empty() && scene.dsr.empty()); // no change, no value
  lines = TIOCM_CTS;
  EXPECT_TRUE(scene.cts.pop().getValue());
  lines = TIOCM_CTS | TIOCM_DSR;
  EXPECT_TRUE(scene.dsr.pop().getValue());
  lines = TIOCM_DSR;
  EXPECT_FALSE(scene.cts.pop().getValue());
  EXPECT_EQ(scene.node->getState(), Node::Running);
  scene.unroute(); // in the pause after the change
  EXPECT_EQ(scene.node->getState(), Node::Sleeping);
}

TEST(SerialStateNode, StandsBesideTheNodeThatHasTheData) {
  Scene scene;
  lines = 0;
  for (const bool first : {true, false}) {
    test::Bench<SerialNode> data({{"Device", scene.pty.path()}, {"BaudRate", "57600"}});
    if (first)
      scene.route();
    data.route();
    if (!first)
      scene.route();
    EXPECT_TRUE(scene.reaches(Node::Running) && data.runs("Operating"));
    lines = TIOCM_DSR;
    while (!scene.dsr.pop().getValue()) { // the last value comes again with the route
    }
    termios settings{};
    EXPECT_EQ(::tcgetattr(scene.pty.master(), &settings), 0);
    EXPECT_EQ(::cfgetospeed(&settings), static_cast<speed_t>(B57600));
    scene.pty.send("data");
    EXPECT_EQ(data.inbox.waitBytes(4), "data");
    test::Bench<SerialNode> second({{"Device", scene.pty.path()}});
    second.route();
    EXPECT_EQ(second.node->getState(), Node::Error); // the data are taken
    lines = 0;
    while (scene.dsr.pop().getValue()) {
    }
    scene.unroute();
    EXPECT_EQ(data.node->getState(), Node::Running);
  }
}

TEST(SerialStateNode, LooksAwayWhileASwitchBounces) {
  Scene scene;
  lines = 0;
  scene.route();
  const auto begin = std::chrono::steady_clock::now();
  lines = TIOCM_CTS;
  EXPECT_TRUE(scene.cts.pop().getValue());
  lines = 0;
  EXPECT_FALSE(scene.cts.pop().getValue());
  EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(500));
}

} // namespace
