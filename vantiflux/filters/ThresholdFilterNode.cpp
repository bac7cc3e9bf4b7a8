#include <vantiflux/filters/ThresholdFilterNode.h>

#include <iterator>

#include <vantiflux/core/FieldRow.h>
#include <vantiflux/values/Pose.h>
#include <vantiflux/values/SlotTypes.h>

namespace Vantiflux {

using N = ThresholdFilterNode;

template <>
const char* const NodeDescription<N>::typeName_ = "ThresholdFilter";
template <>
const char* const NodeDescription<N>::shortDescription_ =
    "Node for filtering out tracker movements which are so small thatthey only annoy the user instead of helping him.";
template <>
const char* const NodeDescription<N>::longDescription_ =
    "Tracker systems produce data which is statistically spread arround the true sensor position. Thus, each "
    "measurement produces slightly different values, even though the tracker sensor remains still. If this is also the "
    "case for the head mounted sensor in a VR system, it causes each frame to have minimal differences, even when the "
    "thinks that he's not moving his head. The purpose of this threshold filter is to eliminate these small changes "
    "between frames which are expected to be identical. This filter only allows new values to get through if they are "
    "at least as different from their preceeding one as acertain threshold.";

template <>
Field NodeDescription<N>::fields_[] = {
    fieldRow<N>("PosThreshold", "Threshold for positions. Try something in the range of 0.003 to 0.01", "0.007",
                &N::setPosThreshold, &N::getPosThreshold),
    fieldRow<N>("OriThreshold", "Threshold for orientations. Try something in the range of 0.001 to 0.01", "0.0022",
                &N::setOriThreshold, &N::getOriThreshold),
};
template <>
NodeType NodeDescription<N>::type_(typeName_, &create, author_, shortDescription_, longDescription_, fields_,
                                   std::size(fields_));

const NodeType* ThresholdFilterNode::type() const {
  return &type_;
}

ThresholdFilterNode::ThresholdFilterNode() = default;

ThresholdFilterNode::~ThresholdFilterNode() {
  disable();
}

float ThresholdFilterNode::getDistanceSq(const Vec3<float>& a, const Vec3<float>& b) {
  const float x = a.x - b.x, y = a.y - b.y, z = a.z - b.z;
  return x * x + y * y + z * z;
}

float ThresholdFilterNode::getDistanceSq(const Rotation& a, const Rotation& b) {
  const float x = a.x - b.x, y = a.y - b.y, z = a.z - b.z, w = a.w - b.w;
  return x * x + y * y + z * z + w * w;
}

namespace {

/// Takes the old value for the new one if it is nearer than the threshold, the new one for the old otherwise.
template <class T>
bool hold(T& fresh, T& passed, float threshold) {
  const bool held = ThresholdFilterNode::getDistanceSq(fresh, passed) < threshold * threshold;
  if (held)
    fresh = passed;
  else
    passed = fresh;
  return held;
}

} // namespace

void ThresholdFilterNode::filterPose(std::size_t stream, Matrix4<float>& pose) {
  Pose parts = splitPose(pose);
  const bool positionHeld = hold(parts.position, passed_[stream].position, posThreshold_);
  const bool rotationHeld = hold(parts.rotation, passed_[stream].rotation, oriThreshold_);
  if (positionHeld || rotationHeld)
    pose = poseMatrix(parts);
  const BasicData::TimeStamp time = now();
  streams_[stream].out.push({pose, time});
  streams_[stream].position.push({parts.position, time});
  streams_[stream].orientation.push({parts.rotation, time});
}

} // namespace Vantiflux
