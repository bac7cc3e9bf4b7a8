#include <vantiflux/devices/Outlet.h>

#include <utility>

namespace Vantiflux {

void Outlet::hold() {
  const std::lock_guard guard(lock_);
  if (state_ != State::Holding)
    enter(State::Holding, nullptr);
}

void Outlet::open(Sink sink) {
  const std::lock_guard guard(lock_);
  std::vector<std::string> kept;
  kept.swap(kept_);
  enter(State::Open, std::move(sink));
  for (const std::string& message : kept)
    pass(message);
}

void Outlet::close() {
  const std::lock_guard guard(lock_);
  enter(State::Closed, nullptr);
}

void Outlet::enter(State state, Sink sink) {
  state_ = state;
  sink_ = std::move(sink);
  kept_.clear();
  keptBytes_ = 0;
  refusing_ = false;
}

void Outlet::send(const std::string& message) {
  const std::lock_guard guard(lock_);
  if (state_ == State::Open) {
    pass(message);
  } else if (state_ == State::Holding) {
    const bool fits = message.size() <= holdLimit - keptBytes_ && kept_.size() < holdLimit / 64;
    if (fits) {
      kept_.push_back(message);
      keptBytes_ += message.size();
    }
    note(fits);
  }
}

void Outlet::pass(const std::string& message) {
  note(sink_(message));
}

void Outlet::note(bool accepted) {
  if (!accepted && !refusing_)
    node_.addLog("\"Data in\": cannot send, messages are dropped");
  refusing_ = !accepted;
}

} // namespace Vantiflux
