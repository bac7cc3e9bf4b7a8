#pragma once

#include <cstddef>
#include <string>

#include <vantiflux/platform/pelorn/ProtocolHTTP.h>

namespace Pelorn {

/// What goes before the body of a reply, which has that length. The length, the date and the server's name are added
/// where the reply does not have them. `close` says that the connection ends with it, whatever the reply says.
std::string replyHead(const ProtocolHTTP::Reply& reply, std::size_t length, const std::string& server, bool close);

} // namespace Pelorn
