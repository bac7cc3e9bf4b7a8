#include <vantiflux/platform/pelorn/SocketAddress.h>

#include <arpa/inet.h>
#include <sys/socket.h>

namespace Pelorn {

namespace {

template <class Get>
SocketAddress endOf(int socket, Get&& get) noexcept {
  sockaddr_in native{};
  socklen_t size = sizeof native;
  if (get(socket, reinterpret_cast<sockaddr*>(&native), &size) != 0)
    return {};
  return SocketAddress(native);
}

} // namespace

SocketAddress::SocketAddress(const sockaddr_in& native) noexcept {
  if (native.sin_family != AF_INET)
    return;
  address_ = InetAddress(ntohl(native.sin_addr.s_addr));
  port_ = ntohs(native.sin_port);
}

sockaddr_in SocketAddress::native() const noexcept {
  sockaddr_in result{};
  result.sin_family = AF_INET;
  result.sin_addr.s_addr = htonl(address_.getAddress());
  result.sin_port = htons(port_);
  return result;
}

SocketAddress SocketAddress::localOf(int socket) noexcept {
  return endOf(socket, ::getsockname);
}

SocketAddress SocketAddress::remoteOf(int socket) noexcept {
  return endOf(socket, ::getpeername);
}

} // namespace Pelorn
