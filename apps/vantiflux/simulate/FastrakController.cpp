#include "FastrakController.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <numbers>

namespace Simulate {

namespace {

std::string number(double value, int decimals) {
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%7.*f", decimals, value);
  return text.data();
}

/// Azimuth, elevation and roll in degrees.
std::array<double, 3> anglesOf(const std::array<double, 9>& m) {
  constexpr double degrees = 180 / std::numbers::pi;
  return {std::atan2(m[3], m[0]) * degrees, -std::asin(m[6]) * degrees, std::atan2(m[7], m[8]) * degrees};
}

} // namespace

FastrakController::FastrakController(int speed, const Stations& plugged)
    : initialSpeed_(speed), plugged_(plugged), speed_(speed), active_(plugged) {}

void FastrakController::restart() {
  *this = FastrakController(initialSpeed_, plugged_);
}

// Commands are single letters, or end with a carriage return.
std::string FastrakController::receive(std::string_view bytes) {
  constexpr std::string_view singleLetters = "cCfFuUSP";
  std::string answers;
  for (const char byte : bytes) {
    if (command_.empty() && singleLetters.find(byte) != std::string_view::npos) {
      answers += execute(std::string(1, byte));
    } else if (byte == '\r') {
      answers += execute(command_);
      command_.clear();
    } else if (command_.size() < 80) {
      command_ += byte;
    }
  }
  return answers;
}

std::string FastrakController::execute(const std::string& command) {
  switch (command.empty() ? '\0' : command[0]) {
  case 'c':
    streams_ = false;
    break;
  case 'C':
    streams_ = true;
    break;
  case 'u':
    centimetres_ = true;
    break;
  case 'U':
    centimetres_ = false;
    break;
  case 'S':
    return "21S    Simulated tracker 1.0 \r\n";
  case 'l':
    return switchStation(command);
  case 'o':
    setPort(command);
    break;
  case 'O':
    if (command.size() > 1 && command[1] >= '1' && command[1] <= '4')
      quaternions_.at(static_cast<std::size_t>(command[1] - '1')) = command.substr(2) == ",2,11,16,1";
    break;
  default: // alignment, hemispheres and the like change nothing here
    break;
  }
  return {};
}

std::string FastrakController::switchStation(const std::string& command) {
  if (command.size() < 2 || command[1] < '1' || command[1] > '4')
    return {};
  if (command.size() > 3) {
    active_.at(static_cast<std::size_t>(command[1] - '1')) = command[3] == '1';
    return {};
  }
  std::string answer = "21l";
  for (unsigned station = 0; station < stations; ++station)
    answer += isActive(station) ? '1' : '0';
  return answer + "\r\n";
}

// "o1152,N,8,0": the speed in hundreds.
void FastrakController::setPort(const std::string& command) {
  for (const int speed : {300, 1200, 2400, 4800, 9600, 19200, 38400, 57600, 115200})
    if (std::atoi(command.c_str() + 1) == speed / 100)
      speed_ = speed;
}

// Its own frame: x to the front, y to the right, z down.
std::string FastrakController::record(unsigned station, const Pose& pose, bool pressed) const {
  const double scale = centimetres_ ? 100 : 100 / 2.54;
  const auto [x, y, z] = pose.position;
  const auto [qx, qy, qz, qw] = pose.rotation;
  std::string text = "0" + std::to_string(station + 1) + " ";
  text += number(-z * scale, 2) + number(x * scale, 2) + number(-y * scale, 2);
  if (quaternions_.at(station)) {
    for (const double q : {qw, -qz, qx, -qy})
      text += number(q, 4);
  } else {
    for (const double angle : anglesOf(matrixOf({-qz, qx, -qy, qw})))
      text += number(angle, 2);
  }
  return text + " " + (pressed ? "1" : "0") + "\r\n";
}

} // namespace Simulate
