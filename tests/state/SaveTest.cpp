// Documents that are written, and read back.
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <vantiflux/core/ClockNode.h>
#include <vantiflux/platform/xmlwrap/SAXException.h>
#include <vantiflux/state/InlineNode.h>
#include <vantiflux/state/StateKeeperXML.h>

#include "Support.h"

namespace Vantiflux::Test {
namespace {

TEST(StateSave, WritesTheDocumentInItsOrder) {
  Namespace space;
  auto sample = std::make_unique<SampleNode>();
  sample->setFieldValue("zeta", "1");
  sample->setFieldValue("Title", "t");
  sample->setFieldValue("On", "off");
  sample->setFieldValue("Extra", "2");
  sample->setFieldValue("Count", "3"); // the default
  sample->addNamespace("Inner", std::make_unique<Namespace>());
  space.addNamespace("b", std::move(sample));
  space.addNamespace("C", std::make_unique<ClockNode>());
  space.addNamespace("A", std::make_unique<Namespace>());
  space.addRoute("From", "To");
  space.addRoute("*", "b");
  space.addExternalRoute("In", "{Out}");
  space.setFieldValue("Field", "Value");
  space.setDirty(false);
  EXPECT_EQ(R"(<?xml version="1.0" encoding="UTF-8"?>
<Vantiflux versionMajor="1" versionMinor="0">
  <Parameter name="Field" value="Value"/>
  <Route from="From" to="To"/>
  <Route from="*" to="b"/>
  <ExternalRoute internal="In" external="{Out}"/>
  <Namespace label="A"/>
  <Node label="b" type="StateSample">
    <Parameter name="Extra" value="2"/>
    <Parameter name="zeta" value="1"/>
    <Parameter name="On" value="false"/>
    <Parameter name="Title" value="t"/>
    <ExternalRoute internal="*" external="{NamespaceLabel}/{SlotLabel}"/>
    <Namespace label="Inner"/>
  </Node>
  <Node label="C" type="Clock">
    <ExternalRoute internal="*" external="{NamespaceLabel}/{SlotLabel}"/>
  </Node>
</Vantiflux>
)",
            save(space));
  EXPECT_FALSE(space.dirty());
}

TEST(StateSave, WritesABackendAsANode) {
  Namespace space;
  load(space, document("<Backend label='b' type='clock'/>"));
  EXPECT_NE(std::string::npos, save(space).find("<Node label=\"b\" type=\"Clock\">"));
}

class UntypedNode : public Node {
public:
  ~UntypedNode() override;
};

UntypedNode::~UntypedNode() = default;

TEST(StateSave, KeepsTheTreeLoadableAroundANodeWithoutAType) {
  Namespace space;
  std::unique_ptr<Node> untyped = std::make_unique<UntypedNode>();
  untyped->addNamespace("inner", std::make_unique<ClockNode>());
  space.addNamespace("u", std::move(untyped));
  Namespace copy;
  load(copy, save(space));
  EXPECT_EQ("u{inner:Clock}", outline(copy));
}

// Texts that XML treats specially, in every place where a user's text may stand.
TEST(StateSave, KeepsEveryText) {
  for (const std::string text :
       {"a < b & \"c\" > 'd'", "line\nnext\r\nend\r", "\ttab\t", "  blanks  around ", " ", "]]>", "&amp;&#10;",
        "{x}\\{y", "caf\xC3\xA9 \xE6\xBC\xA2 \xF0\x9F\x98\x80", "\xC2\x85\xE2\x80\xA8", "<!-- -->", "%s%n"}) {
    Namespace space;
    auto node = std::make_unique<SampleNode>();
    node->setTitle(text);
    node->setFieldValue("unknown " + text, text);
    space.addNamespace(text, std::move(node));
    space.addNamespace("plain", std::make_unique<Namespace>());
    space.setFieldValue(text, text);
    space.addRoute(text, "to" + text);
    space.addExternalRoute(text, text);
    const std::string saved = save(space);
    Namespace copy;
    load(copy, saved);
    EXPECT_EQ(saved, save(copy)) << text;
    const auto& copied = dynamic_cast<const SampleNode&>(*copy.getNamespace(text));
    EXPECT_EQ(text, copied.getLabel());
    EXPECT_EQ(text, copied.getTitle());
    EXPECT_EQ(text, copied.getFieldValue("unknown " + text));
    EXPECT_EQ(text, copy.getFieldValue(text));
    std::vector<Route> routes;
    copy.getRoutes(routes);
    ASSERT_EQ(1U, routes.size());
    EXPECT_EQ(text, routes[0].from);
    std::vector<ExternalRoute*> externalRoutes;
    copy.getExternalRoutes(externalRoutes);
    ASSERT_EQ(1U, externalRoutes.size());
    EXPECT_EQ(text, externalRoutes[0]->getExternal());
  }
}

TEST(StateSave, TellsWhereATextIsThatXMLCannotCarryAndWritesNothing) {
  for (const std::string& text :
       {std::string("bell\a"), std::string("zero\0", 5), std::string("\xFF"), std::string("\xEF\xBF\xBE")}) {
    Namespace space;
    auto outer = std::make_unique<Namespace>();
    auto node = std::make_unique<SampleNode>();
    node->setTitle(text);
    outer->addNamespace("inner", std::move(node));
    space.addNamespace("first", std::make_unique<Namespace>());
    space.addNamespace("outer", std::move(outer));
    std::ostringstream stream;
    const std::string message = messageOf<XMLWrap::SAXException>([&] { StateKeeperXML::save(space, stream); });
    EXPECT_NE(std::string::npos, message.find("\"outer/inner\"")) << message;
    EXPECT_EQ("", stream.str());
  }
  Namespace space;
  std::ostringstream full;
  full.setstate(std::ios::failbit);
  EXPECT_THROW(StateKeeperXML::save(space, full), XMLWrap::SAXException);
}

TEST(StateSave, WritesNothingOfANamespaceThatDoesNotWantIt) {
  Namespace space;
  auto node = std::make_unique<InlineNode>();
  node->setURL("file.vfx");
  node->setFieldValue("unknown", "x");
  node->addRoute("a", "b");
  node->addNamespace("child", std::make_unique<Namespace>());
  space.addNamespace("i", std::move(node));
  EXPECT_NE(std::string::npos, save(space).find("\n  <Node label=\"i\" type=\"Inline\"/>\n</Vantiflux>"));
  InlineNode alone;
  EXPECT_NE(std::string::npos, save(alone).find("<Vantiflux versionMajor=\"1\" versionMinor=\"0\"/>"));
}

class Grower {
public:
  explicit Grower(unsigned seed) : random_(seed) {}

