#include <vantiflux/platform/pelorn/LinkSocket.h>

#include <cerrno>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <utility>

#include <vantiflux/platform/pelorn/Deadline.h>
#include <vantiflux/platform/pelorn/Exception.h>

namespace Pelorn {

namespace {

// When nothing was heard for so long, in seconds, the peer is asked every second; and after so many milliseconds
// without an answer, to that or to anything sent, it is gone.
constexpr int askAfter = 3;
constexpr int askEvery = 1;
constexpr int goneAfter = 9000;

void set(int fd, int level, int option, int value) {
  ::setsockopt(fd, level, option, &value, sizeof value);
}

bool wouldBlock(int error) {
  return error == EAGAIN || error == EWOULDBLOCK || error == EINTR;
}

} // namespace

LinkSocket::LinkSocket() = default;

LinkSocket::LinkSocket(Descriptor accepted) {
  adopt(std::move(accepted), "Cannot accept");
  prepare();
}

LinkSocket::~LinkSocket() = default;

void LinkSocket::connect(const std::string& address, std::uint16_t port, int timeout) {
  open(address, port, timeout);
  prepare();
}

void LinkSocket::prepare() {
  link_ = handle();
  if (link_ == nullptr)
    throw IOException("Connection closed", ECANCELED);
  set(link_->fd(), IPPROTO_TCP, TCP_NODELAY, 1);
  set(link_->fd(), SOL_SOCKET, SO_KEEPALIVE, 1);
  set(link_->fd(), IPPROTO_TCP, TCP_KEEPIDLE, askAfter);
  set(link_->fd(), IPPROTO_TCP, TCP_KEEPINTVL, askEvery);
  set(link_->fd(), IPPROTO_TCP, TCP_USER_TIMEOUT, goneAfter);
}

ssize_t LinkSocket::receive(std::span<std::byte> room) const {
  if (link_ == nullptr || room.empty())
    return -1;
  const ssize_t got = ::recv(link_->fd(), room.data(), room.size(), MSG_DONTWAIT);
  if (got > 0)
    return got;
  return got < 0 && wouldBlock(errno) ? 0 : -1;
}

ssize_t LinkSocket::send(std::span<const iovec> pieces) const {
  if (link_ == nullptr)
    return -1;
  msghdr message{};
  message.msg_iov = const_cast<iovec*>(pieces.data());
  message.msg_iovlen = pieces.size();
  const ssize_t sent = ::sendmsg(link_->fd(), &message, MSG_DONTWAIT | MSG_NOSIGNAL);
  if (sent >= 0)
    return sent;
  return wouldBlock(errno) ? 0 : -1;
}

WaitResult LinkSocket::waitForData(int timeout) const {
  if (link_ == nullptr)
    return WaitResult::Error;
  short found = 0;
  const WaitResult result = poll(*link_, POLLIN, found, Deadline(timeout));
  return result == WaitResult::Data && (found & POLLIN) == 0 ? WaitResult::Error : result;
}

void LinkSocket::hangUp() {
  breakWait();
  if (const HandlePtr open = handle())
    ::shutdown(open->fd(), SHUT_RDWR);
}

LinkServer::~LinkServer() = default;

int LinkServer::descriptor() const {
  const auto listener = handle();
  return listener ? listener->fd() : -1;
}

std::unique_ptr<LinkSocket> LinkServer::acceptLink() {
  const auto listener = handle();
  if (!listener)
    return nullptr;
  Descriptor fd(::accept4(listener->fd(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
  if (!fd)
    return nullptr;
  try {
    return std::make_unique<LinkSocket>(std::move(fd));
  } catch (const IOException&) {
    return nullptr;
  }
}

} // namespace Pelorn
