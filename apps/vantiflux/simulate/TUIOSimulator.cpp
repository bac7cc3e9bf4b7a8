#include <bit>
#include <cmath>
#include <cstdint>
#include <map>
#include <memory>
#include <numbers>
#include <string>
#include <utility>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include "DatagramDevice.h"
#include "Options.h"
#include "SimulateCommand.h"
#include "Touch.h"

namespace Simulate {

Touch touchAt(int session, double seconds) {
  constexpr double reach = 0.4;
  Touch touch;
  for (std::size_t k = 0; k < 2; ++k) {
    const double speed = 0.8 + 0.1 * ((session * 3 + static_cast<int>(k)) % 7); // radians a second
    const double phase = session * 1.7 + static_cast<double>(k) * std::numbers::pi / 2;
    touch.position[k] = 0.5 + reach * std::sin(speed * seconds + phase);
    touch.velocity[k] = reach * speed * std::cos(speed * seconds + phase);
  }
  return touch;
}

namespace {

struct TUIOOptions : Options {
  std::string to = "127.0.0.1:3333";
  std::string profile = "2Dcur";
  unsigned touches = 3;
  static constexpr unsigned maxTouches = 30; ///< of any profile, in the 4096 bytes that a node takes
  double stay = 2;
};

/// What the values of a profile's "set" messages mean, a letter each.
const std::map<std::string, std::string> profiles{
    {"2Dobj", "ixyaXYAmr"},       {"2Dcur", "xyXYm"},    {"2Dblb", "xyawhfXYAmr"},
    {"25Dobj", "ixyzaXYZAmr"},    {"25Dcur", "xyzXYZm"}, {"25Dblb", "xyzawhfXYZAmr"},
    {"3Dobj", "ixyzabcXYZABCmr"}, {"3Dcur", "xyzXYZm"},  {"3Dblb", "xyzabcwhdfXYZABCmr"}};

std::string number(std::uint32_t value) {
  std::string bytes;
  for (int shift = 24; shift >= 0; shift -= 8)
    bytes += static_cast<char>(value >> shift);
  return bytes;
}

std::string padded(std::string text) {
  text.resize((text.size() / 4 + 1) * 4, '\0');
  return text;
}

/// A message, in its place in a bundle.
class TUIOMessage {
public:
  TUIOMessage(std::string address, const std::string& command)
      : address_(std::move(address)), arguments_(padded(command)) {}
  void add(int value) {
    types_ += 'i';
    arguments_ += number(static_cast<std::uint32_t>(value));
  }
  void add(double value) {
    types_ += 'f';
    arguments_ += number(std::bit_cast<std::uint32_t>(static_cast<float>(value)));
  }
  void add(const std::string& text) {
    types_ += 's';
    arguments_ += padded(text);
  }
  std::string bytes() const {
    const std::string body = padded(address_) + padded(types_) + arguments_;
    return number(static_cast<std::uint32_t>(body.size())) + body;
  }

private:
  std::string address_;
  std::string types_ = ",s";
  std::string arguments_;
};

class TUIOSimulator : public DatagramDevice {
public:
  explicit TUIOSimulator(const TUIOOptions& options)
      : DatagramDevice(options), options_(options), address_("/tuio/" + options.profile),
        letters_(profiles.at(options.profile)) {}

private:
  /// Which touches there are: each stays for a while, and later comes another.
  void update() {
    std::erase_if(ends_, [this](const auto& touch) { return touch.second <= now(); });
    if (ends_.size() < options_.touches && chance_.happens(0.3))
      ends_[++lastSession_] = now() + options_.stay * (0.5 + chance_.number());
  }

  std::string frame() override {
    update();
    TUIOMessage source(address_, "source");
    source.add("vantiflux@127.0.0.1");
    TUIOMessage alive(address_, "alive");
    for (const auto& touch : ends_)
      alive.add(touch.first);
    std::string bundle = std::string("#bundle\0", 8) + number(0) + number(1) + source.bytes() + alive.bytes();
    for (const auto& touch : ends_)
      bundle += set(touch.first).bytes();
    TUIOMessage end(address_, "fseq");
    end.add(++number_);
    return bundle + end.bytes();
  }

  TUIOMessage set(int session) {
    const Touch touch = touchAt(session, now());
    const auto blurred = [&](double value) { return value + chance_.normal(options_.noise); };
    TUIOMessage message(address_, "set");
    message.add(session);
    for (const char letter : letters_)
      switch (letter) {
      case 'i':
        message.add(session % 12);
        break;
      case 'x':
        message.add(blurred(touch.position[0]));
        break;
      case 'y':
        message.add(blurred(touch.position[1]));
        break;
      case 'X':
        message.add(touch.velocity[0]);
        break;
      case 'Y':
        message.add(touch.velocity[1]);
        break;
      case 'a':
        message.add(std::remainder(now() + session, 2 * std::numbers::pi) + chance_.normal(options_.jitter) / 57.3);
        break;
      case 'w':
      case 'h':
        message.add(0.05);
        break;
      default:
        message.add(0.0);
      }
    return message;
  }

  std::string malformed(std::string datagram) override {
    const unsigned place = chance_.below(static_cast<unsigned>(datagram.size()));
    switch (chance_.below(5)) {
    case 0:
      return datagram.substr(0, place);
    case 1:
      return datagram.replace(16, 4, number(0xFFFFFFF0));
    case 2: // in the types of the last message
      return datagram.replace(datagram.rfind(",si"), 3, ",bb");
    case 3:
      return datagram.replace(datagram.find("/tuio"), 5, "/turm");
    default:
      return datagram + std::string(8000, 'x');
    }
  }

  void restart() override {
    number_ = 0;
    lastSession_ = 0;
    ends_.clear();
  }

  const TUIOOptions options_;
  const std::string address_;
  const std::string letters_;
  int number_ = 0;
  int lastSession_ = 0;
  std::map<int, double> ends_; ///< when each touch goes
};

} // namespace

void addTUIO(CLI::App& simulate, Program& program) {
  const auto options = std::make_shared<TUIOOptions>();
  CLI::App* const command =
      simulate.add_subcommand("tuio", "A surface that is touched, and sends to the port of a node of type TUIO");
  command->add_option("--to", options->to, "Where to send")->type_name("ADDRESS:PORT")->capture_default_str();
  command->add_option("--profile", options->profile, "What is on the surface")
      ->check(CLI::IsMember(profiles))
      ->capture_default_str();
  command->add_option("--touches", options->touches, "How many at a time, at most")
      ->check(CLI::Range(0U, TUIOOptions::maxTouches))
      ->capture_default_str();
  command->add_option("--stay", options->stay, "How long a touch stays, in seconds, more or less")
      ->check(CLI::Range(0.01, 1e6))
      ->capture_default_str();
  addOptions(*command, *options);
  rewordOptions(*command, {{"--noise", "Standard deviation of positions, which go from 0 to 1"},
                           {"--lose", "Probability that a datagram is lost"},
                           {"--malform", "Probability that a datagram is malformed"},
                           {"--split", ""},
                           {"--break-after", "Fall silent once, after this number of frames"},
                           {"--restart-after", "Restart the surface once, after this number of frames"}});
  command->callback([options, &program] { program = [options] { TUIOSimulator(*options).run(options->to); }; });
}

} // namespace Simulate
