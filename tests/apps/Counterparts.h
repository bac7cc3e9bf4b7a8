#pragma once

#include <array>
#include <cstdint>
#include <cstdlib>
#include <string>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace test {

/// A terminal that nobody reads.
class Terminal {
public:
  Terminal() : master_(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
    if (master_ < 0 || grantpt(master_) != 0 || unlockpt(master_) != 0)
      std::abort();
    std::array<char, 64> name{};
    if (ptsname_r(master_, name.data(), name.size()) != 0)
      std::abort();
    slave_ = open(name.data(), O_RDWR | O_NOCTTY | O_CLOEXEC);
  }
  ~Terminal() {
    close(slave_);
    close(master_);
  }
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  int slave() const { return slave_; }

private:
  int master_;
  int slave_ = -1;
};

/// Until it takes no byte more.
inline void fill(int fd) {
  const int flags = fcntl(fd, F_GETFL);
  fcntl(fd, F_SETFL, flags | O_NONBLOCK);
  const std::array<char, 4096> part{};
  for (std::size_t size = part.size(); size > 0; size /= 2)
    while (write(fd, part.data(), size) > 0) {
    }
  fcntl(fd, F_SETFL, flags);
}

/// Takes connections on the loopback interface and never says a word.
class SilentServer {
public:
  SilentServer() : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof(address);
    auto* const any = reinterpret_cast<sockaddr*>(&address);
    if (bind(socket_, any, size) != 0 || listen(socket_, 4) != 0 || getsockname(socket_, any, &size) != 0)
      std::abort();
    port_ = ntohs(address.sin_port);
  }
  ~SilentServer() { close(socket_); }
  SilentServer(const SilentServer&) = delete;
  SilentServer& operator=(const SilentServer&) = delete;

  std::uint16_t port() const { return port_; }
  int accept() const { return accept4(socket_, nullptr, nullptr, SOCK_CLOEXEC); }

private:
  int socket_;
  std::uint16_t port_ = 0;
};

} // namespace test
