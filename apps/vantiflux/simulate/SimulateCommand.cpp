#include "SimulateCommand.h"

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

namespace Simulate {

void addCommand(CLI::App& app, Program& program) {
  CLI::App* const simulate = app.add_subcommand("simulate", "Play a device, for trying out a tree without hardware");
  simulate->require_subcommand(1);
  for (const auto add : {addFastrak, addART, addVicon, addCamera, addTUIO, addGesture})
    add(*simulate, program);
}

} // namespace Simulate
