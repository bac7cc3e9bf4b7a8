#include <vantiflux/filters/PoseFilterNode.h>

#include <algorithm>
#include <string>

#include <vantiflux/values/SlotTypes.h>

namespace Vantiflux {

PoseFilterNode::PoseFilterNode() {
  publishSlots();
  for (std::size_t i = 0; i < streamCount; ++i) {
    const std::string number = std::to_string(i);
    attachSlot("Position " + number, streams_[i].position);
    attachSlot("Orientation " + number, streams_[i].orientation);
    attachSlot("Out " + number, streams_[i].out);
    attachSlot("In " + number, streams_[i].in);
  }
}

PoseFilterNode::~PoseFilterNode() = default;

void PoseFilterNode::start() {
  if (getState() != Running)
    setState(Running, "");
}

void PoseFilterNode::stop() {
  setState(Sleeping);
}

// The slot holds its listeners' lock meanwhile. Two writers may leave one pose for two calls: the second finds nothing.
void PoseFilterNode::newData(BasicInSlot& slot) {
  const auto stream =
      std::find_if(streams_.begin(), streams_.end(), [&](const Stream& candidate) { return &candidate.in == &slot; });
  if (stream == streams_.end() || stream->in.empty())
    return;
  Matrix4<float> pose = stream->in.pop().getValue();
  filterPose(static_cast<std::size_t>(stream - streams_.begin()), pose);
}

BasicData::TimeStamp PoseFilterNode::now() {
  BasicData data;
  data.setTimeStamp();
  return data.getTimeStamp();
}

void PoseFilterNode::refuse(const std::string& why) {
  setState(Error, why);
  addLog(why);
}

} // namespace Vantiflux
