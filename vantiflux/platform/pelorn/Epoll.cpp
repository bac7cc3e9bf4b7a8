#include <vantiflux/platform/pelorn/Epoll.h>

#include <cerrno>
#include <sys/epoll.h>

#include <vantiflux/platform/pelorn/Exception.h>

namespace Pelorn {

Epoll::Epoll() : epoll_(::epoll_create1(EPOLL_CLOEXEC)) {
  if (!epoll_ || !addReader(notifier_.descriptor(), woken))
    throw IOException("Cannot wait for events", errno);
}

bool Epoll::add(int descriptor, std::uint64_t number, bool reader) {
  epoll_event event{};
  event.events = reader ? EPOLLIN : EPOLLOUT | static_cast<std::uint32_t>(EPOLLET);
  event.data.u64 = number;
  return ::epoll_ctl(epoll_.get(), EPOLL_CTL_ADD, descriptor, &event) == 0;
}

void Epoll::remove(int descriptor) {
  epoll_event event{};
  ::epoll_ctl(epoll_.get(), EPOLL_CTL_DEL, descriptor, &event);
}

std::span<const Epoll::Ready> Epoll::wait(int milliseconds) {
  std::array<epoll_event, std::tuple_size_v<decltype(ready_)>> events{};
  const int count = ::epoll_wait(epoll_.get(), events.data(), static_cast<int>(events.size()), milliseconds);
  for (int i = 0; i < count; ++i) {
    const epoll_event& event = events[static_cast<std::size_t>(i)];
    ready_[static_cast<std::size_t>(i)] = {event.data.u64, (event.events & ~static_cast<std::uint32_t>(EPOLLOUT)) != 0,
                                           (event.events & EPOLLOUT) != 0};
    if (event.data.u64 == woken)
      notifier_.clear();
  }
  return {ready_.data(), static_cast<std::size_t>(count > 0 ? count : 0)};
}

} // namespace Pelorn
