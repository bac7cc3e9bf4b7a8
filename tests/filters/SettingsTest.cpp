// Fields are set, and nodes stopped and started, while two threads write to streams of a node, one of them shared.
#include <array>
#include <atomic>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <filters/Support.h>
#include <gtest/gtest.h>
#include <vantiflux/core/NodeType.h>
#include <vantiflux/filters/EqualizeNode.h>

namespace {

using namespace test;
using namespace Vantiflux;

struct Changes {
  const char* type;
  std::vector<std::pair<std::string, std::string>> fields;
};

void write(const std::array<OutSlot<Matrix>*, 2>& slots, std::atomic<int>& written, const std::atomic<bool>& done) {
  Noise noise;
  for (; !done; ++written)
    for (OutSlot<Matrix>* const slot : slots)
      slot->push(makePose({noise(1), noise(1), noise(1)}, {1, 2, 3}, noise(1)));
}

TEST(Settings, ChangeWhileValuesFlow) {
  const std::vector<Changes> all = {
      {"MotionFilter",
       {{"PosBufferSize", "4"},
        {"PosBufferSize", "100"},
        {"OriMonotonyLength", "0"},
        {"OriBufferSize", "7"},
        {"PosMonotonyLength", "3"},
        {"OriMonotonyLength", "2"},
        {"PosMonotonyLength", "0"},
        {"OriBufferSize", "3"}}},
      {"ThresholdFilter", {{"PosThreshold", "0"}, {"OriThreshold", "0.5"}, {"PosThreshold", "0.3"}}},
      {"Equalize", {{"RSquare", "0.1"}, {"ReferenceData", "file:" CALIBRATION}, {"RSquare", "1"}}}};
  for (const auto& [type, fields] : all) {
    SCOPED_TRACE(type);
    Namespace top;
    top.enable();
    top.addNamespace("Filter", NodeType::newInstance(type));
    Namespace& node = *top.getNamespace("Filter");
    std::array<OutSlot<Matrix>, 4> sources;
    for (std::size_t i = 0; i < sources.size(); ++i) {
      top.addOutSlot("Source " + std::to_string(i), &sources[i]);
      top.addRoute("Source " + std::to_string(i), "Filter/In " + std::to_string(i < 3 ? i : 0));
    }
    std::atomic<int> written[2] = {};
    std::atomic<bool> done{false};
    std::thread first([&] { write({&sources[0], &sources[1]}, written[0], done); });
    std::thread second([&] { write({&sources[2], &sources[3]}, written[1], done); });
    for (int round = 0; round < 10 || written[0] < 200 || written[1] < 200; ++round) {
      for (const auto& [name, value] : fields)
        node.setFieldValue(name, value);
      for (const auto& [name, value] : fields)
        EXPECT_FALSE(node.getFieldValue(name).empty());
      if (auto* const equalizer = dynamic_cast<EqualizeNode*>(&node); equalizer != nullptr && round < 10)
        equalizer->initCoefficients();
      if (round % 2 == 0)
        node.disable();
      else
        node.enable();
    }
    done = true;
    first.join();
    second.join();
    top.removeNamespace("Filter");
    for (std::size_t i = 0; i < sources.size(); ++i)
      top.removeOutSlot("Source " + std::to_string(i), &sources[i]);
  }
}

} // namespace
