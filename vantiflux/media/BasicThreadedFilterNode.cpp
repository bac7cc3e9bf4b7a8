#include <vantiflux/media/BasicThreadedFilterNode.h>

#include <exception>
#include <mutex>

#include <vantiflux/platform/tarsil/Console.h>

namespace Vantiflux {

template <class In, class Out>
BasicThreadedFilterNode<In, Out>::BasicThreadedFilterNode(const std::string& inLabel, const std::string& inDescription,
                                                          const std::string& outLabel,
                                                          const std::string& outDescription)
    : in_(inDescription), out_(outDescription), worker_(*this, [this] { thread(); }) {
  publishSlots();
  attachSlot(outLabel, out_);
  addInSlot(inLabel, &in_);
}

template <class In, class Out>
BasicThreadedFilterNode<In, Out>::~BasicThreadedFilterNode() = default;

template <class In, class Out>
void BasicThreadedFilterNode<In, Out>::start() {
  Tarsil::printLine("BasicThreadedFilterNode::start ");
  in_.addListener(*this);
  worker_.start([this] { return prepare(); });
  Tarsil::printLine("BasicThreadedFilterNode::start thread STARTED");
}

// Here and not in `start`, which may be called while an earlier run still has to see that it was stopped.
template <class In, class Out>
bool BasicThreadedFilterNode<In, Out>::prepare() {
  const Tarsil::MutexLock lock(frameMutex_);
  frame_ = In();
  frameWaits_ = false;
  frameEvent_.reset();
  stopEvent_.reset();
  return true;
}

template <class In, class Out>
void BasicThreadedFilterNode<In, Out>::stop() {
  in_.removeListener(*this);
  if (worker_.isRunning())
    Tarsil::printLine("BasicThreadedFilterNode::stop stopping thread");
  endWorker();
  Tarsil::printLine("BasicThreadedFilterNode::stop thread STOPPED");
}

// The order matters: the worker looks for the stop event after it has reset the other one.
template <class In, class Out>
void BasicThreadedFilterNode<In, Out>::endWorker() {
  worker_.stop([this] {
    stopEvent_.set();
    frameEvent_.set();
  });
}

// The mutex is recursive, and the worker holds it while it pushes: what comes back to it through a ring of routes is
// dropped like anything else that comes while it is busy.
template <class In, class Out>
void BasicThreadedFilterNode<In, Out>::newData(BasicInSlot&) {
  if (frameMutex_.isLockedByThisThread() || !frameMutex_.tryLock()) {
    Tarsil::printErrorLine("BasicThreadedFilterNode::newData frame dropped");
    return;
  }
  // The worker is woken when the mutex is free again: it does not wait for it either.
  struct Waking {
    ~Waking() { event.set(); }
    Tarsil::Event& event;
  } const waking{frameEvent_};
  const std::unique_lock lock(frameMutex_, std::adopt_lock);
  if (in_.empty()) // two writers left one value for two calls
    return;
  frame_ = in_.pop().getValue();
  frameWaits_ = true;
}

template <class In, class Out>
void BasicThreadedFilterNode<In, Out>::thread() {
  Tarsil::printLine("BasicThreadedFilterNode::thread begin ");
  setState(Running);
  while (!stopEvent_.test()) {
    frameEvent_.wait();
    work();
  }
  reportEnd();
  Tarsil::printLine("BasicThreadedFilterNode::thread end ");
}

// Whoever holds the mutex now is storing a frame, and sets the event after that.
template <class In, class Out>
void BasicThreadedFilterNode<In, Out>::work() {
  if (!frameMutex_.tryLock())
    return;
  const std::unique_lock lock(frameMutex_, std::adopt_lock);
  if (!frameWaits_)
    return;
  try {
    out_.push(Data<Out>(transform(frame_)));
  } catch (const std::exception& e) {
    addLog(e.what());
  }
  frame_ = In(); // back to the pool, if nobody else uses it
  frameWaits_ = false;
  frameEvent_.reset();
}

template class BasicThreadedFilterNode<SmartPtr<Image>, SmartPtr<Image>>;

} // namespace Vantiflux
