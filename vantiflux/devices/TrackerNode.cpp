#include <vantiflux/devices/TrackerNode.h>

#include <vantiflux/core/TreeLock.h>
#include <vantiflux/platform/tarsil/Console.h>
#include <vantiflux/values/SlotTypes.h>

namespace Vantiflux {

TrackerNode::TrackerNode()
    : worker_(*this, [this] {
        const Pelorn::Wait::Closing closing(wait_);
        work();
      }) {
  publishSlots();
}

TrackerNode::~TrackerNode() = default;

void TrackerNode::start() {
  startWorker([] {});
}

void TrackerNode::stop() {
  stopWorker();
}

void TrackerNode::shutdown() {
  stopWorker();
  withdrawRows();
  Node::shutdown();
}

void TrackerNode::work() {
  thread();
}

void TrackerNode::startWorker(const std::function<void()>& begin) {
  worker_.start([this, begin] {
    if (!wait_.create()) {
      setState(Error, "Cannot create wait object");
      return false;
    }
    prepare();
    begin();
    return true;
  });
}

void TrackerNode::stopWorker() {
  worker_.stop([this] {
    wait_.signal();
    interrupt();
  });
}

// Publishing connects slots, and who is called then may disable the node.
void TrackerNode::publishRows(const Rows& rows) {
  const TreeLock lock;
  const unsigned publication = publication_;
  for (const auto& [label, slot] : rows) {
    if (publication_ != publication)
      return;
    published_.emplace_back(label, slot);
    slot->addListener(*this);
    addOutSlot(label, slot);
  }
}

void TrackerNode::withdrawRows() {
  const TreeLock lock;
  ++publication_;
  while (!published_.empty()) {
    const auto [label, slot] = published_.back();
    published_.pop_back();
    removeOutSlot(label, slot);
  }
}

void TrackerNode::addPose(Rows& rows, std::size_t number, PoseSlots& slots) {
  const std::string suffix = std::to_string(number);
  rows.emplace_back("Position " + suffix, &slots.position);
  rows.emplace_back("Orientation " + suffix, &slots.orientation);
  rows.emplace_back("Matrix " + suffix, &slots.matrix);
}

void TrackerNode::print(const std::string& text) {
  addLog(text);
  Tarsil::printLine(text);
}

} // namespace Vantiflux
