#pragma once

#include <array>
#include <string>
#include <string_view>

#include <vantiflux/Export.h>
#include <vantiflux/core/NodeDescription.h>
#include <vantiflux/core/Setting.h>
#include <vantiflux/devices/FastrakPort.h>
#include <vantiflux/devices/FastrakRecord.h>
#include <vantiflux/devices/PoseSlots.h>
#include <vantiflux/devices/SearchingNode.h>

namespace Vantiflux {

/// A tracker that speaks the Polhemus Fastrak protocol on a serial port: up to four sensors, and a stylus with a button
/// on the first.
///
/// | Slot            | Direction | Type             |                                        |
/// |-----------------|-----------|------------------|----------------------------------------|
/// | "Position N"    | out       | `Vec3<float>`    | in metres; written when it has changed |
/// | "Orientation N" | out       | `Rotation`       |                                        |
/// | "Matrix N"      | out       | `Matrix4<float>` | both in one                            |
/// | "Button"        | out       | `bool`           | of the stylus; written when it changes |
///
/// N is the sensor, from 0 to 3. Slots are published for the sensors that the tracker has when the node is initialised,
/// and "Button" always. Fields: see the table in the source; they count from the next opening of the port on.
///
/// *Frames.* Right-handed: x goes right, y up, z towards the viewer.
///
/// *The line.* The tracker is looked for at the configured speed and then at all others, three times each; a search
/// that finds nothing takes some 36 seconds. The tracker is brought to the configured speed for as long as it is used,
/// and back to its own at the end.
///
/// *Failure.* A port that cannot be opened, and a tracker that is not found, give the state Error. When the line breaks
/// the node is Sleeping, until it is started again. What is no proper record is passed over.
class VANTIFLUX_API FastrakNode : public SearchingNode, public NodeDescription<FastrakNode> {
public:
  FastrakNode();
  ~FastrakNode() override;

  const NodeType* type() const override;

  void setDevice(const std::string& device) { device_.set(device); }
  std::string getDevice() const { return device_.get(); }
  // Values that a serial port does not know are refused with a line in the log.
  void setBaudRate(int rate);
  int getBaudRate() const { return baudRate_.get(); }
  void setDataBits(int bits);
  int getDataBits() const { return dataBits_.get(); }
  void setParity(const std::string& text);
  std::string getParity() const;
  void setHandshake(const std::string& text);
  std::string getHandshake() const;
  void setHemisphere(const std::string& text) { hemisphere_.set(text); }
  std::string getHemisphere() const { return hemisphere_.get(); }

  /// What the worker does with each line that comes while the tracker streams, without its line feed.
  void takeLine(std::string_view line);

protected:
  bool search() override;
  Rows foundSlots() override;
  void thread() override;
  void prepare() override { port_.resetWait(); }
  void interrupt() override { port_.breakWait(); }

private:
  bool openPort();
  void write(const FastrakRecord& record);
  void refuse(const char* field, const std::string& value);

  std::array<PoseSlots, FastrakRecord::stations> slots_;
  OutSlot<bool> button_{"Button of stylus"};

  Setting<std::string> device_{"0"};
  Setting<int> baudRate_{115200};
  Setting<int> dataBits_{8};
  Setting<Pelorn::Serial::Parity> parity_{Pelorn::Serial::Parity::None};
  Setting<Pelorn::Serial::Handshake> handshake_{Pelorn::Serial::Handshake::Software};
  Setting<std::string> hemisphere_{"1,0,0"};

  FastrakPort port_{[this](int milliseconds) { return waitThread(milliseconds); }};
  FastrakPort::Active active_{}; ///< written by the search, read by what follows it
};

} // namespace Vantiflux
