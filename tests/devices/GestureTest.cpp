// A controller in another process, from recording a gesture to recognizing it; and what the touched surface promises.
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <devices/TrackerSupport.h>
#include <vantiflux/core/Node.h>

#include "simulate/Touch.h"

namespace {

using namespace Vantiflux;
using test::Collector;
using test::Device;

/// The example's tree, whose folder of templates is looked for from the working directory on.
const std::string tree = TREES "/gestures.vfx";
void workIn(const std::filesystem::path& folder) {
  std::filesystem::current_path(folder);
}

std::string lineWith(Device& device, const std::string& word) {
  std::string line;
  do
    line = device.readLine();
  while (!line.empty() && line.find(word) == std::string::npos);
  return line;
}

TEST(Gesture, IsRecordedStoredAndRecognized) {
  const test::TemporaryFolder folder;
  workIn(folder.path());
  const std::filesystem::path circles = folder.path() / "examples/gestures/circles";
  std::string stored;
  {
    Device device({"gesture", tree, "--record", "--gesture", "circle", "--rate", "1000"});
    for (std::string line = device.readLine(); line.size() > 1; line = device.readLine()) {
      double x = 0, y = 0, z = 0, length = 0;
      ASSERT_EQ(std::sscanf(line.c_str(), "%lf - %lf - %lf - %lf", &x, &y, &z, &length), 4) << line;
      EXPECT_NEAR(length, std::sqrt(x * x + y * y + z * z), 1e-3);
      stored += "," + std::to_string(x) + "," + std::to_string(y) + "," + std::to_string(z) + "\n";
    }
    EXPECT_EQ(device.end(), 0);
  }
  std::filesystem::create_directories(circles);
  folder.write("examples/gestures/circles/0.csv", stored);
  Device device(
      {"gesture", tree, "--gesture", "circle", "--gesture", "circle_right", "--rate", "1000", "--noise", "0.02"});
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(lineWith(device, "distance").rfind("circle - distance: ", 0), 0u);
    EXPECT_EQ(lineWith(device, "distance").rfind("unknown - distance: ", 0), 0u);
  }
}

TEST(Gesture, IsKnownByTheShippedTemplates) {
  workIn(SOURCE);
  Device device({"gesture", tree, "--rate", "1000", "--noise", "0.01"});
  for (const std::string name :
       {"circle", "zet", "square", "throw", "x", "circle_right", "left", "right", "down", "up", "unknown"})
    EXPECT_EQ(lineWith(device, "distance").rfind(name + " - distance: ", 0), 0u) << name;
}

TEST(Gesture, OutlivesAFaultyController) {
  workIn(SOURCE);
  {
    Device device({"gesture", tree, "--rate", "5000", "--malform", "0.05", "--lose", "0.1", "--count", "5000"});
    EXPECT_EQ(device.wait(), 0);
  }
  // It falls silent while the button is held for the second time, 40 samples after the 240 before that.
  Device device({"gesture", tree, "--record", "--gesture", "circle", "--rate", "100000", "--break-after", "280",
                 "--pause", "1000"});
  EXPECT_EQ(device.readErrorLine(), "Foo: Run initialize\n");
  EXPECT_EQ(device.readErrorLine(), "Foo: Run processData\n");
  while (device.readLine().size() > 1) { // what was recorded the first time
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(100)); // the rest takes a few of them
  EXPECT_EQ(device.end(), 0) << "and not after the pause";
}

/// Whether all touches of the frames are where they should be, at 60 frames in a second.
TEST(Touch, IsFollowed) {
  for (const auto& [fault, size] :
       {std::pair("--noise", "0"), std::pair("--malform", "0.3"), std::pair("--lose", "0.3")}) {
    test::ExampleTree example("touch.vfx", "Surface", "Port", "0");
    const Collector<SmartPtr<std::vector<test::Vec3>>> seen(example.ns, "Surface/sightLoom");
    const Collector<long> numbers(example.ns, "Surface/sequenceID");
    const auto& node = dynamic_cast<const Node&>(*example.ns.getNamespace("Surface"));
    ASSERT_TRUE(test::eventually([&] { return node.getState() == Node::Running; }));
    const std::string info = node.getShortInfo();
    const Device device({"tuio", "--to", "127.0.0.1" + info.substr(info.rfind(':')), "--stay", "0.3", fault, size});
    const auto all = numbers.atLeast(60);
    const auto frames = seen.values();
    std::size_t touches = 0;
    for (std::size_t i = 0; i < all.size(); ++i)
      for (const test::Vec3& touch : *frames.at(i)) {
        const auto expected = Simulate::touchAt(static_cast<int>(touch.z), static_cast<double>(all[i] - 1) / 60);
        EXPECT_NEAR(touch.x, expected.position[0], 1e-5);
        EXPECT_NEAR(touch.y, expected.position[1], 1e-5);
        ++touches;
      }
    EXPECT_GT(touches, 60u);
  }
}

} // namespace
