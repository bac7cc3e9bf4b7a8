#include <vantiflux/core/BasicOutSlot.h>

#include <utility>

#include <vantiflux/core/BasicInSlot.h>

namespace Vantiflux {

using Tarsil::Mutex;
using Tarsil::MutexLock;

BasicOutSlot::Listener::~Listener() = default;

BasicOutSlot::BasicOutSlot(std::string description)
    : Slot(std::move(description), Mutex::Kind::Delivery, Mutex::Kind::Plain) {}

BasicOutSlot::~BasicOutSlot() = default;

void BasicOutSlot::startOutSlot() {
  const MutexLock lock(listenersMutex_, Mutex::Wait::Yielding);
  listeners_.forEach([this](Listener& listener) { listener.startOutSlot(*this); });
}

void BasicOutSlot::stopOutSlot() {
  const MutexLock lock(listenersMutex_, Mutex::Wait::Yielding);
  listeners_.forEach([this](Listener& listener) { listener.stopOutSlot(*this); });
}

void BasicOutSlot::announceUse(bool used, bool again) {
  const bool changed = std::exchange(started_, used) != used;
  if (used && changed)
    startOutSlot();
  else if (!used && (changed || again))
    stopOutSlot();
}

void BasicOutSlot::addListener(Listener& listener) {
  const MutexLock lock(listenersMutex_, Mutex::Wait::Yielding);
  listeners_.add(listener);
}

void BasicOutSlot::removeListener(Listener& listener) {
  const MutexLock lock(listenersMutex_, Mutex::Wait::Yielding);
  listeners_.remove(listener);
}

void BasicOutSlot::invalidateValue() {
  // A worker calls this on its way out, perhaps while somebody pushes the slot in a ring of routes: as a delivery
  // would.
  const MutexLock lock(dataMutex_, Mutex::Wait::Delivery);
  valid_ = false;
}

} // namespace Vantiflux
