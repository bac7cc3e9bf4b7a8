#pragma once

#include <string>
#include <vector>

#include <vantiflux/core/Namespace.h>

namespace Vantiflux {

/// What differs between the out-slots and the in-slots of a namespace; everything else is written once for both.
template <>
struct Namespace::Side<BasicOutSlot> {
  using Peer = LabeledInSlot;
  static SlotTable<BasicOutSlot>& table(const Namespace& ns) { return ns.outSlots_; }
  static void get(const Namespace& ns, const std::string& pattern, std::vector<LabeledOutSlot>& slots) {
    ns.getOutSlots(pattern, slots);
  }
  static void getPeers(const Namespace& ns, const std::string& label, std::vector<Peer>& peers) {
    ns.getRoutedInSlots(label, peers);
  }
  static void add(Namespace& ns, const std::string& label, BasicOutSlot* slot) { ns.addOutSlot(label, slot); }
  static void remove(Namespace& ns, const std::string& label, BasicOutSlot* slot) { ns.removeOutSlot(label, slot); }
  static constexpr auto added = &Listener::outSlotAdded;
  static constexpr auto removed = &Listener::outSlotRemoved;
};

template <>
struct Namespace::Side<BasicInSlot> {
  using Peer = LabeledOutSlot;
  static SlotTable<BasicInSlot>& table(const Namespace& ns) { return ns.inSlots_; }
  static void get(const Namespace& ns, const std::string& pattern, std::vector<LabeledInSlot>& slots) {
    ns.getInSlots(pattern, slots);
  }
  static void getPeers(const Namespace& ns, const std::string& label, std::vector<Peer>& peers) {
    ns.getRoutedOutSlots(label, peers);
  }
  static void add(Namespace& ns, const std::string& label, BasicInSlot* slot) { ns.addInSlot(label, slot); }
  static void remove(Namespace& ns, const std::string& label, BasicInSlot* slot) { ns.removeInSlot(label, slot); }
  static constexpr auto added = &Listener::inSlotAdded;
  static constexpr auto removed = &Listener::inSlotRemoved;
};

} // namespace Vantiflux
