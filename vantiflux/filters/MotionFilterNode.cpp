#include <vantiflux/filters/MotionFilterNode.h>

#include <cmath>
#include <iterator>
#include <utility>

#include <vantiflux/core/FieldRow.h>
#include <vantiflux/values/Pose.h>
#include <vantiflux/values/SlotTypes.h>

namespace Vantiflux {

using N = MotionFilterNode;

template <>
const char* const NodeDescription<N>::typeName_ = "MotionFilter";
template <>
const char* const NodeDescription<N>::shortDescription_ =
    "Node for filtering out erroneous pieces of tracker data and for data prediction to compensate latency.";
template <>
const char* const NodeDescription<N>::longDescription_ =
    "Common tracker systems, such as the Polhemus Fastrak, sometimes produceerroneous data. E.g. if you place the "
    "sensor to a fixed position, it canhappen that if you do 100 measurements, 2 or 3 of them are "
    "significantlydifferent than the others. This makes the data's values to appear to jumpfrom time to time, although "
    "the sensor remains unmoved.\n"
    "Another problem is latency, which is persistent in all VR systems. It canbe minimized, but not totally erased.\n"
    "This node tries to solve both problems at the same time by filteringout occasional outliers and by trying to "
    "predict future data.";

template <>
Field NodeDescription<N>::fields_[] = {
    fieldRow<N>("PosBufferSize",
                "The number of positions to be stored in the buffer. Usually, the default should work well. 15 or 33 "
                "are suggested.",
                "33", &N::setPosBufferSize, &N::getPosBufferSize),
    fieldRow<N>("PosMonotonyLength",
                "Number of positions to use for the monotony test. 0 forces the assumption of monotony.", "4",
                &N::setPosMonotonyTestLength, &N::getPosMonotonyTestLength),
    fieldRow<N>("OriBufferSize",
                "The number of orientations to be stored in the buffer. Usually, the default should work well. 15 or "
                "33 are suggested.",
                "33", &N::setOriBufferSize, &N::getOriBufferSize),
    fieldRow<N>("OriMonotonyLength",
                "Number of orientations to use for the monotony test. 0 forces the assumption of monotony.", "4",
                &N::setOriMonotonyTestLength, &N::getOriMonotonyTestLength),
};
template <>
NodeType NodeDescription<N>::type_(typeName_, &create, author_, shortDescription_, longDescription_, fields_,
                                   std::size(fields_));

const NodeType* MotionFilterNode::type() const {
  return &type_;
}

MotionFilterNode::MotionFilterNode() {
  resize(Position, firstBufferSize);
  resize(Orientation, firstBufferSize);
}

MotionFilterNode::~MotionFilterNode() {
  disable();
}

// A text and no exception class: hosts catch it as that.
MotionFilterNode::History& MotionFilterNode::history(int slotIndex) {
  if (static_cast<unsigned int>(slotIndex) >= streamCount)
    throw std::string("slotIndex out of range in MotionFilterNode::filter.");
  return histories_[static_cast<std::size_t>(slotIndex)];
}

void MotionFilterNode::pass(History& history, PartName name, Point& p) {
  history.filters[name]->filter(parts_[name].monotonyTestLength.load(std::memory_order_relaxed), p);
}

void MotionFilterNode::filterPart(History& history, Vec3<float>& v) {
  Point p{v.x, v.y, v.z, 0};
  pass(history, Position, p);
  v = {p[0], p[1], p[2]};
}

// Signs are taken as they come, although q and -q are the same turn. Kept on purpose, because saved set-ups depend on
// it.
void MotionFilterNode::filterPart(History& history, Rotation& r) {
  Point p{r.x, r.y, r.z, r.w};
  pass(history, Orientation, p);
  const float length = std::sqrt(p[0] * p[0] + p[1] * p[1] + p[2] * p[2] + p[3] * p[3]);
  r = {p[0] / length, p[1] / length, p[2] / length, p[3] / length};
}

void MotionFilterNode::filter(int slotIndex, Vec3<float>& v) {
  History& history = this->history(slotIndex);
  const Tarsil::MutexLock guard(history.lock);
  filterPart(history, v);
}

void MotionFilterNode::filter(int slotIndex, Rotation& r) {
  History& history = this->history(slotIndex);
  const Tarsil::MutexLock guard(history.lock);
  filterPart(history, r);
}

void MotionFilterNode::filter(int slotIndex, Matrix4<float>& m) {
  History& history = this->history(slotIndex);
  Pose pose = splitPose(m);
  {
    const Tarsil::MutexLock guard(history.lock);
    filterPart(history, pose.position);
    filterPart(history, pose.rotation);
  }
  m = poseMatrix(pose);
  Stream& stream = streams_[static_cast<std::size_t>(slotIndex)];
  const BasicData::TimeStamp time = now();
  stream.out.push({m, time});
  stream.position.push({pose.position, time});
  stream.orientation.push({pose.rotation, time});
}

void MotionFilterNode::resize(PartName name, std::uint32_t size) {
  for (History& history : histories_) {
    auto fresh = std::make_unique<Filter>(size);
    const Tarsil::MutexLock guard(history.lock);
    std::swap(history.filters[name], fresh);
  }
}

void MotionFilterNode::setBufferSize(PartName name, std::uint32_t size) {
  Part& part = parts_[name];
  std::string trouble;
  {
    const Tarsil::MutexLock guard(settingsLock_);
    if (size == part.bufferSize)
      return;
    if (size < minBufferSize)
      trouble = "BufferSize may not be < 4.";
    else if (size > maxBufferSize)
      trouble = "BufferSize may not be > 8192.";
    else if (size < part.monotonyTestLength)
      trouble = "BufferSize may not be < " + part.prefix + "MonotonyTestLength.";
    else {
      resize(name, size);
      part.bufferSize = size;
    }
  }
  if (!trouble.empty())
    refuse(part.prefix + trouble);
}

void MotionFilterNode::setMonotonyTestLength(PartName name, std::uint32_t length) {
  Part& part = parts_[name];
  std::string trouble;
  {
    const Tarsil::MutexLock guard(settingsLock_);
    if (length == part.monotonyTestLength)
      return;
    if (length == 1)
      trouble = "MonotonyTestLength must either be 0 or >= 2.";
    else if (length > part.bufferSize)
      trouble = "MonotonyTestLength may not be > " + part.prefix + "BufferSize_.";
    else
      part.monotonyTestLength = length;
  }
  if (!trouble.empty())
    refuse(part.prefix + trouble);
}

} // namespace Vantiflux
