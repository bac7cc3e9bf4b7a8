#include "RunCommand.h"

#include <cerrno>
#include <cstdint>
#include <optional>

#include <unistd.h>

#include <vantiflux/core/Root.h>

#include "Messages.h"
#include "Output.h"
#include "Printable.h"
#include "SaveFile.h"
#include "StopSignals.h"
#include "TreeFile.h"
#include "ValueText.h"
#include "Watcher.h"
#include "WebInterface.h"

namespace Host {

namespace {

using Vantiflux::Root;

void tellDropped(std::uint64_t lines) {
  if (lines != 0)
    tell(std::to_string(lines) + " values were not printed: nobody reads them fast enough");
}

/// The watched values on standard output.
class Watching {
public:
  Watching(const std::vector<std::string>& patterns, StopSignals& signals)
      : output_(STDOUT_FILENO, {[&signals] { signals.stop(); }, tellDropped}) {
    watcher_.emplace(Root::the(), patterns, [this](auto timeStamp, const std::string& label, const std::string& text) {
      output_.write(timeText(timeStamp) + '\t' + printable(label) + '\t' + text + '\n');
    });
    for (const std::string& pattern : watcher_->unmatched())
      tell("nothing arrives under \"" + pattern + "\" yet, waiting for it");
  }

  void end() {
    watcher_.reset();
    tellDropped(output_.end());
  }

  // A reader that has gone is no failure.
  void check() const {
    if (output_.failure() != 0 && output_.failure() != EPIPE)
      throwUnwritable(output_.failure());
  }

private:
  Output output_;
  std::optional<Watcher> watcher_;
};

} // namespace

void runTree(const RunOptions& options) {
  StopSignals signals;
  const auto web = options.web ? std::optional(parseWebAddress(*options.web)) : std::nullopt;
  const ClearAtEnd clear;
  if (options.file)
    loadTree(*options.file);
  signals.arm();
  if (web)
    openWebInterface(*web);
  std::optional<Watching> watching;
  if (!options.watched.empty())
    watching.emplace(options.watched, signals);

  signals.wait();
  if (watching)
    watching->end();
  if (options.saveOnExit)
    saveTree(*options.saveOnExit);
  if (watching)
    watching->check();
}

} // namespace Host
