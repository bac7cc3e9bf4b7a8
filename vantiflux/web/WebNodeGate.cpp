#include <vantiflux/web/WebNodeGate.h>

#include <algorithm>

#include <vantiflux/platform/tarsil/ThreadId.h>
#include <vantiflux/web/NamespacePath.h>

namespace Vantiflux {

void WebNode::Gate::open(WebNode& node) {
  const std::lock_guard guard(lock_);
  node_ = &node;
}

// Who works on the tree may want what this thread holds, the lock of structure above all: the wait lends it. One of
// them may be this thread itself, in a page that removes the node.
void WebNode::Gate::close() {
  std::vector<std::shared_ptr<Tarsil::ThreadRun>> working;
  {
    const std::lock_guard guard(lock_);
    node_ = nullptr;
    working = working_;
  }
  for (const auto& work : working)
    Tarsil::WaitGraph::the().join(*work, Tarsil::thisThread());
}

std::shared_ptr<void> WebNode::Gate::enter() {
  const std::lock_guard guard(lock_);
  if (node_ == nullptr)
    return nullptr;
  node_->pin();
  return {static_cast<void*>(node_), [node = node_](void*) { node->unpin(); }};
}

std::shared_ptr<Tarsil::ThreadRun> WebNode::Gate::beginWork() {
  auto work = std::make_shared<Tarsil::ThreadRun>();
  Tarsil::WaitGraph::the().begin(*work, Tarsil::thisThread());
  const std::lock_guard guard(lock_);
  if (node_ == nullptr)
    return nullptr;
  working_.push_back(work);
  return work;
}

void WebNode::Gate::endWork(const std::shared_ptr<Tarsil::ThreadRun>& work) {
  {
    const std::lock_guard guard(lock_);
    std::erase(working_, work);
  }
  Tarsil::WaitGraph::the().finish(*work);
}

// Whoever has waited for the lock may get it when the root is gone with the process; the gate is closed then.
WebNode::TreeAccess::TreeAccess(WebNode& node, Purpose purpose) : gate_(node.gate_) {
  if (purpose == Read)
    Root::readLock();
  else
    Root::writeLock();
  try {
    work_ = gate_->beginWork();
  } catch (...) {
    Root::unlock();
    throw;
  }
  if (work_ != nullptr)
    return;
  Root::unlock();
  throw Exception("The web interface has been closed");
}

WebNode::TreeAccess::~TreeAccess() {
  unlock();
}

// The work ends last: it is what keeps the root until then.
void WebNode::TreeAccess::unlock() {
  Root::unlock();
  gate_->endWork(work_);
}

Namespace& WebNode::TreeAccess::find(const std::string& path) const {
  return NamespacePath(Root::the(), path).target();
}

} // namespace Vantiflux
