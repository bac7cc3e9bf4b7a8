// The loop of a connector: accepting, announcing and hearing, and writing what waits.
#include <vantiflux/platform/pelorn/MultiConnector.h>

#include <algorithm>
#include <exception>
#include <thread>
#include <utility>

#include <vantiflux/platform/pelorn/MultiConnectorSetUp.h>

namespace Pelorn {

namespace {

constexpr std::chrono::seconds stalledAfter{10};
constexpr std::chrono::milliseconds stalledCheck{500};
constexpr std::chrono::milliseconds acceptPause{100};
constexpr std::chrono::microseconds gatherTime{50};
constexpr int clientsInARow = 64;

} // namespace

// A shortage of memory passes, or concerns one peer; the others are served on.
int MultiConnector::loop() {
  while (!ending_)
    try {
      turn();
    } catch (const std::exception&) {
      acceptAgain_ = Clock::now() + acceptPause;
    }
  return 0;
}

void MultiConnector::turn() {
  Clock::time_point now = Clock::now();
  if (acceptAgain_.has_value() && now >= *acceptAgain_)
    acceptAgain_.reset();
  watchServer(reapSetUps(false) && !acceptAgain_.has_value());
  for (const Epoll::Ready& ready : loopWait_.wait(pause(now)))
    serve(ready, Clock::now());
  flushAll();
  now = Clock::now();
  if (discovery_.has_value() && now >= nextTick_) {
    nextTick_ = now + acceptPause; // also if this turn fails
    nextTick_ = discovery_->tick(now);
  }
  closeStalled(now);
}

// How long there is nothing to do by itself, in milliseconds.
int MultiConnector::pause(Clock::time_point now) const {
  {
    const std::lock_guard lock(linksLock_);
    if (!toFlush_.empty())
      return 0;
  }
  Clock::time_point next = Clock::time_point::max();
  if (discovery_.has_value())
    next = nextTick_;
  if (!blocked_.empty())
    next = std::min(next, now + stalledCheck);
  if (acceptAgain_.has_value())
    next = std::min(next, *acceptAgain_);
  if (next == Clock::time_point::max())
    return -1;
  return static_cast<int>(
      std::clamp<long>(std::chrono::ceil<std::chrono::milliseconds>(next - now).count(), 0, 60'000));
}

void MultiConnector::serve(const Epoll::Ready& ready, Clock::time_point now) {
  if (ready.number == Epoll::woken)
    return;
  if (ready.number == serverNumber)
    acceptAll(now);
  else if (ready.number == discoveryNumber)
    discovery_->hear(now);
  else if (const auto found = blocked_.find(ready.number); found != blocked_.end())
    flush(Communicator::Pointer(found->second));
}

void MultiConnector::watchServer(bool watch) {
  if (std::exchange(watchesServer_, watch) == watch)
    return;
  if (watch)
    loopWait_.addReader(server_.descriptor(), serverNumber);
  else
    loopWait_.remove(server_.descriptor());
}

// A client that waits and cannot be taken means that the system is short of something. It is asked again later.
void MultiConnector::acceptAll(Clock::time_point now) {
  for (int count = 0; count < clientsInARow && !ending_ && reapSetUps(false); ++count) {
    auto socket = server_.acceptLink();
    if (socket == nullptr) {
      if (count == 0)
        acceptAgain_ = now + acceptPause;
      return;
    }
    if (const auto communicator = makeLink(std::move(socket), Link{}))
      createCommThread(communicator.get(), false);
  }
}

// Joins the threads that are through. Whether there may be another one: those that connect and those that were accepted
// do not take each other's places.
bool MultiConnector::reapSetUps(bool connects) {
  std::vector<std::unique_ptr<SetUp>> over;
  const std::lock_guard lock(linksLock_);
  const auto first = std::partition(setUps_.begin(), setUps_.end(), [](const auto& setUp) { return !setUp->isOver(); });
  std::move(first, setUps_.end(), std::back_inserter(over));
  setUps_.erase(first, setUps_.end());
  const auto under = std::count_if(setUps_.begin(), setUps_.end(),
                                   [connects](const auto& setUp) { return setUp->connects == connects; });
  return static_cast<std::size_t>(under) < maxSetUps_;
}

void MultiConnector::flush(const Communicator::Pointer& communicator) {
  const Communicator::Flushed result = communicator->flush();
  if (result == Communicator::Flushed::Blocked) {
    blocked_.insert_or_assign(communicator->number(), communicator);
    return;
  }
  blocked_.erase(communicator->number());
  if (result != Communicator::Flushed::More)
    return;
  const std::lock_guard lock(linksLock_);
  toFlush_.push_back(communicator);
}

// Values that have been coming without a pause are waited for a little: one wake-up and one write for many of them.
void MultiConnector::flushAll() {
  bool gathering = false;
  {
    const Clock::time_point time = Clock::now();
    const std::lock_guard lock(linksLock_);
    gathering = std::any_of(toFlush_.begin(), toFlush_.end(), [&](const auto& one) { return one->isGathering(time); });
  }
  if (gathering)
    std::this_thread::sleep_for(gatherTime);
  std::vector<Communicator::Pointer> now;
  {
    const std::lock_guard lock(linksLock_);
    now.swap(toFlush_);
  }
  for (const auto& communicator : now)
    try {
      flush(communicator);
    } catch (const std::exception&) { // no memory: this one cannot be kept, and the others must not wait for it
      communicator->close();
    }
}

void MultiConnector::closeStalled(Clock::time_point now) {
  for (auto at = blocked_.begin(); at != blocked_.end();) {
    Communicator& communicator = *at->second;
    if (communicator.isStalledSince(now - stalledAfter))
      communicator.close();
    if (communicator.socket().descriptor() < 0 || !communicator.isOpen())
      at = blocked_.erase(at);
    else
      ++at;
  }
}

} // namespace Pelorn
