#include <vantiflux/core/Wait.h>

#include <iterator>

namespace Vantiflux {

using Tarsil::MutexLock;

Wait::Wait() : cursor_(slots_.end()) {}

Wait::~Wait() {
  for (BasicInSlot* const slot : slots_)
    slot->removeListener(*this);
}

void Wait::addInSlot(BasicInSlot& slot) {
  {
    const MutexLock lock(mutex_);
    slots_.insert(&slot);
    cursor_ = slots_.begin();
  }
  slot.addListener(*this);
  event_.set(); // it may hold a value already
}

void Wait::removeInSlot(BasicInSlot& slot) {
  slot.removeListener(*this);
  const MutexLock lock(mutex_);
  slots_.erase(&slot);
  cursor_ = slots_.begin();
}

std::set<BasicInSlot*>::iterator Wait::next(std::set<BasicInSlot*>::iterator at) {
  ++at;
  return at == slots_.end() ? slots_.begin() : at;
}

BasicInSlot* Wait::findNonEmptyInSlot() {
  const MutexLock lock(mutex_);
  if (slots_.empty())
    return nullptr;
  auto at = cursor_;
  do {
    if (!(*at)->empty()) {
      cursor_ = next(at);
      return *at;
    }
    at = next(at);
  } while (at != cursor_);
  return nullptr;
}

// The event is reset before the search, so that a value that arrives during the search is not lost.
BasicInSlot* Wait::wait() {
  for (;;) {
    event_.reset();
    if (BasicInSlot* const slot = findNonEmptyInSlot())
      return slot;
    event_.wait();
  }
}

void Wait::newData(BasicInSlot&) {
  event_.set();
}

} // namespace Vantiflux
