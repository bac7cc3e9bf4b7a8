#pragma once

#include <memory>
#include <string>

#include <vantiflux/Export.h>
#include <vantiflux/core/NodeDescription.h>
#include <vantiflux/devices/TCPNode.h>
#include <vantiflux/platform/pelorn/ServerSocket.h>
#include <vantiflux/platform/pelorn/Socket.h>
#include <vantiflux/platform/tarsil/Mutex.h>

namespace Vantiflux {

/// Waits for a client for as long as it is enabled, and serves one at a time; others wait in the system's queue.
///
/// | Slot       | Direction | Type     |                                              |
/// |------------|-----------|----------|----------------------------------------------|
/// | "Data in"  | in        | `string` | sent unchanged; dropped without a client     |
/// | "Data out" | out       | `string` | messages, cut as in MessageCutter, unchanged |
///
/// The short info tells the address and the port that the node in fact listens on. An "Address" that is a host name is
/// looked up by the worker, so that the node is Sleeping, for up to 10 seconds, before it is Running or in Error. The
/// look-up of a client's name holds up that client for half a second at most.
///
/// *Failure.* A listener that cannot be opened, or fails later, gives the state Error. What concerns one client only
/// ends the connection to that.
class VANTIFLUX_API TCPServerNode : public TCPNode, public NodeDescription<TCPServerNode> {
public:
  TCPServerNode();
  ~TCPServerNode() override;

  const NodeType* type() const override;

protected:
  bool prepare() override;
  void interrupt() override;
  void thread() override;

private:
  bool openListener(const std::string& address);
  void serveClients();
  void serve(std::unique_ptr<Pelorn::Socket> client);

  Pelorn::ServerSocket listener_;
  Tarsil::Mutex clientMutex_;                                        ///< innermost; guards the pointer
  Pelorn::Socket* client_ TARSIL_GUARDED_BY(clientMutex_) = nullptr; ///< whom the worker serves
};

} // namespace Vantiflux
