#pragma once

#include <vantiflux/Export.h>
#include <vantiflux/platform/tarsil/Mutex.h>

namespace Vantiflux {

/// The lock of structure: one recursive mutex for all namespaces and all connections of the process. Guards slot lists,
/// routes, children, flags and parents of every namespace, the connection of slots, and the calls of `start`, `stop`,
/// `initialize`, `shutdown` and of namespace listeners.
///
/// One mutex, and not a pair for each namespace, because changes climb (exports) and descend (enabling) the tree and
/// call back to nodes from both sides: no order of many locks serves all of them. Values do not pass here: `push` takes
/// slot locks only. Order: the root lock, then this one, then slot locks. Waiting for it is a yielding wait (see
/// Tarsil::Mutex), and so is every wait inside it, so that a worker on its way out is never locked out.
VANTIFLUX_API Tarsil::Mutex& treeMutex() noexcept;

/// Holds the lock of structure for the length of a scope.
class TARSIL_SCOPED_CAPABILITY TreeLock {
public:
  TreeLock() TARSIL_ACQUIRE(treeMutex()) : lock_(treeMutex(), Tarsil::Mutex::Wait::Yielding) {}
  ~TreeLock() TARSIL_RELEASE() = default;

private:
  Tarsil::MutexLock lock_;
};

} // namespace Vantiflux
