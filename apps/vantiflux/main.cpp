#include <exception>
#include <sstream>
#include <string>

#include <fcntl.h>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include "CodecsCommand.h"
#include "Messages.h"
#include "PeersCommand.h"
#include "RunCommand.h"
#include "TypesCommand.h"

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

int run(int argc, char** argv) {
  CLI::App app("Reads, filters and passes on the data of input devices.", "vantiflux");
  app.require_subcommand(1);

  Host::RunOptions options;
  CLI::App* const runCommand = app.add_subcommand("run", "Load a tree of nodes and run it until interrupted");
  runCommand->add_option("FILE", options.file, "The tree: a .vfx file or its URL");
  runCommand
      ->add_option("--watch", options.watched,
                   "Print the values that arrive under labels of the tree's top that match this pattern, such as "
                   "\"Clock/*\"")
      ->type_name("LABEL")
      ->take_all()
      ->allow_extra_args(false);
  runCommand->add_option("--save-on-exit", options.saveOnExit, "Save the tree to this file at the end")
      ->type_name("FILE");

  std::string type;
  CLI::App* const typesCommand = app.add_subcommand("types", "Describe the node types with their fields");
  typesCommand->add_option("NAME", type, "The one type to describe, which may stand in a plug-in");

  const CLI::App* const codecsCommand =
      app.add_subcommand("codecs", "List the binary encodings of values, by name, with the type that they are for");

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
    return finish(app, error);
  }

  if (runCommand->parsed()) {
    Host::runTree(options);
    return 0;
  }
  if (codecsCommand->parsed())
    return Host::print(Host::listCodecs()) ? 0 : 1;
  if (peersCommand->parsed()) {
    const Host::Peers found = Host::findPeers(peers);
    return Host::print(found.text) && found.any ? 0 : 1;
  }
  return Host::print(type.empty() ? Host::describeTypes() : Host::describeType(type)) ? 0 : 1;
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
