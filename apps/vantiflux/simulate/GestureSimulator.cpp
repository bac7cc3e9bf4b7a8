#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <vantiflux/core/Root.h>
#include <vantiflux/values/SlotTypes.h>

#include "../Messages.h"
#include "../TreeFile.h"
#include "GestureMotion.h"
#include "Motion.h"
#include "Options.h"
#include "Session.h"
#include "SimulateCommand.h"

namespace Simulate {

namespace {

using Vantiflux::OutSlot;
using Vantiflux::Root;

struct GestureOptions : Options {
  GestureOptions() { rate = samplesInASecond; }
  static constexpr double samplesInASecond = 100;

  std::string file;
  std::vector<std::string> gestures;
  bool record = false;
};

/// The controller: slots at the top of the tree, from which routes lead to who uses them.
class Controller {
public:
  Controller() {
    const Root::WriteLock lock;
    Root::the().addOutSlot("Controller/acc", &acc);
    for (auto& [label, slot] : buttons_)
      Root::the().addOutSlot("Controller/" + label, &slot);
  }
  ~Controller() {
    const Root::WriteLock lock;
    Root::the().removeOutSlot("Controller/acc", &acc);
    for (auto& [label, slot] : buttons_)
      Root::the().removeOutSlot("Controller/" + label, &slot);
  }
  Controller(const Controller&) = delete;
  Controller& operator=(const Controller&) = delete;

  void press(const std::string& label, bool down) {
    for (auto& button : buttons_)
      if (button.label == label)
        button.slot.push(down);
  }
  void click(const std::string& label) {
    press(label, true);
    press(label, false);
  }
  void releaseAll() {
    for (auto& button : buttons_)
      button.slot.push(false);
  }

  OutSlot<Vantiflux::Vec3<float>> acc{"Acceleration"};

private:
  struct Button {
    std::string label;
    OutSlot<bool> slot;
  };
  std::array<Button, 5> buttons_{{{"butA", OutSlot<bool>("A")},
                                  {"butB", OutSlot<bool>("B")},
                                  {"butOne", OutSlot<bool>("1")},
                                  {"butTwo", OutSlot<bool>("2")},
                                  {"butHome", OutSlot<bool>("Home")}}};
};

class GestureSimulator {
public:
  explicit GestureSimulator(const GestureOptions& options) : options_(options), chance_(options.seed) {}

  void run() {
    std::vector<GestureMotion> motions;
    for (const std::string& name : options_.gestures.empty() ? GestureMotion::names() : options_.gestures)
      motions.emplace_back(name);
    Session session(options_.seconds, [] {});
    session_ = &session;
    const Host::ClearAtEnd clear;
    Host::loadTree(options_.file);
    Controller controller;
    controller_ = &controller;
    next_ = Clock::now();
    announce("Controller");
    if (!controller.acc.isConnected())
      Host::tell(options_.file + " has no route from \"Controller/acc\" to a node");
    if (!options_.record)
      controller.click("butTwo");
    bool goesOn = rest(0.5);
    for (std::size_t i = 0; goesOn; i = (i + 1) % motions.size())
      goesOn = play(motions[i]) && rest(0.8);
  }

private:
  bool play(const GestureMotion& motion) {
    if (options_.record)
      controller_->press("butA", true);
    const bool whole = measure(motion.seconds() + 0.1, [&motion](double seconds) { return motion.at(seconds); });
    if (options_.record && whole) {
      controller_->press("butA", false);
      controller_->click("butTwo"); // what was recorded is forgotten
      controller_->click("butOne");
    }
    return whole;
  }
  bool rest(double seconds) {
    return measure(seconds, [](double) { return GestureMotion::rest; });
  }

  /// One sample a frame, until the time of the hand is over. False when the time of the simulation is.
  template <class Motion>
  bool measure(double seconds, Motion motion) {
    const auto samples = static_cast<unsigned>(std::lround(seconds * GestureOptions::samplesInASecond));
    for (unsigned i = 0; i < samples; ++i) {
      if (options_.ends(frames_) || !session_->sleepUntil(next_))
        return false;
      next_ = std::max(next_, Clock::now() - std::chrono::seconds(1));
      next_ += std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(1 / options_.rate));
      send(motion(i / GestureOptions::samplesInASecond));
      ++frames_;
      if (frames_ == options_.breakAfter && !session_->sleep(options_.pause))
        return false;
      if (frames_ == options_.restartAfter) {
        controller_->releaseAll();
        if (!session_->sleep(options_.pause))
          return false;
      }
    }
    return true;
  }

  void send(GestureMotion::Acceleration measured) {
    for (double& component : measured)
      component += chance_.normal(options_.noise);
    if (chance_.happens(options_.malform)) {
      constexpr std::array wrong{std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity(),
                                 1e30};
      measured[chance_.below(3)] = wrong[chance_.below(3)];
    }
    if (!chance_.happens(options_.lose))
      controller_->acc.push(Vantiflux::Vec3<float>(static_cast<float>(measured[0]), static_cast<float>(measured[1]),
                                                   static_cast<float>(measured[2])));
  }

  const GestureOptions options_;
  Chance chance_;
  Session* session_ = nullptr;
  Controller* controller_ = nullptr;
  Clock::time_point next_;
  std::uint64_t frames_ = 0;
};

} // namespace

void addGesture(CLI::App& simulate, Program& program) {
  const auto options = std::make_shared<GestureOptions>();
  CLI::App* const command = simulate.add_subcommand(
      "gesture", "A hand-held controller, in a tree that has routes from \"Controller/acc\", \"Controller/butA\", ...");
  command->add_option("FILE", options->file, "The tree: a .vfx file or its URL")->required();
  command
      ->add_option("--gesture", options->gestures, "A gesture to make, in turn with the others; all if none is given")
      ->check(CLI::IsMember(GestureMotion::names()))
      ->take_all()
      ->allow_extra_args(false);
  command->add_flag("--record", options->record,
                    "Hold the button A during gestures, so that they become templates, each by itself");
  addOptions(*command, *options);
  rewordOptions(*command, {{"--rate", "Samples in a second; gestures are made for 100"},
                           {"--noise", "Standard deviation of the acceleration, in units of that of the earth"},
                           {"--jitter", ""},
                           {"--count", "End after this number of samples"},
                           {"--lose", "Probability that a sample is lost"},
                           {"--malform", "Probability that a sample is malformed"},
                           {"--split", ""},
                           {"--break-after", "Fall silent once, after this number of samples"},
                           {"--restart-after", "Restart the controller once, after this number of samples"}});
  command->callback([options, &program] { program = [options] { GestureSimulator(*options).run(); }; });
}

} // namespace Simulate
