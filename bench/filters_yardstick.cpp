#include "filters_yardstick.h"

#include <cmath>

namespace yardstick {

namespace {

Vector cross(const Vector& a, const Vector& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

Vector scaled(const Vector& v, float factor) {
  return {v.x * factor, v.y * factor, v.z * factor};
}

Vector sum(const Vector& a, const Vector& b) {
  return {a.x + b.x, a.y + b.y, a.z + b.z};
}

Vector unit(const Vector& v) {
  return scaled(v, 1 / std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z));
}

float dot(const Vector& a, const Vector& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

} // namespace

namespace VANTIFLUX_YARDSTICK {

void equalize(const Points& points, Matrix& m) {
  const Vector p(m[3], m[7], m[11]);
  Vector position, x, y;
  for (std::size_t i = 0; i < points.measurePos.size(); ++i) {
    const Vector& q = points.measurePos[i];
    const float dx = p.x - q.x, dy = p.y - q.y, dz = p.z - q.z;
    const float d = std::sqrt(dx * dx + dy * dy + dz * dz + points.rSquare);
    const Matrix& c = points.coeffOri[i];
    position = sum(position, scaled(points.coeffPos[i], d));
    x = sum(x, scaled({c[0], c[4], c[8]}, d));
    y = sum(y, scaled({c[1], c[5], c[9]}, d));
  }
  x = unit(x);
  y = unit(y);
  const Vector z = cross(x, y), a(m[0], m[4], m[8]), b(m[1], m[5], m[9]);
  const Vector u(dot(x, a), dot(y, a), dot(z, a)), v(dot(x, b), dot(y, b), dot(z, b)), w = cross(u, v);
  const Vector first = cross(v, w);
  m = Matrix({first.x, v.x, w.x, position.x, first.y, v.y, w.y, position.y, first.z, v.z, w.z, position.z, 0, 0, 0, 1});
}

} // namespace VANTIFLUX_YARDSTICK

} // namespace yardstick
