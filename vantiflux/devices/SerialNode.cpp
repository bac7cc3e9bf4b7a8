#include <vantiflux/devices/SerialNode.h>

#include <iterator>

#include <vantiflux/devices/Allowance.h>
#include <vantiflux/devices/DeviceText.h>
#include <vantiflux/devices/SerialRows.h>
#include <vantiflux/platform/pelorn/Exception.h>
#include <vantiflux/values/SlotTypes.h>

namespace Vantiflux {

using N = SerialNode;

template <>
const char* const NodeDescription<N>::typeName_ = "Serial";
template <>
const char* const NodeDescription<N>::shortDescription_ = "Reads from and writes to a serial port.";
template <>
const char* const NodeDescription<N>::longDescription_ =
    "Publishes what arrives at a serial port as messages, cut by a "
    "delimiter, by length or by pauses, and sends texts to it.";

template <>
Field NodeDescription<N>::fields_[] = {
    fieldRow<N>("Device", "A number starting at 0 specifying the serial interface to use.", "0", &N::setDevice,
                &N::getDevice),
    SerialRows::baudRate<N>("9600"),
    SerialRows::dataBits<N>(),
    SerialRows::parity<N>(),
    fieldRow<N>("StopBits",
                "Number of stop bits used for the communication on the serial port. Possible values are 1 or 2.", "1",
                &N::setStopBits, &N::getStopBits),
    SerialRows::handshake<N>("none"),
    fieldRow<N>("DTR", "The status of the DTR line.", "true", &N::setDTR, &N::getDTR),
    fieldRow<N>("RTS", "The status of the RTS line.", "true", &N::setRTS, &N::getRTS),
    fieldRow<N>("InitString", "A initialisation string that is send to the serial device to start operation.", "",
                &N::setInitString, &N::getInitString),
    fieldRow<N>("DeinitString", "A deinitialisation string that is send to the serial device to stop operation.", "",
                &N::setDeinitString, &N::getDeinitString),
    N::delimiterRow<N>(),
    N::maxBytesRow<N>(),
};
template <>
NodeType NodeDescription<N>::type_(typeName_, &create, author_, shortDescription_, longDescription_, fields_,
                                   std::size(fields_));

const NodeType* SerialNode::type() const {
  return &type_;
}

SerialNode::SerialNode() : ByteStreamNode("Sends data to serial port", "Receives data from the serial port") {}

SerialNode::~SerialNode() {
  disable();
  SerialNode::stop();
}

void SerialNode::start() {
  startWorker([this] { return openPort(); });
}

void SerialNode::stop() {
  stopWorker([this] { port_.breakWait(); });
}

bool SerialNode::openPort() {
  port_.resetWait();
  port_.setDevice(getDevice());
  const std::string path = port_.getDevicePath();
  const std::string name = path.empty() ? getDevice() : path;
  try {
    applySettings();
    port_.open();
  } catch (const Pelorn::Exception& e) {
    addLog(e.what());
    setState(Error, "Cannot open serial port " + name);
    return false;
  }
  port_.setDTR(getDTR());
  port_.setRTS(getRTS());
  outlet_.hold();
  setState(Sleeping, "Operating on " + name);
  return true;
}

void SerialNode::applySettings() {
  const auto need = [](bool known, const char* field, const std::string& value) {
    if (!known)
      throw Pelorn::Exception(std::string(field) + " cannot be \"" + value + "\"");
  };
  need(port_.setBitsPerSecond(getBaudRate()), "BaudRate", std::to_string(getBaudRate()));
  need(port_.setDataBits(getDataBits()), "DataBits", std::to_string(getDataBits()));
  need(port_.setParity(getParity()), "Parity", getParity());
  need(port_.setStopBits(getStopBits()), "StopBits", std::to_string(getStopBits()));
  need(port_.setHandshake(getHandshake()), "Handshake", getHandshake());
}

void SerialNode::closePort() {
  outlet_.close();
  port_.setDTR(false);
  port_.setRTS(false);
  stream_.close();
}

void SerialNode::thread() {
  struct Closing {
    ~Closing() { node.closePort(); }
    SerialNode& node;
  } const closing{*this};
  talk(
      stream_, [this] { setState(Running); },
      [this](const std::string& message) { dataOut_.push(DeviceText::latin1ToUTF8(message)); });
}

void SerialNode::sayGoodbye(Pelorn::StreamBuf& stream) {
  reportEnd();
  Allowance allowance(finalSendTime);
  allowance.spend([&](int left) { return stream.sendFinal(getDeinitString(), left); });
  allowance.spend([&](int left) { return stream.finish(left); }); // before the control lines fall
}

} // namespace Vantiflux
