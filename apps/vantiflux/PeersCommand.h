#pragma once

#include <cstdint>
#include <ostream>
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

/// Prints the network nodes that answer on the multicast group: address, port, ID and version of the protocol, between
/// tabs. When there is none, prints what may be wrong: the interfaces, whether this host hears itself. Says of the
/// server whether it introduces itself. Returns whether anybody was found. Throws Pelorn::Exception when the group
/// cannot be used.
bool listPeers(std::ostream& stream, const PeersOptions& options);

} // namespace Host
