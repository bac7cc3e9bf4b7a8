#include "StopSignals.h"

#include <cstdlib>

#include <unistd.h>

#include "OutputEnd.h"

namespace Host {

StopSignals::StopSignals() {
  sigemptyset(&set_);
  sigaddset(&set_, SIGINT);
  sigaddset(&set_, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &set_, nullptr);
  std::signal(SIGPIPE, SIG_IGN);
  taker_ = std::thread([this] { take(); });
}

StopSignals::~StopSignals() {
  {
    const std::lock_guard lock(mutex_);
    phase_ = Phase::Over;
  }
  pthread_kill(taker_.native_handle(), SIGINT);
  taker_.join();
  pthread_sigmask(SIG_UNBLOCK, &set_, nullptr);
}

void StopSignals::arm() {
  const std::lock_guard lock(mutex_);
  if (phase_ == Phase::Loading)
    phase_ = Phase::Running;
}

bool StopSignals::wait(std::chrono::milliseconds longest) {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, longest, [this] { return phase_ == Phase::Ending; });
}

void StopSignals::stop() {
  const std::lock_guard lock(mutex_);
  phase_ = Phase::Ending;
  changed_.notify_all();
}

void StopSignals::take() {
  for (;;) {
    int signal = 0;
    if (sigwait(&set_, &signal) != 0)
      continue;
    const std::lock_guard lock(mutex_);
    if (phase_ == Phase::Over)
      return;
    if (phase_ != Phase::Running) {
      writeOrGiveUp(STDERR_FILENO, phase_ == Phase::Loading ? "vantiflux: interrupted before the tree was loaded\n"
                                                            : "vantiflux: interrupted before the end\n");
      std::_Exit(128 + signal);
    }
    phase_ = Phase::Ending;
    changed_.notify_all();
  }
}

} // namespace Host
