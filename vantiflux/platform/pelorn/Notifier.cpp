#include <vantiflux/platform/pelorn/Notifier.h>

#include <cerrno>
#include <cstdint>
#include <poll.h>
#include <sys/eventfd.h>
#include <vantiflux/platform/pelorn/Deadline.h>
#include <vantiflux/platform/pelorn/Exception.h>

namespace Pelorn {

Notifier::Notifier() : event_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (!event_)
    throw IOException("Cannot create event", errno);
}

void Notifier::signal() const noexcept {
  const std::uint64_t one = 1;
  // Fails only when the counter is at its maximum, and then the event is readable already.
  [[maybe_unused]] const auto written = ::write(event_.get(), &one, sizeof one);
}

void Notifier::clear() const noexcept {
  std::uint64_t count = 0;
  [[maybe_unused]] const auto got = ::read(event_.get(), &count, sizeof count);
}

int pollUntil(pollfd* entries, unsigned count, const Deadline& deadline) noexcept {
  for (;;) {
    const int ready = ::poll(entries, count, deadline.remaining());
    if (ready >= 0 || errno != EINTR)
      return ready;
  }
}

} // namespace Pelorn
