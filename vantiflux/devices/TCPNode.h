#pragma once

#include <string>

#include <vantiflux/Export.h>
#include <vantiflux/core/Field.h>
#include <vantiflux/core/FieldRow.h>
#include <vantiflux/core/Setting.h>
#include <vantiflux/devices/ByteStreamNode.h>
#include <vantiflux/platform/pelorn/Socket.h>

namespace Vantiflux {

/// What both ends of a TCP connection have in common: a field "Address" and a field "Port", and a worker that runs for
/// as long as the node is enabled, whether or not a slot is in use.
///
/// *Failure.* A peer that vanishes, or takes nothing of what waits for it, loses its connection after 30 seconds.
///
/// A derived class calls `disable` and then `stopWork` in its own destructor.
class VANTIFLUX_API TCPNode : public ByteStreamNode {
public:
  ~TCPNode() override;

  void setAddress(const std::string& address) { address_.set(address); }
  std::string getAddress() const { return address_.get(); }
  void setPort(unsigned short port) { port_.set(port); }
  unsigned short getPort() const { return port_.get(); }

  /// The rows of these fields, with the word for the other end.
  template <class N>
  static Field initStringRow(const std::string& peer) {
    return fieldRow<N>("InitString",
                       "A initialization string that is send to the " + peer + " after opening the connection.", "",
                       &TCPNode::setInitString, &TCPNode::getInitString);
  }
  template <class N>
  static Field deinitStringRow(const std::string& peer) {
    return fieldRow<N>("DeinitString",
                       "A deinitialization string that is send to the " + peer + " before closing the connection.", "",
                       &TCPNode::setDeinitString, &TCPNode::getDeinitString);
  }

protected:
  using ByteStreamNode::ByteStreamNode;

  void initialize() override;
  void shutdown() override;

  /// As of NodeWorker: make ready for a run of the worker, and make it return.
  virtual bool prepare() = 0;
  virtual void interrupt() = 0;

  void stopWork();

  /// For a fresh connection.
  static void configure(Pelorn::Socket& socket);

private:
  Setting<std::string> address_;
  Setting<unsigned short> port_;
};

} // namespace Vantiflux
