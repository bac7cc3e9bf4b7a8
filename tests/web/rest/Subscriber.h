#pragma once

#include <cstdint>
#include <string>

#include <boost/asio/buffer.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/websocket.hpp>

namespace test {

namespace asio = boost::asio;
namespace beast = boost::beast;
using Tcp = asio::ip::tcp;

/// A WebSocket client that waits for what it asks for.
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

  /// One for all: each has descriptors of its own.
  static asio::io_context& context() {
    static asio::io_context the;
    return the;
  }

  beast::websocket::stream<Tcp::socket> stream{context()};
};

} // namespace test
