#include <algorithm>
#include <chrono>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <vantiflux/platform/pelorn/StreamBuf.h>

#include "FastrakController.h"
#include "Options.h"
#include "PseudoTerminal.h"
#include "Session.h"
#include "SimulateCommand.h"

namespace Simulate {

namespace {

struct FastrakOptions : Options {
  std::vector<unsigned> stations{1};
  int speed = 115200;
  std::string link;
  bool silent = false;
};

class FastrakSimulator {
public:
  explicit FastrakSimulator(const FastrakOptions& options)
      : options_(options), chance_(options.seed), controller_(options.speed, plugged(options.stations)) {}

  void run() {
    line_.open(options_.link);
    Session session(options_.seconds, [this] { line_.breakWait(); });
    announce(line_.path());
    auto next = Clock::now();
    while (!session.over() && !options_.ends(frames_)) {
      next = std::max(next, Clock::now() - std::chrono::seconds(1)); // no burst after a long sleep of the machine
      if (!listenUntil(next))
        continue;
      if (!controller_.streams()) {
        next = Clock::now() + sampling;
        continue;
      }
      next += std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(1 / options_.rate));
      sendFrame();
      if (frames_ == options_.restartAfter)
        restart(session);
      if (frames_ == options_.breakAfter)
        breakLine(session);
    }
  }

private:
  static FastrakController::Stations plugged(const std::vector<unsigned>& numbers) {
    FastrakController::Stations stations{};
    for (const unsigned number : numbers)
      stations.at(number - 1) = true;
    return stations;
  }

  /// How often it looks at the line's speed.
  static constexpr std::chrono::milliseconds sampling{20};

  /// Answers commands until then; true when the time has come.
  bool listenUntil(Clock::time_point time) {
    for (;;) {
      const auto left = std::chrono::ceil<std::chrono::milliseconds>(time - Clock::now());
      const auto part = std::clamp(left, std::chrono::milliseconds(0), sampling);
      const int speed = line_.speed();
      switch (stream_.waitForData(static_cast<int>(part.count()))) {
      case Pelorn::WaitResult::Error:
        return false;
      case Pelorn::WaitResult::Data:
        answer();
        break;
      case Pelorn::WaitResult::Timeout:
        speed_ = speed; // nothing was written until then
        break;
      }
      if (left <= part)
        return true;
    }
  }

  // At another speed than the tracker's own, neither side understands the other. The driver may have changed the
  // line's speed since it wrote: then what counts is the one that was seen last before.
  void answer() {
    std::string bytes;
    for (std::streamsize count = stream_.in_avail(); count > 0; --count)
      bytes += static_cast<char>(stream_.sbumpc());
    if (options_.silent)
      return;
    const bool understood = line_.speed() == controller_.speed() || speed_ == controller_.speed();
    const std::string reply = understood ? controller_.receive(bytes) : bytes;
    if (!reply.empty())
      send(reply);
  }

  void sendFrame() {
    const double seconds = static_cast<double>(frames_) / options_.rate;
    const bool pressed = frames_ / 32 % 2 == 1;
    for (unsigned station = 0; station < FastrakController::stations; ++station) {
      if (!controller_.isActive(station))
        continue;
      const Pose pose = noisy(poseAt(station, seconds), options_.noise, options_.jitter, chance_);
      std::string record = controller_.record(station, pose, pressed);
      if (chance_.happens(options_.malform))
        record = malformed(std::move(record));
      if (!chance_.happens(options_.lose))
        send(record);
    }
    ++frames_;
  }

  std::string malformed(std::string record) {
    switch (chance_.below(6)) {
    case 0:
      return record.substr(0, chance_.below(static_cast<unsigned>(record.size()))) + "\r\n";
    case 1:
      return record.insert(20, "123");
    case 2:
      record[1] = '7';
      return record;
    case 3:
      record[3 + chance_.below(40)] = '?';
      return record;
    case 4:
      record.pop_back(); // runs into the next one
      return record;
    default:
      return std::string(200, 'x') + "\r\n";
    }
  }

  // A serial line has no patience: what the other side does not take in time is lost.
  void send(std::string text) {
    if (line_.speed() != controller_.speed())
      for (char& c : text)
        c = static_cast<char>(128 + chance_.below(128));
    if (stream_.queued() > 0)
      return;
    while (options_.split && text.size() > 1) {
      const std::size_t size = 1 + chance_.below(static_cast<unsigned>(text.size()));
      stream_.queueWrite(text.substr(0, size));
      text.erase(0, size);
    }
    stream_.queueWrite(text);
  }

  void restart(Session& session) {
    session.sleep(options_.pause);
    controller_.restart();
  }

  void breakLine(Session& session) {
    stream_.close();
    line_.close();
    if (!session.sleep(options_.pause))
      return;
    controller_.restart();
    line_.open(options_.link);
    announce(line_.path());
  }

  const FastrakOptions options_;
  Chance chance_;
  FastrakController controller_;
  PseudoTerminal line_;
  Pelorn::StreamBuf stream_{line_};
  int speed_ = 0; ///< of the line, when it was looked at last
  std::uint64_t frames_ = 0;
};

} // namespace

void addFastrak(CLI::App& simulate, Program& program) {
  const auto options = std::make_shared<FastrakOptions>();
  CLI::App* const command = simulate.add_subcommand(
      "fastrak", "A Polhemus Fastrak on a pseudo-terminal, whose path it prints: give that to a node's \"Device\"");
  command->add_option("--link", options->link, "Make a symbolic link to the terminal")->type_name("FILE");
  command->add_option("--stations", options->stations, "The stations that have a sensor, such as 1,3")
      ->delimiter(',')
      ->check(CLI::Range(1, 4))
      ->capture_default_str();
  command->add_option("--baud", options->speed, "The speed that the tracker has when it is switched on")
      ->check(CLI::IsMember({300, 1200, 2400, 4800, 9600, 19200, 38400, 57600, 115200}))
      ->capture_default_str();
  addOptions(*command, *options);
  command->add_flag("--silent", options->silent, "Answer nothing")->group("Faults");
  command->callback([options, &program] { program = [options] { FastrakSimulator(*options).run(); }; });
}

} // namespace Simulate
