#include <cstdio>
#include <exception>
#include <iostream>
#include <string>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include "PeersCommand.h"
#include "RunCommand.h"
#include "TypesCommand.h"
#include "ValueText.h"

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

  Host::PeersOptions peers;
  CLI::App* const peersCommand =
      app.add_subcommand("peers", "List the network nodes that are heard, or say why there may be none");
  peersCommand->add_option("SERVER", peers.server, "A host:port whose handshake to try as well");
  peersCommand->add_option("--group", peers.group, "The multicast group")->type_name("ADDRESS")->capture_default_str();
  peersCommand->add_option("--port", peers.port, "The group's port")->type_name("PORT")->capture_default_str();
  peersCommand->add_option("--ttl", peers.ttl, "How many segments questions may cover")
      ->type_name("N")
      ->capture_default_str();
  peersCommand->add_option("--address", peers.address, "The address of the interface to use instead of all")
      ->type_name("ADDRESS");
  peersCommand->add_option("--seconds", peers.seconds, "How long to listen")
      ->type_name("S")
      ->check(CLI::Range(1, 3600))
      ->capture_default_str();

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error);
  }

  bool success = true;
  if (runCommand->parsed())
    Host::runTree(options);
  else if (peersCommand->parsed())
    success = Host::listPeers(std::cout, peers);
  else if (type.empty())
    Host::listTypes(std::cout);
  else
    Host::describeType(std::cout, type);
  return std::cout.flush() && success ? 0 : 1;
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
