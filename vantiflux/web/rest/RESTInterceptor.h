#pragma once

#include <cstddef>

#include <vantiflux/Export.h>
#include <vantiflux/platform/pelorn/ThreadedWebServer.h>

namespace REST {

/// A web server that offers each request to the REST interface first, and to its pages when that throws.
class VANTIFLUX_API RESTInterceptor final : public Pelorn::ThreadedWebServer {
public:
  RESTInterceptor();
  /// Waits for requests, and ends the WebSockets that clients of this server have.
  ~RESTInterceptor() override;

  unsigned handleRequest(Pelorn::WebClient& client, Pelorn::ProtocolHTTP::Request& request) override;
  std::size_t getBodyLimit(const Pelorn::ProtocolHTTP::Request& request) const override;
};

} // namespace REST
