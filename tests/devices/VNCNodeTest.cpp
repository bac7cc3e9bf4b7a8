// The VNC client against servers that others have made.
#include <functional>
#include <memory>
#include <ostream>
#include <string>

#include <gtest/gtest.h>

#include <devices/VNCSupport.h>
#include <platform/Printed.h>

namespace {

using namespace Vantiflux;
using test::pictureAt;
using test::TigerVNC;
using test::VNCClient;
using test::VNCServer;
using test::X11VNC;
using test::XPicture;

struct Kind {
  std::string name;
  std::string encoding; ///< that it is to use
  std::function<std::unique_ptr<VNCServer>()> make;
  bool copies = false; ///< has what moves on its screen copied on ours
  friend std::ostream& operator<<(std::ostream& out, const Kind& kind) { return out << kind.name; }
};

class RealServer : public testing::TestWithParam<Kind> {};

TEST_P(RealServer, ShowsItsScreenAndHeedsThePointer) {
  const test::Printed printed;
  const auto server = GetParam().make();
  XPicture picture(server->display());
  picture.tell("draw 1");
  VNCClient client(*server);
  ASSERT_TRUE(client.runs("Connected to "));
  EXPECT_TRUE(client.shows(320, 240, [](unsigned x, unsigned y) { return pictureAt(x, y, 1); }));
  picture.tell("draw 2");
  EXPECT_TRUE(client.shows(320, 240, [](unsigned x, unsigned y) { return pictureAt(x, y, 2); }));
  // What moves on the screen, in each direction and over itself.
  for (const auto& [dx, dy] : {std::pair(9, 5), std::pair(-7, 3), std::pair(4, -6), std::pair(-3, -8)}) {
    picture.tell("draw 3");
    const auto toX = static_cast<unsigned>(100 + dx);
    const auto toY = static_cast<unsigned>(80 + dy);
    ASSERT_TRUE(client.shows(320, 240, [](unsigned x, unsigned y) { return pictureAt(x, y, 3); }));
    picture.tell("copy 100 80 150 90 " + std::to_string(toX) + " " + std::to_string(toY));
    EXPECT_TRUE(client.shows(320, 240, [&](unsigned x, unsigned y) {
      const bool inside = x >= toX && x < toX + 150 && y >= toY && y < toY + 90;
      return inside ? pictureAt(x - toX + 100, y - toY + 80, 3) : pictureAt(x, y, 3);
    }));
  }
  // A click, and a drag with another button; bit 1 is the server's second button.
  client.moveTo(100, 80);
  client.buttons[0].push(true);
  client.buttons[0].push(false);
  EXPECT_EQ(picture.event(), "press 1 100 80");
  EXPECT_EQ(picture.event(), "release 1 100 80");
  client.moveTo(10, 20);
  client.buttons[1].push(true);
  for (unsigned x = 10; x <= 300; x += 10)
    client.moveTo(x, 200);
  client.buttons[1].push(false);
  EXPECT_EQ(picture.event(), "press 2 10 20");
  EXPECT_EQ(picture.event(), "release 2 300 200");
  EXPECT_EQ(client.node->getState(), Node::Running);
  EXPECT_LT(test::secondsOf([&] { client.ns.disable(); }), test::soon);
  EXPECT_EQ(client.node->getState(), Node::Disabled);
  EXPECT_TRUE(server->used(GetParam().encoding));
  if (GetParam().copies) {
    EXPECT_NE(printed.text().find("CopyRect \n"), std::string::npos);
  }
}

INSTANTIATE_TEST_SUITE_P(VNCNode, RealServer,
                         testing::Values(Kind{"TigerVNC", "raw", [] { return std::make_unique<TigerVNC>(); }, true},
                                         Kind{"x11vnc", "raw", [] { return std::make_unique<X11VNC>(""); }},
                                         Kind{"x11vncCompressed", "zlib",
                                              [] {
                                                return std::make_unique<X11VNC>("Zlib, CopyRect, Cursor, DesktopSize");
                                              }}),
                         [](const auto& instance) { return instance.param.name; });

TEST(VNCNode, TakesANewSize) {
  TigerVNC server;
  XPicture picture(server.display());
  picture.tell("draw 1");
  VNCClient client(server);
  ASSERT_TRUE(client.shows(320, 240, [](unsigned x, unsigned y) { return pictureAt(x, y, 1); }));
  for (const auto& [width, height] : {std::pair(640U, 480U), std::pair(320U, 240U)}) {
    const std::string size = std::to_string(width) + "x" + std::to_string(height);
    test::Process resize({"/usr/bin/xrandr", "-display", server.display(), "--fb", size});
    if (resize.wait() != 0)
      ADD_FAILURE() << resize.errors();
    picture.tell("draw 4");
    EXPECT_TRUE(client.shows(width, height, [](unsigned x, unsigned y) { return pictureAt(x, y, 4); })) << size;
  }
}

TEST(VNCNode, StandsUprightInTheExample) {
  const TigerVNC server;
  XPicture picture(server.display());
  picture.tell("draw 1");
  test::ExampleTree tree("remote_desktop.vfx", "Desk", "Port", server.port());
  const test::Collector<SmartPtr<Image>> frames(tree.ns, "Upright/frames_out");
  EXPECT_TRUE(test::eventually([&] {
    const auto all = frames.values();
    if (all.empty() || all.back()->width() != 320)
      return false;
    const unsigned char* const last = all.back()->data() + all.back()->size() - 3; // the lower right corner
    return (std::uint32_t{last[0]} << 16 | std::uint32_t{last[1]} << 8 | last[2]) == pictureAt(319, 239, 1);
  }));
}

// The same file of passwords for both.
TEST(VNCNode, KnowsThePasswordOrIsSentAway) {
  const test::TemporaryFolder folder;
  const std::string file = (folder.path() / "passwd").string();
  ASSERT_EQ(test::Process({"/usr/bin/x11vnc", "-storepasswd", "tarsal42", file}).wait(), 0);
  const TigerVNC tiger({"-SecurityTypes", "VncAuth", "-PasswordFile", file});
  const X11VNC other("", {"-rfbauth", file});
  for (const VNCServer* const server : {static_cast<const VNCServer*>(&tiger), static_cast<const VNCServer*>(&other)}) {
    XPicture picture(server->display());
    picture.tell("draw 1");
    {
      VNCClient client(*server, "tarsal42 and what is beyond eight");
      EXPECT_TRUE(client.shows(320, 240, [](unsigned x, unsigned y) { return pictureAt(x, y, 1); }));
    }
    VNCClient stranger(*server, "tarsal4");
    EXPECT_TRUE(test::eventually([&] { return !stranger.log().empty(); }));
    EXPECT_EQ(stranger.node->getState(), Node::Sleeping);
  }
}

} // namespace
