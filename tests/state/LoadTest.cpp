// Whole documents into a namespace: what is read, what survives a bad one.
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <vantiflux/core/InvalidNodeException.h>
#include <vantiflux/core/InvalidValueException.h>
#include <vantiflux/platform/pelorn/URLFile.h>
#include <vantiflux/platform/pelorn/URLImpl.h>
#include <vantiflux/state/ParseException.h>
#include <vantiflux/state/StateKeeperXML.h>

#include "Support.h"

namespace Vantiflux::Test {
namespace {

void fill(Namespace& space) {
  space.addNamespace("old", std::make_unique<Namespace>());
  space.addRoute("a", "b");
  space.addExternalRoute("a", "b");
  space.setFieldValue("f", "v");
}

bool isEmpty(const Namespace& space) {
  std::vector<Route> routes;
  space.getRoutes(routes);
  std::vector<ExternalRoute*> externalRoutes;
  space.getExternalRoutes(externalRoutes);
  std::vector<std::string> names;
  space.getFieldNames(names);
  return routes.empty() && externalRoutes.empty() && names.empty() && space.getNamespaces().empty();
}

TEST(StateLoad, EmptiesTheTargetFirstAndKeepsItsSlots) {
  Namespace space;
  OutSlot<float> slot;
  space.addOutSlot("Own", &slot);
  fill(space);
  load(space, document(""));
  EXPECT_TRUE(isEmpty(space));
  EXPECT_NE(nullptr, space.findOutSlot("own", &slot));
  EXPECT_TRUE(space.dirty());
  for (const char* const bad :
       {"", "<Vantiflux versionMajor=\"2\"><Parameter name='a' value='b'/></Vantiflux>", "<Other/>", "no XML"}) {
    fill(space);
    EXPECT_THROW(load(space, bad), ParseException) << bad;
    EXPECT_TRUE(isEmpty(space)) << bad;
  }
  EXPECT_EQ("Parse error", messageOf<ParseException>([&] { load(space, "<Vantiflux versionMajor='2'/>"); }));
}

TEST(StateLoad, ToleratesWhatMeansNothing) {
  Namespace space;
  load(space,
       "<?xml version='1.0' encoding='ISO-8859-1'?>\n<!DOCTYPE Vantiflux>\n<!-- a comment -->\n"
       "<Vantiflux versionMajor='1' versionMinor='99' more='x'>stray text<?instruction?>"
       "<Parameter name='a' value='\xE9' other='y'>text</Parameter><![CDATA[<Node/>]]>"
       "<Namespace label='N'><Unknown><Namespace label='deep'/></Unknown>text</Namespace></Vantiflux>\n<!-- -->");
  EXPECT_EQ("\xC3\xA9", space.getFieldValue("A"));
  EXPECT_EQ("N", outline(space));
}

TEST(StateLoad, GivesAbsentAttributesTheEmptyText) {
  Namespace space;
  load(space, document("<Namespace/><Namespace/><Parameter/><Route from='x'/>"));
  EXPECT_EQ(2U, space.getNamespaces().size());
  EXPECT_NO_THROW(space.getNamespace("")); // the empty label is one, too
  EXPECT_EQ("", space.getFieldValue(""));
  EXPECT_NE(nullptr, space.findRoute("X", ""));
  EXPECT_EQ("Unknown Node type \"\"", messageOf<InvalidNodeException>([&] { load(space, document("<Node/>")); }));
}

TEST(StateLoad, MakesLabelsUniqueAndDropsEqualRules) {
  Namespace space;
  load(space, document("<Namespace label='x'/><Node label='X' type='CLOCK'/><Namespace label='x 2'/>"
                       "<Route from='A' to='b'/><Route from='a' to='B'/><Route from='b' to='a'/>"
                       "<Node label='s' type='StateSample'><ExternalRoute internal='*'"
                       " external='{namespacelabel}/{slotlabel}'/></Node>"));
  EXPECT_EQ("s:StateSample x X 2:Clock x 2 2", outline(space));
  std::vector<Route> routes;
  space.getRoutes(routes);
  ASSERT_EQ(2U, routes.size());
  EXPECT_EQ("A", routes[0].from);
  std::vector<ExternalRoute*> externalRoutes;
  space.getNamespace("s")->getExternalRoutes(externalRoutes);
  EXPECT_EQ(1U, externalRoutes.size()); // the node's own
}

TEST(StateLoad, SetsDeclaredAndUnknownFields) {
  Namespace space;
  load(space, document("<Node label='n' type='StateSample'><Parameter name='ON' value='no'/>"
                       "<Parameter name='count' value=' -7'/><Parameter name='Gain' value='1e-3'/>"
                       "<Parameter name='Nobody' value='keeps'/><Parameter name='nobody' value='the last'/></Node>"));
  const auto& node = dynamic_cast<const SampleNode&>(*space.getNamespace("n"));
  EXPECT_FALSE(node.getOn());
  EXPECT_EQ(-7, node.getCount());
  EXPECT_FLOAT_EQ(1e-3f, node.getGain());
  EXPECT_EQ("the last", node.getFieldValue("NOBODY"));
  const std::string saved = save(space);
  EXPECT_NE(std::string::npos, saved.find("<Parameter name=\"Nobody\" value=\"the last\"/>")) << saved;
  EXPECT_EQ(std::string::npos, saved.find("Port"));
}

TEST(StateLoad, KeepsWhatWasCompleteBeforeAFault) {
  struct Case {
    const char* contents;
    const char* left;
  };
  const std::string good =
      "<Node label='a' type='StateSample'/><Namespace label='b'><Namespace label='c'/></Namespace>";
  for (const Case& fault : {Case{"<Node label='d' type='StateSample'><Node label='e' type='StateSample'/>", ""},
                            Case{"<Node label='d' type='StateSample'></Namespace>", ""},
                            Case{"<Namespace label='d'/><Namespace label='e' label='f'/>", " d"},
                            Case{"<Namespace label='d'/>\xFF", " d"}, Case{"<Namespace label='&unknown;'/>", ""},
                            Case{"<Namespace label='d<'/>", ""}, Case{"<Parameter name='f' value='v'", ""},
                            Case{"<Namespace label='d'/></Vantiflux><Vantiflux versionMajor='1'/>", " d"},
                            Case{"<x:Node label='d'/>", ""}}) {
    const int before = SampleNode::alive;
    Namespace space;
    const std::string message = messageOf<ParseException>([&] { load(space, document(good + fault.contents)); });
    EXPECT_NE("none", message) << fault.contents;
    EXPECT_NE(std::string::npos, message.find("line")) << "the parser's message: " << message;
    EXPECT_EQ("a:StateSample b{c}" + std::string(fault.left), outline(space)) << fault.contents;
    EXPECT_EQ(before + 1, SampleNode::alive) << fault.contents;
  }
}

TEST(StateLoad, PassesTheExceptionsOfTypesAndFieldsOn) {
  Namespace space;
  EXPECT_EQ("Unknown Node type \"No <such>\"", messageOf<InvalidNodeException>([&] {
              load(space, document("<Namespace label='a'/><Namespace label='b'>"
                                   "<Node label='c' type='No &lt;such>'/></Namespace>"));
            }));
  EXPECT_EQ("a", outline(space));
  EXPECT_EQ("Cannot convert \"12x\" to a value", messageOf<InvalidValueException>([&] {
              load(space, document("<Namespace label='a'/><Node label='b' type='StateSample'>"
                                   "<Parameter name='Count' value='12x'/></Node><Namespace label='z'/>"));
            }));
  EXPECT_EQ("a", outline(space));
  // A name as long as this reaches the loader of plug-ins.
  EXPECT_THROW(load(space, document("<Node type='" + std::string(std::size_t{12} << 20, 'x') + "'/>")),
               InvalidNodeException);
}

TEST(StateLoad, ReportsAStreamThatFails) {
  Namespace space;
  fill(space);
  std::istringstream broken(document(""));
  broken.setstate(std::ios::badbit);
  EXPECT_THROW(StateKeeperXML::load(space, broken), ParseException);
  EXPECT_TRUE(isEmpty(space));
}

TEST(StateLoad, FromAURLGivesItsBaseToAllButTheTarget) {
  const Folder folder;
  const Pelorn::URL url =
      folder.write("tree.vfx", document("<Namespace label='a'><Node label='b' type='Clock'/></Namespace>"));
  Namespace space;
  const Pelorn::URL own = folder.url("own");
  space.setBaseURL(own);
  StateKeeperXML::load(space, url);
  EXPECT_EQ(own, space.getBaseURL());
  EXPECT_EQ(url, space.getNamespace("a")->getBaseURL());
  EXPECT_EQ(url, space.getNamespace("a")->getNamespace("b")->getBaseURL());
}

TEST(StateLoad, LeavesTheTargetAloneWhenTheURLCannotBeOpened) {
  const Folder folder;
  Namespace space;
  fill(space);
  for (const Pelorn::URL& url : {folder.url("absent.vfx"), Pelorn::URL::parse(folder.path().string()), Pelorn::URL()})
    EXPECT_THROW(StateKeeperXML::load(space, url), Pelorn::URLImpl::Exception) << url.toString();
  EXPECT_EQ("old", outline(space));
  EXPECT_EQ("v", space.getFieldValue("f"));
  EXPECT_THROW(StateKeeperXML::load(space, folder.write("bad.vfx", "<")), ParseException);
  EXPECT_TRUE(isEmpty(space));
}

} // namespace
} // namespace Vantiflux::Test
