#pragma once

#include <string>

#include <vantiflux/Export.h>
#include <vantiflux/platform/pelorn/Descriptor.h>
#include <vantiflux/platform/pelorn/ProtocolHTTP.h>
#include <vantiflux/platform/pelorn/SocketAddress.h>

namespace Pelorn {

/// One connection of a web server, for who answers its requests. They come one after the other.
///
/// *Threads.* For the thread that answers a request, while it does.
class VANTIFLUX_API WebClient {
public:
  virtual ~WebClient();

  /// Where the body of the request that is being answered comes from, and its reply goes.
  virtual ProtocolHTTP& getProtocol() noexcept = 0;
  virtual const SocketAddress& getRemoteAddress() const noexcept = 0;

  /// Takes the connection out of the server's hands, for another protocol. `unread` gets what has been received beyond
  /// the request. The descriptor does not block. From here on the server neither reads nor closes it; no reply can be
  /// sent through the protocol any more, and the request is answered with 0.
  virtual Descriptor detach(std::string& unread) = 0;

  /// How many requests were counted by `countRequest`, which whoever limits their number calls for each.
  unsigned getRequests() const noexcept { return requests_; }
  unsigned countRequest() noexcept { return ++requests_; }

private:
  unsigned requests_ = 0;
};

} // namespace Pelorn
