#include <array>
#include <cmath>
#include <cstdio>
#include <memory>
#include <string>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include "DatagramDevice.h"
#include "Motion.h"
#include "Options.h"
#include "SimulateCommand.h"

namespace Simulate {

namespace {

struct ARTOptions : Options {
  std::string to = "127.0.0.1:12345";
  unsigned bodies = 1;
  unsigned sticks = 0;
  unsigned markers = 0;
  bool secondForm = false;
  bool inertial = false;
};

/// The text of one frame, in millimetres. The controller's frame: x to the right, y away from the viewer, z up.
class ARTFrame {
public:
  explicit ARTFrame(std::uint64_t number) : text_("fr " + std::to_string(number) + "\nts 0.000000\n") {}

  void line(const std::string& head, unsigned count) { text_ += head + " " + std::to_string(count); }
  void endLine() { text_ += '\n'; }
  void gap() { text_ += ' '; }

  template <class... Parts>
  void group(const Parts&... parts) {
    text_ += '[';
    std::size_t place = text_.size();
    (add(parts), ...);
    text_.erase(place, 1);
    text_ += ']';
  }

  void position(const Pose& pose, bool angles) {
    const auto [x, y, z] = pose.position;
    if (angles)
      group(x * 1000, -z * 1000, y * 1000, 0.0, 0.0, 0.0);
    else
      group(x * 1000, -z * 1000, y * 1000);
  }

  // The axes as it sees them, column by column.
  void rotation(const Pose& pose) {
    const auto m = matrixOf(pose.rotation);
    group(m[0], -m[6], m[3], -m[2], m[8], -m[5], m[1], -m[7], m[4]);
  }

  const std::string& text() const noexcept { return text_; }

private:
  void add(double value) {
    std::array<char, 64> digits{};
    std::snprintf(digits.data(), digits.size(), " %.6f", value);
    text_ += digits.data();
  }
  void add(unsigned value) { text_ += ' ' + std::to_string(value); }

  std::string text_;
};

class ARTSimulator : public DatagramDevice {
public:
  explicit ARTSimulator(const ARTOptions& options) : DatagramDevice(options), options_(options) {}

private:
  Pose pose(unsigned body) { return noisy(poseAt(body, now()), options_.noise, options_.jitter, chance_); }

  std::string frame() override {
    ARTFrame frame(++counter_);
    if (options_.markers > 0) {
      frame.line("3d", options_.markers);
      for (unsigned i = 0; i < options_.markers; ++i) {
        frame.gap();
        frame.group(i + 1, 1.0);
        frame.position(pose(i), false);
      }
      frame.endLine();
    }
    frame.line("6d", options_.bodies);
    for (unsigned i = 0; i < options_.bodies; ++i) {
      const Pose seen = pose(i);
      frame.gap();
      frame.group(i, 1.0);
      frame.position(seen, true);
      frame.rotation(seen);
    }
    frame.endLine();
    if (options_.sticks > 0)
      addSticks(frame);
    return frame.text();
  }

  void addSticks(ARTFrame& frame) {
    frame.line(options_.inertial ? "6di" : options_.secondForm ? "6df2" : "6df", options_.sticks);
    if (options_.secondForm && !options_.inertial)
      frame.line("", options_.sticks);
    const unsigned pressed = 1U << (frames() / 32 % 8);
    for (unsigned i = 0; i < options_.sticks; ++i) {
      const Pose seen = pose(options_.bodies + i);
      frame.gap();
      if (options_.inertial)
        frame.group(i, 2U, 1.0);
      else if (options_.secondForm)
        frame.group(i, 1.0, 8U, 2U);
      else
        frame.group(i, 1.0, pressed);
      frame.position(seen, !options_.inertial && !options_.secondForm);
      frame.rotation(seen);
      if (options_.secondForm && !options_.inertial)
        frame.group(pressed, 0.0, 0.0);
    }
    frame.endLine();
  }

  std::string malformed(std::string datagram) override {
    const std::size_t count = datagram.find("\n6d ") + 4;
    const std::size_t end = datagram.find(' ', count);
    switch (chance_.below(6)) {
    case 0:
      return datagram.substr(0, count + chance_.below(static_cast<unsigned>(datagram.size() - count)));
    case 1:
      return datagram.replace(count, end - count, "4000000000");
    case 2:
      return datagram.replace(count, end - count, "-3");
    case 3:
      return datagram.erase(datagram.find('['), 1);
    case 4:
      return datagram.erase(datagram.rfind(']'), 1);
    default:
      return "fr " + std::string(32768, '1');
    }
  }

  void restart() override { counter_ = 0; }

  const ARTOptions options_;
  std::uint64_t counter_ = 0;
};

} // namespace

void addART(CLI::App& simulate, Program& program) {
  const auto options = std::make_shared<ARTOptions>();
  CLI::App* const command =
      simulate.add_subcommand("art", "An ART controller that sends datagrams to the port of a node of type ART");
  command->add_option("--to", options->to, "Where to send")->type_name("ADDRESS:PORT")->capture_default_str();
  command->add_option("--bodies", options->bodies, "How many bodies")->check(CLI::Range(0, 100))->capture_default_str();
  command->add_option("--sticks", options->sticks, "How many sticks")->check(CLI::Range(0, 20))->capture_default_str();
  command->add_option("--markers", options->markers, "How many single markers")->check(CLI::Range(0, 100));
  command->add_flag("--second-form", options->secondForm, "Send the sticks in the second form, \"6df2\"");
  command->add_flag("--inertial", options->inertial, "Send the sticks as inertial bodies, \"6di\"");
  addOptions(*command, *options);
  rewordOptions(*command, {{"--split", ""}}); // a datagram comes whole or not at all
  command->callback([options, &program] { program = [options] { ARTSimulator(*options).run(options->to); }; });
}

} // namespace Simulate
