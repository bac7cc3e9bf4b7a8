#pragma once

#include <chrono>
#include <condition_variable>
#include <csignal>
#include <mutex>
#include <string>
#include <thread>

namespace Host {

/// SIGINT and SIGTERM, which end the program. They are blocked in every thread that begins later and taken by a thread
/// of this object, so that none interrupts a node's work.
///
/// Until `armed`, and from the second signal on, a signal ends the process at once, with the status that shells use for
/// it: whoever asks twice does not want to wait, and a tree that is being loaded may wait for a server that is silent.
class StopSignals {
public:
  /// To be made before the process has threads. A broken pipe is a failed write from then on and no reason to end.
  StopSignals();
  /// Signals have their usual effect on the calling thread again.
  ~StopSignals();
  StopSignals(const StopSignals&) = delete;
  StopSignals& operator=(const StopSignals&) = delete;

  /// From now on the first signal ends `wait`.
  void arm();
  /// Blocks until there is a signal or `stop` is called, at most that long; whether it was one of them.
  bool wait(std::chrono::milliseconds longest);
  /// Taken like the first signal. From any thread.
  void stop();

private:
  enum class Phase { Loading, Running, Ending, Over };

  void take();

  sigset_t set_{};
  std::mutex mutex_; ///< guards the next
  std::condition_variable changed_;
  Phase phase_ = Phase::Loading;
  std::thread taker_;
};

} // namespace Host
