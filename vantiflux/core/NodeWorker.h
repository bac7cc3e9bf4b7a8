#pragma once

#include <functional>

#include <vantiflux/Export.h>
#include <vantiflux/core/Node.h>
#include <vantiflux/platform/tarsil/ObjectThread.h>

namespace Vantiflux {

/// The worker thread of a node, with what starting and stopping at any moment, from any thread, takes.
///
/// A worker that is stopped from inside its own run (by a listener that it calls), or by a thread that it waits for,
/// cannot be waited for: its run ends when that call has returned. If it is started again before that, the start takes
/// place when the run has ended. A node that is deleted meanwhile is destroyed then (see Graveyard).
///
/// *Threads.* `start` and `stop` with the lock of structure held; `isRunning` from any thread. The run holds no lock.
///
/// *Failure.* An exception that leaves the run puts the node into the state Error, with its message.
class VANTIFLUX_API NodeWorker {
public:
  /// `run` is the body of the thread; it returns when `stop` has interrupted it, or by itself.
  NodeWorker(Node& node, std::function<void()> run);
  /// Needs that the run has ended: call `stop` in the node's destructor, after `disable`.
  ~NodeWorker();

  /// Ignored while a run goes on. Otherwise calls `prepare`, which opens what the run needs and says whether it
  /// succeeded (having set the node's state if not), and begins a run.
  void start(std::function<bool()> prepare);

  /// Ignored when no run goes on. Otherwise calls `interrupt`, which makes the run return, and waits for that. Returns
  /// whether no run is left: false when it could not be waited for, or when it was started again meanwhile.
  bool stop(const std::function<void()>& interrupt);

  /// Whether a run goes on that was not stopped.
  bool isRunning() const;

private:
  int run();
  void begin(const std::function<bool()>& prepare);
  bool goesOn();
  void report() noexcept;

  Node& node_;
  const std::function<void()> body_;
  // The rest is guarded by the lock of structure.
  std::function<bool()> next_; ///< prepares the run that follows the one that is leaving
  bool active_ = false;        ///< a run goes on
  bool leaving_ = false;       ///< and was told to return
  int joiners_ = 0;            ///< threads in `stop`; the last of them begins the next run
  Tarsil::ObjectThread<NodeWorker> thread_;
};

} // namespace Vantiflux
