#pragma once

#include <string>

#include <vantiflux/Export.h>
#include <vantiflux/core/NodeDescription.h>
#include <vantiflux/core/Setting.h>
#include <vantiflux/devices/ByteStreamNode.h>
#include <vantiflux/platform/pelorn/Serial.h>
#include <vantiflux/platform/pelorn/StreamBuf.h>

namespace Vantiflux {

/// Reads and writes a serial port while one of its slots is in use.
///
/// | Slot       | Direction | Type     |                                                                        |
/// |------------|-----------|----------|------------------------------------------------------------------------|
/// | "Data in"  | in        | `string` | sent unchanged                                                         |
/// | "Data out" | out       | `string` | messages, cut as in MessageCutter, from Latin-1 turned into UTF-8      |
///
/// Fields: see the table in the source. "Device" is a number, or the path of a terminal device. What reaches "Data in"
/// before the init string is out waits for that. The deinit string goes out as it is: "#" in it is no pause.
///
/// *Threads.* The port is opened in `start`, so that the state tells at once whether it could be; the worker sends the
/// init string, whose pauses must not hold up others.
///
/// *Failure.* A port that cannot be opened, or does not know a setting, gives the state Error, with the reason in the
/// log; so does one whose data somebody else reads. When the device goes, the node is Sleeping until it is started
/// again.
class VANTIFLUX_API SerialNode : public ByteStreamNode, public NodeDescription<SerialNode> {
public:
  SerialNode();
  ~SerialNode() override;

  const NodeType* type() const override;
  void start() override;
  void stop() override;

  void setDevice(const std::string& device) { device_.set(device); }
  std::string getDevice() const { return device_.get(); }
  void setBaudRate(int rate) { baudRate_.set(rate); }
  int getBaudRate() const { return baudRate_.get(); }
  void setDataBits(int bits) { dataBits_.set(bits); }
  int getDataBits() const { return dataBits_.get(); }
  void setParity(const std::string& parity) { parity_.set(parity); }
  std::string getParity() const { return parity_.get(); }
  void setStopBits(int bits) { stopBits_.set(bits); }
  int getStopBits() const { return stopBits_.get(); }
  void setHandshake(const std::string& handshake) { handshake_.set(handshake); }
  std::string getHandshake() const { return handshake_.get(); }
  void setDTR(bool on) { dtr_.set(on); }
  bool getDTR() const { return dtr_.get(); }
  void setRTS(bool on) { rts_.set(on); }
  bool getRTS() const { return rts_.get(); }

protected:
  void thread() override;
  void sayGoodbye(Pelorn::StreamBuf& stream) override;

private:
  bool openPort();
  void applySettings();
  void closePort();

  Setting<std::string> device_{"0"};
  Setting<int> baudRate_{9600};
  Setting<int> dataBits_{8};
  Setting<std::string> parity_{"none"};
  Setting<int> stopBits_{1};
  Setting<std::string> handshake_{"none"};
  Setting<bool> dtr_{true};
  Setting<bool> rts_{true};
  Pelorn::Serial port_;
  Pelorn::StreamBuf stream_{port_};
};

} // namespace Vantiflux
