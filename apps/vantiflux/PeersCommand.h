#pragma once

#include <cstdint>
#include <string>

namespace Host {

/// The defaults are those of network nodes.
struct PeersOptions {
  std::string group = "224.21.12.68";
  std::uint16_t port = 4711;
  int ttl = 2;
  std::string address; ///< of the interface to use; empty for all
  int seconds = 5;     ///< how long to listen
  std::string server;  ///< "host:port" whose handshake is tried; empty for none
};

struct Peers {
  std::string text; ///< lines for people
  bool any = false; ///< whether somebody was found
};

/// The network nodes that answer on the multicast group, one line each: address, port, ID and version of the protocol,
/// between tabs. When there is none, what may be wrong: the interfaces, whether this host hears itself. And whether the
/// server introduces itself. Throws Pelorn::Exception when the group cannot be used.
Peers findPeers(const PeersOptions& options);

} // namespace Host
