#include <vantiflux/filters/DTWNode.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <filesystem>
#include <limits>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <platform/Printed.h>
#include <platform/support.h>
#include <vantiflux/core/Namespace.h>

namespace {

using namespace Vantiflux;
using test::eventually;

/// A tree with a node, and a hand that holds a controller.
struct Hand {
  explicit Hand(const std::string& folder) {
    auto made = std::make_unique<DTWNode>();
    node = made.get();
    node->setFieldValue("TemplateFolder", folder);
    top.enable();
    top.addNamespace("n", std::move(made));
    for (auto& [label, slot] : buttons) {
      top.addOutSlot(label, &slot);
      top.addRoute(label, "n/" + label);
    }
    top.addOutSlot("acc", &acc);
    top.addRoute("acc", "n/acc");
    top.addInSlot("gesture", &gesture);
    top.addRoute("n/gesture", "gesture");
    top.addInSlot("distance", &distance);
    top.addRoute("n/distance", "distance");
  }
  ~Hand() {
    top.clear();
    for (auto& [label, slot] : buttons)
      top.removeOutSlot(label, &slot);
    top.removeOutSlot("acc", &acc);
    top.removeInSlot("gesture", &gesture);
    top.removeInSlot("distance", &distance);
  }
  void press(const std::string& label, bool down) {
    for (auto& button : buttons)
      if (button.label == label)
        button.slot.push(down);
  }
  void click(const std::string& label) {
    press(label, true);
    press(label, false);
  }
  void feel(float x, float z, int samples) {
    for (int i = 0; i < samples; ++i)
      acc.push(Vec3<float>(x, 0, z));
  }
  /// A jerk to the right of this strength, from rest to rest.
  void jerk(float strength) {
    feel(0, 1.08F, 16);
    feel(strength, 1.08F, 15);
    feel(-strength, 1.08F, 15);
    feel(0, 1.08F, 16);
  }
  std::pair<float, float> recognized() {
    if (!eventually([this] { return !gesture.empty() && !distance.empty(); }))
      return {-1.0F, -1.0F};
    return {gesture.pop().getValue(), distance.pop().getValue()};
  }

  Namespace top;
  DTWNode* node = nullptr;
  struct Button {
    std::string label;
    OutSlot<bool> slot;
  };
  std::array<Button, 5> buttons{{{"butA", OutSlot<bool>()},
                                 {"butB", OutSlot<bool>()},
                                 {"butOne", OutSlot<bool>()},
                                 {"butTwo", OutSlot<bool>()},
                                 {"butHome", OutSlot<bool>()}}};
  OutSlot<Vec3<float>> acc;
  InSlot<float> gesture;
  InSlot<float> distance;
};

/// The list that was printed of a recorded gesture, as a template.
std::string templateOf(const std::string& printed) {
  std::string text;
  std::istringstream lines(printed);
  for (std::string line; std::getline(lines, line);) {
    std::string fields = "0";
    std::istringstream words(line);
    for (std::string word; std::getline(words, word, ' ');)
      if (word != "-")
        fields += "," + word;
    if (std::count(fields.begin(), fields.end(), ',') == 4)
      text += fields.substr(0, fields.rfind(',')) + "\n";
  }
  return text;
}

TEST(DTWNode, RecordsAndRecognizes) {
  const test::TemporaryFolder folder;
  testing::internal::CaptureStdout();
  {
    Hand hand(folder.path().string());
    hand.feel(9, 9, 1);
    hand.click("butHome");
    hand.press("butA", true);
    hand.jerk(1);
    hand.press("butA", false);
    hand.press("butA", true);
    hand.feel(0.5F, -1, 2);
    hand.press("butA", false);
    hand.press("butB", true); // held until somebody heeds it
    hand.click("butTwo");
    hand.jerk(1); // nobody knows it yet
    EXPECT_EQ(hand.recognized(), std::pair(0.0F, std::numeric_limits<float>::infinity()));
    hand.press("butA", true);
    hand.click("butOne");
    hand.feel(0, 1.08F, 1);
    hand.press("butA", false);
    hand.click("butTwo");
    hand.jerk(1);
    hand.recognized();
  }
  const std::string printed = testing::internal::GetCapturedStdout();
  EXPECT_EQ(printed.substr(0, 40), "file_counter reseted\n15 - 0 - 16 - 21.93");
  // The first gesture stays until the mode changes, and is printed again before what comes next.
  const std::size_t begin = printed.find('\n') + 1;
  const std::size_t end = printed.find("\n\n") + 1;
  const std::string first = printed.substr(begin, end - begin);
  const std::string rest = printed.substr(end + 1);
  EXPECT_EQ(rest.substr(0, rest.find("treshold[1]")),
            first + "3 - 0 - 3 - 4.24264\n\nchanged to Check Gesture Mode\ntreshold[0]: 100\n");
  EXPECT_NE(rest.find("treshold[10]: 100\ngest START\ngest END\ngesture rec\nunknown - distance: inf - 100\n"
                      "changed to Record Templates Mode\n0 - 0 - 11 - 11\n"),
            std::string::npos);
  EXPECT_NE(rest.find("\n\nchanged to Check Gesture Mode\ngest START\n"), std::string::npos);
  // What was printed of the first gesture is a template of the seventh class.
  const std::string text = templateOf(printed.substr(0, printed.find("\n\n") + 1));
  std::filesystem::create_directory(folder.path() / "right_to_left");
  folder.write("right_to_left/0.csv", text.substr(text.find('\n') + 1));
  Hand hand(folder.path().string());
  hand.click("butTwo");
  hand.jerk(1);
  const auto [gesture, distance] = hand.recognized();
  EXPECT_EQ(gesture, 7);
  EXPECT_LT(distance, 100);
  hand.jerk(1.1F); // not quite the same
  EXPECT_EQ(hand.recognized().first, 7);
  hand.jerk(-2); // the other way round
  const auto foreign = hand.recognized();
  EXPECT_EQ(foreign.first, 0);
  EXPECT_GT(foreign.second, 100);
  // Nothing that can be measured is too much, nor is a gesture without an end.
  for (const float wrong : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(), 1e38F}) {
    hand.feel(wrong, -wrong, 20);
    hand.jerk(1);
    hand.recognized();
  }
  hand.feel(2, 2, static_cast<int>(GestureReader::maxSamples) + 100);
  hand.jerk(1);
  EXPECT_TRUE(eventually([&] {
    std::vector<std::string> log;
    hand.node->getLog(log);
    return log.back() == "A gesture of more than 6000 samples was given up";
  }));
}

