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
  /// milliseconds are over (negative: the system's own limit, some two minutes); before that, a host name is looked up,
  /// for 10 seconds at most. A port that nobody listens on refuses, also where the system would connect the socket to
  /// itself. Throws `IOException` with the cause.
  void open(const std::string& address, std::uint16_t port, int timeout = -1);

  /// True: small writes go out at once, without waiting for acknowledgements. False on failure.
  bool setTcpNoDelay(bool on);
  /// True: a connection whose peer has vanished, or takes nothing of what waits for it, fails after 30 seconds. The
  /// system probes an idle peer for that. False on failure.
  bool setKeepAlive(bool on);
  /// Tells the peer that no more will be sent. False on failure.
  bool shutdownOutput();

  /// The ends of the connection, invalid when there is none.
  SocketAddress getLocalAddress() const;
  SocketAddress getRemoteAddress() const;
  /// The peer's name, or its dotted number when there is none within half a second, or before the wait is broken.
  std::string getRemoteHostName() const;

protected:
  ssize_t readSome(int fd, char* data, std::size_t size) override;
  ssize_t writeSome(int fd, const char* data, std::size_t size) override;
  /// Tells the peer that no more will be sent, and waits until its system has everything. What arrives meanwhile is
  /// dropped: unread, it would make the close a reset, which may cost the peer what it has not read yet.
  void finish(const Handle& on, const Deadline& deadline) override;

private:
  friend class ServerSocket;
  explicit Socket(Descriptor accepted);
  void connect(const Handle& attempt, const SocketAddress& to, const std::string& what, const Deadline& deadline);
  bool setOption(int level, int option, int value);
};

} // namespace Pelorn
