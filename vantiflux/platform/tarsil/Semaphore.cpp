#include <vantiflux/platform/tarsil/Semaphore.h>

#include <vantiflux/platform/tarsil/Futex.h>

namespace Tarsil {

void Semaphore::downSlow() noexcept {
  sleepers_.fetch_add(1, std::memory_order_seq_cst);
  while (!tryDown())
    futexWait(count_, 0);
  sleepers_.fetch_sub(1, std::memory_order_relaxed);
}

void Semaphore::wakeOne() noexcept {
  futexWake(count_, 1);
}

} // namespace Tarsil
