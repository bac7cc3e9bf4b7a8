#include "RunCommand.h"

#include <csignal>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <optional>

#include <unistd.h>

#include <vantiflux/core/Exception.h>
#include <vantiflux/core/Root.h>
#include <vantiflux/platform/pelorn/URL.h>
#include <vantiflux/state/StateKeeperXML.h>

#include "StandardOutput.h"
#include "ValueText.h"
#include "Watcher.h"

namespace Host {

namespace {

using Vantiflux::Root;
using Vantiflux::StateKeeperXML;

// The signals that end the program. They are blocked in every thread and taken by the one that waits here, so that none
// interrupts a node's work. A broken pipe is a failed write and no reason to end.
class StopSignals {
public:
  StopSignals() {
    sigemptyset(&set_);
    sigaddset(&set_, SIGINT);
    sigaddset(&set_, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &set_, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
  }

  void wait() const {
    int signal = 0;
    while (sigwait(&set_, &signal) != 0) {
    }
  }

  // Taken like one that came from outside.
  static void raise() { ::kill(::getpid(), SIGTERM); }

private:
  sigset_t set_{};
};

// Nodes of plug-ins must be gone before the process unloads the plug-ins.
struct ClearAtEnd {
  ClearAtEnd() = default;
  ~ClearAtEnd() {
    const Root::WriteLock lock;
    Root::the().clear();
  }
  ClearAtEnd(const ClearAtEnd&) = delete;
  ClearAtEnd& operator=(const ClearAtEnd&) = delete;
};

void load(const std::string& file) {
  const Root::WriteLock lock;
  try {
    StateKeeperXML::load(Root::the(), Pelorn::URL::parse(file));
  } catch (const std::exception& error) {
    throw Vantiflux::Exception(file + ": " + error.what());
  }
  Root::the().setDirty(false);
}

// Written beside its place first, so that a failure leaves an earlier file whole.
void save(const std::string& file) {
  const std::string part = file + ".part";
  std::ofstream stream(part, std::ios::binary | std::ios::trunc);
  if (!stream)
    throw Vantiflux::Exception("Cannot write \"" + part + "\"");
  {
    const Root::ReadLock lock;
    StateKeeperXML::save(Root::the(), stream);
  }
  stream.close();
  if (!stream)
    throw Vantiflux::Exception("Cannot write \"" + part + "\"");
  std::filesystem::rename(part, file);
}

} // namespace

void runTree(const RunOptions& options) {
  const StopSignals signals;
  StandardOutput output;
  const ClearAtEnd clear;
  if (!options.file.empty())
    load(options.file);

  std::optional<Watcher> watcher;
  if (!options.watched.empty()) {
    watcher.emplace(Root::the(), options.watched, [&output](const std::string& line) {
      const bool written = output.write(line);
      if (!written)
        StopSignals::raise(); // nobody is left to watch
      return written;
    });
    for (const std::string& pattern : watcher->unmatched())
      std::fprintf(stderr, "vantiflux: nothing is called \"%s\" yet, waiting for it\n", printable(pattern).c_str());
  }

  signals.wait();
  output.end();
  watcher.reset();
  if (!options.saveOnExit.empty())
    save(options.saveOnExit);
}

} // namespace Host
