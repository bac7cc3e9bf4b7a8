#include <vantiflux/web/rest/REST.h>

#include <atomic>
#include <barrier>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include <vantiflux/core/Root.h>
#include <vantiflux/filters/ThresholdFilterNode.h>
#include <vantiflux/web/rest/URLPath.h>
#include <web/rest/Tree.h>

// What curl asks a server for stands in rest_story.py.
using namespace Vantiflux;
using test::ask;
using test::get;
using test::Planted;
using test::SlotNode;

namespace {

constexpr unsigned long refused = 406;
const std::string toNode = "/Vantiflux/element/";

unsigned long post(const std::string& tail) {
  return ask("POST", toNode + tail, "1").status;
}

struct Reaction : BasicInSlot::Listener {
  explicit Reaction(std::function<void()> toDo) : act(std::move(toDo)) {}
  void newData(BasicInSlot&) override { act(); }
  std::function<void()> act;
};

/// Says when it goes.
struct MortalNode : SlotNode<float> {
  explicit MortalNode(std::atomic<int>& toll) : deaths(toll) {}
  ~MortalNode() override {
    disable();
    ++deaths;
  }
  std::atomic<int>& deaths;
};

/// Counts who looks for a slot whose label another one has in another case: a writer does so twice, at last where he
/// begins his visit before he leaves the lock of structure.
struct WatchedNode : SlotNode<float> {
  void getInSlots(const std::string& pattern, std::vector<LabeledInSlot>& slots) const override {
    ++looks;
    SlotNode<float>::getInSlots(pattern, slots);
  }
  mutable std::atomic<int> looks{0};
};

void changeTheTree() {
  Root::the().addRoute("from", "to");
  Root::the().removeRoute("from", "to");
}

void waitFor(const std::atomic<bool>& flag) {
  while (!flag)
    std::this_thread::yield();
}

} // namespace

TEST(Dispatch, ListsFieldsBeforeSlots) {
  const Planted<ThresholdFilterNode> filter("a filter");
  const std::string first = filter->type()->getFields()[0].getName();
  EXPECT_NE(get("0").body.find("\"type\": \"ThresholdFilter\""), std::string::npos);
  EXPECT_NE(get("0").body.find("[\n    \"" + first + "\""), std::string::npos);
  EXPECT_EQ(get("0/0/data").body, filter->getFieldValue(first));
}

TEST(Dispatch, StandsPathsThatNoClientSends) {
  const Planted<SlotNode<float>> node("1");
  for (const std::string& path : {std::string(), std::string("Vantiflux/element/1"),
                                  std::string("/%56antiflux/element/1"), toNode + std::string(60000, '%')})
    EXPECT_EQ(ask("GET", path).status, refused) << path;
  EXPECT_EQ(ask("GET", toNode + "0/" + std::string(60000, '/')).status, 200U);
}

TEST(Dispatch, DescribingAListTakesItUnlessTheSlotIsBusy) {
  const Planted<SlotNode<test::List<Vec3<float>>>> node("z");
  const auto length = [] {
    const std::string body = get("z/In").body;
    return body.substr(body.find("length") + 9, 1);
  };
  node->in.push(test::listOf<Vec3<float>>({{1, 2, 3}, {4, 5, 6}}));
  node->in.lock();
  std::thread([&] { EXPECT_EQ(length(), "0"); }).join();
  node->in.unlock();
  EXPECT_EQ(length(), "2");
  EXPECT_EQ(length(), "0");
}

TEST(Dispatch, AListenersFailureIsTheRequests) {
  const Planted<SlotNode<float>> node("z");
  Reaction thrower([] { throw "a text"; });
  node->in.addListener(thrower);
  EXPECT_EQ(post("z/In"), refused);
}

TEST(Dispatch, AListenerMayWaitForAThreadThatChangesTheTree) {
  const Planted<SlotNode<float>> node("z");
  Reaction changer([] { std::thread(changeTheTree).join(); });
  node->in.addListener(changer);
  EXPECT_EQ(post("z/In"), 200U);
}

