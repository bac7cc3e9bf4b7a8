#pragma once

#include <memory>

#include <vantiflux/core/BasicOutSlot.h>
#include <vantiflux/core/RetiredSlots.h>
#include <vantiflux/values/BasicDecoder.h>

namespace Vantiflux {

/// Shares a decoder, which is retired with its slot when nobody holds it any more.
inline std::shared_ptr<BasicDecoder> retireAtLast(std::unique_ptr<BasicDecoder> decoder) {
  return {decoder.release(), [](BasicDecoder* last) {
            const Slot* const slot = last->getOutSlot();
            retireSlot(std::unique_ptr<BasicDecoder>(last), slot);
          }};
}

} // namespace Vantiflux
