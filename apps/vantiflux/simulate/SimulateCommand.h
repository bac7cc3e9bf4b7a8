#pragma once

#include <functional>

namespace CLI {
class App;
}

namespace Simulate {

/// What the chosen command does.
using Program = std::function<void()>;

/// Adds the command "simulate" with a subcommand a device. Parsing sets the program if one of them was chosen.
void addCommand(CLI::App& app, Program& program);

// One function a device, in a file of its own: each adds its subcommand. To add a device, write such a function, and
// name it here and in the list of `addCommand`.
void addFastrak(CLI::App& simulate, Program& program);
void addART(CLI::App& simulate, Program& program);
void addVicon(CLI::App& simulate, Program& program);
void addCamera(CLI::App& simulate, Program& program);
void addTUIO(CLI::App& simulate, Program& program);
void addGesture(CLI::App& simulate, Program& program);

} // namespace Simulate
