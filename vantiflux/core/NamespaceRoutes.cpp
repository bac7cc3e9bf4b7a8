// Routes and external routes of a namespace.
#include <vantiflux/core/Namespace.h>
#include <vantiflux/core/NamespaceSide.h>

#include <iterator>

#include <vantiflux/core/Labels.h>
#include <vantiflux/core/Restructuring.h>

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
  Restructuring::run([&] {
    routes_.add(from, to);
    setDirty(true);
    if (enabled_)
      joinRoute({from, to}, true);
    tell(nullptr, [this, from, to](Listener& listener) { listener.routeAdded(*this, from, to); });
  });
}

void Namespace::removeRoute(const std::string& from, const std::string& to) {
  const Change change(*this);
  Restructuring::run([&] {
    if (dropRoute(routes_.find(from, to)))
      tell(nullptr, [this, from, to](Listener& listener) { listener.routeRemoved(*this, from, to); });
  });
}

bool Namespace::dropRoute(const Route* route) {
  if (route == nullptr)
    return false;
  if (enabled_)
    joinRoute(*route, false);
  routes_.erase(route);
  setDirty(true);
  return true;
}

// Connects, or disconnects, the cross product of what the two patterns match.
void Namespace::joinRoute(const Route& route, bool connect) {
  std::vector<LabeledOutSlot> outs;
  std::vector<LabeledInSlot> ins;
  getOutSlots(route.from, outs);
  getInSlots(route.to, ins);
  for (const LabeledOutSlot& out : outs)
    for (const LabeledInSlot& in : ins)
      join(out.slot, in.slot, connect);
}

const Route* Namespace::findRoute(const std::string& from, const std::string& to) const {
  const TreeLock lock;
  return routes_.find(from, to);
}

void Namespace::clearRoutes() {
  const Change change(*this);
  Restructuring::run([this] {
    while (dropRoute(routes_.first())) {
    }
    setDirty(true);
  });
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
  inSlots_.appendExact(label, slots);
}

void Namespace::getRoutedOutSlots(const std::string& label, std::vector<LabeledOutSlot>& slots) const {
  const TreeLock lock;
  std::vector<Route> routes;
  getRoutesTo(label, routes);
  for (const Route& route : routes)
    getOutSlots(route.from, slots);
  outSlots_.appendExact(label, slots);
}

void Namespace::addExternalRoute(const std::string& internal, const std::string& external) {
  const Change change(*this);
  if (findExternalRoute(internal, external) != nullptr)
    return;
  Restructuring::run([&] {
    ExternalRoute& route = externalRoutes_.emplace_back(internal, external, *this);
    externalByKey_.emplace(keyOf(internal, external), std::prev(externalRoutes_.end()));
    externalByInternal_.add(Labels::lower(internal), &route);
    setDirty(true);
    if (enabled_)
      publish(route, true);
  });
}

void Namespace::removeExternalRoute(const std::string& internal, const std::string& external) {
  const Change change(*this);
  Restructuring::run([&] { dropExternalRoute(findExternalRoute(internal, external)); });
}

bool Namespace::dropExternalRoute(const ExternalRoute* route) {
  if (route == nullptr)
    return false;
  const auto found = externalByKey_.find(keyOf(route->getInternal(), route->getExternal()));
  const auto at = found->second;
  if (enabled_)
    publish(*route, false);
  externalByInternal_.erase(Labels::lower(route->getInternal()), route);
  externalByKey_.erase(found);
  externalRoutes_.erase(at);
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
  Restructuring::run([this] {
    while (!externalRoutes_.empty())
      dropExternalRoute(&externalRoutes_.front());
    setDirty(true);
  });
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
