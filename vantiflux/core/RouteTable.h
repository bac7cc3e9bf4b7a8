#pragma once

#include <cstdint>
#include <list>
#include <string>
#include <unordered_map>
#include <vector>

#include <vantiflux/core/Labels.h>
#include <vantiflux/core/PatternIndex.h>
#include <vantiflux/core/Route.h>

namespace Vantiflux {

/// The routes of a namespace, in the order in which they were added; no two are equal but for case.
/// *Threads.* Guarded by the lock of structure.
class RouteTable {
public:
  const Route* find(const std::string& from, const std::string& to) const;
  /// Needs that the route is not there yet.
  void add(const std::string& from, const std::string& to);
  void erase(const Route* route);

  /// Null when there is none.
  const Route* first() const noexcept { return rules_.empty() ? nullptr : &rules_.front(); }
  void all(std::vector<Route>& routes) const;
  /// Appends the routes whose `from`, or `to`, matches the label.
  void from(const std::string& label, std::vector<Route>& routes) const;
  void to(const std::string& label, std::vector<Route>& routes) const;

private:
  struct Rule : Route {
    std::uint64_t order = 0;
  };
  using Position = std::list<Rule>::iterator;

  static std::string key(const std::string& from, const std::string& to);

  std::list<Rule> rules_;
  std::unordered_map<std::string, Position> byKey_; ///< by both lower-cased patterns
  PatternIndex<const Rule> byFrom_;
  PatternIndex<const Rule> byTo_;
  std::uint64_t nextOrder_ = 0;
};

} // namespace Vantiflux
