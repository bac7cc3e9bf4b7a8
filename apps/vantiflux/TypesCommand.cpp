#include "TypesCommand.h"

#include <vector>

#include <vantiflux/core/NodeType.h>
#include <vantiflux/core/Root.h>

#include "Printable.h"

namespace Host {

namespace {

using Vantiflux::NodeType;
using Vantiflux::Root;

// Texts of plug-ins are from outside too.
std::string describe(const NodeType& type) {
  std::string text = printable(type.getName()) + ": " + printable(type.getShortDescription()) + '\n';
  if (!type.getLongDescription().empty())
    text += "  " + printable(type.getLongDescription()) + '\n';
  if (!type.getAuthor().empty())
    text += "  Author: " + printable(type.getAuthor()) + '\n';
  for (std::uint32_t i = 0; i < type.getNumFields(); ++i) {
    const Vantiflux::Field& field = type.getFields()[i];
    text += "  Field " + printable(field.getName()) + " = \"" + printable(field.getDefaultValue()) + "\"\n";
    if (!field.getDescription().empty())
      text += "    " + printable(field.getDescription()) + '\n';
  }
  return text;
}

} // namespace

std::string describeTypes() {
  const Root::ReadLock lock;
  std::vector<NodeType*> types;
  NodeType::getTypes(types);
  std::string text;
  for (const NodeType* const type : types)
    text += (text.empty() ? "" : "\n") + describe(*type);
  return text;
}

std::string describeType(const std::string& name) {
  const Root::WriteLock lock; // a plug-in may be loaded
  const NodeType* const type = NodeType::findType(name);
  if (type == nullptr)
    throw Vantiflux::InvalidNodeException("Unknown Node type \"" + name + "\"");
  return describe(*type);
}

} // namespace Host
