#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include <vantiflux/core/BasicInSlot.h>
#include <vantiflux/core/BasicOutSlot.h>

namespace Vantiflux {

/// An entry of a namespace: a slot under a label. The slot is not owned.
template <class BasicSlot>
struct LabeledSlotOf {
  std::string label;
  BasicSlot* slot = nullptr;
  std::int32_t useCount = 0; ///< calls of `add` that no `remove` has matched yet
};

using LabeledOutSlot = LabeledSlotOf<BasicOutSlot>;
using LabeledInSlot = LabeledSlotOf<BasicInSlot>;

/// An entry of either direction.
struct LabeledSlot {
  LabeledSlot(std::string slotLabel, Slot* labeledSlot) : label(std::move(slotLabel)), slot(labeledSlot) {}
  LabeledSlot(const LabeledOutSlot& entry)
      : label(entry.label), slot(entry.slot) {} // NOLINT(google-explicit-constructor)
  LabeledSlot(const LabeledInSlot& entry)
      : label(entry.label), slot(entry.slot) {} // NOLINT(google-explicit-constructor)

  std::string label;
  Slot* slot = nullptr;
};

} // namespace Vantiflux
