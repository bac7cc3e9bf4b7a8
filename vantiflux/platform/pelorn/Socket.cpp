#include <vantiflux/platform/pelorn/Socket.h>

#include <cerrno>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <utility>
#include <vantiflux/platform/pelorn/Deadline.h>
#include <vantiflux/platform/pelorn/Exception.h>
#include <vantiflux/platform/pelorn/Lookup.h>

namespace Pelorn {

Socket::Socket() = default;

Socket::Socket(Descriptor accepted) {
  adopt(std::move(accepted), "Cannot accept");
}

Socket::~Socket() = default;

void Socket::open(const std::string& address, std::uint16_t port, int timeout) {
  close();
  const Deadline deadline(timeout);
  const std::string what = "Cannot connect to " + address + ":" + std::to_string(port);
  Descriptor fd(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  if (!fd)
    throw IOException(what, errno);
  // From here on the attempt can be broken or closed.
  const auto attempt = adopt(std::move(fd), what);
  try {
    const InetAddress host = lookUpAddress(address, deadline, &attempt->stop);
    if (host.isValid())
      connect(*attempt, SocketAddress(host, port), what, deadline);
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
  if (::connect(attempt.fd(), reinterpret_cast<const sockaddr*>(&native), sizeof native) == 0)
    return;
  // An interrupted connect goes on in the background just as one in progress.
  if (errno != EINPROGRESS && errno != EINTR)
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
}

bool Socket::setTcpNoDelay(bool on) {
  return setOption(IPPROTO_TCP, TCP_NODELAY, on);
}

bool Socket::setKeepAlive(bool on) {
  return setOption(SOL_SOCKET, SO_KEEPALIVE, on);
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

ssize_t Socket::readSome(int fd, char* data, std::size_t size) {
  return ::recv(fd, data, size, MSG_DONTWAIT);
}

ssize_t Socket::writeSome(int fd, const char* data, std::size_t size) {
  return ::send(fd, data, size, MSG_DONTWAIT | MSG_NOSIGNAL);
}

bool Socket::setOption(int level, int option, bool on) {
  const auto socket = handle();
  const int value = on ? 1 : 0;
  return socket && ::setsockopt(socket->fd(), level, option, &value, sizeof value) == 0;
}

} // namespace Pelorn
