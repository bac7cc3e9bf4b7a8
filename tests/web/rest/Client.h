#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include <boost/asio/connect.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/websocket.hpp>

namespace test {

namespace asio = boost::asio;
namespace beast = boost::beast;
using Tcp = asio::ip::tcp;

/// A client of a server on this machine that waits for what it asks for.
class Connection {
public:
  explicit Connection(std::uint16_t port) {
    socket.connect(Tcp::endpoint(asio::ip::address_v4::loopback(), port));
    socket.set_option(Tcp::no_delay(true));
  }

  void send(const std::string& bytes) { asio::write(socket, asio::buffer(bytes)); }

  /// Head and body of the next reply; empty when the connection has ended.
  std::string receive(bool hasBody = true) {
    boost::system::error_code error;
    const std::size_t headSize = asio::read_until(socket, asio::dynamic_buffer(input_), "\r\n\r\n", error);
    if (error)
      return {};
    const std::string head = input_.substr(0, headSize);
    const std::size_t at = head.find("Content-Length: ");
    const std::size_t length = hasBody && at != std::string::npos ? std::stoul(head.substr(at + 16)) : 0;
    if (input_.size() < headSize + length)
      asio::read(socket, asio::dynamic_buffer(input_), asio::transfer_exactly(headSize + length - input_.size()));
    const std::string reply = input_.substr(0, headSize + length);
    input_.erase(0, reply.size());
    return reply;
  }

  /// Whether the server has ended the connection, without a word more.
  bool ends() {
    char byte = 0;
    boost::system::error_code error;
    return input_.empty() && asio::read(socket, asio::buffer(&byte, 1), error) == 0;
  }

  asio::io_context context;
  Tcp::socket socket{context};

private:
  std::string input_;
};

/// The reply to one request on a connection of its own.
inline std::string request(std::uint16_t port, const std::string& head, const std::string& body = {}) {
  Connection connection(port);
  connection.send(head + "\r\nHost: localhost\r\nConnection: close\r\n" +
                  (body.empty() ? "" : "Content-Length: " + std::to_string(body.size()) + "\r\n") + "\r\n" + body);
  return connection.receive(head.substr(0, 4) != "HEAD");
}

inline std::string bodyOf(const std::string& reply) {
  const std::size_t end = reply.find("\r\n\r\n");
  return end == std::string::npos ? reply : reply.substr(end + 4);
}

/// A WebSocket client.
class Subscriber {
public:
  Subscriber(std::uint16_t port, const std::string& path, int receiveBuffer = 0) {
    socket().open(Tcp::v4());
    if (receiveBuffer != 0)
      socket().set_option(asio::socket_base::receive_buffer_size(receiveBuffer));
    socket().connect(Tcp::endpoint(asio::ip::address_v4::loopback(), port));
    stream.handshake("localhost", path);
  }

  Tcp::socket& socket() { return stream.next_layer(); }
  void send(const std::string& message) { stream.write(asio::buffer(message)); }
  /// Empty when the connection has ended.
  std::string receive() {
    beast::flat_buffer buffer;
    boost::system::error_code error;
    stream.read(buffer, error);
    return error ? std::string() : beast::buffers_to_string(buffer.data());
  }
  /// Reads on until that comes.
  bool receiveUntil(const std::string& last) {
    for (std::string message = receive(); message != last; message = receive())
      if (message.empty())
        return false;
    return true;
  }

  asio::io_context context;
  beast::websocket::stream<Tcp::socket> stream{context};
};

} // namespace test
