#include <vantiflux/platform/pelorn/Wait.h>

#include <poll.h>
#include <vantiflux/platform/pelorn/Deadline.h>
#include <vantiflux/platform/pelorn/Exception.h>
#include <vantiflux/platform/pelorn/Notifier.h>

namespace Pelorn {

Wait::Wait() = default;

Wait::~Wait() {
  close();
}

bool Wait::create() {
  std::shared_ptr<const Notifier> fresh;
  try {
    fresh = std::make_shared<Notifier>();
  } catch (const IOException&) {
    return false;
  }
  {
    const std::lock_guard lock(mutex_);
    channel_.swap(fresh);
  }
  if (fresh)
    fresh->signal();
  return true;
}

void Wait::close() {
  std::shared_ptr<const Notifier> old;
  {
    const std::lock_guard lock(mutex_);
    channel_.swap(old);
  }
  // A thread inside wait() shares the channel: it wakes, and the last of them closes the descriptor.
  if (old)
    old->signal();
}

bool Wait::wait(int milliseconds) {
  const auto current = channel();
  if (!current)
    return false;
  pollfd entry{current->descriptor(), POLLIN, 0};
  return pollUntil(&entry, 1, Deadline(milliseconds)) == 0;
}

void Wait::signal() {
  if (const auto current = channel())
    current->signal();
}

int Wait::descriptor() const {
  const auto current = channel();
  return current ? current->descriptor() : -1;
}

std::shared_ptr<const Notifier> Wait::channel() const {
  const std::lock_guard lock(mutex_);
  return channel_;
}

} // namespace Pelorn
