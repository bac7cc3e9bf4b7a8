#include <vantiflux/core/BasicInSlot.h>

#include <utility>

#include <vantiflux/core/BasicOutSlot.h>
#include <vantiflux/platform/tarsil/Futex.h>

namespace Vantiflux {

using Tarsil::Mutex;
using Tarsil::MutexLock;

BasicInSlot::Listener::~Listener() = default;

BasicInSlot::BasicInSlot(std::string description)
    : Slot(std::move(description), Mutex::Kind::Plain, Mutex::Kind::Delivery) {}

BasicInSlot::~BasicInSlot() = default;

void BasicInSlot::startInSlot() {
  const MutexLock lock(listenersMutex_, Mutex::Wait::Yielding);
  listeners_.forEach([this](Listener& listener) { listener.startInSlot(*this); });
}

void BasicInSlot::stopInSlot() {
  const MutexLock lock(listenersMutex_, Mutex::Wait::Yielding);
  listeners_.forEach([this](Listener& listener) { listener.stopInSlot(*this); });
}

void BasicInSlot::announceUse(bool used, bool again) {
  const bool changed = std::exchange(started_, used) != used;
  if (used && changed)
    startInSlot();
  else if (!used && (changed || again))
    stopInSlot();
}

void BasicInSlot::newData() {
  const MutexLock lock(listenersMutex_, Mutex::Wait::Delivery);
  listeners_.forEach([this](Listener& listener) { listener.newData(*this); });
}

void BasicInSlot::addListener(Listener& listener) {
  const MutexLock lock(listenersMutex_, Mutex::Wait::Yielding);
  listeners_.add(listener);
}

void BasicInSlot::removeListener(Listener& listener) {
  const MutexLock lock(listenersMutex_, Mutex::Wait::Yielding);
  listeners_.remove(listener);
}

void BasicInSlot::interrupt() {
  const MutexLock lock(dataMutex_);
  interrupted_ = true;
  give();
}

void BasicInSlot::up() const {
  const MutexLock lock(dataMutex_);
  give();
}

void BasicInSlot::down() const {
  const MutexLock lock(dataMutex_);
  take();
}

void BasicInSlot::wakeReader() const {
  wakes_.fetch_add(1, std::memory_order_relaxed);
  Tarsil::futexWake(wakes_, 1);
}

void BasicInSlot::waitReady() const {
  ++readers_;
  while (ready_ == 0) {
    const std::uint32_t seen = wakes_.load(std::memory_order_relaxed);
    dataMutex_.unlock();
    Tarsil::futexWait(wakes_, seen);
    dataMutex_.lock();
  }
  --readers_;
}

} // namespace Vantiflux
