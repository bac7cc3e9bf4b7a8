#include <vantiflux/platform/pelorn/MulticastSocket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <netinet/in.h>
#include <sys/socket.h>
#include <utility>

#include <vantiflux/platform/pelorn/Exception.h>

namespace Pelorn {

namespace {

Descriptor openSocket(const std::string& what) {
  Descriptor fd(::socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  if (!fd)
    throw IOException(what, errno);
  return fd;
}

void bindTo(const Descriptor& fd, const SocketAddress& address, const std::string& what) {
  const sockaddr_in native = address.native();
  if (::bind(fd.get(), reinterpret_cast<const sockaddr*>(&native), sizeof native) != 0)
    throw IOException(what, errno);
}

void set(const Descriptor& fd, int level, int option, int value) {
  ::setsockopt(fd.get(), level, option, &value, sizeof value);
}

in_addr nativeAddress(const InetAddress& address) {
  return SocketAddress(address, 0).native().sin_addr;
}

} // namespace

MulticastSocket::MulticastSocket(const SocketAddress& group, int ttl, const InetAddress& local)
    : address_(group), local_(local) {
  const std::string what =
      "Cannot use multicast group " + group.getHostAddress() + ":" + std::to_string(group.getServicePort());
  if (!group.getAddress().isMulticast())
    throw IOException(what + ": not a multicast address", EINVAL);
  group_ = openSocket(what);
  set(group_, SOL_SOCKET, SO_REUSEADDR, 1);
  set(group_, IPPROTO_IP, IP_MULTICAST_ALL, 0); // not what others of this host have joined elsewhere
  bindTo(group_, group, what);
  own_ = openSocket(what);
  bindTo(own_, SocketAddress(local, 0), what);
  set(own_, IPPROTO_IP, IP_MULTICAST_LOOP, 1);
  set(own_, IPPROTO_IP, IP_MULTICAST_TTL, std::clamp(ttl, 0, 255));
  refresh();
}

bool MulticastSocket::refresh() {
  std::vector<NetworkInterface> now = NetworkInterface::list(local_);
  const bool changed = now != interfaces_;
  const auto ask = [&](int option, const NetworkInterface& interface) {
    const ip_mreqn request{nativeAddress(address_.getAddress()), nativeAddress(interface.address), interface.index};
    ::setsockopt(group_.get(), IPPROTO_IP, option, &request, sizeof request);
  };
  // The system counts the memberships of a socket, those on interfaces that are gone among them.
  for (const NetworkInterface& before : interfaces_)
    if (std::none_of(now.begin(), now.end(), [&](const auto& one) { return one.index == before.index; }))
      ask(IP_DROP_MEMBERSHIP, before);
  // Joining again what is joined fails and does no harm; an interface that went and came back must be joined anew.
  for (const NetworkInterface& interface : now)
    ask(IP_ADD_MEMBERSHIP, interface);
  interfaces_ = std::move(now);
  return changed;
}

int MulticastSocket::sendToGroup(std::string_view bytes) {
  sockaddr_in to = address_.native();
  iovec piece{const_cast<char*>(bytes.data()), bytes.size()};
  int taken = 0;
  for (const NetworkInterface& interface : interfaces_) {
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(in_pktinfo))> control{};
    msghdr message{};
    message.msg_name = &to;
    message.msg_namelen = sizeof to;
    message.msg_iov = &piece;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    cmsghdr* const header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = IPPROTO_IP;
    header->cmsg_type = IP_PKTINFO;
    header->cmsg_len = CMSG_LEN(sizeof(in_pktinfo));
    auto* const info = reinterpret_cast<in_pktinfo*>(CMSG_DATA(header));
    info->ipi_ifindex = interface.index;
    info->ipi_spec_dst = nativeAddress(interface.address);
    if (::sendmsg(own_.get(), &message, MSG_DONTWAIT | MSG_NOSIGNAL) >= 0)
      ++taken;
  }
  return taken;
}

bool MulticastSocket::sendTo(std::string_view bytes, const SocketAddress& to) {
  const sockaddr_in native = to.native();
  return ::sendto(own_.get(), bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL,
                  reinterpret_cast<const sockaddr*>(&native), sizeof native) >= 0;
}

int MulticastSocket::receive(char* bytes, int size, SocketAddress& from) {
  for (const Descriptor* fd : {&group_, &own_}) {
    sockaddr_in sender{};
    socklen_t length = sizeof sender;
    ssize_t got = -1;
    do // an answer to nobody makes the next call fail; that is over then
      got = ::recvfrom(fd->get(), bytes, static_cast<std::size_t>(size), MSG_DONTWAIT,
                       reinterpret_cast<sockaddr*>(&sender), &length);
    while (got < 0 && (errno == EINTR || errno == ECONNREFUSED));
    if (got >= 0) {
      from = SocketAddress(sender);
      return static_cast<int>(got);
    }
  }
  return -1;
}

} // namespace Pelorn