  /// Adds so many namespaces and nodes below, at random places.
  void grow(Namespace& top, int count) {
    std::vector<Namespace*> places{&top};
    for (; count > 0; --count) {
      Namespace& place = *places[pick(places.size())];
      const std::string label = "Label " + std::to_string(pick(30)); // many are equal
      const std::string& got =
          pick(3) == 0 ? place.addNamespace(label, std::make_unique<Namespace>()) : place.addNamespace(label, node());
      Namespace* const added = place.getNamespace(got);
      for (std::size_t i = pick(3); i > 0; --i)
        added->addRoute("from" + std::to_string(pick(9)), "To*");
      for (std::size_t i = pick(2); i > 0; --i)
        added->addExternalRoute("i" + std::to_string(pick(9)), "{SlotLabel}");
      places.push_back(added);
    }
  }

private:
  std::size_t pick(std::size_t below) { return random_() % below; }

  std::unique_ptr<Namespace> node() {
    auto result = std::make_unique<SampleNode>();
    if (pick(2) == 0)
      result->setCount(static_cast<int>(random_()));
    if (pick(2) == 0)
      result->setGain(static_cast<float>(random_()) / 1e3f);
    if (pick(2) == 0) {
      Matrix4<float> frame;
      frame[pick(16)] = static_cast<float>(pick(1000)) / 7.0f;
      result->setFrame(frame);
    }
    if (pick(4) == 0)
      result->setFieldValue("unknown", std::to_string(random_()));
    return result;
  }

  std::minstd_rand random_;
};

TEST(StateSave, AThousandNodesAreTheSameDocumentEachTime) {
  for (const unsigned seed : {1U, 2U, 3U}) {
    Namespace space;
    Grower(seed).grow(space, 1000);
    const std::string first = save(space);
    Namespace copy;
    load(copy, first);
    const std::string second = save(copy);
    EXPECT_EQ(first, second);
    load(copy, second); // into a tree that is full
    EXPECT_EQ(first, save(copy));
    EXPECT_EQ(outline(space), outline(copy));
  }
}

} // namespace
} // namespace Vantiflux::Test
