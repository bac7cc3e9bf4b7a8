// The states of the handler, event by event.
#include <vantiflux/state/StateKeeperXMLHandler.h>

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <vantiflux/platform/xmlwrap/Attributes.h>

#include "Support.h"

namespace Vantiflux::Test {
namespace {

using Handler = StateKeeperXMLHandler;

class StateHandler : public testing::Test {
protected:
  Handler::State start(const std::string& element,
                       const std::vector<std::pair<std::string, std::string>>& attributes = {},
                       const std::string& uri = {}) {
    XMLWrap::AttributesImpl list;
    for (const auto& [name, value] : attributes)
      list.addAttribute("", name, name, "CDATA", value);
    handler.startElement(uri, element, element, list);
    return handler.getState();
  }

  Handler::State end() {
    handler.endElement("", "", "");
    return handler.getState();
  }

  void startRoot() { ASSERT_EQ(Handler::InRoot, start("Vantiflux", {{"versionMajor", "1"}})); }

  Namespace root;
  Handler handler{root};
};

TEST_F(StateHandler, WalksThroughEveryElement) {
  EXPECT_EQ(Handler::Start, handler.getState());
  startRoot();
  for (const auto& [element, state] : {std::pair{"Parameter", Handler::InParameter},
                                       {"Route", Handler::InRoute},
                                       {"ExternalRoute", Handler::InExternalRoute}}) {
    EXPECT_EQ(state, start(element));
    EXPECT_EQ(Handler::InRoot, end());
  }
  EXPECT_EQ(Handler::InNode, start("Node", {{"label", "n"}, {"type", "Clock"}}));
  EXPECT_EQ(Handler::InNamespace, start("Namespace", {{"label", "s"}}));
  EXPECT_EQ(Handler::InNode, start("Backend", {{"label", "b"}, {"type", "statesample"}}));
  EXPECT_EQ(Handler::InRoute, start("Route"));
  EXPECT_EQ(Handler::InNode, end());
  EXPECT_EQ(Handler::InNamespace, end());
  EXPECT_EQ(Handler::InExternalRoute, start("ExternalRoute"));
  EXPECT_EQ(Handler::InNamespace, end());
  EXPECT_EQ(Handler::InNode, end()); // the namespace stood in a node
  EXPECT_EQ("", outline(root));      // nothing joins before its own end tag
  EXPECT_EQ(Handler::InRoot, end());
  EXPECT_EQ("n:Clock{s{b:StateSample}}", outline(root));
  EXPECT_EQ(Handler::End, end());
}

TEST_F(StateHandler, SkipsWhatItDoesNotKnowWithAllInside) {
  startRoot();
  start("Node", {{"label", "n"}, {"type", "StateSample"}});
  EXPECT_EQ(Handler::InNode, start("Comment"));
  EXPECT_EQ(Handler::InNode, start("Parameter", {{"name", "Title"}, {"value", "wrong"}}));
  EXPECT_EQ(Handler::InNode, start("Node", {{"type", "no such type"}}));
  end();
  end();
  EXPECT_EQ(Handler::InNode, end());
  // An element of somebody else's XML namespace, and names in another case, are not known either.
  EXPECT_EQ(Handler::InNode, start("Namespace", {}, "urn:other"));
  EXPECT_EQ(Handler::InNode, end());
  EXPECT_EQ(Handler::InNode, start("namespace"));
  EXPECT_EQ(Handler::InNode, end());
  EXPECT_EQ(Handler::InParameter, start("Parameter", {{"name", "Title"}, {"value", "right"}}));
  EXPECT_EQ(Handler::InParameter, start("Parameter", {{"name", "Title"}, {"value", "wrong"}}));
  EXPECT_EQ(Handler::InParameter, start("Namespace"));
  end();
  EXPECT_EQ(Handler::InParameter, end());
  EXPECT_EQ(Handler::InNode, end());
  end();
  EXPECT_EQ(Handler::End, end());
  EXPECT_EQ("n:StateSample", outline(root));
  EXPECT_EQ("right", root.getNamespace("n")->getFieldValue("Title"));
}

TEST_F(StateHandler, NeverLeavesTheErrorState) {
  startRoot();
  end();
  EXPECT_EQ(Handler::Error, start("Vantiflux", {{"versionMajor", "1"}})); // a second root
  EXPECT_EQ(Handler::Error, start("Parameter", {{"name", "a"}, {"value", "b"}}));
  EXPECT_EQ(Handler::Error, end());
  EXPECT_EQ(Handler::Error, end());
  std::vector<std::string> names;
  root.getFieldNames(names);
  EXPECT_TRUE(names.empty());
}

TEST_F(StateHandler, RefusesWrongRootsAndStrayEnds) {
  using Attributes = std::vector<std::pair<std::string, std::string>>;
  for (const auto& [element, attributes] :
       std::vector<std::pair<std::string, Attributes>>{{"Vantiflux", {}},
                                                       {"Vantiflux", {{"versionMajor", "2"}}},
                                                       {"Vantiflux", {{"versionMajor", "1.0"}}},
                                                       {"Vantiflux", {{"versionMinor", "1"}}},
                                                       {"vantiflux", {{"versionMajor", "1"}}},
                                                       {"Namespace", {{"versionMajor", "1"}}}}) {
    Handler wrong(root);
    XMLWrap::AttributesImpl list;
    for (const auto& [name, value] : attributes)
      list.addAttribute("", name, name, "CDATA", value);
    wrong.startElement("", element, element, list);
    EXPECT_EQ(Handler::Error, wrong.getState()) << element;
  }
  EXPECT_EQ(Handler::Error, end());
  Handler ended(root);
  XMLWrap::AttributesImpl version;
  version.addAttribute("", "versionMajor", "versionMajor", "CDATA", "1");
  ended.startElement("", "Vantiflux", "Vantiflux", version);
  ended.endElement("", "Vantiflux", "Vantiflux");
  ended.endElement("", "Vantiflux", "Vantiflux");
  EXPECT_EQ(Handler::Error, ended.getState());
}

TEST(StateHandlerEnd, DeletesWhatIsOpen) {
  const int before = SampleNode::alive;
  Namespace root;
  {
    Handler handler(root);
    XMLWrap::AttributesImpl list;
    for (const auto& [name, value] : {std::pair{"versionMajor", "1"}, {"label", "x"}, {"type", "StateSample"}})
      list.addAttribute("", name, name, "CDATA", value);
    for (const char* const element : {"Vantiflux", "Node", "Namespace", "Node"})
      handler.startElement("", element, element, list);
    EXPECT_EQ(before + 2, SampleNode::alive);
  }
  EXPECT_EQ(before, SampleNode::alive);
  EXPECT_EQ("", outline(root));
}

} // namespace
} // namespace Vantiflux::Test
