#include <vantiflux/core/Graveyard.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <malloc.h>
#include <mutex>
#include <new>
#include <vector>

#include <vantiflux/core/Namespace.h>
#include <vantiflux/core/Node.h>
#include <vantiflux/core/Restructuring.h>
#include <vantiflux/core/SlotVisit.h>
#include <vantiflux/platform/tarsil/Mutex.h>

namespace Vantiflux {

struct Graveyard::Yard {
  std::mutex lock; ///< guards the list
  std::vector<Namespace*> list;

  static void forgetSlots(Namespace& corpse);
};

// Slots that do not belong to the corpse may be gone before it: their owner sees them as removed. A namespace that is
// no node has none of its own; those of a node are members, or were attached.
void Graveyard::Yard::forgetSlots(Namespace& corpse) {
  const TreeLock lock;
  const auto* const node = dynamic_cast<Node*>(&corpse);
  const auto begin = reinterpret_cast<std::uintptr_t>(dynamic_cast<void*>(&corpse));
  const auto end = begin + ::malloc_usable_size(dynamic_cast<void*>(&corpse));
  const auto isOwn = [&](const Slot* slot) {
    const auto place = reinterpret_cast<std::uintptr_t>(slot);
    return node != nullptr && ((begin <= place && place < end) || node->hasAttached(*slot));
  };
  const auto forget = [&](auto& table) {
    for (auto at = table.entries().begin(); at != table.entries().end();) {
      const auto& entry = *at++;
      if (!isOwn(entry.slot) || !(entry.slot->isInUse() || SlotVisit::isVisited(*entry.slot)))
        table.erase(&entry);
    }
  };
  forget(corpse.outSlots_);
  forget(corpse.inSlots_);
}

Graveyard::Yard& Graveyard::yard() {
  static auto* const the = new Yard; // never destroyed: threads may outlive static destruction
  return *the;
}

namespace {

/// A step that the next one does not depend on: who deletes cannot be told of what it throws.
template <class Step>
void carryOut(Step&& step) {
  try {
    step();
  } catch (const std::exception& e) {
    std::fprintf(stderr, "Exception while a namespace was deleted: %s\n", e.what());
  } catch (...) {
    std::fputs("Exception of an unknown type while a namespace was deleted\n", stderr);
  }
}

void destroy(Namespace* corpse) {
  void* const memory = dynamic_cast<void*>(corpse);
  corpse->~Namespace();
  Namespace::operator delete(memory);
}

} // namespace

std::atomic<int> Graveyard::occupied_{0};

void Graveyard::bury(Namespace* corpse) {
  carryOut([&] { corpse->disable(); });
  {
    const TreeLock lock;
    corpse->parent_ = nullptr;
    corpse->keepForReaders(false);
  }
  carryOut([&] { SlotVisit::awaitEnd(*corpse); });
  if (!corpse->isInUse())
    return destroy(corpse);
  Yard::forgetSlots(*corpse);
  {
    const std::lock_guard guard(yard().lock);
    yard().list.push_back(corpse);
    occupied_.fetch_add(1, std::memory_order_seq_cst);
  }
  Tarsil::heavyFence(); // who leaves it from now on sees it here; who left it before is seen to have left
  collect();
}

// Not in the first half of a change, which is no place for foreign destructors; the change visits when it is through.
void Graveyard::collect() {
  if (treeMutex().isLockedByThisThread() && Restructuring::isChanging())
    return;
  for (;;) {
    Namespace* corpse = nullptr;
    {
      const TreeLock tree;
      const std::lock_guard guard(yard().lock);
      std::vector<Namespace*>& list = yard().list;
      const auto found = std::find_if(list.begin(), list.end(), [](const Namespace* c) { return !c->isInUse(); });
      if (found == list.end())
        return;
      corpse = *found;
      list.erase(found);
      occupied_.fetch_sub(1, std::memory_order_seq_cst);
    }
    destroy(corpse);
  }
}

} // namespace Vantiflux
