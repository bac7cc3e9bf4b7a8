// Texts for the fields of every node type, as they come from saved files and web forms. The nodes do not run. The first
// two bytes choose the type and the field.
#include <cstdint>
#include <string>
#include <vector>

#include <fuzz/Input.h>
#include <vantiflux/core/InvalidValueException.h>
#include <vantiflux/core/Node.h>
#include <vantiflux/core/NodeType.h>

using namespace Vantiflux;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  fuzz::Input input(bytes, size);
  std::vector<NodeType*> types;
  NodeType::getTypes(types);
  const NodeType& type = *types[input.byte() % types.size()];
  const std::uint8_t choice = input.byte();
  if (type.getNumFields() == 0)
    return 0;
  const std::string name = type.getFields()[choice % type.getNumFields()].getName();
  const std::string text = input.rest();

  const auto node = type.create();
  const std::string before = node->getFieldValue(name);
  try {
    node->setFieldValue(name, text);
  } catch (const InvalidValueException&) {
    fuzz::require(node->getFieldValue(name) == before);
    return 0;
  }
  // What it says can be read again, and means the same.
  const std::string value = node->getFieldValue(name);
  const auto other = type.create();
  other->setFieldValue(name, value);
  fuzz::require(other->getFieldValue(name) == value);
  return 0;
}
