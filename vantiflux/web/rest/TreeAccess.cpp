#include <vantiflux/web/rest/TreeAccess.h>

#include <stdexcept>

namespace REST {

using namespace Vantiflux;

TreeAccess::TreeAccess() TARSIL_NO_ANALYSIS {
  treeMutex().lock(Tarsil::Mutex::Wait::Yielding);
  if (!root().enabled()) {
    treeMutex().unlock();
    throw std::runtime_error("The tree is disabled");
  }
}

// No look at the graveyard here, though the lock was held: a visit may just have begun, and a destructor that runs on
// the visitor's own thread does not wait for it when it takes the slot away. The visit's end looks there.
TreeAccess::~TreeAccess() TARSIL_NO_ANALYSIS {
  treeMutex().unlock();
}

Root& TreeAccess::root() {
  static Root& known = Root::the();
  return known;
}

} // namespace REST
