#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <sys/uio.h>

#include <vantiflux/Export.h>
#include <vantiflux/platform/pelorn/ServerSocket.h>
#include <vantiflux/platform/pelorn/Socket.h>

namespace Pelorn {

/// The TCP connection between two peers, as an event loop uses it. Small events go out at once, and a peer that does
/// not answer any more is noticed within 10 seconds, whether there is something to send or not: the system probes it.
/// *Threads.* All operations from any thread once it is open.
class VANTIFLUX_API LinkSocket : public Socket {
public:
  LinkSocket();
  /// Of a client that was accepted. Throws `IOException` when the system has no descriptors left.
  explicit LinkSocket(Descriptor accepted);
  ~LinkSocket() override;

  /// Connects, as Socket, and sets the options.
  void connect(const std::string& address, std::uint16_t port, int timeout);

  /// Without blocking: the number of bytes; 0 when that would block; -1 at the end and after a failure.
  ssize_t receive(std::span<std::byte> room) const;
  ssize_t send(std::span<const iovec> pieces) const;
  /// `timeout` in milliseconds. Breaking and closing end the wait.
  WaitResult waitForData(int timeout) const;

  /// Ends the connection in both directions and wakes all who wait for it. The descriptor stays until `close`.
  void hangUp();
  /// For a loop; -1 before it is open.
  int descriptor() const noexcept { return link_ ? link_->fd() : -1; }

private:
  void prepare();

  HandlePtr link_; ///< set before others get to see the object
};

/// A listening socket for an event loop.
class VANTIFLUX_API LinkServer : public ServerSocket {
public:
  ~LinkServer() override;

  int descriptor() const;
  /// The next client that waits, without blocking; null when there is none, or the system is short of something.
  std::unique_ptr<LinkSocket> acceptLink();
};

} // namespace Pelorn
