#include <vantiflux/core/Namespace.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <vantiflux/core/Node.h>
#include <vantiflux/values/SlotTypes.h>

namespace {

using namespace Vantiflux;

struct Recorder : Namespace::Listener {
  void outSlotAdded(Namespace&, const std::string& label, BasicOutSlot*) override { text += "+o:" + label + " "; }
  void outSlotRemoved(Namespace&, const std::string& label, BasicOutSlot*) override { text += "-o:" + label + " "; }
  void inSlotAdded(Namespace&, const std::string& label, BasicInSlot*) override { text += "+i:" + label + " "; }
  void inSlotRemoved(Namespace&, const std::string& label, BasicInSlot*) override { text += "-i:" + label + " "; }
  void routeAdded(Namespace&, const std::string& f, const std::string& t) override {
    text += "+r:" + f + ">" + t + " ";
  }
  void routeRemoved(Namespace&, const std::string& f, const std::string& t) override {
    text += "-r:" + f + ">" + t + " ";
  }
  std::string take() { return std::exchange(text, {}); }
  std::string text;
};

std::vector<std::string> labels(const Namespace& ns, const std::string& pattern) {
  std::vector<Namespace::LabeledSlot> slots;
  ns.getSlots(pattern, Slot::Out, slots);
  std::vector<std::string> result;
  for (const auto& slot : slots)
    result.push_back(slot.label);
  return result;
}

using Labels = std::vector<std::string>;

TEST(Namespace, CountsSlotsAndFindsThemByPattern) {
  OutSlot<float> a;
  OutSlot<float> b;
  InSlot<float> in;
  Namespace ns;
  Recorder recorder;
  ns.addListener(recorder);
  ns.addOutSlot("Pose/Head", &a);
  ns.addOutSlot("pose/HEAD", &a);
  EXPECT_EQ(recorder.take(), "+o:Pose/Head ");
  EXPECT_EQ(ns.findOutSlot("POSE/head", &a)->useCount, 2);
  ns.addOutSlot("Pose/Head", &b); // two slots under one label
  ns.addOutSlot("Other", &a);     // one slot under two
  EXPECT_EQ(recorder.take(), "+o:Pose/Head +o:Other ");
  EXPECT_EQ(labels(ns, "P*"), (Labels{"Pose/Head", "Pose/Head"}));
  EXPECT_EQ(labels(ns, "*h*"), (Labels{"Pose/Head", "Pose/Head", "Other"}));
  EXPECT_EQ(labels(ns, "p?se?head"), (Labels{"Pose/Head", "Pose/Head"}));
  EXPECT_EQ(labels(ns, "[o-p]t*"), (Labels{"Other"}));
  EXPECT_EQ(ns.findOutSlot("pose/head", nullptr)->slot, &a);
  EXPECT_EQ(ns.findOutSlot("none", nullptr), nullptr);
  ns.removeOutSlot("pose/head", &a);
  EXPECT_EQ(recorder.take(), "");
  ns.removeOutSlot("*", &a); // the first entry that holds the slot
  EXPECT_EQ(recorder.take(), "-o:Pose/Head ");
  EXPECT_EQ(labels(ns, "*"), (Labels{"Pose/Head", "Other"}));
  ns.removeOutSlot("unknown", &a);
  ns.removeSlot("Other", &a);
  EXPECT_EQ(recorder.take(), "-o:Other ");
  ns.removeListener(recorder);
  ns.addInSlot("In", &in);
  ns.removeSlot("in", &in);
  ns.removeOutSlot("*", &b);
  EXPECT_EQ(recorder.take(), "");
}

TEST(Namespace, LabelsWithWildcardCharactersStandForThemselves) {
  OutSlot<float> out;
  OutSlot<float> foreign;
  InSlot<float> in;
  Namespace ns;
  ns.enable();
  ns.addOutSlot("xyz", &foreign);
  ns.addInSlot("*[x]", &in);
  ns.addOutSlot("*[x]", &out);
  out.push(1.0F);
  EXPECT_EQ(in.pop().getValue(), 1.0F);
  foreign.push(2.0F);
  EXPECT_TRUE(in.empty());
  ns.removeOutSlot("*[x]", &out);
  EXPECT_FALSE(out.isConnected());
  EXPECT_EQ(ns.findOutSlot("xyz", nullptr)->slot, &foreign);
}

TEST(Namespace, EqualLabelsConnectWhileEnabled) {
  OutSlot<float> out;
  InSlot<float> in;
  Namespace ns;
  ns.addOutSlot("Value", &out);
  ns.addInSlot("VALUE", &in);
  EXPECT_FALSE(out.isConnected());
  ns.enable();
  EXPECT_TRUE(out.isConnected());
  ns.enable();
  out.push(1.0F);
  EXPECT_EQ(in.pop().getValue(), 1.0F);
  ns.disable();
  EXPECT_FALSE(out.isConnected());
  ns.enable();
  ns.removeInSlot("value", &in);
  EXPECT_FALSE(out.isConnected());
  ns.addInSlot("Value", &in);
  EXPECT_EQ(in.pop().getValue(), 1.0F); // the stored value, at once
}

TEST(Namespace, DisablingIsCarriedOutWholeAfterACallBackThrew) {
  struct Thrower : BasicInSlot::Listener {
    void stopInSlot(BasicInSlot&) override { throw std::runtime_error("no"); }
  } thrower;
  InSlot<float> in;
  OutSlot<float> out;
  in.addListener(thrower);
  Namespace ns;
  ns.addInSlot("value", &in);
  ns.addOutSlot("value", &out);
  ns.addNamespace("child", std::make_unique<Node>());
  ns.enable();
  EXPECT_THROW(ns.disable(), std::runtime_error);
  EXPECT_FALSE(ns.enabled());
  EXPECT_FALSE(out.isConnected());
  EXPECT_EQ(dynamic_cast<Node*>(ns.getNamespace("child"))->getState(), Node::Disabled);
  in.removeListener(thrower);
}

TEST(Namespace, ClearingEndsThoughEveryChildIsReplaced) {
  struct Phoenix : Node {
    explicit Phoenix(Namespace& home) : home_(home) {}
    void shutdown() override { home_.addNamespace("again", std::make_unique<Node>()); }
    Namespace& home_;
  };
  Namespace ns;
  ns.enable();
  ns.addNamespace("a", std::make_unique<Phoenix>(ns));
  ns.addNamespace("b", std::make_unique<Phoenix>(ns));
  ns.clearNamespaces();
  EXPECT_EQ(ns.getNamespaces().size(), 2U);
}

TEST(Namespace, LabelsOfChildrenAreUniqueAndCaseless) {
  Namespace ns;
  const auto add = [&](const std::string& label) { return ns.addNamespace(label, std::make_unique<Namespace>()); };
  EXPECT_EQ(add("Mouse"), "Mouse");
  EXPECT_EQ(add("Mouse"), "Mouse 2");
  EXPECT_EQ(add("mouse"), "mouse 3");
  EXPECT_EQ(add("Mouse 2"), "Mouse 2 2");
  EXPECT_EQ(add("A"), "A");
  EXPECT_EQ(ns.getNamespace("MOUSE 3")->getLabel(), "mouse 3");
  EXPECT_EQ(ns.createUniqueLabel("MOUSE"), "MOUSE 4");
  EXPECT_EQ(ns.removeNamespace("mouse 2")->getLabel(), "Mouse 2");
  EXPECT_EQ(add("Mouse"), "Mouse 2"); // the first free number
  Labels inOrder;
  for (const Namespace* child : ns.getNamespaces())
    inOrder.push_back(child->getLabel());
  EXPECT_EQ(inOrder, (Labels{"A", "Mouse", "Mouse 2", "Mouse 2 2", "mouse 3"}));
  try {
    ns.addNamespace("Up", std::make_unique<Namespace>());
    ns.getNamespace("Up")->getNamespace("Gone");
    FAIL();
  } catch (const InvalidNamespaceException& e) {
    EXPECT_EQ(e.getMessage(), "Namespace \"Up\" does not contain the subnamespace \"Gone\"");
  }
  EXPECT_THROW(ns.removeNamespace("Gone"), InvalidNamespaceException);
}

/// Writes the calls of initialize and shutdown into a common text.
struct Traced : Namespace {
  Traced(std::string tracedName, std::string& log) : name(std::move(tracedName)), text(log) {}
  ~Traced() override { disable(); }
  void initialize() override { text += "+" + name + " "; }
  void shutdown() override { text += "-" + name + " "; }
  std::string name;
  std::string& text;
};

TEST(Namespace, EnablingGoesDownAndDisablingComesBackUp) {
  std::string text;
  {
    Traced top("top", text);
    auto inner = std::make_unique<Traced>("inner", text);
    inner->addNamespace("leaf", std::make_unique<Traced>("leaf", text));
    top.addNamespace("b", std::move(inner));
    top.addNamespace("A", std::make_unique<Traced>("first", text));
    top.enable();
    EXPECT_EQ(std::exchange(text, {}), "+top +first +inner +leaf ");
    top.addNamespace("late", std::make_unique<Traced>("late", text));
    EXPECT_EQ(std::exchange(text, {}), "+late ");
    const std::unique_ptr<Namespace> removed = top.removeNamespace("B");
    EXPECT_EQ(std::exchange(text, {}), "-leaf -inner ");
    EXPECT_FALSE(removed->enabled());
    EXPECT_EQ(removed->getParent(), nullptr);
    top.disable();
    EXPECT_EQ(std::exchange(text, {}), "-first -late -top ");
    top.enable();
    text.clear();
  }
  EXPECT_EQ(text, "-first -late -top ");
}

TEST(Namespace, DirtyClimbsAndIsClearedDownwards) {
  OutSlot<float> out;
  Namespace top;
  auto* const child = new Namespace;
  top.addNamespace("c", std::unique_ptr<Namespace>(child));
  EXPECT_TRUE(top.dirty());
  top.setDirty(false);
  child->addOutSlot("x", &out);
  child->setFieldValue("Name", "value");
  EXPECT_FALSE(child->dirty());
  child->addRoute("a", "b");
  EXPECT_TRUE(top.dirty());
  top.setDirty(false);
  EXPECT_FALSE(child->dirty());
  child->addRoute("A", "B"); // there already
  child->removeExternalRoute("no", "no");
  EXPECT_FALSE(top.dirty());
  child->clearRoutes();
  EXPECT_TRUE(top.dirty());
  child->removeOutSlot("x", &out);
}

TEST(Namespace, StoresFieldsUnderTheirNames) {
  Namespace ns;
  ns.setFieldValue("Zeta", "1");
  ns.setFieldValue("alpha", "2");
  ns.setFieldValue("ZETA", "3");
  std::vector<std::string> names{"stale"};
  ns.getFieldNames(names);
  EXPECT_EQ(names, (Labels{"alpha", "Zeta"}));
  EXPECT_EQ(ns.getFieldValue("zeta"), "3");
  ns.setFieldValues("Alpha=5 beta=\"two words\"");
  EXPECT_EQ(ns.getFieldValue("alpha"), "5");
  EXPECT_EQ(ns.getFieldValue("Beta"), "two words");
  try {
    ns.getFieldValue("none");
    FAIL();
  } catch (const InvalidFieldException& e) {
    EXPECT_EQ(e.getMessage(), "");
  }
  ns.clear();
  EXPECT_THROW(ns.getFieldValue("alpha"), InvalidFieldException);
}

TEST(Namespace, ClearLeavesSlotsAndEqualLabelsConnected) {
  OutSlot<float> out;
  InSlot<float> same;
  InSlot<float> routed;
  Namespace ns;
  ns.enable();
  ns.addOutSlot("a", &out);
  ns.addInSlot("a", &same);
  ns.addInSlot("b", &routed);
  ns.addRoute("a", "b");
  ns.addNamespace("child", std::make_unique<Namespace>());
  ns.clear();
  out.push(1.0F);
  EXPECT_FALSE(same.empty());
  EXPECT_TRUE(routed.empty());
  EXPECT_TRUE(ns.getNamespaces().empty());
  EXPECT_NE(ns.findOutSlot("a", &out), nullptr);
}

} // namespace
