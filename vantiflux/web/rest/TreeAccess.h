#pragma once

#include <vantiflux/Export.h>
#include <vantiflux/core/Root.h>
#include <vantiflux/core/TreeLock.h>

namespace REST {

/// A request's hold of the tree: the lock of structure. As long as it is held no slot and no node that stands in the
/// tree goes away, whoever wants to remove it, with or without the root lock. It is left before values are read or
/// pushed, which may last (see SlotVisit).
///
/// Throws std::runtime_error when the root has been disabled: with the process the tree may be on its way out, and the
/// root's destructor does not begin while this is held.
class VANTIFLUX_API TARSIL_SCOPED_CAPABILITY TreeAccess {
public:
  TreeAccess() TARSIL_ACQUIRE(Vantiflux::treeMutex());
  ~TreeAccess() TARSIL_RELEASE();
  TreeAccess(const TreeAccess&) = delete;
  TreeAccess& operator=(const TreeAccess&) = delete;

  /// The root, which must have been there at the first call; it may be destroyed by now.
  static Vantiflux::Root& root();
};

} // namespace REST
