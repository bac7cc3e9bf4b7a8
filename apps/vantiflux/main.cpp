#include <cstdio>
#include <exception>
#include <iostream>
#include <string>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include "RunCommand.h"
#include "TypesCommand.h"
#include "ValueText.h"
#include "simulate/SimulateCommand.h"

namespace {

// Every error is one line.
void complain(const std::exception& error) {
  const std::string message = Host::printable(error.what());
  std::fprintf(stderr, "vantiflux: %s\n", message.empty() ? "failed" : message.c_str());
}

int run(int argc, char** argv) {
  CLI::App app("Reads, filters and passes on the data of input devices.", "vantiflux");
  app.require_subcommand(1);
  app.failure_message([](const CLI::App*, const CLI::Error& error) {
    return "vantiflux: " + Host::printable(error.what()) + " (see --help)\n";
  });

  Host::RunOptions options;
  CLI::App* const runCommand = app.add_subcommand("run", "Load a tree of nodes and run it until interrupted");
  runCommand->add_option("FILE", options.file, "The tree: a .vfx file or its URL");
  runCommand
      ->add_option("--watch", options.watched,
                   "Print the values of slots whose label matches this pattern, such as \"Clock/*\"")
      ->type_name("LABEL")
      ->take_all()
      ->allow_extra_args(false);
  runCommand->add_option("--save-on-exit", options.saveOnExit, "Save the tree to this file at the end")
      ->type_name("FILE");

  std::string type;
  CLI::App* const typesCommand = app.add_subcommand("types", "List the node types, or describe one with its fields");
  typesCommand->add_option("NAME", type, "The type to describe");

  Simulate::Program program;
  Simulate::addCommand(app, program);

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error);
  }

  if (program)
    program();
  else if (runCommand->parsed())
    Host::runTree(options);
  else if (type.empty())
    Host::listTypes(std::cout);
  else
    Host::describeType(std::cout, type);
  return std::cout.flush() ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
  try {
    return run(argc, argv);
  } catch (const std::exception& error) {
    complain(error);
    return 1;
  }
}
