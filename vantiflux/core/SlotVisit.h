#pragma once

#include <memory>

#include <vantiflux/Export.h>
#include <vantiflux/core/Slot.h>
#include <vantiflux/platform/tarsil/Mutex.h>

namespace Vantiflux {

class Namespace;

/// The stay of a thread at a slot that it found in the tree, when it has left the lock of structure: to read or to push
/// a value without a connection, for as long as that takes. A visit counts as a delivery does: who takes the slot out
/// of a namespace, enables, disables or deletes the namespace, waits for its end, and lends what he holds to a visitor
/// who wants it (see Tarsil::Mutex). Where that wait cannot be, because the visitor himself takes the slot away, or two
/// wait for each other, a node and its slots stay until the visit is over (see Graveyard): those that are members of it
/// or were attached (Node::attachSlot). A slot of somebody else's does not, nor, when it was found by way of the node's
/// parent, one that a node has on the heap and did not attach.
///
/// *Threads.* Begun with the lock of structure held, ended by the same thread when it has left that lock.
class VANTIFLUX_API SlotVisit {
public:
  /// `ns` is where the slot was found.
  SlotVisit(const Namespace& ns, const Slot& slot);
  ~SlotVisit();
  SlotVisit(const SlotVisit&) = delete;
  SlotVisit& operator=(const SlotVisit&) = delete;

  /// Whether somebody is there now.
  static bool isVisited(const Slot& slot);
  /// Whether somebody is at a slot that was found there, be it taken away meanwhile or not.
  static bool isVisited(const Namespace& ns);

  /// Wait until the visits that have begun are over, but those that this thread itself runs under. Not in the first
  /// half of a change (see Restructuring).
  static void awaitEnd(const Slot& slot);
  /// The same for all slots that the namespace has.
  static void awaitEnd(const Namespace& ns);

private:
  const std::shared_ptr<Tarsil::Mutex> mutex_; ///< held all the time; shared with those who wait for it
};

} // namespace Vantiflux
