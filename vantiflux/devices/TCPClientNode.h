#pragma once

#include <string>
#include <vector>

#include <vantiflux/Export.h>
#include <vantiflux/core/NodeDescription.h>
#include <vantiflux/core/OutSlot.h>
#include <vantiflux/core/SmartPtr.h>
#include <vantiflux/devices/TCPNode.h>
#include <vantiflux/platform/pelorn/Socket.h>
#include <vantiflux/platform/pelorn/StreamBuf.h>

namespace Vantiflux {

/// Keeps a connection to a server for as long as it is enabled. A second after an attempt has failed it tries again; an
/// attempt that nobody answers fails after 3 seconds, in which the system asks twice. The look-up of a host name comes
/// before, with 10 seconds of its own.
///
/// | Slot       | Direction | Type                     |                                                  |
/// |------------|-----------|--------------------------|--------------------------------------------------|
/// | "Data in"  | in        | `string`                 | sent unchanged; dropped without a connection     |
/// | "Data out" | out       | `string`                 | messages, cut as in MessageCutter, unchanged     |
/// | "Data out" | out       | `SmartPtr<vector<long>>` | the same messages, an element a byte, 0 to 255   |
///
/// A route to "Data out" takes the slot of the fitting type.
///
/// *Failure.* The node stays Running while it tries. The reason of a failure is in the log, once for as long as it is
/// the same. A connection that lasted less than a second counts as a failed attempt.
class VANTIFLUX_API TCPClientNode : public TCPNode, public NodeDescription<TCPClientNode> {
public:
  TCPClientNode();
  ~TCPClientNode() override;

  const NodeType* type() const override;

  /// How long an attempt may take, and the pause between two of them, in milliseconds.
  static constexpr int connectTime = 3000;
  static constexpr int retryPause = 1000;

protected:
  bool prepare() override;
  void interrupt() override;
  void thread() override;

private:
  bool connect(const std::string& address, unsigned short port);
  void communicate(const std::string& server);
  void push(const std::string& message);

  OutSlot<SmartPtr<std::vector<long>>> bytesOut_;
  Pelorn::Socket socket_;
  Pelorn::StreamBuf stream_{socket_};
  std::string trouble_; ///< the reason in the log; the worker's
};

} // namespace Vantiflux
