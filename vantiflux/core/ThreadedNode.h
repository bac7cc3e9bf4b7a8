#pragma once

#include <vantiflux/Export.h>
#include <vantiflux/core/Node.h>
#include <vantiflux/core/NodeWorker.h>
#include <vantiflux/platform/pelorn/Wait.h>

namespace Vantiflux {

/// A node with a worker thread that runs while one of its slots is in use.
///
/// The body of `thread` follows one pattern: `setState(Running, info)`; a loop that works, and calls `waitThread` or
/// watches the descriptor of the wait, until it is told to end; `invalidateValue` on the out-slots;
/// `setState(Sleeping, info)`.
///
/// A derived class calls `disable` and then `stop` in its own destructor.
class VANTIFLUX_API ThreadedNode : public Node {
public:
  ThreadedNode();
  ~ThreadedNode() override;

  void start() override;
  void stop() override;

protected:
  /// The worker; nobody reads the result.
  virtual int thread() = 0;

  /// The worker's sleep: true when the time has run out, false when the thread is to end. `waitThread(0)` polls.
  bool waitThread(int milliseconds) { return wait_.wait(milliseconds); }
  const Pelorn::Wait& wait() const noexcept { return wait_; }

private:
  Pelorn::Wait wait_;
  NodeWorker worker_;
};

} // namespace Vantiflux
