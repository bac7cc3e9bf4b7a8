#pragma once

#include <array>
#include <cstdint>
#include <random>

namespace Simulate {

/// Where something is, in metres, and how it is turned: x to the right, y up, z towards the viewer.
struct Pose {
  std::array<double, 3> position{};
  std::array<double, 4> rotation{0, 0, 0, 1}; ///< a unit quaternion, the scalar part last
};

/// The rotation as a matrix, row by row; as axis times angle in radians.
std::array<double, 9> matrixOf(const std::array<double, 4>& rotation);
std::array<double, 3> axisAngleOf(const std::array<double, 4>& rotation);

/// The path of a body after so many seconds. It is smooth, never still, and near the origin.
Pose poseAt(unsigned body, double seconds);

/// Chance that is the same in every run with the same seed.
class Chance {
public:
  explicit Chance(std::uint64_t seed) : engine_(seed) {}

  /// From 0 to just below 1.
  double number();
  /// True with this probability.
  bool happens(double probability) { return probability > 0 && number() < probability; }
  /// From 0 to just below `end`.
  unsigned below(unsigned end) { return static_cast<unsigned>(number() * end); }
  /// Normally distributed about 0.
  double normal(double deviation);

private:
  std::mt19937_64 engine_;
};

/// The pose as a sensor sees it: off by so much, in metres and in degrees.
Pose noisy(const Pose& pose, double noise, double jitter, Chance& chance);

} // namespace Simulate
