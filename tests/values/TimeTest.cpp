#include <vantiflux/values/Time.h>

#include <cstdlib>
#include <ctime>
#include <limits>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

namespace {

using Vantiflux::Time;

std::string textOf(double seconds) {
  std::ostringstream out;
  out << Time(seconds);
  return out.str();
}

// Local time is a matter of the process, so the zone is put back afterwards.
class TimeText : public testing::Test {
protected:
  TimeText() {
    if (const char* zone = std::getenv("TZ"))
      before_ = zone;
    setZone("UTC0");
  }
  ~TimeText() override {
    if (before_.empty())
      unsetenv("TZ");
    else
      setenv("TZ", before_.c_str(), 1);
    tzset();
  }
  static void setZone(const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
  }

private:
  std::string before_;
};

TEST_F(TimeText, PadsTheClockAndNotTheDay) {
  EXPECT_EQ(textOf(0), "Thu Jan 1 00:00:00 1970");
  EXPECT_EQ(textOf(1709210096.9), "Thu Feb 29 12:34:56 2024");
  EXPECT_EQ(textOf(951782399), "Mon Feb 28 23:59:59 2000");
  EXPECT_EQ(textOf(-1), "Wed Dec 31 23:59:59 1969");
  setZone("XYZ-5:30");
  EXPECT_EQ(textOf(0), "Thu Jan 1 05:30:00 1970");
}

TEST_F(TimeText, LeavesTheFillCharacterSet) {
  std::ostringstream out;
  out << Time(0) << ' ';
  out.width(4);
  out << 7;
  EXPECT_EQ(out.str(), "Thu Jan 1 00:00:00 1970 0007");
}

TEST_F(TimeText, OfAValueOutsideTheCalendarIsStillText) {
  using Limits = std::numeric_limits<double>;
  for (const double seconds : {Limits::quiet_NaN(), Limits::infinity(), -Limits::infinity(), 1e300, 1e18, -1e18})
    EXPECT_EQ(textOf(seconds), "invalid time") << seconds;
}

TEST(Time, IsEqualWithinTheSameMillisecond) {
  EXPECT_EQ(Time(10.0001), Time(10.0005));
  EXPECT_FALSE(Time(10.0008) == Time(10.0012));
  EXPECT_FALSE(Time(-0.0002) == Time(0.0002)); // whole milliseconds are counted downwards below zero too
}

TEST(Time, StartsAsTheCurrentTime) {
  const auto before = static_cast<double>(std::time(nullptr));
  const Time now;
  const Time explicitNow = Time::getCurrentTime();
  const auto after = static_cast<double>(std::time(nullptr)) + 1;
  EXPECT_GE(now.seconds, before);
  EXPECT_GE(explicitNow.seconds, now.seconds);
  EXPECT_LE(explicitNow.seconds, after);
}

} // namespace
