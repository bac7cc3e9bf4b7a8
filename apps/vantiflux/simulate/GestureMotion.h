#pragma once

#include <array>
#include <string>
#include <vector>

namespace Simulate {

/// A gesture with a controller in the hand, as the controller measures it: the acceleration in units of that of the
/// earth; x to the right, y forwards, z up.
class GestureMotion {
public:
  using Acceleration = std::array<double, 3>;

  /// What it measures while it is held still. That of this controller is a little off, as that of any.
  static constexpr Acceleration rest{0, 0, 1.08};

  /// The gestures that have a number, in that order, and "shake", which has none.
  static const std::vector<std::string>& names();
  /// Throws Vantiflux::Exception for any other name.
  explicit GestureMotion(const std::string& name);

  double seconds() const noexcept { return seconds_; }
  Acceleration at(double seconds) const;

private:
  /// A straight move, or a turn about a circle (forwards and round, then back to where it began).
  struct Stroke {
    std::array<double, 3> move{}; ///< metres
    double turns = 0;
    double seconds = 0.3;
  };
  void add(double x, double y, double z, double seconds = 0.3);

  std::vector<Stroke> strokes_;
  double seconds_ = 0;
};

} // namespace Simulate
