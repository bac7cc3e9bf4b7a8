#pragma once

#include <string>
#include <string_view>

namespace Host {

/// Saves the tree of the process. The file is replaced when all is written and not before, so that a failure leaves an
/// earlier one whole, and nothing else behind. Takes the root lock. Throws Vantiflux::Exception with the file's name.
void saveTree(const std::string& file);

/// The same for any other contents.
void saveText(const std::string& file, std::string_view text);

} // namespace Host
