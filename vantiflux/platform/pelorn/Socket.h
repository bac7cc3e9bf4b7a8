#pragma once

#include <cstdint>
#include <string>
#include <vantiflux/Export.h>
#include <vantiflux/platform/pelorn/Channel.h>
#include <vantiflux/platform/pelorn/SocketAddress.h>

namespace Pelorn {

/// A TCP connection, made by `open` or accepted by a `ServerSocket`.
///
/// Threads: all operations from any thread. Sending never raises SIGPIPE.
class VANTIFLUX_API Socket : public Channel {
public:
  Socket();
  ~Socket() override;

  /// Closes an earlier connection and connects. Blocks until connected, failed, broken, closed, or `timeout`
  /// milliseconds are over (negative: the system's own limit, some two minutes). Throws `IOException` with the cause.
  void open(const std::string& address, std::uint16_t port, int timeout = -1);

  /// True: small writes go out at once, without waiting for acknowledgements. False on failure.
  bool setTcpNoDelay(bool on);
  /// True: the system probes an idle peer, so that one that vanished is noticed in the end. False on failure.
  bool setKeepAlive(bool on);
  /// Tells the peer that no more will be sent. False on failure.
  bool shutdownOutput();

  /// The ends of the connection, invalid when there is none.
  SocketAddress getLocalAddress() const;
  SocketAddress getRemoteAddress() const;

protected:
  ssize_t readSome(int fd, char* data, std::size_t size) override;
  ssize_t writeSome(int fd, const char* data, std::size_t size) override;

private:
  friend class ServerSocket;
  explicit Socket(Descriptor accepted);
  void connect(const Handle& attempt, const SocketAddress& to, const std::string& what, const Deadline& deadline);
  bool setOption(int level, int option, bool on);
};

} // namespace Pelorn
