#include <vantiflux/values/SlotTypes.h>

namespace Vantiflux {

#define VANTIFLUX_DEFINE_CACHE(T) template class Cache<T>;
#define VANTIFLUX_DEFINE_SLOTS(T)                                                                                      \
  template class InSlot<T>;                                                                                            \
  template class OutSlot<T>;

VANTIFLUX_FOR_EACH_POOLED_TYPE(VANTIFLUX_DEFINE_CACHE)
VANTIFLUX_FOR_EACH_VALUE_TYPE(VANTIFLUX_DEFINE_SLOTS)
template class BufferedInSlot<SmartPtr<Sample>>;

} // namespace Vantiflux
