#include <vantiflux/web/rest/REST.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <vantiflux/core/Root.h>
#include <vantiflux/filters/ThresholdFilterNode.h>
#include <vantiflux/web/rest/URLPath.h>
#include <web/rest/Tree.h>

using namespace Vantiflux;
using test::ask;
using test::get;
using test::Planted;
using test::SlotNode;

namespace {

constexpr unsigned long refused = 406;

/// A tree that shows all of the grammar: two leaves and a node with children.
class Dispatch : public testing::Test {
protected:
  Dispatch() {
    auto child = std::make_unique<SlotNode<long>>();
    inner = child.get();
    parent->addNamespace("Leaf.one", std::move(child));
    root.addNamespace("plain", std::make_unique<Namespace>());
    pose->out.push(Vec3<float>(1, 2, 3));
    inner->out.push(7);
  }
  ~Dispatch() override { root.removeNamespace("plain"); }

  Root& root = Root::the();
  Planted<ThresholdFilterNode> filter{"a filter"};
  Planted<SlotNode<Vec3<float>>> pose{"B pose"};
  Planted<SlotNode<float>> parent{"c parent"};
  SlotNode<long>* inner = nullptr;
};

const std::string poseText = "{\n  \"name\": \"Out\",\n  \"type\": \"float3\",\n  \"length\": 1,\n"
                             "  \"cardinality\": \"single\",\n  \"input\": [  ],\n"
                             "  \"output\": [ \"float3\", \"string\", \"json\", \"xml\" ]\n}\n";

} // namespace

TEST_F(Dispatch, DescribesNodes) {
  const std::string json = "{\n  \"id\": \"B pose\",\n  \"type\": \"Node\",\n  \"length\": 1,\n"
                           "  \"cardinality\": \"single\",\n  \"attributes\": [\n    \"In\", \"Out\"\n  ],\n"
                           "  \"relations\": [ \"routes\" ],\n  \"input\": [ ],\n  \"output\": [ ]\n}\n";
  const std::string xml = "<Element id=\"B pose\" type=\"Node\" length=\"1\" cardinality=\"single\">\n  <Attributes>\n"
                          "    \"In\", \"Out\"\n  </Attributes>\n  <Relations>\"Routes\"</Relations>\n"
                          "  <Input></Input>\n  <Output></Output>\n</Element>\n";
  for (const char* const path :
       {"B%20pose", "b%20POSE", "B%20pose/", "B%20pose.json", "B%20pose.JSON", "1", "+1.json"}) {
    const test::Result answer = get(path);
    EXPECT_EQ(answer.status, 200U) << path;
    EXPECT_EQ(answer.type, "text/plain");
    EXPECT_EQ(answer.body, json) << path;
  }
  EXPECT_EQ(ask("GET", "/Vantiflux/address/1.xml").body, xml);
  EXPECT_EQ(get("1.html").body, "");
  EXPECT_EQ(get("1.html").status, 200U);
  // Fields come first, and a type has a name.
  EXPECT_NE(get("0").body.find("\"type\": \"ThresholdFilter\""), std::string::npos);
  const std::string first = filter->type()->getFields()[0].getName();
  EXPECT_NE(get("0").body.find("[\n    \"" + first + "\""), std::string::npos);
}

TEST_F(Dispatch, DescribesAttributes) {
  for (const char* const tail : {"1/Out", "1/Out/", "1/Out.json", "1/Out/desc", "1/Out/desc.json", "1/1", "1/1.json",
                                 "1/01/desc", "1/Out.json/whatever", "1/O%75t"}) {
    EXPECT_EQ(get(tail).body, poseText) << tail;
    EXPECT_EQ(get(tail).status, 200U) << tail;
  }
  EXPECT_EQ(get("1/In.xml").body,
            "<Attribute name=\"In\" type=\"float3\" length=\"1\" cardinality=\"single\">  <Input>\n"
            "    \"float3\", \"string\", \"json\", \"xml\"\n  </Input>\n  <Output>\n    \n"
            "  </Output>\n</Attribute>");
  EXPECT_EQ(get("1/Out/desc.xml").body, get("1/Out.xml").body);
  EXPECT_EQ(get("1/Out.html").body, "");
  const std::string field = filter->type()->getFields()[0].getName();
  EXPECT_EQ(get("0/0").body, "{\n  \"name\": \"" + field +
                                 "\",\n  \"type\": \"string\",\n  \"length\": 1,\n  \"cardinality\": \"single\",\n"
                                 "  \"input\": [ \"string\" ],\n  \"output\": [ \"string\" ]\n}\n");
  for (const char* const tail : {"1/out", "1/2", "1/99999999999999999999", "1/Out/foo", "1/Out/data.foo", "1/-1"})
    EXPECT_EQ(get(tail).status, refused) << tail;
  EXPECT_EQ(get("1/Out/foo").type, "");
}

