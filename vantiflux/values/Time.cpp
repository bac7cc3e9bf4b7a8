#include <vantiflux/values/Time.h>

#include <array>
#include <ctime>
#include <iomanip>
#include <limits>
#include <ostream>

#include <sys/time.h>

namespace Vantiflux {

namespace {

constexpr std::array<const char*, 7> weekdays = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr std::array<const char*, 12> months = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

// The seconds may have come from another machine, so they are checked before the conversion to an integer.
bool toLocalTime(double seconds, std::tm& local) {
  constexpr auto limit = static_cast<double>(std::numeric_limits<std::time_t>::max());
  if (!(std::fabs(seconds) < limit))
    return false;
  const auto whole = static_cast<std::time_t>(seconds);
  return localtime_r(&whole, &local) != nullptr;
}

} // namespace

Time Time::getCurrentTime() {
  timeval now{};
  gettimeofday(&now, nullptr);
  return Time(static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_usec) / 1000000.0);
}

std::ostream& operator<<(std::ostream& stream, const Time& time) {
  std::tm local{};
  if (!toLocalTime(time.seconds, local))
    return stream << "invalid time";
  // The fill character stays set on purpose: texts that follow on the same stream have always been padded with it.
  return stream << weekdays.at(static_cast<std::size_t>(local.tm_wday)) << ' '
                << months.at(static_cast<std::size_t>(local.tm_mon)) << ' ' << local.tm_mday << ' ' << std::setfill('0')
                << std::setw(2) << local.tm_hour << ':' << std::setw(2) << local.tm_min << ':' << std::setw(2)
                << local.tm_sec << ' ' << 1900L + local.tm_year;
}

} // namespace Vantiflux
