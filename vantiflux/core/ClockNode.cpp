#include <vantiflux/core/ClockNode.h>

#include <ctime>

#include <vantiflux/values/SlotTypes.h>

namespace Vantiflux {

using N = ClockNode;

template <>
const char* const NodeDescription<N>::typeName_ = "Clock";
template <>
const char* const NodeDescription<N>::shortDescription_ = "Reads the system time.";
template <>
const char* const NodeDescription<N>::longDescription_ =
    "Publishes the system time (UTC) in seconds since 1970-01-01 00:00:00 UTC once a second while somebody reads it.";
template <>
NodeType NodeDescription<N>::type_(typeName_, &create, author_, shortDescription_, longDescription_, nullptr, 0);

const NodeType* ClockNode::type() const {
  return &type_;
}

ClockNode::ClockNode()
    : timeSlot_("Current system time (UTC) in seconds since 1970-01-01 00:00:00 UTC"),
      worker_(*this, [this] { thread(); }) {
  timeSlot_.setValue(Time::getCurrentTime());
  attachSlot("Time", timeSlot_);
  publishSlots();
}

ClockNode::~ClockNode() {
  disable();
  ClockNode::stop();
}

void ClockNode::start() {
  worker_.start([this] {
    if (wait_.create())
      return true;
    setState(Error, "Cannot create wait object");
    return false;
  });
}

void ClockNode::stop() {
  worker_.stop([this] { wait_.signal(); });
}

void ClockNode::thread() {
  const Pelorn::Wait::Closing closing(wait_);
  setState(Running, "");
  std::time_t last = 0;
  do {
    const std::time_t now = std::time(nullptr);
    if (now != last) {
      timeSlot_.push(Data<Time>(Time(static_cast<double>(now))));
      last = now;
    }
  } while (waitThread(200));
  timeSlot_.invalidateValue();
  reportEnd();
}

} // namespace Vantiflux
