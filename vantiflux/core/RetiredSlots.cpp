#include <vantiflux/core/RetiredSlots.h>

#include <mutex>
#include <utility>
#include <vector>

#include <vantiflux/core/Slot.h>

namespace Vantiflux {

namespace {

struct Retired {
  std::shared_ptr<void> owner;
  const Slot* slot;
};

/// Never destroyed: threads may outlive static destruction.
struct Yard {
  std::mutex lock; ///< guards the list
  std::vector<Retired> list;
};

Yard& yard() {
  static auto* const the = new Yard;
  return *the;
}

} // namespace

void retireSlot(std::shared_ptr<void> owner, const Slot* slot) {
  std::vector<Retired> over; // destroyed after the lock
  const std::lock_guard lock(yard().lock);
  std::vector<Retired>& list = yard().list;
  list.push_back({std::move(owner), slot});
  for (std::size_t i = 0; i < list.size();) {
    if (list[i].slot->isInUse()) {
      ++i;
      continue;
    }
    over.push_back(std::move(list[i]));
    list.erase(list.begin() + static_cast<std::ptrdiff_t>(i));
  }
}

} // namespace Vantiflux
