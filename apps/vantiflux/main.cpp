#include <exception>
#include <functional>
#include <memory>
#include <sstream>
#include <string>

#include <fcntl.h>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include "CodecsCommand.h"
#include "Messages.h"
#include "RunCommand.h"
#include "SnapshotCommand.h"
#include "TypesCommand.h"
#include "simulate/SimulateCommand.h"

namespace {

// A standard descriptor that is closed would be given to the next file or socket, which then got what is printed. In
// its place comes one that refuses to be used in its direction.
void occupyStandardDescriptors() {
  for (int fd = 0; fd <= 2; ++fd)
    if (::fcntl(fd, F_GETFD) < 0)
      ::open("/dev/null", fd == 0 ? O_WRONLY : O_RDONLY);
}

// CLI11 reports help and errors alike. What is printed is the result of the help; an error is one line.
int finish(const CLI::App& app, const CLI::ParseError& error) {
  std::ostringstream result, complaint;
  const int status = app.exit(error, result, complaint);
  if (!complaint.view().empty())
    Host::tell(std::string(error.what()) + " (see --help)");
  return Host::print(result.view()) ? status : 1;
}

/// What the chosen command does; returns the status of the process.
using Program = std::function<int()>;

void addRun(CLI::App& app, Program& program) {
  const auto options = std::make_shared<Host::RunOptions>();
  CLI::App* const command = app.add_subcommand("run", "Load a tree of nodes and run it until interrupted");
  command->add_option("FILE", options->file, "The tree: a .vfx file or its URL");
  command
      ->add_option("--watch", options->watched,
                   "Print the values that arrive under labels of the tree's top that match this pattern, such as "
                   "\"Clock/*\"")
      ->type_name("LABEL")
      ->take_all()
      ->allow_extra_args(false);
  command
      ->add_option("--web", options->web,
                   "Open a web interface to the tree, for browsers on this host unless another address is given; with "
                   "the port 0 on one that is free. A tree that has a Web node keeps that")
      ->type_name("[ADDRESS:]PORT");
  command->add_option("--save-on-exit", options->saveOnExit, "Save the tree to this file at the end")
      ->type_name("FILE");
  command->callback([options, &program] {
    program = [options] {
      Host::runTree(*options);
      return 0;
    };
  });
}

void addTypes(CLI::App& app, Program& program) {
  const auto type = std::make_shared<std::string>();
  CLI::App* const command = app.add_subcommand("types", "Describe the node types with their fields");
  command->add_option("NAME", *type, "The one type to describe, which may stand in a plug-in");
  command->callback([type, &program] {
    program = [type] { return Host::print(type->empty() ? Host::describeTypes() : Host::describeType(*type)) ? 0 : 1; };
  });
}

void addCodecs(CLI::App& app, Program& program) {
  CLI::App* const command =
      app.add_subcommand("codecs", "List the binary encodings of values, by name, with the type that they are for");
  command->callback([&program] { program = [] { return Host::print(Host::listCodecs()) ? 0 : 1; }; });
}

void addSnapshot(CLI::App& app, Program& program) {
  const auto options = std::make_shared<Host::SnapshotOptions>();
  CLI::App* const command = app.add_subcommand("snapshot", "Load a tree and save one image of it as a picture");
  command->add_option("TREE", options->tree, "The tree: a .vfx file or its URL")->required();
  command->add_option("LABEL", options->label, "Where the image arrives, such as \"Camera/Frames\"")->required();
  command->add_option("FILE", options->file, "The picture: .png, .jpg or .jpeg")->required();
  command->add_option("--skip", options->skipped, "Images to let pass before")->type_name("COUNT");
  command->add_option("--timeout", options->seconds, "How long to wait for an image")
      ->type_name("SECONDS")
      ->check(CLI::Range(0.001, 1e6))
      ->capture_default_str();
  command->callback([options, &program] {
    program = [options] {
      Host::takeSnapshot(*options);
      return 0;
    };
  });
}

int run(int argc, char** argv) {
  CLI::App app("Reads, filters and passes on the data of input devices.", "vantiflux");
  app.require_subcommand(1);
  Program program;
  addRun(app, program);
  addTypes(app, program);
  addCodecs(app, program);
  addSnapshot(app, program);
  Simulate::Program simulation;
  Simulate::addCommand(app, simulation);

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return finish(app, error);
  }
  if (simulation) {
    simulation();
    return 0;
  }
  return program();
}

} // namespace

int main(int argc, char** argv) {
  try {
    occupyStandardDescriptors();
    return run(argc, argv);
  } catch (const std::exception& error) {
    const std::string message = error.what();
    Host::tell(message.empty() ? "failed" : message);
  } catch (...) {
    Host::tell("failed for a reason that has no text");
  }
  return 1;
}
