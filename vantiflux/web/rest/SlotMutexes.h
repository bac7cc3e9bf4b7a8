#pragma once

#include <vantiflux/core/Slot.h>

namespace REST {

/// The mutexes of a slot, which itself offers no more than to wait for them in one way: to try them, or to wait as a
/// delivery does. Used as `slot.*SlotMutexes::data`.
struct SlotMutexes : Vantiflux::Slot {
  static constexpr Tarsil::Mutex Slot::*listeners = &SlotMutexes::listenersMutex_;
  static constexpr Tarsil::Mutex Slot::*data = &SlotMutexes::dataMutex_;
};

} // namespace REST
