#pragma once

#include <ostream>

#include <vantiflux/values/Forward.h>
#include <vantiflux/values/Vec3.h>

namespace Vantiflux {

/// A rotation as a unit quaternion: vector part x, y, z first, scalar part w last.
///
/// A new Rotation is all zero, w included, which is no rotation at all: a reader can tell "never set" from "not
/// turned". Only set() and operator*= make unit quaternions; the fields are taken as they are otherwise. Angles are in
/// radians.
///
/// Failure: nothing is reported. A zero axis, or the product with a rotation that was never set, gives non-numbers.
struct VANTIFLUX_API Rotation {
  float x = 0;
  float y = 0;
  float z = 0;
  float w = 0;

  constexpr Rotation() = default;
  constexpr Rotation(float xValue, float yValue, float zValue, float wValue)
      : x(xValue), y(yValue), z(zValue), w(wValue) {}
  Rotation(const Vec3<float>& axis, float angle) { set(axis, angle); }

  /// Turns by angle about the axis, which may have any length but zero.
  void set(const Vec3<float>& axis, float angle);

  /// Returns the angle and writes the vector part of the quaternion to axis: its length is sin(angle / 2) and not 1.
  /// Whoever needs a unit axis normalises it.
  float get(Vec3<float>& axis) const;

  /// The rotation already held is applied first and other second; the result has length 1.
  Rotation& operator*=(const Rotation& other);

  friend constexpr bool operator==(const Rotation&, const Rotation&) = default;

  /// The four stored numbers, separated by one blank.
  friend std::ostream& operator<<(std::ostream& stream, const Rotation& r) {
    return stream << r.x << ' ' << r.y << ' ' << r.z << ' ' << r.w;
  }
};

} // namespace Vantiflux
