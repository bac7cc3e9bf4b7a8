#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include <vantiflux/Export.h>
#include <vantiflux/platform/pelorn/SocketAddress.h>
#include <vantiflux/platform/pelorn/WebLimits.h>
#include <vantiflux/platform/pelorn/WebServer.h>

namespace Pelorn {

class WebCore;
class WebVisitors;

/// A web server that listens on a port. Connections wait in event loops, as many as there are processors (4 at most),
/// and cost no thread; requests are answered on the loop's thread. When an answer does not come within some
/// milliseconds, because it waits for a lock, another thread goes on with the loop, which is started when it is needed.
/// Heads and bodies are received, and replies sent, as fast as the client goes, without a thread waiting for it.
///
/// *Threads.* All operations from any thread, inside a request too, but for the destructor: it waits for requests that
/// are being answered, so none of them may call it, and nobody who holds a lock that they may want. Where the server
/// belongs to something that may go away inside a request, `setKeeper` lets requests keep their owner until they end.
///
/// *Failure.* A system that has no descriptor left for a client loses the connections that have been idle for longest.
class VANTIFLUX_API ThreadedWebServer : public WebServer {
public:
  /// Asked at each request for what is to be kept until it ends; with null the connection ends instead.
  using Keeper = std::function<std::shared_ptr<void>()>;

  ThreadedWebServer();
  ~ThreadedWebServer() override;

  /// Binds and listens; an empty address stands for every interface, port 0 for a free one. `realm` is what people are
  /// told that they log in to, `product` what replies name as the server; empty: the server's name. A host name is
  /// looked up, for 10 seconds at most. Throws `IOException`. An open server is closed first.
  virtual void open(const std::string& address, std::uint16_t port, const std::string& realm,
                    const std::string& product);
  /// Stops serving: the port is free, idle connections end. Does not wait: requests that are being answered still get
  /// their replies.
  virtual void close();
  /// Closes for good, and waits for requests that are being answered. The destructor does so too, but for a derived
  /// class that is too late: it calls this in its own.
  void closeAndWait();
  /// Told of connections that come and go while the server is open, by the threads of the loops.
  virtual void addClient(WebClient& /*client*/) {}
  virtual void removeClient(WebClient& /*client*/) {}
  void addLog(const std::string& line) override;

  /// What is in fact bound; invalid when closed.
  SocketAddress getSocketAddress() const;
  /// Connections, in use or idle.
  std::size_t getNumClients() const;

  /// Both count from the next `open` on.
  void setLimits(const WebLimits& limits);
  void setKeeper(Keeper keeper);

private:
  std::shared_ptr<WebCore> core() const;

  const std::shared_ptr<WebVisitors> visitors_;
  mutable std::mutex lock_; ///< innermost; guards the rest
  std::shared_ptr<WebCore> core_;
  WebLimits limits_;
  Keeper keeper_;
};

} // namespace Pelorn
