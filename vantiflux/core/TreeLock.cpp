#include <vantiflux/core/TreeLock.h>

namespace Vantiflux {

Tarsil::Mutex& treeMutex() noexcept {
  static auto* const mutex = new Tarsil::Mutex; // never destroyed: threads may outlive static destruction
  return *mutex;
}

} // namespace Vantiflux
