#include <vantiflux/core/NodeWorker.h>

#include <exception>
#include <new>
#include <utility>

namespace Vantiflux {

NodeWorker::NodeWorker(Node& node, std::function<void()> run)
    : node_(node), body_(std::move(run)), thread_(this, &NodeWorker::run) {}

NodeWorker::~NodeWorker() = default;

void NodeWorker::start(std::function<bool()> prepare) {
  const TreeLock lock;
  if (!active_)
    begin(prepare);
  else if (leaving_)
    next_ = std::move(prepare);
}

// The pin keeps the node until the run has left it for good.
void NodeWorker::begin(const std::function<bool()>& prepare) {
  if (!prepare())
    return;
  active_ = true;
  leaving_ = false;
  node_.pin();
  bool started = false;
  try {
    started = thread_.start();
  } catch (const std::bad_alloc&) { // as if the system had refused a thread
  }
  if (started)
    return;
  active_ = false;
  const struct Unpinning { // after all else: this object may be gone then
    ~Unpinning() { node.unpin(); }
    Node& node;
  } unpinning{node_};
  node_.setState(Node::Error, "Cannot start thread");
}

bool NodeWorker::stop(const std::function<void()>& interrupt) {
  const TreeLock lock;
  next_ = nullptr;
  if (!active_)
    return true;
  leaving_ = true;
  interrupt();
  ++joiners_;
  thread_.join();
  --joiners_;
  if (!active_ && joiners_ == 0) // also when the wait was given up: the run may have been past the point where it looks
    if (const auto prepare = std::exchange(next_, nullptr))
      begin(prepare);
  return !active_;
}

bool NodeWorker::isRunning() const {
  const TreeLock lock;
  return active_ && !leaving_;
}

int NodeWorker::run() {
  Node& node = node_;
  do {
    try {
      body_();
    } catch (...) {
      report();
    }
  } while (goesOn());
  node.unpin(); // this object may be gone now
  return 0;
}

// For the exception that is being handled. Without memory for its text, the state has to do.
void NodeWorker::report() noexcept {
  try {
    try {
      throw;
    } catch (const std::exception& e) {
      node_.setState(Node::Error, e.what());
    } catch (const char* text) {
      node_.setState(Node::Error, text);
    } catch (...) {
      node_.setState(Node::Error, "Unknown exception");
    }
  } catch (...) {
    node_.setState(Node::Error);
  }
}

// Decides at the end of a run whether this thread begins the next one.
bool NodeWorker::goesOn() {
  const TreeLock lock;
  active_ = leaving_ = false;
  if (joiners_ != 0) {
    thread_.endRun();
    return false;
  }
  const auto prepare = std::exchange(next_, nullptr);
  try {
    active_ = prepare && prepare();
  } catch (...) {
    report();
  }
  if (!active_)
    thread_.endRun(); // while the lock is held: who starts next makes a thread of his own
  return active_;
}

} // namespace Vantiflux