TEST(Dispatch, WhoWaitsForAValueHoldsUpNoChange) {
  const Planted<SlotNode<float>> node("z");
  std::atomic<bool> delivers{false};
  std::atomic<bool> goOn{false};
  Reaction slow([&] {
    delivers = true;
    waitFor(goOn);
  });
  InSlot<float> sink;
  sink.addListener(slow);
  node->out.connect(&sink);
  std::thread writer([&] { node->out.push(2); });
  waitFor(delivers);
  std::thread reader([] { EXPECT_EQ(get("z/Out/data.string").body, "2"); });
  for (int i = 0; i < 20; ++i) {
    changeTheTree();
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  goOn = true;
  writer.join();
  reader.join();
  node->out.disconnect(&sink);
}

TEST(Dispatch, WhoTakesASlotAwayWaitsForAWriter) {
  std::atomic<int> deaths{0};
  for (const bool whole : {false, true}) {
    const std::string label = Root::the().addNamespace("z", std::make_unique<MortalNode>(deaths));
    auto& node = dynamic_cast<MortalNode&>(*Root::the().getNamespace(label));
    auto slot = std::make_unique<InSlot<float>>();
    node.addInSlot("Own", slot.get());
    std::atomic<bool> entered{false};
    std::atomic<bool> left{false};
    Reaction slow([&] {
      entered = true;
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
      left = true;
    });
    slot->addListener(slow);
    std::thread writer([&] { EXPECT_EQ(post(label + "/Own"), 200U); });
    waitFor(entered);
    if (whole)
      Root::the().removeNamespace(label);
    else
      node.removeInSlot("Own", slot.get());
    EXPECT_TRUE(left);
    slot.reset();
    writer.join();
    if (!whole)
      Root::the().removeNamespace(label);
  }
  EXPECT_EQ(deaths, 2);
}

TEST(Dispatch, AListenerMayTakeItsOwnSlotAndNodeAway) {
  std::atomic<int> deaths{0};
  auto owned = std::make_unique<MortalNode>(deaths);
  MortalNode& node = *owned;
  Root::the().addNamespace("z", std::move(owned));
  Reaction remover([&] {
    node.removeInSlot("In", &node.in);
    Root::the().removeNamespace("z");
    EXPECT_EQ(deaths, 0);
  });
  node.in.addListener(remover);
  EXPECT_EQ(post("z/In"), 200U);
  EXPECT_EQ(deaths, 1);
}

TEST(Dispatch, AListenerThatTakesItsSlotAwayWaitsForTheNextWriter) {
  for (int round = 0; round < 20; ++round) {
    const Planted<WatchedNode> node("z");
    InSlot<float> slot;
    node->addInSlot("IN", &slot);
    std::thread next;
    int calls = 0;
    Reaction remover([&] {
      if (++calls > 1)
        return;
      const int seen = node->looks;
      next = std::thread([] { EXPECT_EQ(post("z/IN"), 200U); });
      while (node->looks < seen + 2)
        std::this_thread::yield();
      node->removeInSlot("IN", &slot);
      EXPECT_EQ(calls, 2);
    });
    slot.addListener(remover);
    EXPECT_EQ(post("z/IN"), 200U);
    next.join();
  }
}

TEST(Dispatch, TwoListenersMayRemoveEachOthersNodes) {
  for (int round = 0; round < 20; ++round) {
    std::atomic<int> deaths{0};
    std::barrier both(2);
    const auto reaction = [&both](const char* other) {
      return Reaction([&both, other] {
        both.arrive_and_wait();
        Root::the().removeNamespace(other);
      });
    };
    Reaction ofY = reaction("z");
    Reaction ofZ = reaction("y");
    for (const auto& [label, listener] : {std::pair("y", &ofY), std::pair("z", &ofZ)}) {
      auto node = std::make_unique<MortalNode>(deaths);
      node->in.addListener(*listener);
      Root::the().addNamespace(label, std::move(node));
    }
    std::thread first([] { EXPECT_EQ(post("y/In"), 200U); });
    EXPECT_EQ(post("z/In"), 200U);
    first.join();
    EXPECT_EQ(deaths, 2);
  }
}

TEST(URLPath, DecodesPercentCodes) {
  const auto decode = [](std::string text, const std::string& keep = {}, unsigned long limit = ~0UL) {
    REST::decodeUnsafeCharacters(text, keep, limit);
    return text;
  };
  EXPECT_EQ(decode("%41%62%2f%C3%a4"), "Ab/\xc3\xa4");
  for (const char* const same : {"%00", "%zz", "%4", "%", "a%4", "%g1%1g", ""})
    EXPECT_EQ(decode(same), same);
  EXPECT_EQ(decode("%%41"), "%A");
  EXPECT_EQ(decode("%2541"), "%41") << "once only";
  EXPECT_EQ(decode("%41%42%43", "B"), "A%42C");
  EXPECT_EQ(decode("%41x%42", "", 2), "Ax%42");
}
