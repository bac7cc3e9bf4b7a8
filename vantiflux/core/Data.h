#pragma once

#include <cstdint>
#include <utility>

#include <vantiflux/Export.h>

namespace Vantiflux {

/// A time stamp in milliseconds since 1970-01-01 00:00:00 UTC; 0 on a value that never was set.
class VANTIFLUX_API BasicData {
public:
  using TimeStamp = std::uint64_t;

  TimeStamp getTimeStamp() const noexcept { return timeStamp_; }
  void setTimeStamp(TimeStamp timeStamp) noexcept { timeStamp_ = timeStamp; }
  /// Takes the time of the system clock.
  void setTimeStamp() noexcept;

private:
  TimeStamp timeStamp_ = 0;
};

/// A value with the time at which it was measured: what slots carry.
template <class T>
class Data : public BasicData {
public:
  /// The default value with the time stamp 0.
  Data() = default;
  /// Stamped with the current time.
  Data(T value) : value_(std::move(value)) { setTimeStamp(); } // NOLINT(google-explicit-constructor)
  Data(T value, TimeStamp timeStamp) : value_(std::move(value)) { setTimeStamp(timeStamp); }

  const T& getValue() const noexcept { return value_; }
  T& getValue() noexcept { return value_; }
  void setValue(T value) { value_ = std::move(value); }

private:
  T value_{};
};

} // namespace Vantiflux
