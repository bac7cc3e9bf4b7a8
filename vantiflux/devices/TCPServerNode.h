#pragma once

#include <memory>
#include <string>

#include <vantiflux/Export.h>
#include <vantiflux/core/Setting.h>
#include <vantiflux/devices/ByteStreamNode.h>
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
/// looked up when the node is enabled, which takes up to 5 seconds if the name service does not answer.
///
/// *Failure.* A listener that cannot be opened, or fails later, gives the state Error. What concerns one client only
/// ends the connection to that.
class VANTIFLUX_API TCPServerNode : public ByteStreamNode {
public:
  TCPServerNode();
  ~TCPServerNode() override;

  const NodeType* type() const override { return &type_; }

  static Node* create();

  void setAddress(const std::string& address) { address_.set(address); }
  std::string getAddress() const { return address_.get(); }
  void setPort(unsigned short port) { port_.set(port); }
  unsigned short getPort() const { return port_.get(); }

protected:
  void initialize() override;
  void shutdown() override;
  void thread() override;

private:
  bool openListener();
  void stopWork();
  void serveClients();
  void serve(std::unique_ptr<Pelorn::Socket> client);

  static const char* const typeName_;
  static const char* const author_;
  static const char* const shortDescription_;
  static const char* const longDescription_;
  static Field fields_[];
  static NodeType type_;

  Setting<std::string> address_;
  Setting<unsigned short> port_;
  Pelorn::ServerSocket listener_;
  Tarsil::Mutex clientMutex_;                                        ///< innermost; guards the pointer
  Pelorn::Socket* client_ TARSIL_GUARDED_BY(clientMutex_) = nullptr; ///< whom the worker serves
};

} // namespace Vantiflux
