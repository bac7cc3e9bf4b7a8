#pragma once

#include <set>
#include <string>
#include <vector>

#include <vantiflux/core/Namespace.h>

namespace Host {

/// "label: short info" of every node below that is in the state Error. The caller holds the root's lock.
std::vector<std::string> troubleIn(const Vantiflux::Namespace& space);

/// Tells people of nodes of the root that fail, each trouble once, and again when it went and came back.
class TroubleTeller {
public:
  /// Takes the root's lock.
  void look();

private:
  std::set<std::string> told_;
};

} // namespace Host
