#include <vantiflux/platform/tarsil/SystemTime.h>

#include <ctime>

namespace Tarsil {

void getSystemTime(std::int64_t& seconds, std::int32_t& microseconds) noexcept {
  timespec now{};
  ::clock_gettime(CLOCK_REALTIME, &now);
  seconds = now.tv_sec;
  microseconds = static_cast<std::int32_t>(now.tv_nsec / 1000);
}

} // namespace Tarsil
