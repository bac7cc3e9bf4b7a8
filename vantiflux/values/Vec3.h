#pragma once

#include <ostream>

#include <vantiflux/values/Forward.h>

namespace Vantiflux {

/// Three numbers: a position, a direction or a size in space. T is float or double. All components are zero unless
/// given.
template <class T>
struct VANTIFLUX_API Vec3 {
  T x = 0;
  T y = 0;
  T z = 0;

  constexpr Vec3() = default;
  constexpr Vec3(T xValue, T yValue, T zValue) : x(xValue), y(yValue), z(zValue) {}

  friend constexpr bool operator==(const Vec3&, const Vec3&) = default;

  /// The components, separated by one blank.
  friend std::ostream& operator<<(std::ostream& stream, const Vec3& v) {
    return stream << v.x << ' ' << v.y << ' ' << v.z;
  }
};

} // namespace Vantiflux