TEST(DTWNode, PublishesItsSlotsWhileEnabled) {
  Hand hand("/nowhere");
  const auto labels = [&] {
    std::vector<LabeledSlot> slots;
    hand.top.getNamespace("n")->getSlots("*", Slot::Out, slots);
    hand.top.getNamespace("n")->getSlots("*", Slot::In, slots);
    std::vector<std::string> all;
    for (const LabeledSlot& slot : slots)
      all.push_back(slot.label);
    return all;
  };
  const std::vector<std::string> expected{"test",   "distance", "gesture", "butA", "butB",
                                          "butOne", "butTwo",   "butHome", "acc"};
  for (int round = 0; round < 2; ++round) {
    EXPECT_EQ(labels(), expected);
    hand.top.disable();
    EXPECT_EQ(labels(), std::vector<std::string>());
    hand.top.enable();
  }
}

// Whatever it is doing: it reads templates, a button is held while nothing is measured, or much is to be compared.
TEST(DTWNode, StopsAtOnce) {
  const test::TemporaryFolder folder;
  std::filesystem::create_directory(folder.path() / "zets");
  std::string longest;
  for (int i = 0; i < 256; ++i)
    longest += "0,16,16,16\n";
  for (int i = 0; i < 800; ++i)
    folder.write("zets/" + std::to_string(i) + ".csv", longest);
  Hand hand("/nowhere");
  const auto logs = [&](const std::string& line) {
    return eventually([&] {
      std::vector<std::string> log;
      hand.node->getLog(log);
      return !log.empty() && log.back() == line;
    });
  };
  /// Whether it stopped within a moment once, in some rounds: what a busy machine adds does not count.
  const auto stops = [&](auto begin) {
    for (int round = 0; round < 10; ++round) {
      begin();
      const auto start = std::chrono::steady_clock::now();
      hand.top.disable();
      const auto took = std::chrono::steady_clock::now() - start;
      EXPECT_EQ(hand.node->getState(), Node::Disabled);
      hand.top.enable();
      if (took < std::chrono::seconds(1))
        return true;
    }
    return false;
  };
  const std::string templates = "800 templates in " + folder.path().string();
  EXPECT_TRUE(stops([&] {
    hand.press("butA", true);
    hand.feel(1, 1, static_cast<int>(GestureReader::maxSamples));
    EXPECT_TRUE(logs("Of the gesture, no more than 6000 samples are recorded"));
    hand.node->setFieldValue("TemplateFolder", folder.path().string());
  }));
  hand.press("butA", false); // or it would be held from the start on
  EXPECT_TRUE(stops([&] { EXPECT_TRUE(eventually([&] { return hand.node->getState() == Node::Running; })); }));
  EXPECT_TRUE(stops([&] {
    const test::Printed printed;
    EXPECT_TRUE(logs(templates));
    hand.click("butTwo"); // it records again since the last time
    hand.feel(2, 2, static_cast<int>(GestureReader::maxSamples) - 100);
    hand.feel(0, 1.08F, 20);
    EXPECT_TRUE(printed.comes("gesture rec\n"));
  }));
}

// What is written while nobody takes it, and the node is disabled then, is of no meaning later.
TEST(DTWNode, ForgetsWhatWasBeforeItWasDisabled) {
  const test::Printed printed;
  Hand hand("/nowhere");
  for (int round = 0; round < 20; ++round) {
    hand.click("butTwo");
    hand.top.disable();
    hand.top.enable();
    hand.click("butHome"); // that is heard by who records only
    ASSERT_TRUE(eventually([&] {
      const std::string text = printed.text();
      int heard = 0;
      for (std::size_t at = 0; (at = text.find("reseted\n", at)) != std::string::npos; ++at)
        ++heard;
      return heard == round + 1;
    }));
  }
}

} // namespace
