#pragma once

#include <string_view>
#include <vector>

#include <vantiflux/Export.h>
#include <vantiflux/platform/pelorn/Descriptor.h>
#include <vantiflux/platform/pelorn/NetworkInterface.h>
#include <vantiflux/platform/pelorn/SocketAddress.h>

namespace Pelorn {

/// Datagrams to and from a multicast group on several interfaces at once, and straight from host to host. What is sent
/// comes from a port of this object's own, on which it hears answers. Several objects, and several programs, of one
/// host hear the same group.
///
/// *Threads.* One at a time. Nothing blocks.
class VANTIFLUX_API MulticastSocket {
public:
  /// `local` is the address of the one interface to use, `any` means all of them. Throws `IOException`.
  MulticastSocket(const SocketAddress& group, int ttl, const InetAddress& local);

  /// Looks again which interfaces there are: joins the group on new ones. True when there are others than before.
  bool refresh();
  const std::vector<NetworkInterface>& interfaces() const noexcept { return interfaces_; }

  /// The number of interfaces that took the datagram.
  int sendToGroup(std::string_view bytes);
  bool sendTo(std::string_view bytes, const SocketAddress& to);
  /// The next datagram that waits, at most `size` bytes of it; -1 when there is none.
  int receive(char* bytes, int size, SocketAddress& from);

  /// For a loop that waits for datagrams: to the group, and to this object alone.
  int groupDescriptor() const noexcept { return group_.get(); }
  int ownDescriptor() const noexcept { return own_.get(); }
  SocketAddress ownAddress() const noexcept { return SocketAddress::localOf(own_.get()); }

private:
  const SocketAddress address_;
  const InetAddress local_;
  Descriptor group_; ///< bound to the group, only hears
  Descriptor own_;
  std::vector<NetworkInterface> interfaces_;
};

} // namespace Pelorn
