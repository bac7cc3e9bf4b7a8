#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include <vantiflux/Export.h>
#include <vantiflux/platform/pelorn/ProtocolHTTP.h>
#include <vantiflux/platform/pelorn/WebClient.h>
#include <vantiflux/platform/pelorn/WebSocketBase.h>

namespace Pelorn {

class WebSocketSession;
class WebSocketThreads;

/// The server's end of a WebSocket connection.
///
/// Pings are answered. A client that takes nothing of a message for 10 seconds loses the connection, and so does one
/// that neither says anything nor answers a ping for two minutes, one whose message takes more than a minute to come,
/// and one that takes more than a minute for a message and a second for every 16 KiB of it. Where the messages of all
/// clients, and to all of them, would together take more than 256 MiB, the connection ends that the last of them
/// belongs to; the first 64 KiB each way are always granted.
class VANTIFLUX_API WebSocketServer final : public WebSocketBase {
public:
  /// Bytes, for who wants large messages.
  static constexpr std::size_t messageLimit = std::size_t{16} << 20;

  /// How many connections a process should have at most: they need a descriptor each, and other things need some too.
  static std::size_t getMaxConnections();

  /// How many bytes the messages of all connections may take together. Returns the limit before; what is there stays.
  static std::size_t setMemoryLimit(std::size_t bytes);

  /// Takes the connection over if the request asks for that; null otherwise. The handshake is made when the connection
  /// is started. With `binary` all messages are binary; a `protocol` that is not empty is told to the client. Throws
  /// std::system_error when there are no threads for it.
  static std::unique_ptr<WebSocketServer> acceptClient(WebClient& client, const ProtocolHTTP::Request& request,
                                                       bool binary, const std::string& protocol);
  ~WebSocketServer() override;

  void start(std::weak_ptr<Listener> listener, Incoming incoming) override;
  void requestReady() override;
  void sendMessage(std::string text) override;
  void sendBinaryMessage(std::string bytes) override;
  void close() override;

private:
  explicit WebSocketServer(std::shared_ptr<WebSocketThreads> threads, std::shared_ptr<WebSocketSession> session,
                           bool binary);

  const std::shared_ptr<WebSocketThreads> threads_; ///< outlives the session
  const std::shared_ptr<WebSocketSession> session_;
  const bool binary_;
};

} // namespace Pelorn
