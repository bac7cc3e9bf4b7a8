#pragma once

#include <string>

namespace Host {

/// Saves the tree of the process. The file is replaced when all is written and not before, so that a failure leaves an
/// earlier one whole, and nothing else behind. Takes the root lock. Throws Vantiflux::Exception with the file's name.
void saveTree(const std::string& file);

} // namespace Host
