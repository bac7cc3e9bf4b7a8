#pragma once

#include <algorithm>
#include <list>
#include <string>
#include <unordered_map>
#include <vector>

#include <vantiflux/core/LabeledSlot.h>
#include <vantiflux/core/Labels.h>

namespace Vantiflux {

/// The slots of a namespace in one direction, in the order in which they were added. A literal label is found by hash;
/// only a pattern is matched against all entries. References to entries hold until the entry is erased.
/// *Threads.* Guarded by the lock of structure.
template <class BasicSlot>
class SlotTable {
public:
  using Labeled = LabeledSlotOf<BasicSlot>;

  /// The first entry whose label matches the pattern and that holds the slot; null for the slot means any.
  Labeled* find(const std::string& pattern, const BasicSlot* slot) {
    const std::string lowered = Labels::lower(pattern);
    Labeled* found = nullptr;
    visit(lowered, [&](Labeled& entry) {
      if (slot == nullptr || entry.slot == slot)
        found = &entry;
      return found == nullptr;
    });
    return found;
  }

  /// The entry with just this label, but for case, that holds the slot.
  Labeled* findExact(const std::string& label, const BasicSlot* slot) {
    const auto bucket = byLabel_.find(Labels::lower(label));
    if (bucket == byLabel_.end())
      return nullptr;
    for (const Position position : bucket->second)
      if (position->slot == slot)
        return &*position;
    return nullptr;
  }

  /// Appends the entries with just this label, but for case.
  void appendExact(const std::string& label, std::vector<Labeled>& result) const {
    if (const auto bucket = byLabel_.find(Labels::lower(label)); bucket != byLabel_.end())
      for (const Position position : bucket->second)
        result.push_back(*position);
  }

  void append(const std::string& pattern, std::vector<Labeled>& result) {
    visit(Labels::lower(pattern), [&](Labeled& entry) {
      result.push_back(entry);
      return true;
    });
  }

  Labeled& add(const std::string& label, BasicSlot* slot) {
    std::vector<Position>& sameLabel = byLabel_[Labels::lower(label)];
    entries_.push_back(Labeled{label, slot, 0});
    sameLabel.push_back(std::prev(entries_.end()));
    return entries_.back();
  }

  void erase(const Labeled* entry) {
    const auto bucket = byLabel_.find(Labels::lower(entry->label));
    std::vector<Position>& sameLabel = bucket->second;
    const auto at =
        std::find_if(sameLabel.begin(), sameLabel.end(), [&](Position position) { return &*position == entry; });
    const Position position = *at;
    sameLabel.erase(at);
    if (sameLabel.empty())
      byLabel_.erase(bucket);
    entries_.erase(position);
  }

  const std::list<Labeled>& entries() const noexcept { return entries_; }

private:
  using Position = typename std::list<Labeled>::iterator;

  /// Calls `visitor` with each matching entry, in list order, until it returns false.
  template <class Visitor>
  void visit(const std::string& lowered, Visitor&& visitor) {
    if (Labels::isPattern(lowered)) {
      for (Labeled& entry : entries_)
        if (Labels::matchesLower(lowered, Labels::lower(entry.label)) && !visitor(entry))
          return;
    } else if (const auto bucket = byLabel_.find(lowered); bucket != byLabel_.end()) {
      for (const Position position : bucket->second)
        if (!visitor(*position))
          return;
    }
  }

  std::list<Labeled> entries_;
  std::unordered_map<std::string, std::vector<Position>> byLabel_; ///< by lower-cased label, in list order
};

} // namespace Vantiflux
