#pragma once

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
/// that neither says anything nor answers a ping for two minutes, and one that sends a message of more than 16 MiB.
class VANTIFLUX_API WebSocketServer final : public WebSocketBase {
public:
  static constexpr std::size_t messageLimit = std::size_t{16} << 20;

  /// Takes the connection over if the request asks for that; null otherwise. The handshake is made when the connection
  /// is started. With `binary` all messages are binary; a `protocol` that is not empty is told to the client.
  static std::unique_ptr<WebSocketServer> acceptClient(WebClient& client, const ProtocolHTTP::Request& request,
                                                       bool binary, const std::string& protocol);
  ~WebSocketServer() override;

  void start(std::weak_ptr<Listener> listener) override;
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
