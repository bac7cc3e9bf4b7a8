#include <vantiflux/core/NodeType.h>

#include <cstdlib>
#include <locale>
#include <memory>
#include <string>
#include <typeinfo>
#include <vector>

#include <gtest/gtest.h>

#include <vantiflux/core/ClockNode.h>
#include <vantiflux/core/FieldAccessor.h>
#include <vantiflux/core/Root.h>
#include <vantiflux/values/SlotTypes.h>

namespace {

using namespace Vantiflux;

struct ConfiguredNode : Node {
  const NodeType* type() const override { return &type_; }
  static Node* create() { return new ConfiguredNode; }

  void setCount(int value) { count = value; }
  int getCount() const { return count; }
  void setPort(unsigned short value) { port = value; }
  unsigned short getPort() const { return port; }
  void setOn(bool value) { on = value; }
  bool getOn() const { return on; }
  void setName(const std::string& value) { name = value; }
  std::string getName() const { return name; }
  void setMatrix(const Matrix4<float>& value) { matrix = value; }
  Matrix4<float> getMatrix() const { return matrix; }
  void setScale(float value) { scale = value; }
  float getScale() const { return scale; }

  int count = 7;
  unsigned short port = 0;
  bool on = true;
  std::string name;
  Matrix4<float> matrix;
  float scale = 1;

  static Field fields_[];
  static NodeType type_;
};

using N = ConfiguredNode;
Field ConfiguredNode::fields_[] = {
    {"Count", "how many", "7", FieldAccessor<N, int>(&N::setCount, &N::getCount)},
    {"Port", "where", "0", FieldAccessor<N, unsigned short>(&N::setPort, &N::getPort)},
    {"On", "whether", "true", FieldAccessor<N, bool>(&N::setOn, &N::getOn)},
    {"Name", "who", "", FieldAccessor<N, std::string>(&N::setName, &N::getName)},
    {"Matrix", "how", "1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1",
     FieldAccessor<N, Matrix4<float>>(&N::setMatrix, &N::getMatrix)},
    {"Scale", "how much", "1", FieldAccessor<N, float>(&N::setScale, &N::getScale)},
};
NodeType ConfiguredNode::type_("Configured", &N::create, "Test", "short", nullptr, fields_, std::size(fields_));

using Names = std::vector<std::string>;

Names changedNames(const Node& node) {
  Names names;
  node.getFieldNames(names);
  return names;
}

TEST(NodeType, FieldsAreTextAndOnlyChangedOnesAreNamed) {
  const std::unique_ptr<Node> made = NodeType::newInstance("configured");
  auto& node = dynamic_cast<ConfiguredNode&>(*made);
  EXPECT_EQ(node.typeName(), "Configured");
  EXPECT_EQ(changedNames(node), Names{});
  node.setFieldValue("SCALE", "0.333333333");
  node.setFieldValue("count", " 9");
  node.setFieldValue("unknown", "kept");
  node.setFieldValue("on", "NO");
  node.setFieldValue("matrix", "2 0 0 0  0 1 0 0\n0 0 1 0 0 0 0 1");
  EXPECT_EQ(changedNames(node), (Names{"unknown", "Count", "On", "Matrix", "Scale"}));
  EXPECT_EQ(node.getFieldValue("scale"), "0.333333");
  EXPECT_EQ(node.getFieldValue("On"), "false");
  EXPECT_EQ(node.getFieldValue("Matrix"), "2 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1");
  EXPECT_EQ(node.getFieldValue("UNKNOWN"), "kept");
  node.setFieldValue("Count", "7");
  EXPECT_EQ(changedNames(node), (Names{"unknown", "On", "Matrix", "Scale"}));
  node.setFieldValue("Scale", "1.0000001"); // written as the default is: a file could not tell them apart
  EXPECT_EQ(changedNames(node), (Names{"unknown", "On", "Matrix"}));
  EXPECT_EQ(node.type()->getField("POrt")->getDescription(), "where");
  EXPECT_EQ(node.type()->getField("none"), nullptr);
  EXPECT_EQ(node.type()->getLongDescription(), "");
}

TEST(NodeType, TextsOfFieldsAreTheSameInEveryCountry) {
  struct Grouped : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
  };
  const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Grouped));
  ConfiguredNode node;
  node.setFieldValue("Scale", "0.007");
  node.setFieldValue("Count", "57600");
  EXPECT_EQ(node.getFieldValue("Scale"), "0.007");
  EXPECT_EQ(node.getFieldValue("Count"), "57600");
  std::locale::global(before);
}

