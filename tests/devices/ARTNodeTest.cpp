#include <vantiflux/devices/ARTNode.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <devices/TrackerSupport.h>
#include <vantiflux/platform/pelorn/UDP.h>

namespace {

using namespace Vantiflux;
using test::areOnPath;
using test::Bench;
using test::Collector;
using test::Device;

std::string freeDatagramPort() {
  return std::to_string(test::freePort<Pelorn::UDP>());
}

/// A node on a free port, and who sends to it.
struct Pair : Bench<ARTNode> {
  explicit Pair(test::Fields fields = test::Fields({}), const std::string& freePort = freeDatagramPort())
      : Bench([&] {
          fields.emplace_back("Port", freePort);
          return fields;
        }()),
        port(freePort) {
    controller.open("", 0, "127.0.0.1", node->getPort());
  }
  void send(const std::string& datagram) {
    EXPECT_TRUE(controller.send(datagram.data(), static_cast<int>(datagram.size())));
  }
  const std::string port;
  Pelorn::UDP controller;
};

const std::string turnedAboutZ = "[0.000 1.000 0.000 -1.000 0.000 0.000 0.000 0.000 1.000]"; // by 90 degrees

TEST(ARTNode, FollowsBodiesAndSticks) {
  for (const std::vector<std::string>& form :
       {std::vector<std::string>{}, {"--second-form"}, {"--inertial"}, {"--markers", "2"}}) {
    Pair pair;
    std::vector<std::string> words{"art", "--to", "127.0.0.1:" + pair.port, "--bodies", "2", "--sticks", "1"};
    words.insert(words.end(), form.begin(), form.end());
    const Device device(words);
    const Collector<test::Vec3> position(pair.ns, "n/Position 1");
    const Collector<Rotation> rotation(pair.ns, "n/Orientation 1");
    const Collector<Matrix4<float>> matrix(pair.ns, "n/FlyStick 0 Matrix");
    EXPECT_TRUE(areOnPath(position.more(20), 1));
    EXPECT_TRUE(areOnPath(rotation.more(20), 1));
    EXPECT_TRUE(areOnPath(matrix.more(20), 2));
    EXPECT_EQ(pair.node->getState(), Node::Running);
    EXPECT_EQ(pair.node->getShortInfo(), "Operating");
    if (form.empty()) {
      const Collector<bool> button(pair.ns, "n/FlyStick 0 Button #1");
      EXPECT_TRUE(test::eventually([&] { return !button.values().empty() && button.values().back(); }));
    }
  }
}

TEST(ARTNode, TurnsTheFrame) {
  Pair pair({{"Center", "1,2,3"}, {"Scale", "0.01"}, {"MaxBodies", "2"}, {"MaxFlySticks", "1"}});
  EXPECT_EQ(test::slotsOf(pair.ns).size(), 2u * 3 + 11);
  const Collector<test::Vec3> position(pair.ns, "n/Position 1");
  const Collector<Rotation> rotation(pair.ns, "n/Orientation 1");
  const Collector<Matrix4<float>> matrix(pair.ns, "n/Matrix 1");
  ASSERT_TRUE(pair.runs("Operating"));
  pair.send("fr 1\n6d 2 [7 1.0][0 0 0 0 0 0]" + turnedAboutZ + " [1 1.0][100 200 300 0 0 0]" + turnedAboutZ + "\n");
  // (x, y, z) there is (x, z, -y) here: a turn about z there is one about y here.
  ASSERT_FALSE(rotation.atLeast(1).empty()); // written last
  EXPECT_EQ(position.values(), (std::vector{test::Vec3(1 - 1, 3 - 2, -2 - 3)}));
  const float half = std::sqrt(0.5F);
  const Simulate::Pose expected{{0, 1, -5}, {0, half, 0, half}};
  EXPECT_LT(test::distance(expected, rotation.values().at(0)), 1e-6);
  EXPECT_LT(test::distance(expected, matrix.values().at(0)), 1e-6);
  // Half turns about each axis, where the trace says nothing.
  for (const auto& [text, axis] : {std::pair("[1 0 0 0 -1 0 0 0 -1]", std::array<double, 4>{1, 0, 0, 0}),
                                   std::pair("[-1 0 0 0 1 0 0 0 -1]", std::array<double, 4>{0, 0, 1, 0}),
                                   std::pair("[-1 0 0 0 -1 0 0 0 1]", std::array<double, 4>{0, 1, 0, 0})}) {
    const std::size_t count = rotation.values().size();
    pair.send(std::string("fr 1\n6d 1 [1 1.0][0 0 0 0 0 0]") + text + "\n");
    ASSERT_TRUE(test::eventually([&] { return rotation.values().size() > count; }));
    EXPECT_LT(test::distance(Simulate::Pose{{}, axis}, rotation.values().back()), 1e-6);
  }
}

TEST(ARTNode, FieldsFallBack) {
  ARTNode node;
  for (const char* const axis : {"1,0,2", "4,1,2", "1,2", "one", "1,2,-99999999999999"}) {
    node.setFieldValue("Axis", "-3,2,1");
    EXPECT_EQ(node.getFieldValue("Axis"), "-3,2,1");
    node.setFieldValue("Axis", axis);
    EXPECT_EQ(node.getFieldValue("Axis"), "1,3,-2") << axis;
  }
  node.setFieldValue("Center", "0.1, -2.5,1e3");
  EXPECT_EQ(node.getFieldValue("Center"), "0.1,-2.5,1000");
  node.setFieldValue("Center", "0.1,nan,1");
  EXPECT_EQ(node.getFieldValue("Center"), "0,0,0");
}

TEST(ARTNode, PassesOverWhatIsMalformed) {
  Pair pair;
  const Device device({"art", "--to", "127.0.0.1:" + pair.port, "--sticks", "1", "--malform", "0.4", "--lose", "0.1"});
  const Collector<test::Vec3> position(pair.ns, "n/Position 0");
  const Collector<Rotation> rotation(pair.ns, "n/FlyStick 0 Orientation");
  EXPECT_TRUE(areOnPath(position.more(100), 0));
  EXPECT_TRUE(areOnPath(rotation.values(), 1));
  EXPECT_EQ(pair.node->getState(), Node::Running);
}

TEST(ARTNode, AnotherFormatIsAnErrorUntilTheNextStart) {
  Pair pair;
  const std::string good = "fr 1\n6d 1 [0 1.0][1 2 3 0 0 0]" + turnedAboutZ + "\n";
  for (int round = 0; round < 2; ++round) {
    const Collector<test::Vec3> position(pair.ns, "n/Position 0");
    ASSERT_TRUE(pair.runs("Operating"));
    const std::size_t before = position.values().size(); // a second reader gets the latest value at once
    pair.send(std::string(32768, 'x'));
    EXPECT_TRUE(pair.reaches(Node::Error));
    EXPECT_EQ(pair.node->getShortInfo(), "ART: No ASCII format");
    pair.send(good);
    pair.send("fr 2\n"); // the record stays, and is pushed again
    EXPECT_EQ(position.atLeast(before + 2).size(), before + 2);
    EXPECT_EQ(pair.node->getState(), Node::Error);
  }
  {
    const Collector<test::Vec3> position(pair.ns, "n/Position 0");
    ASSERT_TRUE(pair.runs("Operating"));
    pair.send("");
    EXPECT_TRUE(pair.reaches(Node::Error));
    EXPECT_EQ(pair.node->getShortInfo(), "ART: IO-Error");
  }
  const Collector<test::Vec3> position(pair.ns, "n/Position 0");
  EXPECT_TRUE(test::stopsAtOnce(
      [&] {
        pair.ns.enable();
        EXPECT_TRUE(pair.runs("Operating"));
      },
      [&] { pair.ns.disable(); }));
  EXPECT_EQ(pair.node->getState(), Node::Disabled);
}

TEST(ARTNode, GoesOnWhenTheControllerHasRestarted) {
  Pair pair;
  const Collector<test::Vec3> position(pair.ns, "n/Position 0");
  ASSERT_TRUE(pair.runs("Operating"));
  const Device device({"art", "--to", "127.0.0.1:" + pair.port, "--restart-after", "10", "--pause", "0.2"});
  EXPECT_TRUE(areOnPath(position.atLeast(30), 0));
}

TEST(ARTNode, WorksInItsExample) {
  const std::string port = freeDatagramPort();
  test::ExampleTree tree("art.vfx", "Room", "Port", port);
  const Device device({"art", "--to", "127.0.0.1:" + port});
  const auto position = Collector<test::Vec3>(tree.ns, "Room/Position 0").more(5);
  EXPECT_LT(position.at(0).y, -0.35F); // the origin is that of the tree, 0.7 m higher
}

TEST(ARTNode, APortThatIsTakenIsAnError) {
  Pair first;
  const Collector<test::Vec3> position(first.ns, "n/Position 0");
  ASSERT_TRUE(first.runs("Operating"));
  Pair second({}, first.port);
  const Collector<test::Vec3> other(second.ns, "n/Position 0");
  EXPECT_TRUE(second.reaches(Node::Error));
  EXPECT_EQ(second.node->getShortInfo(), "ART no valid socket");
}

bool same(const ARTParser::BodyRecord& a, const ARTParser::BodyRecord& b) {
  return a.id == b.id && a.quality == b.quality && a.position == b.position && a.angles == b.angles &&
         a.rotation == b.rotation && a.valid == b.valid && a.flyStick == b.flyStick && a.buttons == b.buttons;
}

// Whatever a datagram loses, a record is the whole one or none.
TEST(ARTParser, AnEntryIsTakenWholeOrNotAtAll) {
  const std::string whole =
      "fr 21753\nts 39596.024831\n6dcal 2\n"
      "6d 1 [0 1.000] [326.848 -187.216 109.503 -160.4 -3.93 -15.94] [-0.94 -0.06 -0.32 0.09 -0.99 -0.09 -0.31 -0.12 "
      "0.94]\n"
      "6df2 1 2 [1 1.000 8 2] [261.13 116.52 41.08] [0.57 -0.81 -0.03 0.53 0.39 -0.74 0.62 0.41 0.66] [5 0.5 -1]\n";
  ARTParser reference(2, 2);
  ASSERT_TRUE(reference.parse(whole));
  ASSERT_TRUE(reference.bodies()[0].valid && reference.sticks()[1].valid);
  EXPECT_EQ(reference.sticks()[1].buttons, 5u);
  EXPECT_EQ(reference.bodies()[0].rotation[6], -0.31F);
  EXPECT_EQ(reference.bodies()[0].angles[2], -15.94F);
  const auto isWholeOrNothing = [&](const ARTParser& parser) {
    for (std::size_t i = 0; i < 2; ++i)
      if ((parser.bodies()[i].valid && !same(parser.bodies()[i], reference.bodies()[i])) ||
          (parser.sticks()[i].valid && !same(parser.sticks()[i], reference.sticks()[i])))
        return false;
    return true;
  };
  for (std::size_t size = 0; size < whole.size(); ++size) {
    ARTParser cut(2, 2);
    EXPECT_EQ(cut.parse(whole.substr(0, size)), size >= 2);
    EXPECT_TRUE(isWholeOrNothing(cut)) << size;
    if (whole[size] == '[' || whole[size] == ']') {
      ARTParser without(2, 2);
      without.parse(std::string(whole).erase(size, 1));
      EXPECT_TRUE(isWholeOrNothing(without)) << size;
    }
  }
}

TEST(ARTParser, CountsAndIdentitiesStayWithinTheLimits) {
  const std::string entry = " [1 1.0][1 2 3 0 0 0]" + turnedAboutZ;
  for (const char* const count : {"-1", "0", "99999999999999999999", "x", ""}) {
    ARTParser parser(2, 2);
    EXPECT_TRUE(parser.parse(std::string("fr 1\n6d ") + count + entry + "\n"));
    EXPECT_FALSE(parser.bodies()[1].valid) << count;
  }
  ARTParser parser(2, 1);
  EXPECT_TRUE(parser.parse("fr 1\n6d 4000000000" + entry + " [2 1.0][1 2 3 0 0 0]" + turnedAboutZ + entry + "\n" +
                           "6df 2 [1 1.0 0][1 2 3 0 0 0]" + turnedAboutZ + " [-1 1.0 0][1 2 3 0 0 0]" + turnedAboutZ +
                           "\n"));
  EXPECT_TRUE(parser.bodies()[1].valid);
  EXPECT_FALSE(parser.sticks()[0].valid);
  // A stick of the second form that is not seen.
  EXPECT_TRUE(parser.parse("fr 1\n6df2 1 1 [0 1 0 0][0 2 3]" + turnedAboutZ + "[0]\n"));
  EXPECT_FALSE(parser.sticks()[0].valid);
  ARTParser none(0, 0);
  EXPECT_TRUE(none.parse("fr 1\n3d 1 [1 1][1 2 3]\n6d 1" + entry + "\n"));
}

} // namespace
