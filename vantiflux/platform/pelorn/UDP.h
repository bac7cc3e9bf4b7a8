#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <vantiflux/Export.h>
#include <vantiflux/platform/pelorn/Channel.h>
#include <vantiflux/platform/pelorn/SocketAddress.h>

namespace Pelorn {

/// A UDP socket. It receives from every sender and sends to one remote address or to a stated one. That a peer's port
/// is closed is no failure here: later datagrams go out and come in as before. Where the system cannot receive for some
/// other reason, `receive` gives nothing, and the next wait looks again after a tenth of a second.
///
/// Threads: all operations from any thread; receiving from one.
class VANTIFLUX_API UDP : public Channel {
public:
  /// The greatest payload of a datagram in bytes.
  static constexpr int maxDatagram = 65507;

  UDP();
  ~UDP() override;

  /// Closes an earlier socket and binds a new one; an empty address means every interface, port 0 a free one. A remote
  /// address of "", or "0.0.0.0", or a remote port 0 leaves the socket without a destination. Host names are looked up,
  /// for 10 seconds each at most, which breaking and closing end. Throws `IOException`.
  void open(const std::string& localAddress, std::uint16_t localPort, const std::string& remoteAddress = std::string(),
            std::uint16_t remotePort = 0);

  /// True before `open`: several sockets may bind one port, as receivers of multicast do.
  void setReuseAddress(bool on);

  /// Waits for a datagram, `timeout` in milliseconds, negative for no limit.
  WaitResult waitForData(int timeout = -1);

  /// Size of the next datagram, 0 when it is empty or there is none. False when closed.
  bool dataAvail(int& count) const;

  /// Takes the next datagram without blocking. `size` is the buffer's on entry and the datagram's on return; what
  /// exceeds the buffer is lost. False when there is none.
  bool receive(void* buffer, int& size);
  bool receive(void* buffer, int& size, SocketAddress& from);

  /// Sends one datagram without blocking. False without a destination, when it is too long, or when the system does not
  /// take it: it is then lost, as any datagram may be.
  bool send(const void* data, int size);
  bool sendTo(const void* data, int size, const SocketAddress& to);

  /// Address and port that are in fact bound; invalid when closed.
  SocketAddress getLocalAddress() const;
  SocketAddress getRemoteAddress() const;

  // Options of an open socket; false when it refuses. `interface` is the address of a local interface, `any` lets the
  // system choose.

  bool joinGroup(const InetAddress& group, const InetAddress& interface = InetAddress::any());
  bool leaveGroup(const InetAddress& group, const InetAddress& interface = InetAddress::any());
  bool setMulticastInterface(const InetAddress& interface);
  /// How many routers a multicast datagram may cross: 0 stays on this host.
  bool setMulticastTTL(int ttl);
  /// Whether this host receives what it sends to a group.
  bool setMulticastLoop(bool on);
  bool setBroadcast(bool on);

private:
  bool setOption(int level, int option, const void* value, unsigned size);
  void bind(const Handle& on, const SocketAddress& local, const std::string& what) const;
  void setBound(bool bound, const SocketAddress& remote);
  bool isBound() const;
  bool recovered(const Handle& on, const Deadline& deadline);
  bool membership(int option, const InetAddress& group, const InetAddress& interface);

  mutable std::mutex mutex_; // guards the members below
  bool bound_ = false;       // nothing may be sent before that: the system would choose a port
  SocketAddress remote_;
  bool reuse_ = false;
  bool ailing_ = false; // the last attempt to receive failed; the receiving thread's, not guarded
};

} // namespace Pelorn
