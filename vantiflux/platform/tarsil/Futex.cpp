#include <vantiflux/platform/tarsil/Futex.h>

#include <cerrno>
#include <ctime>

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Tarsil {

static_assert(sizeof(std::atomic<std::uint32_t>) == sizeof(std::uint32_t));

bool futexWait(const std::atomic<std::uint32_t>& word, std::uint32_t expected, int milliseconds) {
  timespec limit{milliseconds / 1000, (milliseconds % 1000) * 1000000L};
  const long result =
      syscall(SYS_futex, &word, FUTEX_WAIT_PRIVATE, expected, milliseconds < 0 ? nullptr : &limit, nullptr, 0);
  return result == 0 || errno != ETIMEDOUT;
}

void futexWake(const std::atomic<std::uint32_t>& word, int count) {
  syscall(SYS_futex, &word, FUTEX_WAKE_PRIVATE, count, nullptr, nullptr, 0);
}

} // namespace Tarsil
