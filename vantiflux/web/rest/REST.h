#pragma once

#include <cstddef>

#include <vantiflux/Export.h>
#include <vantiflux/platform/pelorn/ProtocolHTTP.h>
#include <vantiflux/platform/pelorn/WebClient.h>

/// Access to the tree for programs, by HTTP and WebSocket, below "/Vantiflux/": descriptions of nodes and of their
/// attributes, values of fields and slots. docs/rest.md says what clients see.
namespace REST {

/// Answers a request whose path holds the word "Vantiflux"; throws a plain std::exception for any other, and when the
/// reply cannot be sent. Gives 0 when the connection is to end or has become a WebSocket, otherwise 1.
VANTIFLUX_API unsigned handleRequest(Pelorn::WebClient& client, Pelorn::ProtocolHTTP::Request& request);

/// Fills the reply: 1. Whatever fails becomes the status 406, and the reason is told to nobody. Or makes a WebSocket of
/// the connection: 0. With a null client nothing becomes a WebSocket.
VANTIFLUX_API int dispatch(Pelorn::WebClient* client, const Pelorn::ProtocolHTTP::Request& request,
                           Pelorn::ProtocolHTTP::Reply& reply);

/// How long a body may be. It is read for POST alone.
VANTIFLUX_API std::size_t getBodyLimit(const Pelorn::ProtocolHTTP::Request& request);

/// Whether a request is for this interface.
VANTIFLUX_API bool isMeant(const Pelorn::ProtocolHTTP::Request& request);

/// Ends all WebSockets of the process.
VANTIFLUX_API void cleanup();

} // namespace REST
