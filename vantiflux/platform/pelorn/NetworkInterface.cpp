#include <vantiflux/platform/pelorn/NetworkInterface.h>

#include <algorithm>
#include <bit>
#include <ifaddrs.h>
#include <memory>
#include <net/if.h>
#include <netinet/in.h>

#include <vantiflux/platform/pelorn/SocketAddress.h>

namespace Pelorn {

namespace {

InetAddress addressOf(const sockaddr* address) {
  return SocketAddress(*reinterpret_cast<const sockaddr_in*>(address)).getAddress();
}

// All addresses of a loopback interface's network are this host's own.
bool has(const NetworkInterface& interface, const InetAddress& address) {
  if (interface.address == address)
    return true;
  const std::uint32_t mask = interface.prefixLength == 0 ? 0 : ~std::uint32_t{0} << (32 - interface.prefixLength);
  return address.isLoopback() && interface.address.isLoopback() &&
         (interface.address.getAddress() & mask) == (address.getAddress() & mask);
}

} // namespace

std::vector<NetworkInterface> NetworkInterface::list(const InetAddress& only) {
  std::vector<NetworkInterface> result;
  ifaddrs* first = nullptr;
  if (::getifaddrs(&first) != 0)
    return result;
  const std::unique_ptr<ifaddrs, void (*)(ifaddrs*)> owner(first, ::freeifaddrs);
  for (const ifaddrs* at = first; at != nullptr; at = at->ifa_next) {
    if (at->ifa_addr == nullptr || at->ifa_addr->sa_family != AF_INET || at->ifa_netmask == nullptr ||
        (at->ifa_flags & IFF_UP) == 0 || (at->ifa_flags & (IFF_MULTICAST | IFF_LOOPBACK)) == 0)
      continue;
    NetworkInterface found{
        at->ifa_name, static_cast<int>(::if_nametoindex(at->ifa_name)), addressOf(at->ifa_addr),
        static_cast<unsigned>(std::popcount(reinterpret_cast<const sockaddr_in*>(at->ifa_netmask)->sin_addr.s_addr))};
    if (!only.isAny() && only.isValid()) {
      if (!has(found, only))
        continue;
      found.address = only;
    }
    if (std::none_of(result.begin(), result.end(), [&](const auto& other) { return other.index == found.index; }))
      result.push_back(found);
  }
  return result;
}

} // namespace Pelorn
