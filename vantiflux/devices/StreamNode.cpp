#include <vantiflux/devices/StreamNode.h>

#include <vantiflux/devices/DeviceText.h>
#include <vantiflux/platform/tarsil/Thread.h>
#include <vantiflux/values/SlotTypes.h>

namespace Vantiflux {

StreamNode::StreamNode(const char* inDescription, const char* outDescription)
    : dataIn_(inDescription), dataOut_(outDescription), outlet_(*this), worker_(*this, [this] {
        const Pelorn::Wait::Closing closing(wait_);
        thread();
      }) {
  attachSlot("Data in", dataIn_);
  attachSlot("Data out", dataOut_);
  publishSlots();
}

StreamNode::~StreamNode() = default;

// Two writers of one slot may leave one value for two calls: the second finds it taken.
void StreamNode::newData(BasicInSlot&) {
  if (!dataIn_.empty())
    outlet_.send(dataIn_.pop().getValue());
}

void StreamNode::startWorker(const std::function<bool()>& prepare) {
  worker_.start([this, prepare] {
    if (wait_.create())
      return prepare();
    setState(Error, "Cannot create wait object");
    return false;
  });
}

void StreamNode::stopWorker(const std::function<void()>& interrupt) {
  worker_.stop([&] {
    wait_.signal();
    interrupt();
  });
}

bool StreamNode::sendInitString(const std::function<bool(std::string_view piece)>& send) {
  return DeviceText::sendWithPauses(getInitString(), send,
                                    [this](int milliseconds) { return waitThread(milliseconds); });
}

void StreamNode::sendDeinitString(const std::function<bool(std::string_view piece)>& send) {
  int left = finalPauseTime;
  DeviceText::sendWithPauses(getDeinitString(), send, [&left](int milliseconds) {
    if (left >= milliseconds) {
      left -= milliseconds;
      Tarsil::Thread::sleep(static_cast<unsigned long>(milliseconds));
    }
    return true;
  });
}

} // namespace Vantiflux
