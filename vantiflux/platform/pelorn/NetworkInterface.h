#pragma once

#include <string>
#include <vector>

#include <vantiflux/Export.h>
#include <vantiflux/platform/pelorn/InetAddress.h>

namespace Pelorn {

/// A network interface of this host under one of its IPv4 addresses.
struct VANTIFLUX_API NetworkInterface {
  std::string name;
  int index = 0;
  InetAddress address;
  unsigned prefixLength = 32;

  /// Those that are up and can carry multicast traffic, the loopback interface among them, each with its first address.
  /// With `only`, the one that has this address, under this address; none if there is none.
  static std::vector<NetworkInterface> list(const InetAddress& only = InetAddress::any());

  bool operator==(const NetworkInterface&) const noexcept = default;
};

} // namespace Pelorn
