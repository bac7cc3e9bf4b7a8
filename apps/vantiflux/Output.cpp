#include "Output.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <string_view>
#include <thread>
#include <utility>

#include <poll.h>

#include <vantiflux/core/Exception.h>
#include <vantiflux/platform/pelorn/Wait.h>

#include "OutputEnd.h"

namespace Host {

class Output::Writer {
public:
  Writer(int fd, Events events) : end_(fd), events_(std::move(events)) {
    if (!ended_.create())
      throw Vantiflux::Exception("Cannot create wait object");
  }

  void add(const std::string& line) {
    const std::lock_guard lock(mutex_);
    if (ending_ || failure_ != 0)
      return;
    if (lines_.size() >= maxLines || bytes_ + line.size() > maxBytes) {
      ++dropped_;
      return;
    }
    lines_.push_back(line);
    bytes_ += line.size();
    changed_.notify_all();
  }

  void run() {
    std::string line;
    while (next(line)) {
      if (writeAll(line))
        continue;
      std::unique_lock lock(mutex_);
      if (failure_ == 0)
        ++dropped_; // the one at hand
      else
        tell(lock, events_.failed);
      break;
    }
    const std::lock_guard lock(mutex_);
    done_ = true;
    changed_.notify_all();
  }

  std::uint64_t end() {
    std::unique_lock lock(mutex_);
    if (!ending_) {
      ending_ = true;
      deadline_ = std::chrono::steady_clock::now() + std::chrono::seconds(1);
      ended_.signal();
      changed_.notify_all();
    }
    // The thread keeps the deadline by itself, unless it hangs in a write that nothing ends.
    changed_.wait_until(lock, deadline_ + std::chrono::seconds(1), [this] { return done_; });
    changed_.wait(lock, [this] { return !telling_; });
    if (failure_ == 0)
      dropped_ += lines_.size();
    lines_.clear();
    return std::exchange(dropped_, 0);
  }

  int failure() const {
    const std::lock_guard lock(mutex_);
    return failure_;
  }

private:
  // The next line; false when there is none and will be none.
  bool next(std::string& line) {
    std::unique_lock lock(mutex_);
    if (lines_.empty() && dropped_ != 0 && !ending_)
      tell(lock, [this, lines = std::exchange(dropped_, 0)] { events_.dropped(lines); });
    changed_.wait(lock, [this] { return !lines_.empty() || ending_; });
    if (lines_.empty())
      return false;
    line = std::move(lines_.front());
    lines_.pop_front();
    bytes_ -= line.size();
    return true;
  }

  // Who adds a line does not wait meanwhile, and who ends this object does.
  void tell(std::unique_lock<std::mutex>& lock, const std::function<void()>& event) {
    if (ending_)
      return;
    telling_ = true;
    lock.unlock();
    event();
    lock.lock();
    telling_ = false;
    changed_.notify_all();
  }

  bool writeAll(std::string_view text) {
    while (!text.empty()) {
      const ssize_t written = end_.write(text);
      if (written < 0) {
        const int error = errno;
        const std::lock_guard lock(mutex_);
        failure_ = error;
        lines_.clear();
        dropped_ = 0;
        return false;
      }
      text.remove_prefix(static_cast<std::size_t>(written));
      if (written == 0 && !waitForRoom())
        return false;
    }
    return true;
  }

  // False when the time for the last lines is over.
  bool waitForRoom() {
    std::array<pollfd, 2> ready = {{{end_.descriptor(), POLLOUT, 0}, {ended_.descriptor(), POLLIN, 0}}};
    int patience = -1;
    {
      const std::lock_guard lock(mutex_);
      if (ending_) {
        using std::chrono::milliseconds;
        const auto left = std::chrono::ceil<milliseconds>(deadline_ - std::chrono::steady_clock::now());
        if (left <= milliseconds::zero())
          return false;
        patience = static_cast<int>(left.count());
      }
    }
    ::poll(ready.data(), patience < 0 ? 2 : 1, patience);
    return true;
  }

  const OutputEnd end_;
  const Events events_; ///< not called after the end
  Pelorn::Wait ended_;  ///< ends the wait for room that has no limit

  mutable std::mutex mutex_; ///< guards the rest
  std::condition_variable changed_;
  std::deque<std::string> lines_;
  std::size_t bytes_ = 0;
  std::uint64_t dropped_ = 0;
  int failure_ = 0;
  bool ending_ = false;
  bool telling_ = false; ///< an event is under way
  bool done_ = false;
  std::chrono::steady_clock::time_point deadline_; ///< from the beginning of the end
};

Output::Output(int fd, Events events) : writer_(std::make_shared<Writer>(fd, std::move(events))) {
  std::thread([writer = writer_] { writer->run(); }).detach();
}

Output::~Output() {
  end();
}

void Output::write(const std::string& line) {
  writer_->add(line);
}

std::uint64_t Output::end() {
  return writer_->end();
}

int Output::failure() const {
  return writer_->failure();
}

} // namespace Host
