#pragma once

#include <string>
#include <vector>

#include <vantiflux/Export.h>
#include <vantiflux/core/OutSlot.h>
#include <vantiflux/core/Setting.h>
#include <vantiflux/core/SmartPtr.h>
#include <vantiflux/devices/ByteStreamNode.h>
#include <vantiflux/platform/pelorn/Socket.h>
#include <vantiflux/platform/pelorn/StreamBuf.h>

namespace Vantiflux {

/// Keeps a connection to a server for as long as it is enabled, connecting again once a second.
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
class VANTIFLUX_API TCPClientNode : public ByteStreamNode {
public:
  TCPClientNode();
  ~TCPClientNode() override;

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
  void stopWork();
  bool connect(const std::string& address, unsigned short port);
  void communicate(const std::string& server);
  void push(const std::string& message);

  static const char* const typeName_;
  static const char* const author_;
  static const char* const shortDescription_;
  static const char* const longDescription_;
  static Field fields_[];
  static NodeType type_;

  OutSlot<SmartPtr<std::vector<long>>> bytesOut_;
  Setting<std::string> address_;
  Setting<unsigned short> port_;
  Pelorn::Socket socket_;
  Pelorn::StreamBuf stream_{socket_};
  std::string trouble_; ///< the reason in the log; the worker's
};

} // namespace Vantiflux
