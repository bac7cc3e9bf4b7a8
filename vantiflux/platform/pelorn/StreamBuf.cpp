#include <vantiflux/platform/pelorn/StreamBuf.h>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <poll.h>
#include <sys/ioctl.h>
#include <vantiflux/platform/pelorn/Deadline.h>

namespace Pelorn {

StreamBuf::StreamBuf(Channel& channel, std::size_t sendSize, std::size_t receiveSize)
    : channel_(channel), receive_(std::max<std::size_t>(receiveSize, 1), '\0'),
      send_(std::max<std::size_t>(sendSize, 1), '\0') {
  setg(receive_.data(), receive_.data(), receive_.data());
  setp(send_.data(), send_.data() + send_.size());
}

StreamBuf::~StreamBuf() = default;

// Reading side

WaitResult StreamBuf::waitForData(int timeout) {
  const Deadline deadline(timeout);
  for (;;) {
    const auto handle = channel_.handle();
    if (!handle || channel_.broken())
      return WaitResult::Error;
    enter(*handle);
    drain(*handle);
    if (gptr() < egptr())
      return WaitResult::Data;
    const Fill before = fill(*handle);
    if (before != Fill::Nothing)
      return before == Fill::Data ? WaitResult::Data : WaitResult::Error;
    // The queue is looked at after the last kick was taken, so what is queued from here on kicks again.
    const short events = queued() > 0 ? POLLIN | POLLOUT : POLLIN;
    short found = 0;
    const WaitResult result = channel_.poll(*handle, events, found, deadline, Channel::Kicks::Heed);
    if (result != WaitResult::Data)
      return result;
    // A descriptor that reports a fault and yet gives neither data nor an end would be polled for ever.
    if ((found & (POLLERR | POLLHUP | POLLNVAL)) != 0) {
      const Fill rest = fill(*handle);
      return rest == Fill::Data ? WaitResult::Data : WaitResult::Error;
    }
  }
}

bool StreamBuf::dataAvail(int& count) {
  const auto handle = channel_.handle();
  if (handle)
    enter(*handle);
  long long bytes = egptr() - gptr();
  int waiting = 0;
  const bool ok = handle && ::ioctl(handle->fd(), FIONREAD, &waiting) == 0;
  if (ok)
    bytes += waiting;
  count = static_cast<int>(std::min<long long>(bytes, std::numeric_limits<int>::max()));
  return ok;
}

void StreamBuf::discard() {
  setg(receive_.data(), receive_.data(), receive_.data());
  setp(send_.data(), send_.data() + send_.size());
}

StreamBuf::int_type StreamBuf::underflow() {
  if (gptr() == egptr() && waitForData(timeLimit_) != WaitResult::Data)
    return traits_type::eof();
  return traits_type::to_int_type(*gptr());
}

std::streamsize StreamBuf::showmanyc() {
  int count = 0;
  return dataAvail(count) ? count : -1;
}

/// Forgets what came from a channel that has been closed since.
void StreamBuf::enter(const Channel::Handle& handle) {
  if (readGeneration_ == handle.generation)
    return;
  readGeneration_ = handle.generation;
  setg(receive_.data(), receive_.data(), receive_.data());
}

/// Takes what is there into the empty receive buffer.
StreamBuf::Fill StreamBuf::fill(const Channel::Handle& handle) {
  for (;;) {
    const ssize_t got = channel_.readSome(handle.fd(), receive_.data(), receive_.size());
    if (got > 0) {
      setg(receive_.data(), receive_.data(), receive_.data() + got);
      return Fill::Data;
    }
    if (got == 0)
      return Fill::End;
    if (errno == EAGAIN || errno == EWOULDBLOCK)
      return Fill::Nothing;
    if (errno != EINTR)
      return Fill::End;
  }
}

// Writing side

bool StreamBuf::write(std::string_view text, int timeout) {
  return writeAll(text, Deadline(timeout), OnBreak::Stop);
}

bool StreamBuf::sendFinal(std::string_view text, int timeout) {
  return writeAll(text, Deadline(std::max(timeout, 0)), OnBreak::GoOn);
}

void StreamBuf::finish(int timeout) {
  const Deadline deadline(std::max(timeout, 0));
  writeAll({}, deadline, OnBreak::GoOn);
  if (const auto handle = channel_.handle())
    channel_.finish(*handle, deadline);
}

bool StreamBuf::queueWrite(std::string_view text) {
  const auto handle = channel_.handle();
  if (!handle || channel_.broken())
    return false;
  {
    const std::lock_guard lock(mutex_);
    if (!beginLocked(*handle))
      return false;
    const std::size_t waiting = queue_.size() - head_;
    if (text.size() > limit_ || waiting > limit_ - text.size())
      return false;
    submitLocked(*handle, text);
    if (failed_)
      return false;
  }
  if (queued() > 0)
    handle->kick.signal();
  return true;
}

bool StreamBuf::writeAll(std::string_view text, const Deadline& deadline, OnBreak onBreak) {
  const auto handle = channel_.handle();
  if (!handle || (onBreak == OnBreak::Stop && channel_.broken()))
    return false;
  std::unique_lock lock(mutex_);
  if (!beginLocked(*handle))
    return false;
  submitLocked(*handle, text);
  const std::uint64_t end = accepted_;
  const std::uint64_t drops = drops_;
  for (;;) {
    if (failed_ || drops_ != drops)
      return false;
    if (sent_ >= end)
      return true;
    lock.unlock();
    bool goOn = false;
    if (onBreak == OnBreak::Stop) {
      short found = 0;
      goOn = channel_.poll(*handle, POLLOUT, found, deadline) == WaitResult::Data;
    } else {
      pollfd entry{handle->fd(), POLLOUT, 0};
      goOn = pollUntil(&entry, 1, deadline) > 0;
    }
    if (!goOn) {
      handle->kick.signal(); // the rest is now the reader's to send
      return false;
    }
    lock.lock();
    if (drops_ == drops)
      drainLocked(*handle);
  }
}

void StreamBuf::setQueueLimit(std::size_t bytes) {
  const std::lock_guard lock(mutex_);
  limit_ = bytes;
}

void StreamBuf::close() {
  channel_.close();
  const std::lock_guard lock(mutex_);
  dropQueueLocked();
}

StreamBuf::int_type StreamBuf::overflow(int_type byte) {
  if (sync() != 0)
    return traits_type::eof();
  if (!traits_type::eq_int_type(byte, traits_type::eof())) {
    *pptr() = traits_type::to_char_type(byte);
    pbump(1);
  }
  return traits_type::not_eof(byte);
}

std::streamsize StreamBuf::xsputn(const char* text, std::streamsize size) {
  const auto bytes = static_cast<std::size_t>(std::max<std::streamsize>(size, 0));
  if (bytes <= static_cast<std::size_t>(epptr() - pptr()))
    return std::streambuf::xsputn(text, size);
  if (sync() != 0)
    return 0;
  if (bytes < send_.size())
    return std::streambuf::xsputn(text, size);
  return writeAll(std::string_view(text, bytes), Deadline(timeLimit_), OnBreak::Stop) ? size : 0;
}

int StreamBuf::sync() {
  const std::string_view text(pbase(), static_cast<std::size_t>(pptr() - pbase()));
  const bool ok = text.empty() || writeAll(text, Deadline(timeLimit_), OnBreak::Stop);
  // Sent, queued or refused: in no case is it to be sent again.
  setp(send_.data(), send_.data() + send_.size());
  return ok ? 0 : -1;
}

/// Starts over when the channel was opened anew. False when this handle can no longer be written to.
bool StreamBuf::beginLocked(const Channel::Handle& handle) {
  if (handle.generation > writeGeneration_) {
    writeGeneration_ = handle.generation;
    failed_ = false;
    dropQueueLocked();
  }
  return handle.generation == writeGeneration_ && !failed_;
}

/// Sends what can be sent at once and queues the rest.
void StreamBuf::submitLocked(const Channel::Handle& handle, std::string_view text) {
  accepted_ += text.size();
  if (drainLocked(handle))
    text.remove_prefix(sendLocked(handle, text));
  if (failed_ || text.empty())
    return;
  if (head_ > queue_.size() / 2) {
    queue_.erase(0, head_);
    head_ = 0;
  }
  queue_ += text;
  queued_.store(queue_.size() - head_, std::memory_order_relaxed);
}

/// Sends from the queue what can be sent at once; true when the queue is empty and the channel takes more.
bool StreamBuf::drainLocked(const Channel::Handle& handle) {
  if (head_ == queue_.size())
    return !failed_;
  head_ += sendLocked(handle, std::string_view(queue_).substr(head_));
  if (failed_)
    return false;
  const bool done = head_ == queue_.size();
  if (done) {
    queue_.clear();
    head_ = 0;
  }
  queued_.store(queue_.size() - head_, std::memory_order_relaxed);
  return done;
}

/// Sends the start of `text`, as much as goes without blocking, and returns its length.
std::size_t StreamBuf::sendLocked(const Channel::Handle& handle, std::string_view text) {
  std::size_t done = 0;
  while (done < text.size()) {
    const ssize_t put = channel_.writeSome(handle.fd(), text.data() + done, text.size() - done);
    if (put > 0) {
      done += static_cast<std::size_t>(put);
      sent_ += static_cast<std::uint64_t>(put);
      continue;
    }
    if (put < 0 && errno == EINTR)
      continue;
    if (put < 0 && errno != EAGAIN && errno != EWOULDBLOCK) {
      failed_ = true;
      dropQueueLocked();
      return 0;
    }
    break;
  }
  return done;
}

void StreamBuf::dropQueueLocked() {
  ++drops_;
  sent_ = accepted_;
  queue_.clear();
  head_ = 0;
  queued_.store(0, std::memory_order_relaxed);
}

/// For the reader: sends on what is queued.
void StreamBuf::drain(const Channel::Handle& handle) {
  if (queued() == 0)
    return;
  const std::lock_guard lock(mutex_);
  if (beginLocked(handle))
    drainLocked(handle);
}

} // namespace Pelorn
