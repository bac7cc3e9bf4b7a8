#include <vantiflux/platform/pelorn/Communicator.h>

#include <algorithm>
#include <limits>
#include <utility>

#include <vantiflux/platform/pelorn/Deadline.h>
#include <vantiflux/platform/pelorn/Event.h>

namespace Pelorn {

namespace {

// Up to so many events in a row are written at once each, and one more for each interval that passes: values that
// follow each other faster wait for each other and are written together, which takes a fraction of the time.
constexpr int maxCredit = 32;
constexpr std::chrono::microseconds creditInterval{20};

constexpr std::size_t batchBytes = std::size_t{256} << 10;
constexpr std::size_t maxPieces = 512; // the system takes 1024
constexpr int batchesInARow = 16;

constexpr std::size_t gatherBytes = std::size_t{32} << 10;
constexpr std::chrono::microseconds gatherAfter{500};

} // namespace

Communicator::Communicator(std::unique_ptr<LinkSocket> socket, std::function<void(Communicator&)> handOver)
    : socket_(std::move(socket)), handOver_(std::move(handOver)) {}

Communicator::~Communicator() = default;

bool Communicator::earns(Clock::time_point now) {
  const auto intervals = (now - credited_) / creditInterval;
  if (intervals > 0) {
    credit_ = static_cast<int>(std::min<long>(maxCredit, credit_ + intervals));
    credited_ = now;
  }
  if (credit_ == 0)
    return false;
  --credit_;
  return true;
}

bool Communicator::send(const Frame::Pointer& frame) {
  const Clock::time_point now = Clock::now();
  {
    const std::lock_guard lock(mutex_);
    if (closed_)
      return false;
    if (busy_ || !queue_.empty() || !earns(now)) {
      if (!queue_.push(frame)) {
        closed_ = true;
        queue_.clear();
        socket_->hangUp();
        return false;
      }
      if (std::exchange(busy_, true))
        return true;
    } else {
      busy_ = true;
      pending_.push_back(frame);
    }
    progress_ = now;
  }
  if (pending_.empty()) {
    handOver_(*this);
    return true;
  }
  const bool alive = write(false);
  {
    const std::lock_guard lock(mutex_);
    if (pending_.empty() && queue_.empty())
      busy_ = false;
    if (!busy_)
      return alive;
  }
  handOver_(*this);
  return alive;
}

// Goes on until the socket says that it is full, which makes it tell when it is not any more; or, for a thread that has
// better to do, no longer than one turn.
bool Communicator::write(bool untilFull) {
  while (first_ < pending_.size()) {
    pieces_.clear();
    std::size_t skip = done_;
    for (std::size_t i = first_; i < pending_.size() && pieces_.size() < maxPieces; ++i)
      pending_[i]->bytes.forEachChunk([&](const Chunk& chunk) {
        if (skip >= chunk.size) {
          skip -= chunk.size;
          return;
        }
        if (pieces_.size() < maxPieces) // what comes behind waits for the next turn
          pieces_.push_back({const_cast<char*>(static_cast<const char*>(chunk.data)) + skip, chunk.size - skip});
        skip = 0;
      });
    const ssize_t sent = socket_->send(pieces_);
    if (sent < 0) {
      socket_->hangUp(); // who receives sees the end
      pending_.clear();
      first_ = done_ = 0;
      return false;
    }
    if (sent == 0)
      return true;
    done_ += static_cast<std::size_t>(sent);
    written_ += static_cast<std::size_t>(sent);
    while (first_ < pending_.size() && done_ >= pending_[first_]->bytes.size()) {
      done_ -= pending_[first_]->bytes.size();
      pending_[first_++] = nullptr;
    }
    if (!untilFull && first_ < pending_.size())
      return true;
  }
  pending_.clear();
  first_ = 0;
  return true;
}

// Whether there is something to write; if not, the connection is idle from now on.
bool Communicator::refill() {
  const std::lock_guard lock(mutex_);
  queue_.take(pending_, batchBytes);
  busy_ = !pending_.empty();
  progress_ = flushed_ = Clock::now();
  return busy_;
}

Communicator::Flushed Communicator::flush() {
  for (int i = 0; i < batchesInARow; ++i) {
    if (pending_.empty() && !refill())
      return Flushed::All;
    const std::uint64_t before = written_;
    if (!write(true)) {
      const std::lock_guard lock(mutex_);
      closed_ = true;
      queue_.clear();
      return Flushed::Failed;
    }
    if (!pending_.empty()) {
      if (written_ != before) {
        const std::lock_guard lock(mutex_);
        progress_ = Clock::now();
      }
      return Flushed::Blocked;
    }
  }
  return Flushed::More;
}

bool Communicator::isGathering(Clock::time_point now) const {
  const std::lock_guard lock(mutex_);
  return queue_.bytes() < gatherBytes && now - flushed_ < gatherAfter;
}

bool Communicator::isStalledSince(Clock::time_point moment) const {
  const std::lock_guard lock(mutex_);
  return busy_ && progress_ < moment;
}

WaitResult Communicator::waitForEvent(int milliseconds) {
  const Deadline deadline(milliseconds);
  for (bool some = false; !reader_.hasEvent(); some = true) {
    const WaitResult result = socket_->waitForData(deadline.remaining());
    int count = 0;
    if (result == WaitResult::Timeout)
      return some ? WaitResult::Error : WaitResult::Timeout;
    if (result != WaitResult::Data || !dataAvail(count))
      return WaitResult::Error;
  }
  return WaitResult::Data;
}

bool Communicator::dataAvail(int& count) {
  count = 0;
  bool ended = false;
  if (const auto room = reader_.room(); !room.empty()) {
    const ssize_t got = socket_->receive(room);
    if (got > 0)
      reader_.filled(static_cast<std::size_t>(got));
    ended = got < 0;
  }
  if (reader_.hasEvent())
    count = static_cast<int>(std::clamp<std::size_t>(reader_.buffered(), 1, std::numeric_limits<int>::max()));
  return count != 0 || (!ended && !reader_.failed());
}

std::unique_ptr<Event> Communicator::receiveEvent() {
  return reader_.next();
}

bool Communicator::isOpen() const {
  const std::lock_guard lock(mutex_);
  return !closed_;
}

void Communicator::close() {
  {
    const std::lock_guard lock(mutex_);
    closed_ = true;
    queue_.clear();
  }
  socket_->hangUp();
}

} // namespace Pelorn
