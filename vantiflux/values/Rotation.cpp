#include <vantiflux/values/Rotation.h>

#include <cmath>

namespace Vantiflux {

void Rotation::set(const Vec3<float>& axis, float angle) {
  const float length = std::sqrt(axis.x * axis.x + axis.y * axis.y + axis.z * axis.z);
  const float scale = std::sin(angle / 2) / length;
  x = axis.x * scale;
  y = axis.y * scale;
  z = axis.z * scale;
  w = std::cos(angle / 2);
}

float Rotation::get(Vec3<float>& axis) const {
  axis = Vec3<float>(x, y, z);
  return 2 * std::acos(w);
}

Rotation& Rotation::operator*=(const Rotation& other) {
  // Copies of both sides, so that r *= r is right as well.
  const Rotation t = *this;
  const Rotation o = other;
  const Rotation product(o.w * t.x + o.x * t.w + o.y * t.z - o.z * t.y, o.w * t.y + o.y * t.w + o.z * t.x - o.x * t.z,
                         o.w * t.z + o.z * t.w + o.x * t.y - o.y * t.x, o.w * t.w - o.x * t.x - o.y * t.y - o.z * t.z);
  const float length =
      std::sqrt(product.x * product.x + product.y * product.y + product.z * product.z + product.w * product.w);
  *this = Rotation(product.x / length, product.y / length, product.z / length, product.w / length);
  return *this;
}

} // namespace Vantiflux
