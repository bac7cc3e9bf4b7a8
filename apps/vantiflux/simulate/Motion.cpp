#include "Motion.h"

#include <cmath>
#include <numbers>

namespace Simulate {

namespace {

std::array<double, 4> turn(const std::array<double, 3>& axis, double angle) {
  const double length = std::hypot(axis[0], axis[1], axis[2]);
  const double scale = length > 0 ? std::sin(angle / 2) / length : 0;
  return {axis[0] * scale, axis[1] * scale, axis[2] * scale, std::cos(angle / 2)};
}

/// The turn `b`, then `a`.
std::array<double, 4> product(const std::array<double, 4>& a, const std::array<double, 4>& b) {
  return {a[3] * b[0] + a[0] * b[3] + a[1] * b[2] - a[2] * b[1], a[3] * b[1] + a[1] * b[3] + a[2] * b[0] - a[0] * b[2],
          a[3] * b[2] + a[2] * b[3] + a[0] * b[1] - a[1] * b[0], a[3] * b[3] - a[0] * b[0] - a[1] * b[1] - a[2] * b[2]};
}

} // namespace

std::array<double, 9> matrixOf(const std::array<double, 4>& rotation) {
  const auto [x, y, z, w] = rotation;
  return {1 - 2 * (y * y + z * z), 2 * (x * y - w * z),     2 * (x * z + w * y),
          2 * (x * y + w * z),     1 - 2 * (x * x + z * z), 2 * (y * z - w * x),
          2 * (x * z - w * y),     2 * (y * z + w * x),     1 - 2 * (x * x + y * y)};
}

std::array<double, 3> axisAngleOf(const std::array<double, 4>& rotation) {
  const auto [x, y, z, w] = rotation;
  const double sine = std::hypot(x, y, z);
  const double scale = sine > 0 ? 2 * std::atan2(sine, w) / sine : 2;
  return {x * scale, y * scale, z * scale};
}

Pose poseAt(unsigned body, double seconds) {
  const double phase = 0.7 * body;
  const double t = seconds;
  return {{0.4 * std::sin(0.9 * t + phase), 0.3 * std::sin(1.3 * t + phase), 0.2 * std::cos(0.7 * t + phase)},
          turn({std::sin(0.3 * t + phase), std::cos(0.2 * t), 0.5}, 0.8 * std::sin(0.5 * t + phase) + 0.3)};
}

// Not by the library's distributions, whose results differ between libraries.
double Chance::number() {
  return static_cast<double>(engine_() >> 11) * 0x1p-53;
}

double Chance::normal(double deviation) {
  const double radius = std::sqrt(-2 * std::log(1 - number()));
  return deviation * radius * std::cos(2 * std::numbers::pi * number());
}

Pose noisy(const Pose& pose, double noise, double jitter, Chance& chance) {
  Pose seen = pose;
  for (double& coordinate : seen.position)
    coordinate += chance.normal(noise);
  const std::array<double, 3> axis{chance.normal(1), chance.normal(1), chance.normal(1)};
  const double angle = chance.normal(jitter * std::numbers::pi / 180);
  seen.rotation = product(turn(axis, angle), pose.rotation);
  return seen;
}

} // namespace Simulate
