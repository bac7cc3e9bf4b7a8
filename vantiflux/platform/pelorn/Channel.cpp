#include <vantiflux/platform/pelorn/Channel.h>

#include <cerrno>
#include <poll.h>
#include <utility>
#include <vantiflux/platform/pelorn/Deadline.h>
#include <vantiflux/platform/pelorn/Exception.h>

namespace Pelorn {

Channel::Channel() = default;

Channel::~Channel() {
  Channel::close();
}

bool Channel::isOpen() const {
  return handle() != nullptr;
}

void Channel::close() {
  HandlePtr old;
  {
    const std::lock_guard lock(mutex_);
    old.swap(handle_);
  }
  // No later resetWait reaches this handle, so its waits stay ended.
  if (old)
    old->stop.signal();
}

void Channel::breakWait() {
  const std::lock_guard lock(mutex_);
  broken_.store(true, std::memory_order_release);
  if (handle_)
    handle_->stop.signal();
}

void Channel::resetWait() {
  const std::lock_guard lock(mutex_);
  broken_.store(false, std::memory_order_release);
  if (handle_)
    handle_->stop.clear();
}

Channel::HandlePtr Channel::handle() const {
  const std::lock_guard lock(mutex_);
  return handle_;
}

Channel::HandlePtr Channel::adopt(Descriptor fd, const std::string& what) {
  auto fresh = std::make_shared<Handle>();
  fresh->descriptor = std::move(fd);
  HandlePtr old;
  const std::lock_guard lock(mutex_);
  if (broken_)
    throw IOException(what, ECANCELED);
  fresh->generation = ++generation_;
  old = std::exchange(handle_, fresh);
  if (old)
    old->stop.signal();
  return fresh;
}

WaitResult Channel::poll(const Handle& on, short events, short& found, const Deadline& deadline, Kicks kicks) const {
  pollfd entries[] = {{on.stop.descriptor(), POLLIN, 0}, {on.fd(), events, 0}, {on.kick.descriptor(), POLLIN, 0}};
  found = 0;
  const int ready = pollUntil(entries, kicks == Kicks::Heed ? 3 : 2, deadline);
  if (ready < 0 || entries[0].revents != 0)
    return WaitResult::Error;
  if (ready == 0)
    return WaitResult::Timeout;
  if (entries[2].revents != 0)
    on.kick.clear();
  found = entries[1].revents;
  return WaitResult::Data;
}

bool Channel::pause(const Handle& on, int milliseconds) {
  pollfd entry{on.stop.descriptor(), POLLIN, 0};
  return pollUntil(&entry, 1, Deadline(milliseconds)) == 0;
}

void Channel::finish(const Handle&, const Deadline&) {}

ssize_t Channel::readSome(int fd, char* data, std::size_t size) {
  return ::read(fd, data, size);
}

ssize_t Channel::writeSome(int fd, const char* data, std::size_t size) {
  return ::write(fd, data, size);
}

} // namespace Pelorn
