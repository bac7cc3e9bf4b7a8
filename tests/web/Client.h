#pragma once

#include <array>
#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

namespace test {

/// What a server said to one request; status 0 when it closed without a word.
struct Answer {
  int status = 0;
  std::string head;
  std::string body;

  /// The value of the header, empty when there is none.
  std::string header(const std::string& name) const {
    const std::size_t found = head.find("\r\n" + name + ": ");
    if (found == std::string::npos)
      return {};
    const std::size_t start = found + name.size() + 4;
    return head.substr(start, head.find("\r\n", start) - start);
  }
  bool has(std::string_view text) const { return body.find(text) != std::string::npos; }
};

/// One connection to a server on the loopback interface, down to the bytes. A server that keeps silent for a minute is
/// taken for one that has closed.
class Client {
public:
  explicit Client(std::uint16_t port) : Client() { connect(port); }
  /// Not connected yet.
  Client() : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    const timeval limit{60, 0};
    setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
    const int on = 1;
    setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
  }
  ~Client() {
    if (socket_ >= 0)
      close(socket_);
  }
  Client(Client&& other) noexcept : socket_(other.socket_), rest_(std::move(other.rest_)) { other.socket_ = -1; }
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  bool connect(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    return ::connect(socket_, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0;
  }
  /// How much the system keeps for this side before it is read.
  void setReceiveBuffer(int size) { setsockopt(socket_, SOL_SOCKET, SO_RCVBUF, &size, sizeof(size)); }
  int descriptor() const { return socket_; }

  /// False when the server takes no more.
  bool send(std::string_view text) {
    while (!text.empty()) {
      const ssize_t sent = ::send(socket_, text.data(), text.size(), MSG_NOSIGNAL);
      if (sent < 0)
        return false;
      text.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
  }
  void sendByByte(std::string_view text) {
    for (const char c : text)
      send({&c, 1});
  }
  void endSending() { shutdown(socket_, SHUT_WR); }

  /// The next reply; without its body when the request was one for the head.
  Answer receive(bool headOnly = false) {
    Answer answer;
    std::size_t end = std::string::npos;
    while ((end = rest_.find("\r\n\r\n")) == std::string::npos)
      if (!fill())
        return answer;
    answer.head = rest_.substr(0, end + 2);
    rest_.erase(0, end + 4);
    answer.status = std::atoi(answer.head.c_str() + answer.head.find(' '));
    const std::size_t length = headOnly ? 0 : std::strtoul(answer.header("Content-Length").c_str(), nullptr, 10);
    while (rest_.size() < length && fill()) {
    }
    answer.body = rest_.substr(0, length);
    rest_.erase(0, length);
    return answer;
  }
  Answer ask(const std::string& method, const std::string& path, const std::string& headers = "") {
    send(method + ' ' + path + " HTTP/1.1\r\nHost: localhost\r\n" + headers + "\r\n");
    return receive(method == "HEAD");
  }
  Answer get(const std::string& path, const std::string& headers = "") { return ask("GET", path, headers); }
  Answer post(const std::string& path, const std::string& body, const std::string& headers = "") {
    send("POST " + path + " HTTP/1.1\r\nHost: localhost\r\nContent-Length: " + std::to_string(body.size()) + "\r\n" +
         headers + "\r\n" + body);
    return receive();
  }

  /// Reads to the end and drops it; whether the end came, and how many bytes there were before it.
  bool readToEnd(std::size_t* bytes = nullptr) {
    std::size_t size = rest_.size();
    std::array<char, 65536> part{};
    for (;;) {
      const ssize_t got = ::recv(socket_, part.data(), part.size(), 0);
      if (bytes != nullptr)
        *bytes = size;
      if (got <= 0)
        return got == 0 || errno == ECONNRESET;
      size += static_cast<std::size_t>(got);
    }
  }

private:
  bool fill() {
    std::array<char, 65536> part;
    const ssize_t got = ::recv(socket_, part.data(), part.size(), 0);
    if (got > 0)
      rest_.append(part.data(), static_cast<std::size_t>(got));
    return got > 0;
  }

  int socket_;
  std::string rest_; ///< received, and not asked for yet
};

/// One request on a connection of its own.
inline Answer get(std::uint16_t port, const std::string& path, const std::string& headers = "") {
  return Client(port).get(path, headers + "Connection: close\r\n");
}

/// A form with a file, as a browser sends it.
inline Answer postFile(std::uint16_t port, const std::string& path, const std::string& file,
                       const std::string& space = "") {
  const std::string part = "--edge\r\nContent-Disposition: form-data; name=";
  std::string body = part + "\"filename\"; filename=\"a.vfx\"\r\nContent-Type: text/xml\r\n\r\n" + file + "\r\n";
  if (!space.empty())
    body += part + "\"namespace\"\r\n\r\n" + space + "\r\n";
  return Client(port).post(path, body + "--edge--\r\n",
                           "Content-Type: multipart/form-data; boundary=edge\r\nConnection: close\r\n");
}

} // namespace test
