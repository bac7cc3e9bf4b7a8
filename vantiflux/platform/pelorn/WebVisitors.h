#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace Pelorn {

/// The threads that are inside a server: its destructor waits until the others have left it. Outlives the server.
/// *Threads.* All operations from any thread.
class WebVisitors {
public:
  /// False when the server is gone.
  bool enter();
  void leave();
  /// Lets nobody in any more and waits until all but this thread have left.
  void end();

private:
  std::mutex lock_; ///< innermost; guards the rest
  std::condition_variable left_;
  std::vector<std::thread::id> inside_;
  bool ended_ = false;
};

} // namespace Pelorn
