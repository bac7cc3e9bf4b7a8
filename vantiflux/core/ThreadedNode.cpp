#include <vantiflux/core/ThreadedNode.h>

namespace Vantiflux {

ThreadedNode::ThreadedNode()
    : worker_(*this, [this] {
        const Pelorn::Wait::Closing closing(wait_);
        thread();
      }) {}

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
  worker_.stop([this] { wait_.signal(); });
}

} // namespace Vantiflux
