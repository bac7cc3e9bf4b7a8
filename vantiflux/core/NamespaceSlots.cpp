// The slots of a namespace. Connecting and disconnecting call back to nodes and listeners, which may change the same
// lists: every loop over slots therefore runs over a copy and looks whether the entry is still there.
#include <vantiflux/core/Namespace.h>
#include <vantiflux/core/NamespaceSide.h>

#include <vantiflux/core/Labels.h>

namespace Vantiflux {

namespace {

template <class BasicSlot>
bool isPresent(SlotTable<BasicSlot>& table, const LabeledSlotOf<BasicSlot>& entry) {
  return table.find(Labels::literal(entry.label), entry.slot) != nullptr;
}

} // namespace

template <class BasicSlot>
void Namespace::addSlot(const std::string& label, BasicSlot* slot) {
  using ThisSide = Side<BasicSlot>;
  if (slot == nullptr)
    return;
  const Change change(*this);
  auto& table = ThisSide::table(*this);
  auto* entry = table.find(Labels::literal(label), slot);
  if (entry == nullptr)
    entry = &table.add(label, slot);
  if (++entry->useCount > 1)
    return;
  const LabeledSlotOf<BasicSlot> added = *entry;
  if (enabled_) {
    if (parent_ != nullptr)
      for (const std::string& external : externalLabels(label))
        ThisSide::add(*parent_, external, slot);
    std::vector<typename ThisSide::Peer> peers;
    ThisSide::getPeers(*this, label, peers);
    for (const auto& peer : peers)
      if (isPresent(table, added) && isPresent(Side<std::remove_pointer_t<decltype(peer.slot)>>::table(*this), peer))
        slot->connect(peer.slot);
  }
  listeners_.forEach([&](Listener& listener) { (listener.*ThisSide::added)(*this, label, slot); });
}

template <class BasicSlot>
void Namespace::removeSlotOf(const std::string& label, BasicSlot* slot) {
  using ThisSide = Side<BasicSlot>;
  const Change change(*this);
  auto& table = ThisSide::table(*this);
  auto* entry = table.find(Labels::literal(label), slot);
  if (entry == nullptr)
    entry = table.find(label, slot); // a pattern
  if (entry == nullptr || --entry->useCount > 0)
    return;
  // From here on the entry's own label and slot count: the caller may have given a pattern, or no slot.
  const LabeledSlotOf<BasicSlot> removed = *entry;
  std::vector<typename ThisSide::Peer> peers;
  if (connected_)
    ThisSide::getPeers(*this, removed.label, peers);
  table.erase(entry);
  for (const auto& peer : peers)
    if (isPresent(Side<std::remove_pointer_t<decltype(peer.slot)>>::table(*this), peer))
      removed.slot->disconnect(peer.slot);
  if (connected_ && parent_ != nullptr)
    for (const std::string& external : externalLabels(removed.label))
      ThisSide::remove(*parent_, external, removed.slot);
  listeners_.forEach([&](Listener& listener) { (listener.*ThisSide::removed)(*this, removed.label, removed.slot); });
}

std::vector<std::string> Namespace::externalLabels(const std::string& label) const {
  std::vector<std::string> result;
  for (const ExternalRoute* const route : getExternalRoutesForInternal(label))
    result.push_back(route->getExternalForInternal(label));
  return result;
}

void Namespace::addOutSlot(const std::string& label, BasicOutSlot* slot) { addSlot(label, slot); }
void Namespace::addInSlot(const std::string& label, BasicInSlot* slot) { addSlot(label, slot); }
void Namespace::removeOutSlot(const std::string& label, BasicOutSlot* slot) { removeSlotOf(label, slot); }
void Namespace::removeInSlot(const std::string& label, BasicInSlot* slot) { removeSlotOf(label, slot); }

void Namespace::removeSlot(const std::string& label, Slot* slot) {
  if (slot == nullptr)
    return;
  if (slot->getDirection() == Slot::In)
    removeInSlot(label, static_cast<BasicInSlot*>(slot));
  else
    removeOutSlot(label, static_cast<BasicOutSlot*>(slot));
}

const LabeledOutSlot* Namespace::findOutSlot(const std::string& label, const BasicOutSlot* slot) const {
  const TreeLock lock;
  return outSlots_.find(label, slot);
}

const LabeledInSlot* Namespace::findInSlot(const std::string& label, const BasicInSlot* slot) const {
  const TreeLock lock;
  return inSlots_.find(label, slot);
}

void Namespace::getOutSlots(const std::string& pattern, std::vector<LabeledOutSlot>& slots) const {
  const TreeLock lock;
  outSlots_.append(pattern, slots);
}

void Namespace::getInSlots(const std::string& pattern, std::vector<LabeledInSlot>& slots) const {
  const TreeLock lock;
  inSlots_.append(pattern, slots);
}

void Namespace::getSlots(const std::string& pattern, Slot::Direction direction, std::vector<LabeledSlot>& slots) const {
  if (direction == Slot::In) {
    std::vector<LabeledInSlot> found;
    getInSlots(pattern, found);
    slots.insert(slots.end(), found.begin(), found.end());
  } else {
    std::vector<LabeledOutSlot> found;
    getOutSlots(pattern, found);
    slots.insert(slots.end(), found.begin(), found.end());
  }
}

void Namespace::join(const std::vector<SlotPair>& pairs, bool connect) {
  for (const auto& [out, in] : pairs) {
    if (!isPresent(outSlots_, out) || !isPresent(inSlots_, in))
      continue;
    if (connect)
      out.slot->connect(in.slot);
    else
      out.slot->disconnect(in.slot);
  }
}

void Namespace::joinAll(bool connect) {
  std::vector<SlotPair> pairs;
  for (const LabeledOutSlot& out : outSlots_.entries()) {
    std::vector<LabeledInSlot> peers;
    getRoutedInSlots(out.label, peers);
    for (LabeledInSlot& in : peers)
      pairs.emplace_back(out, std::move(in));
  }
  join(pairs, connect);
}

} // namespace Vantiflux