TEST(NodeType, BadTextLeavesTheNodeAsItIs) {
  ConfiguredNode node;
  for (const char* text : {"", "12x", "x", "1 2", "99999999999", "1.5"})
    EXPECT_THROW(node.setFieldValue("Count", text), InvalidValueException) << text;
  EXPECT_EQ(node.count, 7);
  EXPECT_THROW(node.setFieldValue("Port", "70000"), InvalidValueException);
  EXPECT_THROW(node.setFieldValue("Matrix", "1 2 3"), InvalidValueException);
  for (const char* text : {"2", "", "yess", " on"})
    EXPECT_THROW(node.setFieldValue("On", text), InvalidValueException) << text;
  for (const char* text : {"YES", "T", "On", "1", "y", "true"}) {
    node.on = false;
    node.setFieldValue("On", text);
    EXPECT_TRUE(node.on) << text;
  }
  try {
    node.setFieldValue("Count", "4 4");
    FAIL();
  } catch (const InvalidValueException& e) {
    EXPECT_EQ(e.getMessage(), "Cannot convert \"4 4\" to a value");
  }
  ClockNode other;
  EXPECT_THROW(node.type()->getField("Count")->getAccessor().set(other, "1"), std::bad_cast);
}

TEST(NodeType, TypesAreFoundInAnyCaseAndListedInOrder) {
  EXPECT_EQ(NodeType::findType("CLOCK"), NodeType::findType("clock"));
  EXPECT_EQ(NodeType::findType("Clock")->getShortDescription(), "Reads the system time.");
  std::vector<NodeType*> types;
  NodeType::getTypes(types);
  Names names;
  for (const NodeType* type : types)
    names.push_back(type->getName());
  EXPECT_LT(std::find(names.begin(), names.end(), "Clock"), std::find(names.begin(), names.end(), "Configured"));
  EXPECT_NE(std::find(names.begin(), names.end(), "Configured"), names.end());
  try {
    NodeType::newInstance("No such \"type\"");
    FAIL();
  } catch (const InvalidNodeException& e) {
    EXPECT_EQ(e.getMessage(), "Unknown Node type \"No such \"type\"\"");
  }
}

TEST(NodeType, LoadsAPlugInByTheNameOfItsType) {
  ASSERT_EQ(setenv("VANTIFLUX_PLUGIN_PATH", TEST_PLUGIN_DIR, 1), 0);
  EXPECT_EQ(NodeType::internalFindType("PluggedIn"), nullptr);
  EXPECT_EQ(NodeType::findType("pluggedin"), nullptr); // a library's name keeps its case
  ASSERT_NE(NodeType::findType("PluggedIn"), nullptr);
  EXPECT_NE(NodeType::findType("pluggedin"), nullptr); // registered by now
  Root& root = Root::the();
  const Root::WriteLock lock;
  InSlot<Vec3<float>> in; // of the test's program, connected to a slot of the plug-in's
  root.addNamespace(NodeType::newInstance("PluggedIn"));
  root.addInSlot("PluggedIn/Out", &in);
  EXPECT_EQ(in.pop().getValue().z, 3.0F);
  root.removeInSlot("PluggedIn/Out", &in);
  root.clear(); // before its library goes
}

} // namespace
