#include <vantiflux/core/ThreadedNode.h>

namespace Vantiflux {

ThreadedNode::ThreadedNode() : worker_(*this, [this] { thread(); }) {}

ThreadedNode::~ThreadedNode() {
  disable();
  ThreadedNode::stop();
}

void ThreadedNode::start() {
  worker_.start([this] {
    if (wait_.create())
      return true;
    setState(Error, "Cannot create wait object");
    return false;
  });
}

void ThreadedNode::stop() {
  if (worker_.stop([this] { wait_.signal(); }))
    wait_.close();
}

} // namespace Vantiflux