TEST_F(Dispatch, GivesValues) {
  EXPECT_EQ(get("1/Out/data.string").body, "1 2 3");
  EXPECT_EQ(get("1/Out/data.STRING").body, "1 2 3");
  EXPECT_EQ(get("1/Out/data.xml").body, "<Value>1 2 3</Value>\n");
  EXPECT_EQ(get("1/Out/data.json").body, "{\n  \"value\" : [ \"1 2 3\"]\n}\n");
  EXPECT_EQ(get("1/Out/data").body, "") << "float3 has no bytes";
  EXPECT_EQ(get("1/Out/data").type, "text/plain");
  EXPECT_EQ(get("1/In/data").status, refused);
  EXPECT_EQ(get("1/In/data.string").status, refused);
  EXPECT_EQ(ask("GET", "/Vantiflux/element/1/data").status, refused) << "a node has no value, and no attribute data";
  const std::string field = filter->type()->getFields()[0].getName();
  for (const char* const tail : {"0/0/data", "0/0/data.string"})
    EXPECT_EQ(get(tail).body, filter->getFieldValue(field));
  EXPECT_EQ(get("0/0/data.json").status, refused);

  const Planted<SlotNode<test::List<Vec3<float>>>> list("d list");
  list->out.push(test::listOf<Vec3<float>>({{1, 2, 3}}));
  list->in.push(test::listOf<Vec3<float>>({{1, 2, 3}, {4, 5, 6}}));
  EXPECT_EQ(get("d%20list/Out/data.string").body, "1 2 3");
  EXPECT_NE(get("d%20list/In").body.find("\"length\": 2,\n  \"cardinality\": \"multi\""), std::string::npos);
  EXPECT_NE(get("d%20list/In").body.find("\"length\": 0"), std::string::npos) << "asking took the value";

  const Planted<SlotNode<float>> number("e");
  number->out.push(1.5F);
  std::string bytes(sizeof(float), 0);
  const float expected = 1.5F;
  std::memcpy(bytes.data(), &expected, sizeof expected);
  EXPECT_EQ(get("e/Out/data").body, bytes);
  const Planted<SlotNode<test::List<long>>> integers("f");
  EXPECT_EQ(get("f/Out/data").status, refused) << "a list of integers has no bytes";
  EXPECT_EQ(get("f/Out/data").type, "");
}

TEST_F(Dispatch, WalksToTheFirstNodeWithoutChildren) {
  const std::string leaf = get("c%20parent/Leaf.one/Out/data.string").body;
  EXPECT_EQ(leaf, "7");
  for (const char* const tail : {"2/0/Out/data.string", "C%20PARENT/LEAF%2Eone/Out/data.string"})
    EXPECT_EQ(get(tail).body, leaf) << tail;
  // Of the last component what stands behind the first point is a format.
  EXPECT_NE(get("2/Leaf.one").body.find("\"id\": \"c parent\""), 0U);
  // A component that names no child is stepped over, the one behind it is the attribute.
  EXPECT_NE(get("2/nothing/Out").body.find("\"type\": \"float\""), std::string::npos);
  EXPECT_NE(get("2/17/Out").body.find("\"type\": \"float\""), std::string::npos);
  EXPECT_NE(get("2/Out").body.find("\"id\": \"c parent\""), std::string::npos) << "so no attribute is left here";
  for (const char* const tail :
       {"", "/", "nothing", "17", "-1", "-2", "2147483648", "plain", "plain/Out", "a%20filter%00", "%zz", "..", "."})
    EXPECT_EQ(get(tail).status, refused) << tail;
  const Planted<SlotNode<float>> minus("-1");
  EXPECT_NE(get("-1").body.find("\"id\": \"-1\""), std::string::npos);
  const Planted<SlotNode<float>> number("0");
  EXPECT_EQ(get("0").body.find("\"id\": \"0\""), std::string::npos) << "a number is a place first";
}

