#include <dlfcn.h>

#include <atomic>
#include <deque>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include <vantiflux/core/Namespace.h>
#include <vantiflux/values/SlotTypes.h>

namespace {

std::atomic<long> matches{0};

} // namespace

/// Stands before the C library's function and counts its calls.
extern "C" __attribute__((visibility("default"))) int fnmatch(const char* pattern, const char* text, int flags) {
  using Function = int (*)(const char*, const char*, int);
  static const auto original = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "fnmatch"));
  ++matches;
  return original(pattern, text, flags);
}

namespace {

using namespace Vantiflux;

// Matching each label with every other one would take hundreds of millions of calls here.
TEST(Scale, LiteralLabelsAreFoundWithoutMatching) {
  constexpr int pairs = 10000;
  std::deque<OutSlot<float>> outs(pairs);
  std::deque<InSlot<float>> ins(pairs);
  Namespace ns;
  for (int i = 0; i < pairs; ++i) {
    const std::string label = "device/" + std::to_string(i);
    ns.addOutSlot(label, &outs[static_cast<std::size_t>(i)]);
    ns.addInSlot("app/" + std::to_string(i), &ins[static_cast<std::size_t>(i)]);
    ns.addRoute(label, "app/" + std::to_string(i));
  }
  ns.enable();
  ns.addRoute("pattern*", "app/1");
  for (const OutSlot<float>& out : outs)
    ASSERT_TRUE(out.isConnected());
  outs[77].push(1.0F);
  EXPECT_FALSE(ins[77].empty());
  ns.removeOutSlot("device/77", &outs[77]);
  EXPECT_FALSE(outs[77].isConnected());
  EXPECT_LE(matches, 3L * pairs); // the one pattern, against each label once for its route
  matches = 0;
  ns.addOutSlot("Device/77", &outs[77]);
  EXPECT_TRUE(outs[77].isConnected());
  EXPECT_LE(matches, 1);
}

TEST(Scale, ManyChildrenOfOneLabel) {
  Namespace ns;
  for (int i = 0; i < 5000; ++i)
    ns.addNamespace("Node", std::make_unique<Namespace>());
  EXPECT_EQ(ns.getNamespace("node 5000")->getLabel(), "Node 5000");
}

} // namespace
