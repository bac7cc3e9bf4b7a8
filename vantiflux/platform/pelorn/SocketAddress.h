#pragma once

#include <cstdint>
#include <netinet/in.h>
#include <string>
#include <vantiflux/Export.h>
#include <vantiflux/platform/pelorn/InetAddress.h>

namespace Pelorn {

/// One end of a connection: an IPv4 address and a service port.
class VANTIFLUX_API SocketAddress {
public:
  SocketAddress() noexcept = default;
  SocketAddress(InetAddress address, std::uint16_t port) noexcept : address_(address), port_(port) {}
  explicit SocketAddress(const sockaddr_in& native) noexcept;

  const InetAddress& getAddress() const noexcept { return address_; }
  std::uint16_t getServicePort() const noexcept { return port_; }
  /// As in `InetAddress`; the name takes half a second at most.
  std::string getHostAddress() const { return address_.getHostAddress(); }
  std::string getHostName() const { return address_.getHostName(); }

  bool isValid() const noexcept { return address_.isValid(); }
  sockaddr_in native() const noexcept;

  /// The ends of an open socket; invalid when it has none.
  static SocketAddress localOf(int socket) noexcept;
  static SocketAddress remoteOf(int socket) noexcept;

  bool operator==(const SocketAddress&) const noexcept = default;

private:
  InetAddress address_;
  std::uint16_t port_ = 0;
};

} // namespace Pelorn