TEST_F(Dispatch, RefusesOtherPaths) {
  for (const char* const path :
       {"", "Vantiflux/element/1", "//Vantiflux/element/1", "/other/Vantiflux", "/Vantiflux", "/Vantiflux/",
        "/vantiflux/element/1", "/Vantiflux/element", "/Vantiflux/element/", "/Vantiflux/Element/1",
        "/Vantiflux/value/1", "/%56antiflux/element/1", "http://host/Vantiflux/element/1"})
    EXPECT_EQ(ask("GET", path).status, refused) << path;
  EXPECT_EQ(ask("GET", std::string("/Vantiflux/element/1/") + std::string(60000, '/')).status, 200U);
  EXPECT_EQ(ask("GET", "/Vantiflux/element/" + std::string(60000, '%')).status, refused);
}

TEST_F(Dispatch, WritesIntoInSlots) {
  const Planted<SlotNode<double>> node("z");
  EXPECT_EQ(ask("POST", "/Vantiflux/element/z/In/data", "2.5").status, 200U);
  EXPECT_EQ(node->in.pop().getValue(), 2.5);
  EXPECT_EQ(ask("POST", "/Vantiflux/element/z/In", "-1", "query").status, 200U);
  EXPECT_EQ(node->in.pop().getValue(), -1);
  EXPECT_EQ(ask("POST", "/Vantiflux/element/z/In/desc", "2,5").status, refused);
  for (const char* const other : {"z/Out", "z", "1/In", "0/0"})
    EXPECT_EQ(ask("POST", std::string("/Vantiflux/element/") + other, "nonsense").status, 200U) << other;
  EXPECT_TRUE(node->in.empty());
  // A listener's failure is the request's.
  struct Thrower : BasicInSlot::Listener {
    void newData(BasicInSlot&) override { throw "a text"; }
  } thrower;
  node->in.addListener(thrower);
  EXPECT_EQ(ask("POST", "/Vantiflux/element/z/In", "1").status, refused);
  node->in.removeListener(thrower);
}

TEST_F(Dispatch, DoesNothingForOtherMethodsAndQueries) {
  const Planted<SlotNode<long>> node("z");
  for (const char* const method : {"PUT", "HEAD", "PATCH", "BREW", ""}) {
    const test::Result answer = ask(method, "/Vantiflux/element/z/In", "1");
    EXPECT_EQ(answer.status, 200U);
    EXPECT_EQ(answer.body, "");
    EXPECT_EQ(ask(method, "/Vantiflux/element/nothing").status, refused);
  }
  EXPECT_EQ(ask("GET", "/Vantiflux/element/z", "", "Accept").body, "");
  EXPECT_TRUE(node->in.empty());
  EXPECT_EQ(ask("DELETE", "/Vantiflux/element/z").status, 200U);
  EXPECT_EQ(ask("DELETE", "/Vantiflux/element/z/Out").status, 200U);
  EXPECT_EQ(ask("DELETE", "/Vantiflux/element/2/0").status, refused) << "it is looked for below the root";
  EXPECT_EQ(get("z").status, 200U) << "the node is still there";
}

TEST_F(Dispatch, TypesWithoutANameCanStillBeReached) {
  const Planted<SlotNode<std::string>> node("z");
  EXPECT_NE(get("z").body.find("\"attributes\": [\n    \n"), std::string::npos);
  EXPECT_NE(get("z/Out").body.find("\"type\": \"invalid\""), std::string::npos);
  EXPECT_NE(get("z/Out").body.find("\"output\": [ \"invalid\" ]"), std::string::npos);
  EXPECT_EQ(get("z/Out/data.string").status, refused);
  EXPECT_EQ(ask("POST", "/Vantiflux/element/z/In", "a text").status, 200U);
  EXPECT_EQ(node->in.pop().getValue(), "a text");
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
