#pragma once

#include <atomic>

#include <vantiflux/Export.h>

namespace Vantiflux {

class Namespace;

/// Where a namespace waits that was deleted while code of its own is still on some thread's stack: a listener may
/// remove the very node whose worker or whose `push` it runs under. It is disabled and out of the tree by then; its
/// destructor runs as soon as the last worker, delivery or structural operation has left it, on the thread that left
/// it.
class VANTIFLUX_API Graveyard {
public:
  /// Deletes the namespace now, or when it is no longer in use.
  static void bury(Namespace* corpse);

  /// Called by whoever has left a delivery, a structural operation or a worker's run. Deletes what nobody uses any
  /// more.
  static void visit() {
    if (occupied_.load(std::memory_order_seq_cst) != 0)
      collect();
  }

private:
  static void collect();

  static std::atomic<int> occupied_; ///< how many wait
};

} // namespace Vantiflux
