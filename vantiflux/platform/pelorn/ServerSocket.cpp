#include <vantiflux/platform/pelorn/ServerSocket.h>

#include <cerrno>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <utility>
#include <vantiflux/platform/pelorn/Deadline.h>
#include <vantiflux/platform/pelorn/Exception.h>
#include <vantiflux/platform/pelorn/Lookup.h>

namespace Pelorn {

namespace {

/// What concerns one client only, or passes: the next call may do better.
bool passes(int error) {
  switch (error) {
  case EAGAIN:
  case EINTR:
  case ECONNABORTED:
  case EPERM: // a firewall's refusal
  case EPROTO:
  case ENETDOWN:
  case ENOPROTOOPT:
  case EHOSTDOWN:
  case ENONET:
  case EHOSTUNREACH:
  case EOPNOTSUPP:
  case ENETUNREACH:
    return true;
  default:
    return false;
  }
}

bool isShortage(int error) {
  return error == EMFILE || error == ENFILE || error == ENOBUFS || error == ENOMEM;
}

} // namespace

ServerSocket::ServerSocket() = default;

ServerSocket::~ServerSocket() = default;

void ServerSocket::open(const std::string& address, std::uint16_t port, int backlog) {
  close();
  const std::string what = "Cannot listen on " + address + ":" + std::to_string(port);
  Descriptor fd(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  if (!fd)
    throw IOException(what, errno);
  // A server that starts again shall not wait for the connections of its last run to fade.
  const int on = 1;
  ::setsockopt(fd.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  // From here on the look-up can be broken or closed.
  const auto attempt = adopt(std::move(fd), what);
  try {
    const InetAddress interface =
        address.empty() ? InetAddress::any() : lookUpAddress(address, Deadline(lookUpTime), &attempt->stop);
    if (broken() || handle() != attempt)
      throw IOException(what, ECANCELED);
    if (!interface.isValid())
      throw IOException(what + ": unknown host", EADDRNOTAVAIL);
    const sockaddr_in native = SocketAddress(interface, port).native();
    if (::bind(attempt->fd(), reinterpret_cast<const sockaddr*>(&native), sizeof native) != 0 ||
        ::listen(attempt->fd(), backlog) != 0)
      throw IOException(what, errno);
  } catch (...) {
    if (handle() == attempt)
      close();
    throw;
  }
}

std::unique_ptr<Socket> ServerSocket::accept() {
  const auto listener = handle();
  const Deadline never(-1);
  while (listener && !broken()) {
    short found = 0;
    if (poll(*listener, POLLIN, found, never) != WaitResult::Data)
      break;
    Descriptor fd(::accept4(listener->fd(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
    const int error = errno;
    if (fd) {
      try {
        return std::unique_ptr<Socket>(new Socket(std::move(fd)));
      } catch (const IOException&) {
        continue; // no descriptors for its events: this client is dropped
      }
    }
    if (isShortage(error)) {
      // The client stays in the listener's queue, so polling for it would not wait.
      if (!pause(*listener, 100))
        break;
    } else if (!passes(error)) {
      throw IOException("Cannot accept a client", error);
    }
  }
  return nullptr;
}

SocketAddress ServerSocket::getLocalAddress() const {
  const auto listener = handle();
  return listener ? SocketAddress::localOf(listener->fd()) : SocketAddress();
}

} // namespace Pelorn
