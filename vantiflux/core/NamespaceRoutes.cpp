// Routes and external routes of a namespace.
#include <vantiflux/core/Namespace.h>
#include <vantiflux/core/NamespaceSide.h>

#include <iterator>

#include <vantiflux/core/Labels.h>

namespace Vantiflux {

namespace {

std::string keyOf(const std::string& internal, const std::string& external) {
  std::string key = Labels::lower(internal);
  key += '\0';
  key += Labels::lower(external);
  return key;
}

} // namespace

void Namespace::addRoute(const std::string& from, const std::string& to) {
  const Change change(*this);
  if (routes_.find(from, to) != nullptr)
    return;
  routes_.add(from, to);
  setDirty(true);
  if (enabled_)
    join(routedPairs(Route{from, to}), true);
  listeners_.forEach([&](Listener& listener) { listener.routeAdded(*this, from, to); });
}

void Namespace::removeRoute(const std::string& from, const std::string& to) {
  const Change change(*this);
  if (!dropRoute(routes_.find(from, to)))
    return;
  listeners_.forEach([&](Listener& listener) { listener.routeRemoved(*this, from, to); });
}

// A rule that is being removed is not found any more, so that nobody called back removes it a second time; but it still
// counts for slots that are removed meanwhile.
bool Namespace::dropRoute(const Route* route) {
  if (route == nullptr)
    return false;
  routes_.retire(route);
  if (enabled_)
    join(routedPairs(*route), false);
  routes_.erase(route);
  setDirty(true);
  return true;
}

std::vector<Namespace::SlotPair> Namespace::routedPairs(const Route& route) const {
  std::vector<LabeledOutSlot> outs;
  std::vector<LabeledInSlot> ins;
  getOutSlots(route.from, outs);
  getInSlots(route.to, ins);
  std::vector<SlotPair> pairs;
  pairs.reserve(outs.size() * ins.size());
  for (const LabeledOutSlot& out : outs)
    for (const LabeledInSlot& in : ins)
      pairs.emplace_back(out, in);
  return pairs;
}

const Route* Namespace::findRoute(const std::string& from, const std::string& to) const {
  const TreeLock lock;
  return routes_.find(from, to);
}

void Namespace::clearRoutes() {
  const Change change(*this);
  while (dropRoute(routes_.first())) {
  }
  setDirty(true);
}

void Namespace::getRoutes(std::vector<Route>& routes) const {
  const TreeLock lock;
  routes_.all(routes);
}

void Namespace::getRoutesFrom(const std::string& label, std::vector<Route>& routes) const {
  const TreeLock lock;
  routes.clear();
  routes_.from(label, routes);
}

void Namespace::getRoutesTo(const std::string& label, std::vector<Route>& routes) const {
  const TreeLock lock;
  routes.clear();
  routes_.to(label, routes);
}

// The rule that joins equal labels takes the label as it stands: were wildcards in it to match, the two sides would not
// agree on who is joined.
void Namespace::getRoutedInSlots(const std::string& label, std::vector<LabeledInSlot>& slots) const {
  const TreeLock lock;
  std::vector<Route> routes;
  getRoutesFrom(label, routes);
  for (const Route& route : routes)
    getInSlots(route.to, slots);
  getInSlots(Labels::literal(label), slots);
}

void Namespace::getRoutedOutSlots(const std::string& label, std::vector<LabeledOutSlot>& slots) const {
  const TreeLock lock;
  std::vector<Route> routes;
  getRoutesTo(label, routes);
  for (const Route& route : routes)
    getOutSlots(route.from, slots);
  getOutSlots(Labels::literal(label), slots);
}

void Namespace::addExternalRoute(const std::string& internal, const std::string& external) {
  const Change change(*this);
  if (findExternalRoute(internal, external) != nullptr)
    return;
  ExternalRoute& route = externalRoutes_.emplace_back(internal, external, *this);
  externalByKey_.emplace(keyOf(internal, external), std::prev(externalRoutes_.end()));
  externalByInternal_.add(Labels::lower(internal), &route);
  setDirty(true);
  if (enabled_)
    publish(route, true);
}

void Namespace::removeExternalRoute(const std::string& internal, const std::string& external) {
  const Change change(*this);
  dropExternalRoute(findExternalRoute(internal, external));
}

// As dropRoute: out of the list at once, in the index until its slots are withdrawn.
bool Namespace::dropExternalRoute(const ExternalRoute* route) {
  if (route == nullptr)
    return false;
  const auto found = externalByKey_.find(keyOf(route->getInternal(), route->getExternal()));
  std::list<ExternalRoute> retired;
  retired.splice(retired.begin(), externalRoutes_, found->second);
  externalByKey_.erase(found);
  if (enabled_)
    publish(*route, false);
  externalByInternal_.erase(Labels::lower(route->getInternal()), route);
  setDirty(true);
  return true;
}

const ExternalRoute* Namespace::findExternalRoute(const std::string& internal, const std::string& external) const {
  const TreeLock lock;
  const auto found = externalByKey_.find(keyOf(internal, external));
  return found == externalByKey_.end() ? nullptr : &*found->second;
}

void Namespace::clearExternalRoutes() {
  const Change change(*this);
  while (!externalRoutes_.empty())
    dropExternalRoute(&externalRoutes_.front());
  setDirty(true);
}

void Namespace::getExternalRoutes(std::vector<ExternalRoute*>& routes) const {
  const TreeLock lock;
  routes.clear();
  for (const ExternalRoute& route : externalRoutes_)
    routes.push_back(const_cast<ExternalRoute*>(&route));
}

std::vector<ExternalRoute*> Namespace::getExternalRoutesForInternal(const std::string& label) const {
  const TreeLock lock;
  return externalByInternal_.matching(label);
}

template <class BasicSlot>
void Namespace::getExported(const ExternalRoute& route, const std::string& pattern,
                            std::vector<LabeledSlotOf<BasicSlot>>& slots) const {
  std::vector<LabeledSlotOf<BasicSlot>> internal;
  Side<BasicSlot>::get(*this, route.getInternal(), internal);
  for (const auto& entry : internal) {
    std::string external = route.getExternalForInternal(entry.label);
    if (Labels::matches(pattern, external))
      slots.push_back({std::move(external), entry.slot, 0});
  }
}

void Namespace::getExportedOutSlots(const std::string& pattern, std::vector<LabeledOutSlot>& slots) const {
  const TreeLock lock;
  for (const ExternalRoute& route : externalRoutes_)
    getExported(route, pattern, slots);
}

void Namespace::getExportedInSlots(const std::string& pattern, std::vector<LabeledInSlot>& slots) const {
  const TreeLock lock;
  for (const ExternalRoute& route : externalRoutes_)
    getExported(route, pattern, slots);
}

template <class BasicSlot>
void Namespace::publish(const std::vector<LabeledSlotOf<BasicSlot>>& exported, bool add) {
  for (const auto& entry : exported) {
    if (parent_ == nullptr)
      return;
    if (add)
      Side<BasicSlot>::add(*parent_, entry.label, entry.slot);
    else
      Side<BasicSlot>::remove(*parent_, entry.label, entry.slot);
  }
}

void Namespace::publish(const ExternalRoute& route, bool add) {
  std::vector<LabeledOutSlot> outs;
  std::vector<LabeledInSlot> ins;
  getExported(route, "*", outs);
  getExported(route, "*", ins);
  publish(outs, add);
  publish(ins, add);
}

void Namespace::publishAll(bool add) {
  std::vector<LabeledOutSlot> outs;
  std::vector<LabeledInSlot> ins;
  getExportedOutSlots("*", outs);
  getExportedInSlots("*", ins);
  publish(outs, add);
  publish(ins, add);
}

} // namespace Vantiflux
