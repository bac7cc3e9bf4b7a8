// The slots of a namespace.
#include <vantiflux/core/Namespace.h>
#include <vantiflux/core/NamespaceSide.h>

#include <vantiflux/core/Labels.h>
#include <vantiflux/core/Restructuring.h>
#include <vantiflux/core/SlotVisit.h>

namespace Vantiflux {

template <class BasicSlot>
void Namespace::addSlot(const std::string& label, BasicSlot* slot) {
  using ThisSide = Side<BasicSlot>;
  if (slot == nullptr)
    return;
  const Change change(*this);
  auto& table = ThisSide::table(*this);
  auto* entry = table.findExact(label, slot);
  if (entry == nullptr)
    entry = &table.add(label, slot);
  if (++entry->useCount > 1)
    return;
  Restructuring::run([&] {
    if (enabled_) {
      if (parent_ != nullptr)
        for (const std::string& external : externalLabels(label))
          ThisSide::add(*parent_, external, slot);
      std::vector<typename ThisSide::Peer> peers;
      ThisSide::getPeers(*this, label, peers);
      for (const auto& peer : peers)
        slot->connect(peer.slot);
    }
    tell(slot, [this, label, slot](Listener& listener) { (listener.*ThisSide::added)(*this, label, slot); });
  });
}

template <class BasicSlot>
void Namespace::removeSlotOf(const std::string& label, BasicSlot* slot) {
  using ThisSide = Side<BasicSlot>;
  const Change change(*this);
  auto& table = ThisSide::table(*this);
  auto* entry = table.findExact(label, slot);
  if (entry == nullptr)
    entry = table.find(label, slot); // a pattern
  if (entry == nullptr) {
    // Somebody else took it out, and may still wait for those who have found it; the caller counts on it as much.
    if (slot != nullptr && !Restructuring::isChanging())
      SlotVisit::awaitEnd(*slot);
    return;
  }
  if (--entry->useCount > 0)
    return;
  // From here on the entry's own label and slot count: the caller may have given a pattern, or no slot.
  const LabeledSlotOf<BasicSlot> removed = *entry;
  Restructuring::run([&] {
    Restructuring::adopt(*removed.slot);
    table.erase(entry);
    if (enabled_) {
      std::vector<typename ThisSide::Peer> peers;
      ThisSide::getPeers(*this, removed.label, peers);
      for (const auto& peer : peers)
        removed.slot->disconnect(peer.slot);
      if (parent_ != nullptr)
        for (const std::string& external : externalLabels(removed.label))
          ThisSide::remove(*parent_, external, removed.slot);
    }
    if (SlotVisit::isVisited(*removed.slot))
      Restructuring::tell(*this, removed.slot, [removed] { SlotVisit::awaitEnd(*removed.slot); });
    tell(removed.slot,
         [this, removed](Listener& listener) { (listener.*ThisSide::removed)(*this, removed.label, removed.slot); });
  });
}

std::vector<std::string> Namespace::externalLabels(const std::string& label) const {
  std::vector<std::string> result;
  for (const ExternalRoute* const route : getExternalRoutesForInternal(label))
    result.push_back(route->getExternalForInternal(label));
  return result;
}

void Namespace::addOutSlot(const std::string& label, BasicOutSlot* slot) {
  addSlot(label, slot);
}
void Namespace::addInSlot(const std::string& label, BasicInSlot* slot) {
  addSlot(label, slot);
}
void Namespace::removeOutSlot(const std::string& label, BasicOutSlot* slot) {
  removeSlotOf(label, slot);
}
void Namespace::removeInSlot(const std::string& label, BasicInSlot* slot) {
  removeSlotOf(label, slot);
}

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

void Namespace::join(BasicOutSlot* out, BasicInSlot* in, bool connect) {
  if (connect)
    out->connect(in);
  else
    out->disconnect(in);
}

void Namespace::joinAll(bool connect) {
  for (const LabeledOutSlot& out : outSlots_.entries()) {
    std::vector<LabeledInSlot> peers;
    getRoutedInSlots(out.label, peers);
    for (const LabeledInSlot& in : peers)
      join(out.slot, in.slot, connect);
  }
}

} // namespace Vantiflux
