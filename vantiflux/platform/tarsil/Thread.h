#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include <vantiflux/Export.h>

namespace Tarsil {

struct ThreadRun;

/// A thread that runs `main` of a derived class, once for each `start`.
///
/// *Threads.* `start`, `join` and `isRunning` from any thread, the thread itself included. A derived class joins in its
/// own destructor, before its members go. The destructor waits for runs that are on their last steps (`endRun`).
///
/// *Failure.* An exception that leaves `main` ends the run and is reported on standard error, never the process.
class VANTIFLUX_API Thread {
public:
  Thread();
  virtual ~Thread();
  Thread(const Thread&) = delete;
  Thread& operator=(const Thread&) = delete;

  /// Begins a run unless one is going on. Returns false when the system refuses a thread.
  bool start();

  /// Waits for the end of the run; whatever ends `main` must have been set in motion before. While it waits the calling
  /// thread lends its mutexes (see Mutex), so that a run that needs one of them on its way out gets it.
  /// Returns true when no run is left, false when the run cannot end before the caller goes on: the caller is that
  /// thread itself, or the run waits for the caller's own end. The run then ends by itself.
  bool join();

  /// True from `start` until `main` has returned.
  bool isRunning() const;

  static void sleep(unsigned long milliseconds);
  static void yield();

protected:
  virtual void main() = 0;

  /// For `main` on its last steps: from here on the run does not count as running, so that `start` makes a new one. The
  /// destructor waits for what `main` does after that, unless it runs in that very thread.
  void endRun();

private:
  struct Run;
  static void enter(Thread* thread, const std::shared_ptr<Run>& run);

  void end(Run& run);

  mutable std::mutex lock_;                   ///< guards the rest
  std::shared_ptr<Run> run_;                  ///< the latest run, null before the first; shared with its thread
  std::vector<std::shared_ptr<Run>> leaving_; ///< earlier ones that may still be inside `main`, after `endRun`
};

} // namespace Tarsil
