#pragma once

#include <string>

#include <vantiflux/Export.h>
#include <vantiflux/core/NodeDescription.h>
#include <vantiflux/core/OutSlot.h>
#include <vantiflux/core/Setting.h>
#include <vantiflux/core/ThreadedNode.h>
#include <vantiflux/platform/pelorn/Serial.h>
#include <vantiflux/values/TypeName.h>

namespace Vantiflux {

/// Watches two control lines of a serial port, looking every 10 ms, while somebody reads them: a cheap input for
/// switches.
///
/// | Slot  | Direction | Type   |                    |
/// |-------|-----------|--------|--------------------|
/// | "CTS" | out       | `bool` | clear to send      |
/// | "DSR" | out       | `bool` | data set ready     |
///
/// The port's data may belong to another node meanwhile: the settings of the line are left as they are.
///
/// Changes are pushed. A switch bounces, so the node looks away from both lines for 500 ms after each change.
///
/// *Failure.* A port that cannot be opened, or has no such lines, gives the state Error.
class VANTIFLUX_API SerialStateNode : public ThreadedNode, public NodeDescription<SerialStateNode> {
public:
  SerialStateNode();
  ~SerialStateNode() override;

  const NodeType* type() const override;

  void setDevice(const std::string& device) { device_.set(device); }
  std::string getDevice() const { return device_.get(); }

protected:
  int thread() override;

private:
  using Line = bool (Pelorn::Serial::*)(bool&) const;

  bool openPort();
  void watch();
  bool report(Line line, OutSlot<bool>& slot, const char* trouble);

  OutSlot<bool> ctsSlot_{"cts state of serial port"};
  OutSlot<bool> dsrSlot_{"dsr state of serial port"};
  Setting<std::string> device_{"0"};
  Pelorn::Serial port_;
};

} // namespace Vantiflux
