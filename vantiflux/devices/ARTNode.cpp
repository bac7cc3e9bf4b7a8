#include <vantiflux/devices/ARTNode.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <iterator>

#include <vantiflux/core/FieldRow.h>
#include <vantiflux/devices/TextCursor.h>
#include <vantiflux/platform/pelorn/Exception.h>
#include <vantiflux/values/SlotTypes.h>

namespace Vantiflux {

using N = ARTNode;

template <>
const char* const NodeDescription<N>::typeName_ = "ART";
template <>
const char* const NodeDescription<N>::shortDescription_ = "Reads ART tracking data.";
template <>
const char* const NodeDescription<N>::longDescription_ =
    "Receives the datagrams of an ART controller and publishes position, "
    "orientation and matrix of each body and stick, "
    "and the buttons of the sticks.";

template <>
Field NodeDescription<N>::fields_[] = {
    fieldRow<N>("Port", "ART socket port.", "12345", &N::setPort, &N::getPort),
    fieldRow<N>("MaxBodies", "ART maximum number of bodies.", "16", &N::setMaxBodies, &N::getMaxBodies),
    fieldRow<N>("MaxFlySticks", "ART maximum number of fly sticks.", "4", &N::setMaxFlySticks, &N::getMaxFlySticks),
    fieldRow<N>("Axis",
                "Transforms the ART coordinate system right handed Z up. Axis [1..3] e.g. 1,3,-2 Left handed to right "
                "handed",
                "1,3,-2", &N::setAxis, &N::getAxis),
    fieldRow<N>("Scale", "Scales from ART (mm) into meter.", "0.001", &N::setScale, &N::getScale),
    fieldRow<N>("Center", "Defines the centerpoint in the result coordinate system.", "0,0,0", &N::setCenter,
                &N::getCenter),
};
template <>
NodeType NodeDescription<N>::type_(typeName_, &create, author_, shortDescription_, longDescription_, fields_,
                                   std::size(fields_));

const NodeType* ARTNode::type() const {
  return &type_;
}

namespace {

/// "A,B,C"; white space may stand before a number, but not before a comma. What stands behind is passed over.
template <class T>
bool readTriple(const std::string& text, std::array<T, 3>& triple) {
  TextCursor cursor(text);
  return cursor.skipSpace().number(triple[0]) && cursor.takeAtOnce(',') && cursor.skipSpace().number(triple[1]) &&
         cursor.takeAtOnce(',') && cursor.skipSpace().number(triple[2]);
}

/// The shortest text that gives the same numbers again.
template <class T>
std::string tripleText(const std::array<T, 3>& triple) {
  std::string text;
  for (const T value : triple) {
    std::array<char, 64> digits{};
    const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), value);
    text += (text.empty() ? "" : ",") + std::string(digits.data(), result.ptr);
  }
  return text;
}

std::size_t bounded(int count) {
  return std::min(static_cast<std::size_t>(std::max(count, 0)), ARTNode::limit);
}

/// The rotation part of a transform with its columns brought to length 1; a column of zeros stays as it is.
Matrix4<float> withUnitColumns(const Matrix4<float>& m) {
  Matrix4<float> result = m;
  for (std::size_t column = 0; column < 3; ++column) {
    const float length = std::hypot(m(0, column), m(1, column), m(2, column));
    for (std::size_t row = 0; row < 3 && length > 0; ++row)
      result(row, column) /= length;
  }
  return result;
}

/// The quaternion of a rotation by its trace, or, where that is small, by the greatest element of its diagonal.
/// Matrix4::getTransform is no help here: its kept oddities would show in turns near 180 degrees.
Rotation rotationOf(const Matrix4<float>& m) {
  const float trace = m(0, 0) + m(1, 1) + m(2, 2);
  if (trace > 1e-6F) {
    const float k = 0.5F / std::sqrt(1 + trace);
    return Rotation((m(2, 1) - m(1, 2)) * k, (m(0, 2) - m(2, 0)) * k, (m(1, 0) - m(0, 1)) * k, 0.25F / k);
  }
  const std::size_t i = m(0, 0) > m(1, 1) && m(0, 0) > m(2, 2) ? 0 : m(1, 1) > m(2, 2) ? 1 : 2;
  const std::size_t j = (i + 1) % 3;
  const std::size_t l = (i + 2) % 3;
  const float k = 0.5F / std::sqrt(1 + m(i, i) - m(j, j) - m(l, l));
  std::array<float, 3> axis{};
  axis[i] = 0.25F / k;
  axis[j] = (m(i, j) + m(j, i)) * k;
  axis[l] = (m(i, l) + m(l, i)) * k;
  return Rotation(axis[0], axis[1], axis[2], (m(l, j) - m(j, l)) * k);
}

} // namespace

ARTNode::Stick::Stick(const std::string& label)
    : pose(label + " Position", label + " Orientation", label + " Matrix"),
      buttons{OutSlot<bool>(label + " Button #0"), OutSlot<bool>(label + " Button #1"),
              OutSlot<bool>(label + " Button #2"), OutSlot<bool>(label + " Button #3"),
              OutSlot<bool>(label + " Button #4"), OutSlot<bool>(label + " Button #5"),
              OutSlot<bool>(label + " Button #6"), OutSlot<bool>(label + " Button #7")} {}

ARTNode::ARTNode() = default;

ARTNode::~ARTNode() {
  disable();
  stopWorker();
}

void ARTNode::setAxis(const std::string& text) {
  std::array<int, 3> axis{};
  const auto bad = [](int a) { return a == 0 || a < -3 || a > 3; };
  if (!readTriple(text, axis) || std::any_of(axis.begin(), axis.end(), bad))
    axis = {1, 3, -2};
  axis_.set(axis);
}

