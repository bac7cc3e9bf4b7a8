#include <vantiflux/platform/pelorn/UDP.h>

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <netinet/in.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <utility>
#include <vantiflux/platform/pelorn/Deadline.h>
#include <vantiflux/platform/pelorn/Exception.h>
#include <vantiflux/platform/pelorn/Lookup.h>

namespace Pelorn {

namespace {

constexpr int failurePause = 100; // milliseconds

in_addr nativeAddress(const InetAddress& address) {
  return SocketAddress(address, 0).native().sin_addr;
}

InetAddress lookUp(const std::string& name, const std::string& what, const Notifier& stop) {
  const InetAddress address = name.empty() ? InetAddress::any() : lookUpAddress(name, Deadline(lookUpTime), &stop);
  if (!address.isValid())
    throw IOException(what + ": unknown host " + name, EADDRNOTAVAIL);
  return address;
}

} // namespace

UDP::UDP() = default;

UDP::~UDP() = default;

void UDP::open(const std::string& localAddress, std::uint16_t localPort, const std::string& remoteAddress,
               std::uint16_t remotePort) {
  close();
  const std::string what = "Cannot open UDP port " + localAddress + ":" + std::to_string(localPort);
  // Unconnected: it hears every sender, and the refusals that a closed port sends back do not disturb it.
  Descriptor fd(::socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  if (!fd)
    throw IOException(what, errno);
  setBound(false, SocketAddress());
  // From here on the look-ups can be broken or closed.
  const auto attempt = adopt(std::move(fd), what);
  try {
    const SocketAddress local(lookUp(localAddress, what, attempt->stop), localPort);
    const SocketAddress remote(lookUp(remoteAddress, what, attempt->stop), remotePort);
    bind(*attempt, local, what);
    setBound(true, remote.getAddress().isAny() || remotePort == 0 ? SocketAddress() : remote);
  } catch (...) {
    const bool canceled = broken() || handle() != attempt;
    if (handle() == attempt)
      close();
    if (canceled)
      throw IOException(what, ECANCELED);
    throw;
  }
}

void UDP::bind(const Handle& on, const SocketAddress& local, const std::string& what) const {
  const std::lock_guard lock(mutex_);
  const int reuse = 1;
  if (reuse_)
    ::setsockopt(on.fd(), SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof reuse);
  const sockaddr_in native = local.native();
  if (::bind(on.fd(), reinterpret_cast<const sockaddr*>(&native), sizeof native) != 0)
    throw IOException(what, errno);
}

void UDP::setBound(bool bound, const SocketAddress& remote) {
  const std::lock_guard lock(mutex_);
  bound_ = bound;
  remote_ = remote;
}

bool UDP::isBound() const {
  const std::lock_guard lock(mutex_);
  return bound_;
}

void UDP::setReuseAddress(bool on) {
  const std::lock_guard lock(mutex_);
  reuse_ = on;
}

WaitResult UDP::waitForData(int timeout) {
  const Deadline deadline(timeout);
  for (;;) {
    const auto socket = handle();
    if (!socket || broken() || !recovered(*socket, deadline))
      return WaitResult::Error;
    short found = 0;
    const WaitResult result = poll(*socket, POLLIN, found, deadline);
    if (result != WaitResult::Data || (found & POLLIN) != 0)
      return result;
    if ((found & POLLNVAL) != 0)
      return WaitResult::Error;
    // A pending error, of an earlier datagram or of the interface: taking it clears it. If somebody who sends has taken
    // it meanwhile, there is none left. Neither ends the waiting, nor may it turn into a busy loop.
    int error = 0;
    socklen_t size = sizeof error;
    ::getsockopt(socket->fd(), SOL_SOCKET, SO_ERROR, &error, &size);
    ailing_ = true;
  }
}

/// After a failure, waits a little before the next attempt.
bool UDP::recovered(const Handle& on, const Deadline& deadline) {
  if (!std::exchange(ailing_, false))
    return true;
  const int left = deadline.remaining();
  return pause(on, left < 0 ? failurePause : std::min(left, failurePause));
}

bool UDP::dataAvail(int& count) const {
  const auto socket = handle();
  count = 0;
  return socket && ::ioctl(socket->fd(), FIONREAD, &count) == 0;
}

bool UDP::receive(void* buffer, int& size) {
  SocketAddress from;
  return receive(buffer, size, from);
}

bool UDP::receive(void* buffer, int& size, SocketAddress& from) {
  const auto socket = handle();
  const auto room = static_cast<std::size_t>(std::max(size, 0));
  size = 0;
  while (socket && !broken()) {
    sockaddr_in sender{};
    socklen_t length = sizeof sender;
    const ssize_t got =
        ::recvfrom(socket->fd(), buffer, room, MSG_DONTWAIT, reinterpret_cast<sockaddr*>(&sender), &length);
    if (got >= 0) {
      size = static_cast<int>(got);
      from = SocketAddress(sender);
      return true;
    }
    if (errno == EAGAIN)
      return false;
    if (errno != EINTR && errno != ECONNREFUSED) {
      ailing_ = true;
      return false;
    }
  }
  return false;
}

bool UDP::send(const void* data, int size) {
  return sendTo(data, size, getRemoteAddress());
}

bool UDP::sendTo(const void* data, int size, const SocketAddress& to) {
  const auto socket = handle();
  if (!socket || !isBound() || !to.isValid() || size < 0 || size > maxDatagram)
    return false;
  const sockaddr_in native = to.native();
  // An error may be that of an earlier datagram, reported and cleared now; the second try is this one's own.
  for (int attempt = 0; attempt < 2; ++attempt) {
    if (::sendto(socket->fd(), data, static_cast<std::size_t>(size), MSG_DONTWAIT | MSG_NOSIGNAL,
                 reinterpret_cast<const sockaddr*>(&native), sizeof native) == size)
      return true;
    if (errno != EINTR && errno != ECONNREFUSED)
      return false;
  }
  return false;
}

SocketAddress UDP::getLocalAddress() const {
  const auto socket = handle();
  return socket ? SocketAddress::localOf(socket->fd()) : SocketAddress();
}

SocketAddress UDP::getRemoteAddress() const {
  const std::lock_guard lock(mutex_);
  return remote_;
}

bool UDP::joinGroup(const InetAddress& group, const InetAddress& interface) {
  return membership(IP_ADD_MEMBERSHIP, group, interface);
}

bool UDP::leaveGroup(const InetAddress& group, const InetAddress& interface) {
  return membership(IP_DROP_MEMBERSHIP, group, interface);
}

bool UDP::membership(int option, const InetAddress& group, const InetAddress& interface) {
  if (!group.isMulticast())
    return false;
  const ip_mreq request{nativeAddress(group), nativeAddress(interface)};
  return setOption(IPPROTO_IP, option, &request, sizeof request);
}

bool UDP::setMulticastInterface(const InetAddress& interface) {
  const in_addr native = nativeAddress(interface);
  return setOption(IPPROTO_IP, IP_MULTICAST_IF, &native, sizeof native);
}

bool UDP::setMulticastTTL(int ttl) {
  return setOption(IPPROTO_IP, IP_MULTICAST_TTL, &ttl, sizeof ttl);
}

bool UDP::setMulticastLoop(bool on) {
  const int value = on ? 1 : 0;
  return setOption(IPPROTO_IP, IP_MULTICAST_LOOP, &value, sizeof value);
}

bool UDP::setBroadcast(bool on) {
  const int value = on ? 1 : 0;
  return setOption(SOL_SOCKET, SO_BROADCAST, &value, sizeof value);
}

bool UDP::setOption(int level, int option, const void* value, unsigned size) {
  const auto socket = handle();
  return socket && ::setsockopt(socket->fd(), level, option, value, size) == 0;
}

} // namespace Pelorn
