#include <vantiflux/core/SlotVisit.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <vector>

#include <vantiflux/core/Graveyard.h>
#include <vantiflux/core/Namespace.h>

namespace Vantiflux {

namespace {

struct Visit {
  const Namespace* ns;
  const Slot* slot;
  std::shared_ptr<Tarsil::Mutex> mutex;
};

struct Visits {
  std::mutex lock; ///< innermost; guards the list
  std::vector<Visit> list;
};

Visits& visits() {
  static auto* const the = new Visits; // never destroyed: threads may outlive static destruction
  return *the;
}

/// How many there are. Goes up under the lock of structure, which those hold who look.
constinit std::atomic<int> count{0};

template <class Where>
bool isAny(const Where& isIt) {
  if (count.load(std::memory_order_seq_cst) == 0)
    return false;
  const std::lock_guard guard(visits().lock);
  return std::any_of(visits().list.begin(), visits().list.end(), isIt);
}

} // namespace

// The mutex goes from the constructor to the destructor, which no analysis follows.
SlotVisit::SlotVisit(const Namespace& ns, const Slot& slot) TARSIL_NO_ANALYSIS
    : mutex_(std::make_shared<Tarsil::Mutex>(Tarsil::Mutex::Kind::Delivery)) {
  mutex_->lock();
  const std::lock_guard guard(visits().lock);
  visits().list.push_back({&ns, &slot, mutex_});
  count.fetch_add(1, std::memory_order_seq_cst);
}

// What was deleted meanwhile may have waited for this one's end.
SlotVisit::~SlotVisit() TARSIL_NO_ANALYSIS {
  {
    const std::lock_guard guard(visits().lock);
    std::erase_if(visits().list, [this](const Visit& visit) { return visit.mutex == mutex_; });
  }
  mutex_->unlock();
  count.fetch_sub(1, std::memory_order_seq_cst);
  Graveyard::visit();
}

bool SlotVisit::isVisited(const Slot& slot) {
  return isAny([&](const Visit& visit) { return visit.slot == &slot; });
}

bool SlotVisit::isVisited(const Namespace& ns) {
  return isAny([&](const Visit& visit) { return visit.ns == &ns; });
}

// A look at the list, not at the slot: while one visit is waited for, another's end may have been its last one.
void SlotVisit::awaitEnd(const Slot& slot) {
  if (count.load(std::memory_order_seq_cst) == 0)
    return;
  std::vector<std::shared_ptr<Tarsil::Mutex>> awaited;
  {
    const std::lock_guard guard(visits().lock);
    for (const Visit& visit : visits().list)
      if (visit.slot == &slot)
        awaited.push_back(visit.mutex);
  }
  for (const auto& mutex : awaited)
    const Tarsil::MutexLock end(*mutex, Tarsil::Mutex::Wait::Yielding);
}

void SlotVisit::awaitEnd(const Namespace& ns) {
  if (count.load(std::memory_order_seq_cst) == 0)
    return;
  std::vector<LabeledSlot> slots;
  ns.getSlots("*", Slot::In, slots);
  ns.getSlots("*", Slot::Out, slots);
  for (const LabeledSlot& entry : slots)
    awaitEnd(*entry.slot);
}

} // namespace Vantiflux
