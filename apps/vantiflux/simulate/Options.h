#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace CLI {
class App;
}

namespace Simulate {

/// What all simulated devices have in common. A frame is one measurement of all that the device sees.
struct Options {
  double rate = 60;             ///< frames in a second
  double noise = 0;             ///< standard deviation of positions in metres
  double jitter = 0;            ///< standard deviation of turns in degrees
  std::uint64_t seed = 1;       ///< of noise and faults
  double seconds = 0;           ///< end after that time; 0: never
  std::uint64_t count = 0;      ///< end after that many frames; 0: never
  double lose = 0;              ///< probability that a record is lost
  double malform = 0;           ///< probability that a record is malformed
  bool split = false;           ///< send in pieces of any length
  std::uint64_t breakAfter = 0; ///< break the connection after that many frames; 0: never
  std::uint64_t restartAfter = 0;
  double pause = 1; ///< seconds until it is back, after a break or a restart

  bool ends(std::uint64_t frames) const noexcept { return count != 0 && frames >= count; }
};

void addOptions(CLI::App& command, Options& options);

/// What options of those mean to a device that is not like the others; an empty text takes one away.
void rewordOptions(CLI::App& command, const std::vector<std::pair<std::string, std::string>>& words);

/// "ADDRESS:PORT" or "PORT". Throws Vantiflux::Exception for anything else.
struct Place {
  std::string address = "127.0.0.1";
  std::uint16_t port = 0;
};
Place placeOf(const std::string& text);

/// Prints where the device is to be found, in a line of its own.
void announce(const std::string& place);

} // namespace Simulate
