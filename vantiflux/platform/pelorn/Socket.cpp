#include <vantiflux/platform/pelorn/Socket.h>

#include <algorithm>
#include <cerrno>
#include <linux/sockios.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <utility>
#include <vantiflux/platform/pelorn/Deadline.h>
#include <vantiflux/platform/pelorn/Exception.h>
#include <vantiflux/platform/pelorn/Lookup.h>

namespace Pelorn {

namespace {

// A peer is given up after 10 s of silence and 4 unanswered probes; the last one is the limit for unsent data too.
constexpr int probeIdle = 10;
constexpr int probeInterval = 5;
constexpr int probes = 4;
constexpr int silenceLimit = 1000 * (probeIdle + probes * probeInterval);

} // namespace

Socket::Socket() = default;

Socket::Socket(Descriptor accepted) {
  adopt(std::move(accepted), "Cannot accept");
}

Socket::~Socket() = default;

void Socket::open(const std::string& address, std::uint16_t port, int timeout) {
  close();
  const std::string what = "Cannot connect to " + address + ":" + std::to_string(port);
  Descriptor fd(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  if (!fd)
    throw IOException(what, errno);
  // From here on the attempt can be broken or closed.
  const auto attempt = adopt(std::move(fd), what);
  try {
    const InetAddress host = lookUpAddress(address, Deadline(lookUpTime), &attempt->stop);
    if (host.isValid())
      connect(*attempt, SocketAddress(host, port), what, Deadline(timeout));
    else if (broken() || handle() != attempt)
      throw IOException(what, ECANCELED);
    else
      throw IOException(what + ": unknown host", EHOSTUNREACH);
  } catch (...) {
    if (handle() == attempt)
      close();
    throw;
  }
}

void Socket::connect(const Handle& attempt, const SocketAddress& to, const std::string& what,
                     const Deadline& deadline) {
  const sockaddr_in native = to.native();
  // An interrupted connect goes on in the background just as one in progress.
  if (::connect(attempt.fd(), reinterpret_cast<const sockaddr*>(&native), sizeof native) != 0 && errno != EINPROGRESS &&
      errno != EINTR)
    throw IOException(what, errno);
  short found = 0;
  const WaitResult result = poll(attempt, POLLOUT, found, deadline);
  if (result == WaitResult::Error)
    throw IOException(what, ECANCELED);
  if (result == WaitResult::Timeout)
    throw IOException(what, ETIMEDOUT);
  int error = 0;
  socklen_t size = sizeof error;
  if (::getsockopt(attempt.fd(), SOL_SOCKET, SO_ERROR, &error, &size) != 0)
    error = errno;
  if (error != 0)
    throw IOException(what, error);
  // Where nobody listens on a port that the system also gives to clients, it may choose that port for this very socket,
  // which then answers itself. Closed without a trace, or the port would be kept from the server for a minute.
  if (SocketAddress::localOf(attempt.fd()) == SocketAddress::remoteOf(attempt.fd())) {
    const linger drop{1, 0};
    ::setsockopt(attempt.fd(), SOL_SOCKET, SO_LINGER, &drop, sizeof drop);
    throw IOException(what, ECONNREFUSED);
  }
}

bool Socket::setTcpNoDelay(bool on) {
  return setOption(IPPROTO_TCP, TCP_NODELAY, on);
}

bool Socket::setKeepAlive(bool on) {
  return setOption(SOL_SOCKET, SO_KEEPALIVE, on) && setOption(IPPROTO_TCP, TCP_KEEPIDLE, probeIdle) &&
         setOption(IPPROTO_TCP, TCP_KEEPINTVL, probeInterval) && setOption(IPPROTO_TCP, TCP_KEEPCNT, probes) &&
         setOption(IPPROTO_TCP, TCP_USER_TIMEOUT, on ? silenceLimit : 0);
}

bool Socket::shutdownOutput() {
  const auto socket = handle();
  return socket && ::shutdown(socket->fd(), SHUT_WR) == 0;
}

SocketAddress Socket::getLocalAddress() const {
  const auto socket = handle();
  return socket ? SocketAddress::localOf(socket->fd()) : SocketAddress();
}

SocketAddress Socket::getRemoteAddress() const {
  const auto socket = handle();
  return socket ? SocketAddress::remoteOf(socket->fd()) : SocketAddress();
}

std::string Socket::getRemoteHostName() const {
  const auto socket = handle();
  return socket ? SocketAddress::remoteOf(socket->fd()).getAddress().getHostName(&socket->stop) : std::string();
}

ssize_t Socket::readSome(int fd, char* data, std::size_t size) {
  return ::recv(fd, data, size, MSG_DONTWAIT);
}

ssize_t Socket::writeSome(int fd, const char* data, std::size_t size) {
  return ::send(fd, data, size, MSG_DONTWAIT | MSG_NOSIGNAL);
}

void Socket::finish(const Handle& on, const Deadline& deadline) {
  if (::shutdown(on.fd(), SHUT_WR) != 0)
    return;
  char dropped[4096];
  while (deadline.remaining() > 0) {
    const ssize_t got = readSome(on.fd(), dropped, sizeof dropped);
    if (got > 0)
      continue;
    int waiting = 0; // what the peer's system has not confirmed; the mark of the end counts as one byte
    if (got == 0 || (errno != EAGAIN && errno != EINTR) || ::ioctl(on.fd(), SIOCOUTQ, &waiting) != 0 || waiting <= 1)
      return;
    pollfd entry{on.fd(), POLLIN, 0}; // there is no event for the confirmation
    pollUntil(&entry, 1, Deadline(std::min(deadline.remaining(), 5)));
  }
}

bool Socket::setOption(int level, int option, int value) {
  const auto socket = handle();
  return socket && ::setsockopt(socket->fd(), level, option, &value, sizeof value) == 0;
}

} // namespace Pelorn
