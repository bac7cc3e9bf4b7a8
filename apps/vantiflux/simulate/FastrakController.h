#pragma once

#include <array>
#include <string>
#include <string_view>

#include "Motion.h"

namespace Simulate {

/// The inside of a Fastrak: what it answers, and what its records look like after the commands that it was given. What
/// stands behind a sensor's plug is there from the beginning; a station can be switched on only where one is plugged
/// in.
class FastrakController {
public:
  static constexpr unsigned stations = 4;
  using Stations = std::array<bool, stations>;

  /// The speed is that after switching on.
  FastrakController(int speed, const Stations& plugged);

  /// As after switching on.
  void restart();

  /// Takes what came over the line, and gives the answers.
  std::string receive(std::string_view bytes);

  int speed() const noexcept { return speed_; }
  bool streams() const noexcept { return streams_; }
  bool isActive(unsigned station) const { return plugged_.at(station) && active_.at(station); }

  /// The record of a station, from 0 to 3.
  std::string record(unsigned station, const Pose& pose, bool pressed) const;

private:
  std::string execute(const std::string& command);
  std::string switchStation(const std::string& command);
  void setPort(const std::string& command);

  int initialSpeed_;
  Stations plugged_;
  int speed_;
  bool streams_ = false;
  bool centimetres_ = false; ///< or inches
  Stations active_{};
  Stations quaternions_{}; ///< or angles
  std::string command_;    ///< the beginning of one
};

} // namespace Simulate