std::string ARTNode::getAxis() const {
  return tripleText(axis_.get());
}

void ARTNode::setCenter(const std::string& text) {
  std::array<float, 3> center{};
  if (!readTriple(text, center))
    center = {};
  center_.set(center);
}

std::string ARTNode::getCenter() const {
  return tripleText(center_.get());
}

void ARTNode::initialize() {
  Node::initialize();
  bodyCount_ = bounded(getMaxBodies());
  stickCount_ = bounded(getMaxFlySticks());
  while (bodies_.size() < bodyCount_)
    bodies_.push_back(std::make_unique<PoseSlots>(bodies_.size()));
  while (sticks_.size() < stickCount_)
    sticks_.push_back(std::make_unique<Stick>("FlyStick " + std::to_string(sticks_.size())));
  Rows rows;
  for (std::size_t i = 0; i < bodyCount_; ++i)
    addPose(rows, i, *bodies_[i]);
  const auto add = [&rows](BasicOutSlot& slot) { rows.emplace_back(slot.getDescription(), &slot); };
  for (std::size_t i = 0; i < stickCount_; ++i) {
    add(sticks_[i]->pose.position);
    add(sticks_[i]->pose.orientation);
    add(sticks_[i]->pose.matrix);
    for (OutSlot<bool>& button : sticks_[i]->buttons)
      add(button);
  }
  publishRows(rows);
}

bool ARTNode::openART() {
  try {
    socket_.open("", getPort());
  } catch (const Pelorn::Exception& e) {
    if (!socket_.broken()) {
      addLog(e.what());
      setState(Error, "ART no valid socket");
    }
    return false;
  }
  return true;
}

void ARTNode::thread() {
  struct Closing {
    ~Closing() { socket.close(); }
    Pelorn::UDP& socket;
  } const closing{socket_};
  if (!openART())
    return;
  setState(Running, "Operating");
  std::string buffer(ARTParser::maxDatagram, '\0');
  while (socket_.waitForData() == Pelorn::WaitResult::Data) {
    int size = static_cast<int>(buffer.size());
    if (!socket_.receive(buffer.data(), size))
      continue;
    if (size < 1) {
      setState(Error, "ART: IO-Error");
      return;
    }
    intake_->take(std::string_view(buffer).substr(0, static_cast<std::size_t>(size)));
  }
  if (!isStopped())
    setState(Error, "ART: IO-Error");
  reportEnd();
}

void ARTNode::prepare() {
  socket_.resetWait();
  intake_ = std::make_unique<Intake>(*this);
}

ARTNode::Intake::Intake(ARTNode& node)
    : node_(node), parser_(node.bodyCount_, node.stickCount_), center_(node.center_.get()) {
  for (std::size_t i = 0; i < node.bodyCount_; ++i)
    slots_.push_back(node.bodies_[i].get());
  for (std::size_t i = 0; i < node.stickCount_; ++i) {
    slots_.push_back(&node.sticks_[i]->pose);
    for (OutSlot<bool>& button : node.sticks_[i]->buttons)
      buttons_.push_back(&button);
  }
  const std::array<int, 3> axis = node.axis_.get();
  const float scale = node.getScale();
  for (std::size_t row = 0; row < 3; ++row) {
    for (std::size_t column = 0; column < 3; ++column)
      axes_(row, column) = 0;
    axes_(row, static_cast<std::size_t>(std::abs(axis[row])) - 1) = axis[row] > 0 ? scale : -scale;
  }
  axes_.getInverse(inverse_);
}

// A datagram in another format leaves the state in error until the next start, whatever comes after it.
void ARTNode::Intake::take(std::string_view datagram) {
  if (!parser_.parse(datagram)) {
    node_.setState(Error, "ART: No ASCII format");
    return;
  }
  const std::size_t bodies = parser_.bodies().size();
  for (std::size_t i = 0; i < bodies; ++i)
    pushValue(i, parser_.bodies()[i]);
  for (std::size_t i = 0; i < parser_.sticks().size(); ++i)
    pushValue(bodies + i, parser_.sticks()[i]);
}

void ARTNode::Intake::pushValue(std::size_t index, const BodyRecord& record) {
  if (!record.valid)
    return;
  const auto& r = record.rotation;
  Matrix4<float> m({r[0], r[3], r[6], record.position[0], r[1], r[4], r[7], record.position[1], r[2], r[5], r[8],
                    record.position[2], 0, 0, 0, 1});
  m.multLeft(axes_);
  m.mult(inverse_);
  for (std::size_t row = 0; row < 3; ++row)
    m(row, 3) -= center_[row];
  const bool turned = std::any_of(r.begin(), r.end(), [](float element) { return element != 0; });
  if (turned)
    m = withUnitColumns(m);
  PoseSlots& slots = *slots_[index];
  slots.matrix.push(m);
  slots.position.push(Vec3<float>(m[3], m[7], m[11]));
  slots.orientation.push(turned ? rotationOf(m) : Rotation());
  if (record.flyStick)
    pushButtons(index - parser_.bodies().size(), record.buttons);
}

void ARTNode::Intake::pushButtons(std::size_t stick, std::uint32_t buttons) {
  for (std::size_t k = 0; k < buttonsOfStick; ++k) {
    OutSlot<bool>& slot = *buttons_[stick * buttonsOfStick + k];
    const bool pressed = (buttons >> k & 1) != 0;
    if (pressed != slot.getValue().getValue())
      slot.push(pressed);
  }
}

} // namespace Vantiflux
