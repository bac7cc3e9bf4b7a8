#include <vantiflux/core/RouteTable.h>

#include <iterator>

namespace Vantiflux {

std::string RouteTable::key(const std::string& from, const std::string& to) {
  std::string result = Labels::lower(from);
  result += '\0';
  result += Labels::lower(to);
  return result;
}

const Route* RouteTable::find(const std::string& from, const std::string& to) const {
  const auto found = byKey_.find(key(from, to));
  return found == byKey_.end() ? nullptr : &*found->second;
}

void RouteTable::add(const std::string& from, const std::string& to) {
  rules_.push_back(Rule{{from, to}, nextOrder_++});
  byKey_.emplace(key(from, to), std::prev(rules_.end()));
  byFrom_.add(Labels::lower(from), &rules_.back());
  byTo_.add(Labels::lower(to), &rules_.back());
}

void RouteTable::erase(const Route* route) {
  const auto found = byKey_.find(key(route->from, route->to));
  const Position position = found->second;
  byKey_.erase(found);
  byFrom_.erase(Labels::lower(position->from), &*position);
  byTo_.erase(Labels::lower(position->to), &*position);
  rules_.erase(position);
}

void RouteTable::all(std::vector<Route>& routes) const {
  routes.assign(rules_.begin(), rules_.end());
}

void RouteTable::from(const std::string& label, std::vector<Route>& routes) const {
  for (const Rule* const rule : byFrom_.matching(label))
    routes.push_back(*rule);
}

void RouteTable::to(const std::string& label, std::vector<Route>& routes) const {
  for (const Rule* const rule : byTo_.matching(label))
    routes.push_back(*rule);
}

} // namespace Vantiflux
