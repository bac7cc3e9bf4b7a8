#include <vantiflux/web/rest/TreeAccess.h>

#include <stdexcept>

#include <vantiflux/core/Graveyard.h>

namespace REST {

using namespace Vantiflux;

TreeAccess::TreeAccess() TARSIL_NO_ANALYSIS {
  treeMutex().lock(Tarsil::Mutex::Wait::Yielding);
  if (!root().enabled()) {
    treeMutex().unlock();
    throw std::runtime_error("The tree is disabled");
  }
}

// What was removed meanwhile may have waited for the end of a delivery that was made from here.
TreeAccess::~TreeAccess() TARSIL_NO_ANALYSIS {
  treeMutex().unlock();
  Graveyard::visit();
}

Root& TreeAccess::root() {
  static Root& known = Root::the();
  return known;
}

} // namespace REST
