#pragma once

#include <ostream>

#include <vantiflux/values/Forward.h>

namespace Vantiflux {

/// Four numbers, for what needs one more than a place in space. T is float or double. All components are zero unless
/// given.
template <class T>
struct VANTIFLUX_API Vec4 {
  T x = 0;
  T y = 0;
  T z = 0;
  T w = 0;

  constexpr Vec4() = default;
  constexpr Vec4(T xValue, T yValue, T zValue, T wValue) : x(xValue), y(yValue), z(zValue), w(wValue) {}

  friend constexpr bool operator==(const Vec4&, const Vec4&) = default;

  /// The components, separated by one blank.
  friend std::ostream& operator<<(std::ostream& stream, const Vec4& v) {
    return stream << v.x << ' ' << v.y << ' ' << v.z << ' ' << v.w;
  }
};

} // namespace Vantiflux
