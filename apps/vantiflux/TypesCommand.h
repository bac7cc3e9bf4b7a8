#pragma once

#include <string>

namespace Host {

/// All node types that are registered, with their fields, defaults and descriptions.
std::string describeTypes();

/// The same of one type, which may stand in a plug-in. Throws Vantiflux::InvalidNodeException for an unknown one.
std::string describeType(const std::string& name);

} // namespace Host
