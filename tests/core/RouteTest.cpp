#include <vantiflux/core/Namespace.h>

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <vantiflux/core/VariableReplacer.h>
#include <vantiflux/values/SlotTypes.h>

namespace {

using namespace Vantiflux;
using Texts = std::vector<std::string>;

Texts format(const std::vector<Route>& routes) {
  Texts result;
  for (const Route& route : routes)
    result.push_back(route.from + ">" + route.to);
  return result;
}

TEST(Route, RulesAreComparedAsTextsAndKeptInOrder) {
  Namespace ns;
  ns.addRoute("a", "B");
  ns.addRoute("A", "b"); // equal but for case
  ns.addRoute("*", "x");
  ns.addRoute("a*", "y");
  ns.addRoute("b", "B");
  std::vector<Route> routes;
  ns.getRoutes(routes);
  EXPECT_EQ(format(routes), (Texts{"a>B", "*>x", "a*>y", "b>B"}));
  ns.getRoutesFrom("A", routes);
  EXPECT_EQ(format(routes), (Texts{"a>B", "*>x", "a*>y"}));
  ns.getRoutesTo("b", routes);
  EXPECT_EQ(format(routes), (Texts{"a>B", "b>B"}));
  EXPECT_EQ(ns.findRoute("a?", "y"), nullptr); // no pattern match
  ns.removeRoute("A", "b");
  ns.removeRoute("A", "b");
  ns.addRoute("a", "B");
  ns.getRoutes(routes);
  EXPECT_EQ(format(routes), (Texts{"*>x", "a*>y", "b>B", "a>B"}));
}

TEST(Route, WildcardsAndEqualLabelsAreCountedTogether) {
  OutSlot<float> out;
  InSlot<float> same;
  InSlot<float> other;
  InSlot<double> foreign;
  Namespace ns;
  ns.enable();
  ns.addRoute("*", "*");
  ns.addOutSlot("v", &out);
  ns.addInSlot("v", &same);
  ns.addInSlot("w", &other);
  ns.addInSlot("d", &foreign);
  std::vector<LabeledInSlot> joined;
  ns.getRoutedInSlots("V", joined);
  ASSERT_EQ(joined.size(), 4u);
  EXPECT_EQ(joined[3].label, "v"); // the equal label comes last
  out.push(1.0F);
  EXPECT_EQ(same.pop().getValue(), 1.0F);
  EXPECT_TRUE(same.empty());
  EXPECT_EQ(other.pop().getValue(), 1.0F);
  ns.removeRoute("*", "*");
  out.push(2.0F);
  EXPECT_EQ(same.pop().getValue(), 2.0F); // the identity remains
  EXPECT_TRUE(other.empty());
  ns.removeOutSlot("v", &out);
  EXPECT_FALSE(out.isConnected());
}

TEST(Route, ARuleOutlivesItsSlotsAndIsEffectiveOnlyWhileEnabled) {
  OutSlot<float> out;
  InSlot<float> in;
  Namespace ns;
  ns.addRoute("from", "to");
  ns.addOutSlot("from", &out);
  ns.addInSlot("to", &in);
  EXPECT_FALSE(out.isConnected());
  ns.enable();
  EXPECT_TRUE(out.isConnected());
  ns.removeInSlot("to", &in);
  EXPECT_FALSE(out.isConnected());
  ns.addInSlot("TO", &in);
  EXPECT_TRUE(out.isConnected());
  ns.disable();
  EXPECT_FALSE(out.isConnected());
  ns.removeInSlot("to", &in);
  ns.enable();
  EXPECT_FALSE(out.isConnected());
}

TEST(Route, ListenersHearOfRoutesButNotOfAClear) {
  struct Recorder : Namespace::Listener {
    void routeAdded(Namespace&, const std::string& f, const std::string& t) override { text += "+" + f + t; }
    void routeRemoved(Namespace&, const std::string& f, const std::string& t) override { text += "-" + f + t; }
    std::string text;
  } recorder;
  Namespace ns;
  ns.addListener(recorder);
  ns.addRoute("a", "b");
  ns.addRoute("A", "B");
  ns.removeRoute("a", "b");
  ns.addRoute("c", "d");
  ns.clearRoutes();
  EXPECT_EQ(recorder.text, "+ab-ab+cd");
}

TEST(ExternalRoute, PublishesUpTheTree) {
  OutSlot<float> out;
  OutSlot<float> hidden;
  InSlot<float> in;
  Namespace top;
  top.enable();
  auto* const middle = new Namespace;
  auto* const leaf = new Namespace;
  middle->addExternalRoute("*", "{NamespaceLabel}.{SlotLabel}");
  leaf->addExternalRoute("T*", "{NamespaceLabel}/{SlotLabel}");
  leaf->addOutSlot("Time", &out);
  leaf->addOutSlot("Secret", &hidden);
  middle->addNamespace("Clock", std::make_unique<Namespace>());
  middle->addNamespace("Clock", std::unique_ptr<Namespace>(leaf));
  top.addNamespace("m", std::unique_ptr<Namespace>(middle));
  EXPECT_NE(middle->findOutSlot("Clock 2/Time", &out), nullptr);
  EXPECT_EQ(middle->findOutSlot("Clock 2/Secret", nullptr), nullptr);
  EXPECT_NE(top.findOutSlot("m.Clock 2/Time", &out), nullptr);
  top.addInSlot("reader", &in);
  top.addRoute("*.clock 2/time", "reader");
  out.push(5.0F);
  EXPECT_EQ(in.pop().getValue(), 5.0F);
  leaf->addOutSlot("Tide", &hidden); // comes later
  EXPECT_NE(top.findOutSlot("m.Clock 2/Tide", &hidden), nullptr);
  leaf->removeOutSlot("Tide", &hidden);
  EXPECT_EQ(top.findOutSlot("m.Clock 2/Tide", nullptr), nullptr);
  struct Recorder : Namespace::Listener {
    void outSlotRemoved(Namespace&, const std::string& label, BasicOutSlot*) override { text += label; }
    std::string text;
  } recorder;
  middle->addListener(recorder);
  leaf->removeExternalRoute("t*", "{namespacelabel}/{slotlabel}");
  EXPECT_EQ(recorder.text, "Clock 2/Time");
  EXPECT_FALSE(out.isConnected());
  leaf->addExternalRoute("Time", "renamed");
  EXPECT_NE(top.findOutSlot("m.renamed", &out), nullptr);
  leaf->disable();
  EXPECT_EQ(top.findOutSlot("m.renamed", nullptr), nullptr);
  middle->removeListener(recorder);
}

TEST(ExternalRoute, AnEnabledChildExportsIntoADisabledParent) {
  OutSlot<float> out;
  InSlot<float> in;
  Namespace parent;
  auto child = std::make_unique<Namespace>();
  child->addOutSlot("v", &out);
  child->addExternalRoute("*", "{SlotLabel}");
  child->enable();
  parent.addInSlot("v", &in);
  parent.addNamespace("c", std::move(child));
  EXPECT_NE(parent.findOutSlot("v", &out), nullptr);
  EXPECT_FALSE(out.isConnected());
  parent.enable();
  EXPECT_TRUE(out.isConnected());
  // Deleting the child withdraws what it exported.
  parent.clearNamespaces();
  EXPECT_EQ(parent.findOutSlot("v", nullptr), nullptr);
  EXPECT_FALSE(out.isConnected());
}

TEST(VariableReplacer, FollowsItsGrammar) {
  const auto replace = [](const std::string& text) {
    Config::ParamBag params;
    params.setParam("SlotLabel", "Time");
    params.setParam("a}b", "odd");
    VariableReplacer replacer;
    replacer.setFormat(text);
    return replacer.toString(params);
  };
  const std::pair<const char*, const char*> rows[] = {
      {"", ""},
      {"plain", "plain"},
      {"{SlotLabel}", "Time"},
      {"x{SlotLabel}y{SlotLabel}", "xTimeyTime"},
      {"{Unknown}z", "z"},
      {"\\{word\\}/{SlotLabel}", "{word}/Time"},
      {"{SlotLabel", "{SlotLabel"},
      {"a{SlotLabel}{open", "aTime{open"},
      {"back\\slash\\", "back\\slash\\"},
      {"{a\\}b}", "odd"},
      {"}{SlotLabel}", "}Time"},
  };
  for (const auto& [text, expected] : rows)
    EXPECT_EQ(replace(text), expected) << text;
}

} // namespace
