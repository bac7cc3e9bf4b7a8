#pragma once

#include <string>

namespace Host {

/// Loads the tree of the process. Takes the root lock. Throws Vantiflux::Exception with the file's name.
void loadTree(const std::string& file);

/// Clears the tree at the end of a scope: nodes of plug-ins must be gone before the process unloads the plug-ins.
struct ClearAtEnd {
  ClearAtEnd() = default;
  ~ClearAtEnd();
  ClearAtEnd(const ClearAtEnd&) = delete;
  ClearAtEnd& operator=(const ClearAtEnd&) = delete;
};

} // namespace Host
