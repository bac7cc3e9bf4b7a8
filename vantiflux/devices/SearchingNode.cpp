#include <vantiflux/devices/SearchingNode.h>

#include <exception>
#include <mutex>
#include <optional>
#include <utility>

#include <vantiflux/core/TreeLock.h>
#include <vantiflux/platform/tarsil/Event.h>

namespace Vantiflux {

/// How the worker's result reaches whoever acts on it: `initialize` while it waits, afterwards the worker itself.
struct SearchingNode::Search {
  /// By the worker. Whether `initialize` takes the result.
  bool deliver(bool result) {
    const std::lock_guard guard(lock);
    found = result;
    done.set();
    return awaited;
  }
  /// By `initialize`. Without a result it does not wait any more.
  std::optional<bool> await(int milliseconds) {
    done.wait(milliseconds);
    const std::lock_guard guard(lock);
    awaited = false;
    return found;
  }

  std::mutex lock; ///< innermost; guards the next two
  bool awaited = true;
  std::optional<bool> found;
  Tarsil::Event done;
};

SearchingNode::SearchingNode() = default;

SearchingNode::~SearchingNode() = default;

// A run that leaves further down on this stack, or that cannot be waited for, puts the search off until its end.
void SearchingNode::initialize() {
  Node::initialize();
  const auto search = std::make_shared<Search>();
  search_ = search;
  wanted_ = false;
  startWorker([this, search] { running_ = search; });
  const std::optional<bool> found = search->await(isWorking() ? patience : 0);
  if (found)
    finishSearch(search, *found);
}

void SearchingNode::shutdown() {
  search_ = nullptr;
  wanted_ = false;
  TrackerNode::shutdown();
}

void SearchingNode::start() {
  const TreeLock lock;
  if (search_ != nullptr)
    wanted_ = true;
  else
    startThread();
}

void SearchingNode::stop() {
  const TreeLock lock;
  wanted_ = false;
  if (search_ == nullptr)
    stopWorker();
}

// The run of a search that has delivered its result has nothing more to do, but it may still be there.
void SearchingNode::startThread() {
  if (running_ != nullptr)
    stopWorker();
  startWorker([this] { running_ = nullptr; });
}

void SearchingNode::work() {
  if (const auto search = running_)
    runSearch(search);
  else
    thread();
}

void SearchingNode::runSearch(const std::shared_ptr<Search>& mine) {
  bool found = false;
  try {
    found = search();
  } catch (const std::exception& e) {
    setState(Error, e.what());
  } catch (...) {
    setState(Error, "Unknown exception");
  }
  if (mine->deliver(found))
    return;
  const TreeLock lock;
  finishSearch(mine, found);
}

// Publishing connects slots, and what is called then may end this search's day and begin another one's.
void SearchingNode::finishSearch(const std::shared_ptr<Search>& mine, bool found) {
  if (search_ != mine)
    return;
  search_ = nullptr;
  if (found)
    publishRows(foundSlots());
  if (search_ == nullptr && std::exchange(wanted_, false))
    startThread();
}

} // namespace Vantiflux
