#pragma once

#include <string>

#include <vantiflux/Export.h>
#include <vantiflux/core/NodeDescription.h>
#include <vantiflux/core/Setting.h>
#include <vantiflux/devices/StreamNode.h>
#include <vantiflux/platform/pelorn/UDP.h>

namespace Vantiflux {

/// Sends and receives datagrams while one of its slots is in use. A message is a datagram, an empty one too.
///
/// | Slot       | Direction | Type     |                                                                         |
/// |------------|-----------|----------|-------------------------------------------------------------------------|
/// | "Data in"  | in        | `string` | sent unchanged, up to 65507 bytes; kept while the socket is being opened |
/// | "Data out" | out       | `string` | from every sender, from Latin-1 turned into UTF-8                       |
///
/// Without a remote address and port, nothing can be sent. "LocalPort" 0 takes a free port, which the short info tells.
///
/// *Failure.* A socket that cannot be opened gives the state Error, with the reason in the log. What cannot be sent is
/// dropped, as in Outlet.
class VANTIFLUX_API UDPNode : public StreamNode, public NodeDescription<UDPNode> {
public:
  UDPNode();
  ~UDPNode() override;

  const NodeType* type() const override;
  void start() override;
  void stop() override;

  void setRemoteAddress(const std::string& address) { remoteAddress_.set(address); }
  std::string getRemoteAddress() const { return remoteAddress_.get(); }
  void setRemotePort(unsigned short port) { remotePort_.set(port); }
  unsigned short getRemotePort() const { return remotePort_.get(); }
  void setLocalAddress(const std::string& address) { localAddress_.set(address); }
  std::string getLocalAddress() const { return localAddress_.get(); }
  void setLocalPort(unsigned short port) { localPort_.set(port); }
  unsigned short getLocalPort() const { return localPort_.get(); }

protected:
  void thread() override;

private:
  bool openSocket();
  void receive();

  Setting<std::string> remoteAddress_{"0.0.0.0"};
  Setting<unsigned short> remotePort_;
  Setting<std::string> localAddress_{"0.0.0.0"};
  Setting<unsigned short> localPort_;
  Pelorn::UDP socket_;
};

} // namespace Vantiflux
