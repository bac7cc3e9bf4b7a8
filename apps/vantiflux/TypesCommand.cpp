#include "TypesCommand.h"

#include <algorithm>
#include <iomanip>
#include <vector>

#include <vantiflux/core/NodeType.h>
#include <vantiflux/core/Root.h>

#include "ValueText.h"

namespace Host {

using Vantiflux::NodeType;
using Vantiflux::Root;

void listTypes(std::ostream& stream) {
  const Root::ReadLock lock;
  std::vector<NodeType*> types;
  NodeType::getTypes(types);
  std::size_t width = 0;
  for (const NodeType* const type : types)
    width = std::max(width, type->getName().size());
  for (const NodeType* const type : types)
    stream << std::left << std::setw(static_cast<int>(width) + 2) << type->getName() << type->getShortDescription()
           << '\n';
}

void describeType(std::ostream& stream, const std::string& name) {
  const Root::WriteLock lock; // a plug-in may be loaded
  const NodeType* const type = NodeType::findType(name);
  if (type == nullptr)
    throw Vantiflux::InvalidNodeException("Unknown Node type \"" + name + "\"");
  stream << type->getName() << ": " << type->getShortDescription() << '\n';
  if (!type->getLongDescription().empty())
    stream << '\n' << type->getLongDescription() << '\n';
  stream << "\nAuthor: " << type->getAuthor() << '\n';
  for (std::uint32_t i = 0; i < type->getNumFields(); ++i) {
    const Vantiflux::Field& field = type->getFields()[i];
    stream << '\n' << "Field " << field.getName() << " = \"" << printable(field.getDefaultValue()) << "\"\n";
    if (!field.getDescription().empty())
      stream << "  " << field.getDescription() << '\n';
  }
}

} // namespace Host
