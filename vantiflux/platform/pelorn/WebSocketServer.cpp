#include <vantiflux/platform/pelorn/WebSocketServer.h>

#include <algorithm>
#include <utility>

#include <sys/resource.h>
#include <sys/socket.h>

#include <boost/asio/ip/tcp.hpp>
#include <boost/locale/utf.hpp>

#include <vantiflux/platform/pelorn/HTTPHeaders.h>
#include <vantiflux/platform/pelorn/WebSocketMemory.h>
#include <vantiflux/platform/pelorn/WebSocketSession.h>
#include <vantiflux/platform/pelorn/WebSocketThreads.h>

namespace Pelorn {

namespace {

constexpr std::size_t headLimit = 1536; ///< of what the handshake can take in at once

bool asksForUpgrade(const ProtocolHTTP::Request& request) {
  return request.method == "GET" && request.majorVersion == 1 && request.minorVersion >= 1 &&
         request.headers.hasWord("Connection", "upgrade") && request.headers.hasWord("Upgrade", "websocket") &&
         request.headers.hasParam("Sec-WebSocket-Key");
}

/// The head as the handshake wants to see it.
std::string headOf(const ProtocolHTTP::Request& request) {
  std::string head = "GET / HTTP/1.1\r\nConnection: Upgrade\r\nUpgrade: websocket\r\n";
  for (const char* const name : {"Host", "Sec-WebSocket-Key", "Sec-WebSocket-Version"})
    if (const std::string* const value = request.headers.findParam(name))
      head += std::string(name) + ": " + *value + "\r\n";
  return head + "\r\n";
}

boost::asio::ip::tcp familyOf(const Descriptor& socket) {
  int family = AF_INET;
  socklen_t size = sizeof family;
  ::getsockopt(socket.get(), SOL_SOCKET, SO_DOMAIN, &family, &size);
  return family == AF_INET6 ? boost::asio::ip::tcp::v6() : boost::asio::ip::tcp::v4();
}

bool isUtf8(const std::string& text) {
  namespace utf = boost::locale::utf;
  const auto isAscii = [](char c) { return static_cast<unsigned char>(c) < 0x80; };
  for (auto at = std::find_if_not(text.begin(), text.end(), isAscii); at != text.end();) {
    const utf::code_point code = utf::utf_traits<char>::decode(at, text.end());
    if (code == utf::illegal || code == utf::incomplete)
      return false;
  }
  return true;
}

} // namespace

std::unique_ptr<WebSocketServer> WebSocketServer::acceptClient(WebClient& client, const ProtocolHTTP::Request& request,
                                                               bool binary, const std::string& protocol) {
  if (!asksForUpgrade(request))
    return nullptr;
  std::string head = headOf(request);
  if (head.size() > headLimit)
    return nullptr;
  auto threads = WebSocketThreads::get();
  std::string unread;
  Descriptor socket = client.detach(unread);
  if (!socket)
    return nullptr;
  // Well-behaved clients say nothing before the reply; who says too much fails in the handshake.
  head += unread.substr(0, headLimit - head.size());
  const boost::asio::ip::tcp family = familyOf(socket);
  auto session = std::make_shared<WebSocketSession>(*threads, family, std::move(socket), std::move(head), protocol);
  return std::unique_ptr<WebSocketServer>(new WebSocketServer(std::move(threads), std::move(session), binary));
}

WebSocketServer::WebSocketServer(std::shared_ptr<WebSocketThreads> threads, std::shared_ptr<WebSocketSession> session,
                                 bool binary)
    : threads_(std::move(threads)), session_(std::move(session)), binary_(binary) {}

WebSocketServer::~WebSocketServer() {
  session_->close();
}

std::size_t WebSocketServer::getMaxConnections() {
  constexpr std::size_t most = 1024;
  rlimit descriptors{};
  if (::getrlimit(RLIMIT_NOFILE, &descriptors) != 0)
    return most;
  return static_cast<std::size_t>(std::min<rlim_t>(most, descriptors.rlim_cur / 4));
}

std::size_t WebSocketServer::setMemoryLimit(std::size_t bytes) {
  return WebSocketMemory::setLimit(bytes);
}

void WebSocketServer::start(std::weak_ptr<Listener> listener, Incoming incoming) {
  session_->start(std::move(listener), incoming);
}

void WebSocketServer::requestReady() {
  session_->requestReady();
}

void WebSocketServer::sendMessage(std::string text) {
  const bool binary = binary_ || !isUtf8(text);
  session_->send(std::move(text), binary);
}

void WebSocketServer::sendBinaryMessage(std::string bytes) {
  session_->send(std::move(bytes), true);
}

void WebSocketServer::close() {
  session_->close();
}

} // namespace Pelorn
