#pragma once

#include <optional>
#include <string>
#include <vector>

namespace Host {

struct RunOptions {
  std::optional<std::string> file;       ///< the tree to load
  std::optional<std::string> web;        ///< where the web interface is to listen, as in WebInterface.h
  std::vector<std::string> watched;      ///< label patterns
  std::optional<std::string> saveOnExit; ///< where to save the tree at the end
};

/// Loads the tree, runs it until SIGINT or SIGTERM, prints watched values meanwhile. Needs to be called before the
/// process has threads, because it decides which of them get signals. Throws what loading, saving and opening
/// the web interface throw; the tree is empty afterwards in any case.
void runTree(const RunOptions& options);

} // namespace Host
