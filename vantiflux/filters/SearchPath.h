#pragma once

#include <string>

namespace Vantiflux {

/// Where files and folders are looked for that belong to an installation rather than to a tree.
class SearchPath {
public:
  /// The path of a file or a folder by its name. An absolute name is its own path. A relative one is looked for in the
  /// working directory, in the directories of the environment variable (joined by colons), in
  /// $XDG_CONFIG_HOME/vantiflux, or $HOME/.config/vantiflux if that is not set, and in /etc/vantiflux; the first that
  /// exists is taken. If there is none, the name itself comes back.
  static std::string find(const std::string& name, const char* variable);
};

} // namespace Vantiflux
