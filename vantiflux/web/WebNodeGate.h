#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include <vantiflux/core/Root.h>
#include <vantiflux/platform/tarsil/ThreadSafety.h>
#include <vantiflux/platform/tarsil/WaitGraph.h>
#include <vantiflux/web/WebNode.h>

namespace Vantiflux {

/// Where the requests of the server meet the life of the node. Open while the node is enabled.
/// *Threads.* All operations from any thread.
class WebNode::Gate {
public:
  void open(WebNode& node);
  /// Lets nobody in any more, and waits for those who work on the tree, unless they wait for this thread in turn.
  void close();

  /// Keeps the node for as long as the result lives; null when the gate is closed.
  std::shared_ptr<void> enter();

  /// For who holds the root lock: begins and ends work on the tree. Null when the gate is closed.
  std::shared_ptr<Tarsil::ThreadRun> beginWork();
  void endWork(const std::shared_ptr<Tarsil::ThreadRun>& work);

private:
  std::mutex lock_; ///< innermost; guards the rest
  WebNode* node_ = nullptr;
  std::vector<std::shared_ptr<Tarsil::ThreadRun>> working_;
};

/// A page's hold of the tree, which takes the root lock. Throws Exception when the node has been disabled meanwhile:
/// with the node the whole tree may be on its way out, so nothing is looked at any more.
class WebNode::TreeAccess {
public:
  enum Purpose { Read, Write };

  TreeAccess(WebNode& node, Purpose purpose) TARSIL_NO_ANALYSIS;
  ~TreeAccess();
  TreeAccess(const TreeAccess&) = delete;
  TreeAccess& operator=(const TreeAccess&) = delete;

  /// The namespace behind a path. Throws InvalidNamespaceException.
  Namespace& find(const std::string& path) const;

private:
  void unlock() TARSIL_NO_ANALYSIS;

  const std::shared_ptr<Gate> gate_;
  std::shared_ptr<Tarsil::ThreadRun> work_;
};

/// The query's value under that key, empty when there is none.
inline std::string parameter(const Pelorn::ProtocolHTTP::Request& request, const char* name) {
  return request.query.getParam(name, "");
}

} // namespace Vantiflux
