#include "Options.h"

#include <charconv>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <vantiflux/core/Exception.h>

#include "../Messages.h"

namespace Simulate {

void addOptions(CLI::App& command, Options& options) {
  const CLI::Range probability(0.0, 1.0);
  const CLI::Range amount(0.0, 1e6);
  command.add_option("--rate", options.rate, "Frames in a second")
      ->check(CLI::Range(0.01, 100000.0))
      ->capture_default_str();
  command.add_option("--noise", options.noise, "Standard deviation of positions in metres")->check(amount);
  command.add_option("--jitter", options.jitter, "Standard deviation of turns in degrees")->check(amount);
  command.add_option("--seed", options.seed, "Of noise and faults: the same seed gives the same run")
      ->capture_default_str();
  command.add_option("--seconds", options.seconds, "End after this time")->check(amount);
  command.add_option("--count", options.count, "End after this number of frames");
  command.add_option("--lose", options.lose, "Probability that a record is lost")->check(probability)->group("Faults");
  command.add_option("--malform", options.malform, "Probability that a record is malformed")
      ->check(probability)
      ->group("Faults");
  command.add_flag("--split", options.split, "Send records in pieces of any length")->group("Faults");
  command.add_option("--break-after", options.breakAfter, "Break the connection once, after this number of frames")
      ->group("Faults");
  command
      .add_option("--restart-after", options.restartAfter, "Restart the controller once, after this number of frames")
      ->group("Faults");
  command.add_option("--pause", options.pause, "Seconds until it is back after a break or a restart")
      ->check(amount)
      ->capture_default_str()
      ->group("Faults");
}

void rewordOptions(CLI::App& command, const std::vector<std::pair<std::string, std::string>>& words) {
  for (const auto& [name, text] : words) {
    CLI::Option* const option = command.get_option(name);
    if (text.empty())
      command.remove_option(option);
    else
      option->description(text);
  }
}

Place placeOf(const std::string& text) {
  Place place;
  std::string port = text;
  if (const auto colon = text.rfind(':'); colon != std::string::npos) {
    place.address = text.substr(0, colon);
    port = text.substr(colon + 1);
  }
  const char* const end = port.data() + port.size();
  const auto [stop, error] = std::from_chars(port.data(), end, place.port);
  if (error != std::errc() || stop != end || place.address.empty())
    throw Vantiflux::Exception("\"" + text + "\" is not of the form ADDRESS:PORT");
  return place;
}

void announce(const std::string& place) {
  Host::print(place + "\n");
}

} // namespace Simulate
