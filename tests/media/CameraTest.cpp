// A camera node with simulated cameras: finding them, agreeing on a format, taking frames, starting and stopping.
#include <array>
#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <media/Cameras.h>
#include <vantiflux/core/NodeType.h>

namespace {

using namespace Vantiflux;
using test::eventually;
using test::plugIn;
using test::Scene;

TEST(Camera, IsFoundByNumberPathOrCard) {
  plugIn("card=First Cam;card=Second WebCam;card=7;absent=yes;card=Behind the gap");
  const std::vector<std::pair<std::string, std::string>> devices = {
      {"0", "First Cam"},
      {"1", "Second WebCam"},
      {"/dev/video1", "Second WebCam"},
      {" \t2\r\n", "7"},
      {"*WEB*", "Second WebCam"},
      {"second webcam", "Second WebCam"},
      {"7", "7"},
      {"*", "First Cam"},
      {"/dev/video4", "Behind the gap"},
      {"[f]*", "First Cam"},
      {"4", "Behind the gap"},
  };
  for (const auto& [device, card] : devices) {
    Scene scene(Scene::Fields{{"Device", device}});
    EXPECT_EQ(scene.node->getState(), Node::Sleeping) << device;
    EXPECT_EQ(scene.node->getShortInfo(), "Operating " + card) << device;
  }
  for (const std::string device :
       {"3", "", "-1", "99999999999999999999", "/dev/video3", "/nowhere", "Behind*", "1 2"}) {
    Scene scene(Scene::Fields{{"Device", device}});
    EXPECT_EQ(scene.node->getState(), Node::Error) << device;
    EXPECT_EQ(scene.node->getShortInfo(), "Cannot open device file") << device;
  }
  EXPECT_EQ(test::openings(), 0U);
}

TEST(Camera, IsMadeByItsRegisteredType) {
  const auto node = NodeType::newInstance("video");
  EXPECT_NE(dynamic_cast<VideoNodeV4L*>(node.get()), nullptr);
  std::string text = "\r\n\t a \t b \n";
  VideoNode::trim(text);
  EXPECT_EQ(text, "a \t b");
}

struct Agreement {
  const char* camera;
  Scene::Fields fields;
  const char* result; ///< empty: there is no frame
};

TEST(Camera, AgreesWithTheDeviceOnFormatAndSize) {
  const std::vector<Agreement> agreements = {
      {"", {}, "640x480 YUY2"},
      {"formats=RGB3+YUYV", {}, "640x480 BGR24"},
      {"", {{"Format", " bgr24"}}, "640x480 BGR24"},
      {"", {{"Format", "BGR32"}}, "640x480 BGR32"},
      {"formats=RGB4+YUYV", {{"Format", "YUV422"}}, "640x480 YUY2"},
      {"formats=RGB4+YUYV", {{"Format", "RGB24"}}, "640x480 BGR32"},
      {"formats=YUYV", {{"Format", "BGR24"}}, "640x480 YUY2"},
      {"formats=YUYV,adjust=no", {{"Format", "BGR24"}}, "640x480 YUY2"},
      {"formats=MJPG+YUYV", {}, "640x480 YUY2"},
      {"formats=MJPG+YUYV,adjust=no", {}, "640x480 YUY2"},
      {"formats=MJPG+YUYV+RGB4", {}, "640x480 BGR32"},
      {"formats=MJPG+GREY", {}, ""},
      {"formats=MJPG,adjust=no", {}, ""},
      {"fail=S_FMT", {{"Width", "1280"}, {"Format", "BGR24"}}, "640x480 YUY2"},
      {"", {{"Width", "1270"}}, "1280x720 YUY2"},
      {"size=1280x720+1280x480", {{"Height", "10"}}, "1280x480 YUY2"},
      {"", {{"Width", "320"}, {"Height", "240"}}, "320x240 YUY2"},
      {"", {{"Width", "-5"}, {"Height", "-5"}}, "640x480 YUY2"},
      {"inputs=Composite+S-Video", {{"Channel", "1"}}, "640x480 YUY2"},
      {"inputs=Composite+S-Video", {{"Channel", "7"}}, "640x480 YUY2"},
      {"buffers=7", {}, "640x480 YUY2"},
      {"io=read", {{"Width", "320"}}, "320x240 YUY2"},
  };
  for (const Agreement& agreement : agreements) {
    SCOPED_TRACE(std::string(agreement.camera) + " for " + agreement.result);
    plugIn(agreement.camera + std::string(*agreement.camera == '\0' ? "rate=0" : ",rate=0"));
    Scene scene(agreement.fields);
    scene.route();
    if (*agreement.result == '\0') {
      EXPECT_TRUE(scene.logs("The device offers none of the formats BGR24, BGR32 and YUY2"));
      EXPECT_TRUE(scene.runEnds());
      EXPECT_EQ(scene.viewer.count, 0);
      continue;
    }
    ASSERT_TRUE(scene.viewer.sees(3));
    std::ostringstream seen;
    seen << *scene.viewer.frame();
    EXPECT_EQ(seen.str(), agreement.result);
    EXPECT_EQ(scene.node->getState(), Node::Running);
    EXPECT_EQ(scene.node->getShortInfo(), "Operating Simulated Camera, " + seen.str());
  }
}

TEST(Camera, CopiesFramesWholeAndInOrder) {
  for (const std::string camera : {"rate=0,buffers=3", "rate=0,io=read"}) {
    plugIn(camera);
    std::vector<SmartPtr<Image>> kept;
    Scene scene;
    test::Viewer keeper([&] {
      if (kept.size() < 20)
        kept.push_back(keeper.frame());
    });
    scene.space.addInSlot("keeper", &keeper.slot);
    scene.space.addRoute("Camera/Frames", "keeper");
    ASSERT_TRUE(keeper.sees(30));
    scene.space.removeRoute("Camera/Frames", "keeper");
    scene.space.removeInSlot("keeper", &keeper.slot);
    const unsigned first = test::numberOf(*kept.front());
    for (unsigned i = 0; i < kept.size(); ++i) {
      EXPECT_EQ(test::numberOf(*kept[i]), first + i);
      const unsigned char* const pixels = kept[i]->data();
      const std::size_t line = std::size_t{640} * 2;
      EXPECT_EQ(pixels[10 * line + 20], 76);                    // the red mark's luminance
      EXPECT_EQ(pixels[10 * line + 23], 255);                   // and its red
      EXPECT_EQ(pixels[470 * line + 320 * 2], 320 * 255 / 639); // grey rises
      EXPECT_EQ(pixels[200 * line], 255);                       // the white bar
    }
  }
}

TEST(Camera, StopsAtOnceWhileTheDeviceIsSilent) {
  for (const std::string camera : {"silent=yes", "io=read,silent=yes"}) {
    plugIn(camera);
    Scene scene;
    for (int round = 0; round < 20; ++round) {
      scene.route();
      ASSERT_TRUE(scene.reaches(Node::Running));
      scene.unroute();
      EXPECT_EQ(scene.node->getState(), Node::Sleeping);
      EXPECT_EQ(test::openings(), 0U);
    }
    EXPECT_EQ(scene.viewer.count, 0);
    scene.node->stop(); // again, which is nothing
    scene.route();
    ASSERT_TRUE(scene.reaches(Node::Running)); // and has left nothing behind that would end the next run
    scene.unroute();
  }
}

TEST(Camera, StartsAndStopsAThousandTimesWhileFramesFlow) {
  plugIn("rate=0,size=320x240");
  Scene scene;
  for (int round = 0; round < 1000; ++round) {
    scene.route();
    if (round % 2 == 0) {
      const int seen = scene.viewer.count;
      ASSERT_TRUE(scene.viewer.sees(seen + 1));
    }
    scene.unroute();
    ASSERT_NE(scene.node->getState(), Node::Running);
  }
  EXPECT_EQ(test::openings(), 0U);
  EXPECT_EQ(test::mappedBuffers(), 0);
  EXPECT_EQ(scene.node->getState(), Node::Sleeping);
}

TEST(Camera, GivesNoOldFrameToWhoComesLater) {
  plugIn("frames=3,rate=0");
  Scene scene;
  scene.route();
  ASSERT_TRUE(scene.viewer.sees(3));
  scene.unroute();
  test::plugIn("silent=yes");
  test::Viewer late;
  scene.space.addInSlot("late", &late.slot);
  scene.space.addRoute("Camera/Frames", "late");
  EXPECT_TRUE(scene.reaches(Node::Running));
  EXPECT_EQ(late.count, 0);
  scene.space.removeRoute("Camera/Frames", "late");
  scene.space.removeInSlot("late", &late.slot);
}

TEST(Camera, IsStoppedAndRemovedFromInside) {
  plugIn("rate=0,size=320x240");
  for (int round = 0; round < 20; ++round) {
    Scene scene;
    std::atomic<bool> removed{false};
    test::Viewer remover([&] {
      if (removed.exchange(true))
        return;
      if (round % 2 == 0)
        scene.space.removeRoute("Camera/Frames", "remover");
      else
        scene.space.removeNamespace("Camera");
    });
    scene.space.addInSlot("remover", &remover.slot);
    scene.space.addRoute("Camera/Frames", "remover");
    EXPECT_TRUE(eventually([&] { return removed.load(); }));
    EXPECT_TRUE(scene.runEnds());
    if (round % 2 == 0) {
      scene.route();
      EXPECT_TRUE(scene.viewer.sees(2));
    }
    scene.space.clear();
    scene.space.removeInSlot("remover", &remover.slot);
  }
}

TEST(Camera, TellsOfTheDevicesOfTheSystem) {
  plugIn("card=A<b>&,size=640x480+320x240,formats=YUYV,rate=12.5,inputs=Composite+S-Video;absent=yes;card=Other");
  Scene scene;
  EXPECT_EQ(scene.node->getDetailedInfo(), "API used for grabbing frames: Video4Linux2<p>\n"
                                           "The following devices are currently connected to the system:<p>\n"
                                           "Device 0: A&lt;b&gt;&amp; (device file = /dev/video0)<br>\n"
                                           "Device 2: Other (device file = /dev/video2)<br>\n"
                                           "Currently operating A&lt;b&gt;&amp; (/dev/video0)<p>\n"
                                           "The device has the following channels:<br>\n"
                                           "Channel 0: Composite<br>\nChannel 1: S-Video<br>\n"
                                           "The device provides the following video formats:<br>\n"
                                           "Simulated YUYV FCC(YUYV)<br>\n"
                                           "&nbsp;&nbsp;640x480 at 12.5 Hz<br>\n&nbsp;&nbsp;320x240 at 12.5 Hz<br>\n");
  plugIn("fail=QUERYCAP+ENUMINPUT+ENUM_FMT");
  scene.initialize();
  EXPECT_EQ(scene.node->getDetailedInfo(), "API used for grabbing frames: Video4Linux<p>\n"
                                           "The following devices are currently connected to the system:<p>\n"
                                           "No device found.<p>\n"
                                           "Currently operating  (/dev/video0)<p>\n"
                                           "The device does not have any channel.<p>\n"
                                           "The device does not provide any video format.<p>\n");
  plugIn("rate=0");
  scene.initialize();
  scene.route();
  ASSERT_TRUE(scene.viewer.sees(1));
  for (int i = 0; i < 20; ++i)
    EXPECT_NE(scene.node->getDetailedInfo().find("at"), std::string::npos); // while it runs
}

} // namespace
