#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vantiflux/Export.h>
#include <vantiflux/platform/pelorn/Channel.h>
#include <vantiflux/platform/pelorn/Socket.h>
#include <vantiflux/platform/pelorn/SocketAddress.h>

namespace Pelorn {

/// A listening TCP socket.
///
/// Threads: all operations from any thread.
class VANTIFLUX_API ServerSocket : public Channel {
public:
  ServerSocket();
  ~ServerSocket() override;

  /// Listens on the interface with this address; an empty address means every interface, port 0 a free one that the
  /// system chooses. A host name is looked up, for 10 seconds at most, which breaking and closing end. Throws
  /// `IOException`.
  void open(const std::string& address, std::uint16_t port, int backlog = 16);

  /// Waits for a client and takes it; null when broken or closed. A client that gives up early, or a system that has no
  /// descriptor to spare just then, only makes it wait on. Throws `IOException` when the listener itself has failed.
  std::unique_ptr<Socket> accept();

  /// The address and port that are in fact bound, invalid when closed.
  SocketAddress getLocalAddress() const;
};

} // namespace Pelorn
