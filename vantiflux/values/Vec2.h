#pragma once

#include <ostream>

#include <vantiflux/values/Forward.h>

namespace Vantiflux {

/// Two numbers: a position or a size in the plane. T is float or double. All components are zero unless given.
template <class T>
struct VANTIFLUX_API Vec2 {
  T x = 0;
  T y = 0;

  constexpr Vec2() = default;
  constexpr Vec2(T xValue, T yValue) : x(xValue), y(yValue) {}

  friend constexpr bool operator==(const Vec2&, const Vec2&) = default;

  /// The components, separated by one blank.
  friend std::ostream& operator<<(std::ostream& stream, const Vec2& v) { return stream << v.x << ' ' << v.y; }
};

} // namespace Vantiflux
