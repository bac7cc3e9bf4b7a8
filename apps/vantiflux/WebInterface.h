#pragma once

#include <cstdint>
#include <string>

namespace Host {

/// Where the web interface is to listen.
struct WebAddress {
  std::string host = "127.0.0.1";
  std::uint16_t port = 0; ///< 0: one that is free
};

/// Reads "[ADDRESS:]PORT". Throws Vantiflux::Exception for anything else, and for a host that is not known.
WebAddress parseWebAddress(const std::string& text);

/// Makes a web node there, unless the tree has one, and tells where a browser finds it. Throws Vantiflux::Exception
/// when it cannot be opened.
void openWebInterface(const WebAddress& address);

} // namespace Host
