// Every request to a camera fails in turn, drivers lie, and cameras are unplugged. Whatever happens, the run ends in
// the state that people have to see, nothing is left open or mapped, and the next run works.
#include <atomic>
#include <cerrno>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <media/Cameras.h>

namespace {

std::atomic<bool> noEvents{false}; ///< the system has no more of them

} // namespace

extern "C" __attribute__((visibility("default"))) int eventfd(unsigned count, int flags) noexcept {
  if (!noEvents)
    return static_cast<int>(::syscall(SYS_eventfd2, count, flags));
  errno = EMFILE;
  return -1;
}

namespace {

using namespace Vantiflux;
using test::eventually;
using test::plugIn;
using test::Scene;

struct Failure {
  std::string camera;
  Node::State state;     ///< at the end of the run
  std::string shortInfo; ///< and what stands there, or how it begins
  int frames;            ///< that come before
};

const std::string running = "Operating Simulated Camera, 320x240 YUY2";
const std::string found = "Operating Simulated Camera";

TEST(CameraFailure, OfEachRequestEndsTheRunAndTheNextOneWorks) {
  const std::vector<Failure> failures = {
      {"fail=OPEN@2", Node::Error, "Cannot open device", 0},
      {"fail=G_FMT", Node::Sleeping, found, 0},
      {"fail=G_FMT@2", Node::Sleeping, found, 0},
      {"fail=G_FMT@3", Node::Sleeping, found, 0},
      {"fail=G_FMT@4", Node::Sleeping, found, 0},
      // Without buffers it is read from, which a camera that only shares buffers does not allow.
      {"fail=REQBUFS", Node::Error, "Cannot poll", 0},
      {"fail=QUERYBUF", Node::Error, "Cannot poll", 0},
      {"fail=QUERYBUF@2", Node::Error, "Cannot poll", 0},
      {"fail=MMAP", Node::Error, "Cannot poll", 0},
      {"fail=MMAP@2", Node::Error, "Cannot poll", 0},
      {"fail=QBUF", Node::Error, "Cannot poll", 0},
      {"fail=QBUF@2", Node::Error, "Cannot poll", 0},
      {"fail=STREAMON", Node::Error, "Cannot poll", 0},
      {"lie=COUNT", Node::Error, "Cannot poll", 0},
      {"lie=LENGTH", Node::Error, "Cannot poll", 0},
      {"fail=POLL@3", Node::Sleeping, running, 2},
      {"fail=DQBUF@3", Node::Sleeping, running, 2},
      {"fail=QBUF@4", Node::Sleeping, running, 2},
      {"fail=STREAMOFF+DQBUF@3", Node::Sleeping, running, 2},
      {"lie=INDEX", Node::Sleeping, running, 0},
      {"lie=SIZE", Node::Sleeping, found, 0},
      {"unplug=4", Node::Sleeping, running, 4},
      {"io=read,fail=POLL@3", Node::Error, "Cannot poll", 2},
      {"io=read,fail=READ@3", Node::Error, "Cannot read device", 2},
      {"io=read,short=1", Node::Error, "Cannot read device", 0},
      {"io=read,unplug=4", Node::Error, "Cannot poll", 4},
  };
  for (const Failure& failure : failures) {
    SCOPED_TRACE(failure.camera);
    plugIn("rate=0,size=320x240," + failure.camera);
    Scene scene;
    ASSERT_EQ(scene.node->getShortInfo(), found);
    scene.route();
    if (failure.state == Node::Error) {
      EXPECT_TRUE(scene.reaches(Node::Error));
    }
    EXPECT_TRUE(eventually([&] { return test::calls("G_FMT") > 0 || failure.camera == "fail=OPEN@2"; }));
    EXPECT_TRUE(scene.runEnds());
    EXPECT_EQ(scene.node->getState(), failure.state);
    EXPECT_EQ(scene.node->getShortInfo(), failure.shortInfo);
    EXPECT_EQ(scene.viewer.count, failure.frames);
    EXPECT_EQ(test::mappedBuffers(), 0);
    scene.unroute();

    plugIn("rate=0,size=320x240");
    scene.route();
    EXPECT_TRUE(scene.viewer.sees(failure.frames + 3));
    EXPECT_EQ(scene.node->getState(), Node::Running);
  }
}

TEST(CameraFailure, ToSelectTheInputIsToldAndBorne) {
  plugIn("rate=0,fail=S_INPUT");
  testing::internal::CaptureStderr();
  {
    Scene scene;
    scene.route();
    EXPECT_TRUE(scene.viewer.sees(3));
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Cannot set channel properties\n");
  plugIn("rate=0");
  Scene scene(Scene::Fields{{"Channel", "-1"}});
  scene.route();
  EXPECT_TRUE(scene.viewer.sees(3));
  EXPECT_EQ(test::calls("S_INPUT"), 0U);
}

TEST(CameraFailure, ADeviceOfAnotherKindGivesNoFrames) {
  plugIn("rate=0,fail=QUERYCAP");
  Scene scene;
  EXPECT_EQ(scene.node->getState(), Node::Sleeping);
  EXPECT_EQ(scene.node->getShortInfo(), "");
  scene.route();
  EXPECT_TRUE(scene.runEnds());
  scene.unroute();
  EXPECT_EQ(scene.viewer.count, 0);
}

TEST(CameraFailure, UnpluggingASilentCameraEndsTheRunToo) {
  for (const std::string camera : {"silent=yes", "io=read,silent=yes"}) {
    plugIn(camera);
    Scene scene;
    for (int round = 0; round < 5; ++round) {
      scene.route();
      ASSERT_TRUE(scene.reaches(Node::Running));
      test::unplug();
      ASSERT_TRUE(scene.runEnds());
      EXPECT_TRUE(scene.reaches(camera == "silent=yes" ? Node::Sleeping : Node::Error));
      scene.unroute();
      EXPECT_EQ(test::mappedBuffers(), 0);
    }
  }
}

TEST(CameraFailure, ACameraThatComesLaterIsTakenAtTheNextStart) {
  plugIn("absent=yes");
  Scene scene;
  EXPECT_EQ(scene.node->getShortInfo(), "Cannot open device file");
  scene.route();
  EXPECT_TRUE(eventually([&] { return scene.node->getShortInfo() == "Cannot open device"; }));
  EXPECT_EQ(scene.node->getState(), Node::Error);
  scene.unroute();
  plugIn("rate=0");
  scene.initialize();
  scene.route();
  EXPECT_TRUE(scene.viewer.sees(2));
}

TEST(CameraFailure, WithoutADescriptorForTheWakeUpThereIsNoRun) {
  plugIn("rate=0");
  noEvents = true;
  Scene scene;
  scene.route();
  EXPECT_EQ(scene.node->getState(), Node::Error);
  EXPECT_EQ(scene.node->getShortInfo(), "Cannot create pipe");
  EXPECT_EQ(test::openings(), 0U);
  scene.unroute();
  noEvents = false;
  scene.route();
  EXPECT_TRUE(scene.viewer.sees(2));
}

} // namespace
