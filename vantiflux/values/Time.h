#pragma once

#include <cmath>
#include <iosfwd>

#include <vantiflux/values/Forward.h>

namespace Vantiflux {

/// A point in time as a value: seconds since 1970-01-01 00:00:00 UTC. A new Time is the time of its making.
///
/// Not to be mixed up with the time stamp that every slot value carries in milliseconds.
struct VANTIFLUX_API Time {
  double seconds;

  Time() : Time(getCurrentTime()) {}
  constexpr explicit Time(double secondsSinceEpoch) : seconds(secondsSinceEpoch) {}

  /// The time of day from the system clock, to the microsecond.
  static Time getCurrentTime();

  /// Two times are equal when they fall into the same whole millisecond.
  friend bool operator==(const Time& a, const Time& b) {
    return std::floor(1000 * a.seconds) == std::floor(1000 * b.seconds);
  }
};

/// Prints local time like "Thu Jan 1 01:00:00 1970", without a line end. The stream's fill character is '0' afterwards.
/// A value that the calendar cannot express (a non-number, a year beyond all bounds) is printed as "invalid time".
VANTIFLUX_API std::ostream& operator<<(std::ostream& stream, const Time& time);

} // namespace Vantiflux
