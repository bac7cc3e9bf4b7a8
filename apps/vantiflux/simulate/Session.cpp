#include "Session.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <ctime>
#include <utility>

#include <pthread.h>

#include <vantiflux/core/Exception.h>

namespace Simulate {

Session::Session(double seconds, std::function<void()> interrupt) : interrupt_(std::move(interrupt)) {
  if (!wait_.create())
    throw Vantiflux::Exception("the system has no descriptor left");
  sigemptyset(&signals_);
  sigaddset(&signals_, SIGINT);
  sigaddset(&signals_, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &signals_, nullptr);
  std::signal(SIGPIPE, SIG_IGN);
  watcher_ = std::thread([this, seconds] { watch(seconds); });
}

Session::~Session() {
  pthread_kill(watcher_.native_handle(), SIGINT); // as if it came from outside; the watcher takes it
  watcher_.join();
}

// The signals are blocked in all threads and taken by this one.
void Session::watch(double seconds) {
  const double limit = seconds > 0 ? std::min(seconds, 1e9) : 1e9;
  timespec time{};
  time.tv_sec = static_cast<std::time_t>(limit);
  time.tv_nsec = static_cast<long>((limit - std::floor(limit)) * 1e9);
  while (sigtimedwait(&signals_, nullptr, &time) < 0 && errno == EINTR) {
  }
  wait_.signal();
  interrupt_();
}

bool Session::sleepUntil(Clock::time_point time) {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(time - Clock::now()).count();
  return wait_.wait(static_cast<int>(std::clamp<long long>(left, 0, 1'000'000'000)));
}

bool Session::sleep(double seconds) {
  return sleepUntil(Clock::now() + std::chrono::microseconds(static_cast<long long>(std::min(seconds, 1e6) * 1e6)));
}

} // namespace Simulate
