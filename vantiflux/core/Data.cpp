#include <vantiflux/core/Data.h>

#include <sys/time.h>

namespace Vantiflux {

void BasicData::setTimeStamp() noexcept {
  timeval now{};
  gettimeofday(&now, nullptr);
  timeStamp_ = static_cast<TimeStamp>(now.tv_sec) * 1000 + static_cast<TimeStamp>(now.tv_usec) / 1000;
}

} // namespace Vantiflux
