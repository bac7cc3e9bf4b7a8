// What every node type of the library keeps, whichever it is. A program of its own: only the library's types are here.
#include <iterator>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <typeinfo>
#include <vector>

#include <gtest/gtest.h>

#include <vantiflux/core/Labels.h>
#include <vantiflux/core/Node.h>
#include <vantiflux/core/NodeType.h>
#include <vantiflux/values/SlotTypes.h>

namespace {

using namespace Vantiflux;

/// Types that have two out-slots of one label, told apart by their value types.
const std::set<std::string> withTwinSlots{"TCPClient"};

/// Types whose worker has the last word about the state.
const std::set<std::string> thatEndSleeping{"Network"};

Node::State restingState(const NodeType& type) {
  return thatEndSleeping.count(type.getName()) != 0 ? Node::Sleeping : Node::Disabled;
}

/// A node that keeps what it sends on this host.
std::unique_ptr<Node> createLocal(const NodeType& type) {
  auto node = type.create();
  if (type.getName() == "Network") {
    node->setFieldValue("Address", "127.0.0.1");
    node->setFieldValue("MulticastTTL", "0");
    node->setFieldValue("ID", "-4711"); // of no other test
  }
  return node;
}

std::vector<NodeType*> allTypes() {
  std::vector<NodeType*> types;
  NodeType::getTypes(types);
  return types;
}

std::unique_ptr<BasicOutSlot> matchingOutSlot(const Slot& slot) {
  std::unique_ptr<BasicOutSlot> out;
  ValueTypes::forEach([&]<class T>() {
    if (slot.getTypeID() == typeid(T))
      out = std::make_unique<OutSlot<T>>();
  });
  return out;
}

class Conformance : public testing::TestWithParam<NodeType*> {
protected:
  const NodeType& type() const { return *GetParam(); }
  std::vector<const Field*> fields() const {
    std::vector<const Field*> all;
    for (std::uint32_t i = 0; i < type().getNumFields(); ++i)
      all.push_back(&type().getFields()[i]);
    return all;
  }
};

TEST_P(Conformance, IsDescribed) {
  EXPECT_FALSE(type().getName().empty());
  EXPECT_FALSE(type().getAuthor().empty());
  EXPECT_FALSE(type().getShortDescription().empty());
  EXPECT_FALSE(type().getLongDescription().empty());
  EXPECT_EQ(NodeType::internalFindType(Labels::lower(type().getName())), &type());
  std::set<std::string> names;
  for (const Field* const field : fields()) {
    EXPECT_FALSE(field->getDescription().empty()) << field->getName();
    EXPECT_TRUE(names.insert(Labels::lower(field->getName())).second) << field->getName();
    EXPECT_EQ(type().getField(field->getName()), field);
  }
}

TEST_P(Conformance, ANewNodeSleepsAndHasTheDefaults) {
  const auto node = type().create();
  ASSERT_NE(node, nullptr);
  EXPECT_EQ(node->type(), &type());
  EXPECT_EQ(node->typeName(), type().getName());
  EXPECT_EQ(node->getState(), Node::Sleeping);
  std::vector<std::string> names;
  node->getFieldNames(names);
  EXPECT_EQ(names, std::vector<std::string>());
  for (const Field* const field : fields())
    EXPECT_TRUE(field->getAccessor().sameValue(*node, field->getDefaultValue())) << field->getName();
}

TEST_P(Conformance, FieldsTakeTheTextThatTheyGive) {
  const auto node = type().create();
  for (const Field* const field : fields()) {
    SCOPED_TRACE(field->getName());
    const std::string text = node->getFieldValue(field->getName());
    node->setFieldValue(Labels::lower(field->getName()), text);
    EXPECT_EQ(node->getFieldValue(field->getName()), text);
    EXPECT_TRUE(field->getAccessor().sameValue(*node, text));
  }
  std::vector<std::string> names;
  node->getFieldNames(names);
  EXPECT_EQ(names, std::vector<std::string>());
}

TEST_P(Conformance, SlotsAreLabelledDescribedAndPublished) {
  const auto node = type().create();
  std::set<std::string> seen;
  std::vector<LabeledSlot> slots;
  node->getSlots("*", Slot::In, slots);
  node->getSlots("*", Slot::Out, slots);
  for (const LabeledSlot& entry : slots) {
    std::string key = (entry.slot->getDirection() == Slot::In ? "in " : "out ") + Labels::lower(entry.label);
    if (withTwinSlots.contains(type().getName()))
      key += entry.slot->getTypeName();
    EXPECT_TRUE(seen.insert(key).second) << key;
    EXPECT_FALSE(entry.slot->getDescription().empty()) << key;
  }
  if (!slots.empty()) {
    EXPECT_NE(node->findExternalRoute("*", "{NamespaceLabel}/{SlotLabel}"), nullptr);
  }
}

TEST_P(Conformance, LivesInATree) {
  for (int round = 0; round < 3; ++round) {
    Namespace top;
    top.enable();
    top.addNamespace("node", createLocal(type()));
    std::vector<LabeledOutSlot> outs;
    std::vector<LabeledInSlot> ins;
    top.getOutSlots("node/*", outs);
    top.getInSlots("node/*", ins);
    std::vector<std::unique_ptr<BasicInSlot>> readers;
    std::vector<std::unique_ptr<BasicOutSlot>> writers;
    for (const LabeledOutSlot& out : outs) {
      readers.push_back(out.slot->createMatchingInSlot());
      top.addInSlot("to " + std::to_string(readers.size()), readers.back().get());
      top.addRoute(out.label, "to " + std::to_string(readers.size()));
      EXPECT_TRUE(out.slot->isConnected()) << out.label;
    }
    for (const LabeledInSlot& in : ins) {
      writers.push_back(matchingOutSlot(*in.slot));
      ASSERT_NE(writers.back(), nullptr) << in.label;
      top.addOutSlot("from " + std::to_string(writers.size()), writers.back().get());
      top.addRoute("from " + std::to_string(writers.size()), in.label);
      EXPECT_TRUE(writers.back()->isConnected()) << in.label;
    }
    if (round == 1)
      top.clearRoutes();
    if (round == 2) {
      top.disable();
      EXPECT_EQ(static_cast<Node*>(top.getNamespace("node"))->getState(), restingState(type()));
      top.enable();
    }
    const auto removed = top.removeNamespace("node");
    EXPECT_EQ(static_cast<Node&>(*removed).getState(), restingState(type()));
    for (std::size_t i = 0; i < readers.size(); ++i)
      top.removeInSlot("to " + std::to_string(i + 1), readers[i].get());
    for (std::size_t i = 0; i < writers.size(); ++i)
      top.removeOutSlot("from " + std::to_string(i + 1), writers[i].get());
  }
}

INSTANTIATE_TEST_SUITE_P(Types, Conformance, testing::ValuesIn(allTypes()),
                         [](const auto& instance) { return instance.param->getName(); });

} // namespace
