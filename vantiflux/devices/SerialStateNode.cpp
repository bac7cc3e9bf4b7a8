#include <vantiflux/devices/SerialStateNode.h>

#include <iterator>

#include <vantiflux/core/FieldRow.h>
#include <vantiflux/platform/pelorn/Exception.h>
#include <vantiflux/values/SlotTypes.h>

namespace Vantiflux {

using N = SerialStateNode;

template <>
const char* const NodeDescription<N>::typeName_ = "SerialState";
template <>
const char* const NodeDescription<N>::shortDescription_ = "Reads the control lines of a serial port.";
template <>
const char* const NodeDescription<N>::longDescription_ =
    "Publishes the state of the lines CTS and DSR of a serial port, to which switches may be wired.";

template <>
Field NodeDescription<N>::fields_[] = {
    fieldRow<N>("Device", "A number starting at 0 specifying the serial interface to use.", "0", &N::setDevice,
                &N::getDevice),
};
template <>
NodeType NodeDescription<N>::type_(typeName_, &create, author_, shortDescription_, longDescription_, fields_,
                                   std::size(fields_));

const NodeType* SerialStateNode::type() const {
  return &type_;
}

SerialStateNode::SerialStateNode() {
  attachSlot("CTS", ctsSlot_);
  attachSlot("DSR", dsrSlot_);
  publishSlots();
}

SerialStateNode::~SerialStateNode() {
  disable();
  SerialStateNode::stop();
}

int SerialStateNode::thread() {
  if (openPort())
    watch();
  port_.close();
  reportEnd();
  return 0;
}

bool SerialStateNode::openPort() {
  port_.setDevice(getDevice());
  const std::string path = port_.getDevicePath();
  const std::string name = path.empty() ? getDevice() : path;
  try {
    port_.open(Pelorn::Serial::Use::Lines);
  } catch (const Pelorn::Exception& e) {
    addLog(e.what());
    setState(Error, "Cannot open serial port " + name);
    return false;
  }
  setState(Running, "Operating on " + name);
  return true;
}

void SerialStateNode::watch() {
  while (waitThread(10) && report(&Pelorn::Serial::getCTS, ctsSlot_, "could not get cts") &&
         report(&Pelorn::Serial::getDSR, dsrSlot_, "could not get dsr")) {
  }
}

bool SerialStateNode::report(Line line, OutSlot<bool>& slot, const char* trouble) {
  bool on = false;
  if (!(port_.*line)(on)) {
    setState(Error, trouble);
    return false;
  }
  if (on == slot.getValue().getValue())
    return true;
  slot.push(on);
  return waitThread(500);
}

} // namespace Vantiflux
