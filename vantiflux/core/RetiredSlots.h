#pragma once

#include <memory>

namespace Vantiflux {

class Slot;

/// Destroys a slot that has been taken out of use, together with what owns it. When a delivery through it is still on
/// some thread's stack, because threads that wait for each other could not be waited for, that happens later: with the
/// next slot that comes here after the delivery has ended.
void retireSlot(std::shared_ptr<void> owner, const Slot* slot);

} // namespace Vantiflux
