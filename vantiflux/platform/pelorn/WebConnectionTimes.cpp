// How long a connection may be in each of its states, and what ends it from outside.
#include <vantiflux/platform/pelorn/WebConnection.h>

#include <algorithm>

#include <sys/socket.h>

namespace Pelorn {

bool WebConnection::enter(State state) {
  const WebLimits& limits = core_->getLimits();
  const auto now = WebCore::Clock::now();
  const std::lock_guard guard(lock_);
  if (state_ == State::Ended || timedOut_ || cut_)
    return false;
  state_ = state;
  since_ = now;
  switch (state) {
  case State::Idle:
    deadline_ = now + limits.idle;
    break;
  case State::Head:
    deadline_ = now + limits.headTime;
    break;
  case State::Body:
    deadline_ = now + limits.bodyTime;
    break;
  case State::Writing:
    deadline_ = now + limits.stall;
    break;
  case State::Lingering:
    deadline_ = now + limits.linger;
    break;
  case State::Answering:
  case State::Ended:
  case State::Detached:
    deadline_ = WebCore::Clock::time_point::max();
    break;
  }
  return true;
}

// Needs the lock.
void WebConnection::cut() {
  cut_ = true;
  ::shutdown(descriptor_, SHUT_RDWR);
}

// Needs the lock.
bool WebConnection::isWaiting() const {
  return state_ != State::Answering && state_ != State::Ended && state_ != State::Detached;
}

void WebConnection::endIfIdle() {
  const std::lock_guard guard(lock_);
  if (state_ == State::Idle || state_ == State::Head || state_ == State::Body)
    cut();
}

void WebConnection::expire(WebCore::Clock::time_point now) {
  const std::lock_guard guard(lock_);
  if (now < deadline_)
    return;
  deadline_ = WebCore::Clock::time_point::max();
  timedOut_ = state_ == State::Head || state_ == State::Body;
  cut_ = !timedOut_;
  ::shutdown(descriptor_, timedOut_ ? SHUT_RD : SHUT_RDWR);
}

std::optional<WebConnection::Waiting> WebConnection::waitsForClient() const {
  const std::lock_guard guard(lock_);
  if (!isWaiting())
    return std::nullopt;
  return Waiting{since_, state_ == State::Idle};
}

void WebConnection::endUnlessAnswering() {
  const std::lock_guard guard(lock_);
  if (isWaiting())
    cut();
}

// Something has come or gone: time for more, but not for less than the least rate that is borne with. False when the
// connection has been ended from outside.
bool WebConnection::goOn(std::chrono::milliseconds pause, std::size_t bytes) {
  const std::chrono::milliseconds earned(bytes * 1000 / core_->getLimits().rate);
  const auto now = WebCore::Clock::now();
  const std::lock_guard guard(lock_);
  if (timedOut_ || cut_)
    return false;
  deadline_ = std::min(now, since_ + earned) + pause;
  return true;
}

} // namespace Pelorn
