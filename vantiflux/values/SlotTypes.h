#pragma once

#include <vantiflux/core/BufferedInSlot.h>
#include <vantiflux/core/Cache.h>
#include <vantiflux/core/InSlot.h>
#include <vantiflux/core/OutSlot.h>
#include <vantiflux/core/SmartPtr.h>
#include <vantiflux/values/ValueTypes.h>

/// The slots and pools of all value types stand in the library, once: include this where slots are used, and none of
/// their code is generated anew.
namespace Vantiflux {

#define VANTIFLUX_DECLARE_CACHE(T) extern template class Cache<T>;
#define VANTIFLUX_DECLARE_SLOTS(T)                                                                                     \
  extern template class InSlot<T>;                                                                                     \
  extern template class OutSlot<T>;

VANTIFLUX_FOR_EACH_POOLED_TYPE(VANTIFLUX_DECLARE_CACHE)
VANTIFLUX_FOR_EACH_VALUE_TYPE(VANTIFLUX_DECLARE_SLOTS)
extern template class BufferedInSlot<SmartPtr<Sample>>;

#undef VANTIFLUX_DECLARE_CACHE
#undef VANTIFLUX_DECLARE_SLOTS

} // namespace Vantiflux
