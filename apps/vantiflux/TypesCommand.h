#pragma once

#include <ostream>
#include <string>

namespace Host {

/// Lists the node types, one line each.
void listTypes(std::ostream& stream);

/// Describes one type with its fields. Throws Vantiflux::InvalidNodeException for an unknown one.
void describeType(std::ostream& stream, const std::string& name);

} // namespace Host
