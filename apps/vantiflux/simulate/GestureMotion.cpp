#include "GestureMotion.h"

#include <cmath>
#include <numbers>

#include <vantiflux/core/Exception.h>

namespace Simulate {

namespace {

constexpr double earth = 9.81;
constexpr double radius = 0.15;

} // namespace

const std::vector<std::string>& GestureMotion::names() {
  static const std::vector<std::string> all{"circle", "zet",   "square", "throw", "x",    "circle_right",
                                            "left",   "right", "down",   "up",    "shake"};
  return all;
}

GestureMotion::GestureMotion(const std::string& name) {
  constexpr double side = 0.3;
  if (name == "circle" || name == "circle_right") {
    strokes_.push_back({{}, name == "circle" ? 1.0 : -1.0, 1.0});
    seconds_ = 1;
  } else if (name == "zet") {
    add(side, 0, 0);
    add(-side, 0, -side);
    add(side, 0, 0);
  } else if (name == "square") {
    add(side, 0, 0);
    add(0, 0, side);
    add(-side, 0, 0);
    add(0, 0, -side);
  } else if (name == "throw") {
    add(0, 2 * side, 0, 0.4);
  } else if (name == "x") {
    add(side, 0, -side);
    add(0, 0, side);
    add(-side, 0, -side);
  } else if (name == "left" || name == "right") {
    add(name == "left" ? -side : side, 0, 0);
  } else if (name == "down" || name == "up") {
    add(0, 0, name == "down" ? -side : side);
  } else if (name == "shake") {
    for (int i = 0; i < 6; ++i)
      add(i % 2 == 0 ? -0.1 : 0.1, i % 2 == 0 ? 0.2 : -0.2, 0, 0.2);
  } else {
    throw Vantiflux::Exception("No gesture is called \"" + name + "\"");
  }
}

void GestureMotion::add(double x, double y, double z, double seconds) {
  strokes_.push_back({{x, y, z}, 0, seconds});
  seconds_ += seconds;
}

// Every stroke begins and ends at rest, with the least jerk on its way.
GestureMotion::Acceleration GestureMotion::at(double seconds) const {
  Acceleration measured = rest;
  for (const Stroke& stroke : strokes_) {
    if (seconds >= stroke.seconds) {
      seconds -= stroke.seconds;
      continue;
    }
    const double u = seconds / stroke.seconds;
    const double speed = (30 * u * u - 60 * u * u * u + 30 * u * u * u * u) / stroke.seconds;
    const double change = (60 * u - 180 * u * u + 120 * u * u * u) / (stroke.seconds * stroke.seconds);
    for (std::size_t k = 0; k < 3; ++k)
      measured[k] += stroke.move[k] * change / earth;
    if (stroke.turns != 0) {
      const double turn = 2 * std::numbers::pi * stroke.turns;
      const double angle = turn * (10 * u * u * u - 15 * u * u * u * u + 6 * u * u * u * u * u);
      const double spin = turn * speed;
      measured[0] += radius * (std::cos(angle) * turn * change - std::sin(angle) * spin * spin) / earth;
      measured[2] += radius * (std::sin(angle) * turn * change + std::cos(angle) * spin * spin) / earth;
    }
    return measured;
  }
  return measured;
}

} // namespace Simulate
