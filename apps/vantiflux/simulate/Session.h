#pragma once

#include <chrono>
#include <csignal>
#include <functional>
#include <thread>

#include <vantiflux/platform/pelorn/Wait.h>

namespace Simulate {

using Clock = std::chrono::steady_clock;

/// The time during which a simulation goes on: until SIGINT or SIGTERM, or for so many seconds.
class Session {
public:
  /// 0 seconds: no limit. `interrupt` ends the simulation's waits; it is called once, from another thread. To be made
  /// before the process has threads.
  Session(double seconds, std::function<void()> interrupt);
  /// Calls `interrupt` if that has not been done.
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  bool over() { return !wait_.wait(0); }
  /// False when the time is over.
  bool sleepUntil(Clock::time_point time);
  bool sleep(double seconds);

private:
  void watch(double seconds);

  sigset_t signals_{};
  std::function<void()> interrupt_;
  Pelorn::Wait wait_;
  std::thread watcher_;
};

} // namespace Simulate
