#include <vantiflux/devices/FastrakNode.h>

#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <devices/TrackerSupport.h>
#include <vantiflux/platform/pelorn/Serial.h>

namespace {

using namespace Vantiflux;
using test::areOnPath;
using test::Bench;
using test::Collector;
using test::Device;
using test::secondsOf;

const std::string name = "Simulated tracker 1.0";

TEST(FastrakNode, PublishesTheSensorsThatAreThere) {
  Device device({"fastrak", "--stations", "1,3"});
  Bench<FastrakNode> bench({{"Device", device.place()}});
  EXPECT_TRUE(test::eventually([&] { return test::slotsOf(bench.ns).size() == 7; }));
  EXPECT_EQ(bench.node->getState(), Node::Sleeping);
  EXPECT_EQ(bench.node->getShortInfo(), "Operating " + name + " on " + device.place());
  EXPECT_EQ(test::slotsOf(bench.ns),
            (std::vector<std::string>{"n/Button", "n/Position 0", "n/Orientation 0", "n/Matrix 0", "n/Position 2",
                                      "n/Orientation 2", "n/Matrix 2"}));
  {
    const Collector<test::Vec3> first(bench.ns, "n/Position 0");
    const Collector<test::Vec3> position(bench.ns, "n/Position 2");
    const Collector<Rotation> rotation(bench.ns, "n/Orientation 2");
    const Collector<Matrix4<float>> matrix(bench.ns, "n/Matrix 2");
    EXPECT_TRUE(areOnPath(first.more(20), 0));
    EXPECT_TRUE(areOnPath(position.more(20), 2));
    EXPECT_TRUE(areOnPath(rotation.more(20), 2));
    EXPECT_TRUE(areOnPath(matrix.more(20), 2, 5e-4));
    EXPECT_EQ(bench.node->getState(), Node::Running);
  }
  EXPECT_EQ(bench.node->getState(), Node::Sleeping);
  bench.ns.disable();
  EXPECT_EQ(bench.node->findOutSlot("Position 0", nullptr), nullptr);
  bench.ns.enable();
  EXPECT_TRUE(test::eventually([&] { return test::slotsOf(bench.ns).size() == 7; }));
  EXPECT_EQ(device.end(), 0);
}

TEST(FastrakNode, FindsATrackerAtAForeignSpeedAndLeavesItSo) {
  Device device({"fastrak", "--baud", "19200"});
  {
    // The third speed that is tried: enabling does not wait that long.
    Bench<FastrakNode> bench({{"Device", device.place()}});
    EXPECT_EQ(test::slotsOf(bench.ns), (std::vector<std::string>{"n/Button"}));
    const Collector<test::Vec3> position(bench.ns, "n/Position 0");
    EXPECT_TRUE(areOnPath(position.more(20), 0));
    EXPECT_EQ(bench.node->getState(), Node::Running);
  }
  Pelorn::Serial port;
  port.setDevice(device.place());
  port.setBaudRate(Pelorn::Serial::Baud19200);
  port.open();
  Pelorn::StreamBuf stream(port);
  LineReader reader(stream);
  EXPECT_TRUE(test::eventually([&] { // records from before its end may stand in front
    std::string_view line;
    return stream.write("S", 1000) && reader.read(line, 1000) == LineReader::Result::Line &&
           line.find(name) != std::string_view::npos;
  }));
}

TEST(FastrakNode, PassesOverWhatIsNoRecord) {
  Device device({"fastrak", "--malform", "0.4", "--lose", "0.1", "--split", "--seed", "7"});
  Bench<FastrakNode> bench({{"Device", device.place()}});
  const Collector<test::Vec3> position(bench.ns, "n/Position 0");
  const Collector<Rotation> rotation(bench.ns, "n/Orientation 0");
  EXPECT_TRUE(areOnPath(position.more(60), 0));
  EXPECT_TRUE(areOnPath(rotation.values(), 0));
  EXPECT_EQ(bench.node->getState(), Node::Running);
}

TEST(FastrakNode, WritesPositionAndButtonWhenTheyChange) {
  Device device({"fastrak", "--stations", "1,2", "--rate", "0.01"}); // one frame
  Bench<FastrakNode> bench({{"Device", device.place()}});
  const Collector<test::Vec3> position(bench.ns, "n/Position 0");
  const Collector<Rotation> rotation(bench.ns, "n/Orientation 0");
  const Collector<Matrix4<float>> matrix(bench.ns, "n/Matrix 0");
  const Collector<bool> button(bench.ns, "n/Button");
  const Collector<Rotation> second(bench.ns, "n/Orientation 1");
  ASSERT_TRUE(test::eventually([&] { return second.values().size() == 1; }));
  const std::string pose = "-050.25   1.00 100.00 0.1000 0.2000 0.3000 0.4000 ";
  for (const char* const line : {"01 ", "01 ", "02 "})
    bench.node->takeLine(line + pose + (line[1] == '1' ? "1\r" : "0\r"));
  for (const std::string& line : {"05 " + pose + "0\r", "01 " + pose + "0", "01 " + pose + "0\r\r", std::string("21C")})
    bench.node->takeLine(line);
  EXPECT_EQ(position.values().back(), test::Vec3(0.01F * 1, -0.01F * 100, 0.01F * 50.25F));
  EXPECT_EQ(rotation.values().back(), Rotation(0.3F, -0.4F, -0.2F, 0.1F));
  EXPECT_EQ(matrix.values().back(),
            Matrix4<float>({1 - 2 * (0.4F * 0.4F + 0.2F * 0.2F), 2 * (0.3F * -0.4F + 0.1F * 0.2F),
                            2 * (0.3F * -0.2F - 0.1F * 0.4F), 0.01F * 1, 2 * (0.3F * -0.4F - 0.1F * 0.2F),
                            1 - 2 * (0.3F * 0.3F + 0.2F * 0.2F), 2 * (0.4F * 0.2F - 0.1F * 0.3F), -0.01F * 100,
                            2 * (0.3F * -0.2F + 0.1F * 0.4F), 2 * (0.4F * 0.2F + 0.1F * 0.3F),
                            1 - 2 * (0.3F * 0.3F + 0.4F * 0.4F), 0.01F * 50.25F, 0, 0, 0, 1}));
  EXPECT_EQ(position.values().size(), 2u);
  EXPECT_EQ(rotation.values().size(), 3u);
  EXPECT_EQ(matrix.values().size(), 3u);
  EXPECT_EQ(button.values(), (std::vector<bool>{true}));
  bench.node->takeLine("21E an error");
  EXPECT_EQ(bench.log(), (test::Messages{" config - error!! "}));
  EXPECT_EQ(bench.node->getState(), Node::Running);
}

TEST(FastrakNode, StopsAtAnyMoment) {
  {
    Device device({"fastrak", "--rate", "0.01"});
    Bench<FastrakNode> bench({{"Device", device.place()}});
    ASSERT_TRUE(bench.reaches(Node::Sleeping));
    std::unique_ptr<Collector<Rotation>> reader;
    for (const int milliseconds : {0, 50, 210, 500}) { // while it detects, and while it waits for records
      reader = std::make_unique<Collector<Rotation>>(bench.ns, "n/Orientation 0");
      std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
      EXPECT_LT(secondsOf([&] { reader.reset(); }), test::soon);
      EXPECT_EQ(bench.node->getState(), Node::Sleeping);
    }
    EXPECT_TRUE(test::stopsAtOnce(
        [&] {
          reader = std::make_unique<Collector<Rotation>>(bench.ns, "n/Orientation 0");
          EXPECT_TRUE(bench.reaches(Node::Running));
        },
        [&] { reader.reset(); }));
  }
  Device silent({"fastrak", "--silent"});
  Bench<FastrakNode> bench({{"Device", silent.place()}});
  const Collector<bool> button(bench.ns, "n/Button"); // wants the tracker when it is found
  EXPECT_LT(secondsOf([&] { bench.ns.disable(); }), test::soon);
  EXPECT_EQ(bench.node->getState(), Node::Disabled);
}

// Between the two halves of a stop, the waits end and the port does not yet know.
TEST(FastrakPort, ASearchThatIsToldToStopHasNotFailed) {
  Device device({"fastrak"});
  FastrakPort port([](int) { return false; });
  FastrakPort::Settings settings;
  settings.device = device.place();
  EXPECT_EQ(port.open(settings), FastrakPort::Opened::Stopped);
  FastrakPort::Active active{};
  EXPECT_FALSE(port.askActive(active));
}

TEST(FastrakNode, WorksInItsExample) {
  Device device({"fastrak"});
  test::ExampleTree tree("fastrak.vfx", "Tracker", "Device", device.place());
  Collector<test::Vec3>(tree.ns, "Still/Position 0").more(5);
}

TEST(FastrakNode, IsFoundAgainAfterTheTrackerWasSwitchedOff) {
  Device device({"fastrak", "--restart-after", "20", "--pause", "0.1"});
  Bench<FastrakNode> bench({{"Device", device.place()}});
  for (int round = 0; round < 2; ++round) { // what it had been told it has forgotten
    const Collector<test::Vec3> position(bench.ns, "n/Position 0");
    EXPECT_TRUE(areOnPath(position.atLeast(20), 0));
  }
}

TEST(FastrakNode, StartsAgainAfterAFailure) {
  const test::TemporaryFolder folder;
  const std::string link = folder.path() / "line";
  Device device({"fastrak", "--link", link, "--break-after", "100", "--pause", "0.5"});
  Bench<FastrakNode> bench({{"Device", link}});
  {
    const Collector<Rotation> rotation(bench.ns, "n/Orientation 0");
    EXPECT_TRUE(areOnPath(rotation.atLeast(5), 0)); // a line that hangs up may lose the last ones
    EXPECT_TRUE(bench.reaches(Node::Sleeping));
  }
  ASSERT_TRUE(test::eventually([&] { return std::filesystem::exists(link); }));
  const Collector<Rotation> rotation(bench.ns, "n/Orientation 0");
  rotation.more(10);
  EXPECT_EQ(bench.node->getState(), Node::Running);
}

TEST(FastrakNode, APortThatIsNotThereIsAnError) {
  Bench<FastrakNode> bench({{"Device", "/dev/nonexistent"}});
  EXPECT_EQ(bench.node->getState(), Node::Error);
  EXPECT_EQ(bench.node->getShortInfo(), "Cannot open serial port /dev/nonexistent");
  EXPECT_EQ(bench.log().size(), 1u);
}

TEST(FastrakNode, RefusesSettingsThatNoPortHas) {
  FastrakNode node;
  for (const auto& [field, good, bad] : {std::array{"BaudRate", "9600", "9601"}, std::array{"DataBits", "7", "9"},
                                         std::array{"Parity", "odd", "strange"}, std::array{"Handshake", "None", ""}}) {
    node.setFieldValue(field, good);
    node.setFieldValue(field, bad);
    EXPECT_EQ(node.getFieldValue(field), good);
  }
}

} // namespace
