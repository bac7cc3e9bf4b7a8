#include <vantiflux/devices/FastrakNode.h>

#include <iterator>

#include <vantiflux/core/FieldRow.h>
#include <vantiflux/devices/SerialRows.h>
#include <vantiflux/values/Pose.h>
#include <vantiflux/values/SlotTypes.h>

namespace Vantiflux {

using N = FastrakNode;

template <>
const char* const NodeDescription<N>::typeName_ = "Fastrak";
template <>
const char* const NodeDescription<N>::shortDescription_ = "Driver for trackers using the Polhemus Fastrak protocol.";
template <>
const char* const NodeDescription<N>::longDescription_ = "Finds the tracker at any speed of its serial line, publishes "
                                                         "position, orientation and matrix of each of its up to "
                                                         "four sensors, and the button of the stylus.";

template <>
Field NodeDescription<N>::fields_[] = {
    fieldRow<N>("Device", "A number starting at 0 specifying the device the Fastrak Node should operate.", "0",
                &N::setDevice, &N::getDevice),
    SerialRows::baudRate<N>("115200"),
    SerialRows::dataBits<N>(),
    SerialRows::parity<N>(),
    SerialRows::handshake<N>("Software"),
    fieldRow<N>("Hemisphere", "Points to the used hemisphere in tracker coordinate system. x->right y->up, z->front.",
                "1,0,0", &N::setHemisphere, &N::getHemisphere),
};
template <>
NodeType NodeDescription<N>::type_(typeName_, &create, author_, shortDescription_, longDescription_, fields_,
                                   std::size(fields_));

const NodeType* FastrakNode::type() const {
  return &type_;
}

namespace {

PoseSlots sensorSlots() {
  return {"Position of tracker", "Orientation of tracker", "Matrix of tracker"};
}

} // namespace

FastrakNode::FastrakNode() : slots_{sensorSlots(), sensorSlots(), sensorSlots(), sensorSlots()} {
  attachSlot("Button", button_);
}

FastrakNode::~FastrakNode() {
  disable();
  stopWorker();
}

void FastrakNode::setBaudRate(int rate) {
  if (Pelorn::Serial::BaudRate known{}; Pelorn::Serial::toBaudRate(rate, known))
    baudRate_.set(rate);
  else
    refuse("BaudRate", std::to_string(rate));
}

void FastrakNode::setDataBits(int bits) {
  if (bits == 7 || bits == 8)
    dataBits_.set(bits);
  else
    refuse("DataBits", std::to_string(bits));
}

// A port that is not open knows the words.
void FastrakNode::setParity(const std::string& text) {
  if (Pelorn::Serial port; port.setParity(text))
    parity_.set(port.getParity());
  else
    refuse("Parity", text);
}

std::string FastrakNode::getParity() const {
  const Pelorn::Serial::Parity parity = parity_.get();
  return parity == Pelorn::Serial::Parity::None ? "none" : parity == Pelorn::Serial::Parity::Even ? "even" : "odd";
}

void FastrakNode::setHandshake(const std::string& text) {
  if (Pelorn::Serial port; port.setHandshake(text))
    handshake_.set(port.getHandshake());
  else
    refuse("Handshake", text);
}

std::string FastrakNode::getHandshake() const {
  switch (handshake_.get()) {
  case Pelorn::Serial::Handshake::None:
    return "None";
  case Pelorn::Serial::Handshake::Hardware:
    return "Hardware";
  case Pelorn::Serial::Handshake::Software:
    return "Software";
  }
  return {};
}

void FastrakNode::refuse(const char* field, const std::string& value) {
  addLog(std::string(field) + " cannot be \"" + value + "\"");
}

bool FastrakNode::openPort() {
  const FastrakPort::Settings settings{getDevice(), getBaudRate(), getDataBits(), parity_.get(), handshake_.get()};
  switch (port_.open(settings)) {
  case FastrakPort::Opened::Yes:
    setState(Sleeping, "Operating " + port_.name() + " on " + settings.device);
    return true;
  case FastrakPort::Opened::NoPort:
    addLog(port_.trouble());
    setState(Error, "Cannot open serial port " + settings.device);
    return false;
  case FastrakPort::Opened::NoTracker:
    setState(Error, "Did not detect Fastrak tracker on serial port " + settings.device);
    return false;
  case FastrakPort::Opened::Stopped:
    break;
  }
  return false;
}

bool FastrakNode::search() {
  if (!openPort())
    return false;
  const bool known = port_.askActive(active_);
  if (!known && !isStopped())
    setState(Error, "Cannot get sensor state from Fastrak tracker " + port_.name() + " on serial port " + getDevice());
  port_.close();
  return known;
}

TrackerNode::Rows FastrakNode::foundSlots() {
  Rows rows;
  for (std::size_t i = 0; i < slots_.size(); ++i)
    if (active_[i])
      addPose(rows, i, slots_[i]);
  return rows;
}

void FastrakNode::thread() {
  struct Closing { // a listener may throw
    ~Closing() { port.close(); }
    FastrakPort& port;
  } const closing{port_};
  if (!openPort())
    return;
  port_.startStream(active_, getHemisphere());
  setState(Running);
  std::string_view line;
  while (port_.readLine(line))
    takeLine(line);
  reportEnd();
}

void FastrakNode::takeLine(std::string_view line) {
  FastrakRecord record;
  if (FastrakRecord::parse(line, record))
    write(record);
  else if (FastrakRecord::isReply(line, 'E'))
    print(" config - error!! ");
}

// Sensors without published slots write too; nobody is connected to them.
void FastrakNode::write(const FastrakRecord& record) {
  PoseSlots& slots = slots_[record.sensor];
  if (!(record.position == slots.position.getValue().getValue()))
    slots.position.push(record.position);
  slots.orientation.push(record.rotation);
  slots.matrix.push(poseMatrix({record.position, record.rotation}));
  if (record.sensor == 0 && record.pressed != button_.getValue().getValue())
    button_.push(record.pressed);
}

} // namespace Vantiflux
