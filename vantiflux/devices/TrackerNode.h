#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <vantiflux/Export.h>
#include <vantiflux/core/Node.h>
#include <vantiflux/core/NodeWorker.h>
#include <vantiflux/devices/PoseSlots.h>
#include <vantiflux/platform/pelorn/Wait.h>

namespace Vantiflux {

/// A device that sends poses, read by a worker while one of its slots is in use. Which slots there are is known, at the
/// earliest, when the node is initialised: they are published then, and withdrawn in `shutdown`.
///
/// A derived class calls `disable` and then `stopWorker` in its own destructor. The objects of its slots live as long
/// as the node, even while they are not published: a worker that was stopped from inside a delivery still stands on
/// them.
///
/// *Threads.* `thread` runs in the worker, with no lock. All else is called with the lock of structure held.
class VANTIFLUX_API TrackerNode : public Node {
public:
  ~TrackerNode() override;

  void start() override;
  void stop() override;

protected:
  TrackerNode();

  void shutdown() override;

  /// The body of the worker; returns soon after `interrupt`.
  virtual void thread() = 0;
  /// Makes the channel to the device fit for a run, and ends its waits.
  virtual void prepare() = 0;
  virtual void interrupt() = 0;
  /// What the worker does: `thread`.
  virtual void work();

  void startWorker(const std::function<void()>& begin);
  void stopWorker();
  bool isWorking() const { return worker_.isRunning(); }
  /// The worker's sleep: false when it is to end.
  bool waitThread(int milliseconds) { return wait_.wait(milliseconds); }
  /// Whether the worker was told to end.
  bool isStopped() { return !wait_.wait(0); }

  /// Labels and slots.
  using Rows = std::vector<std::pair<std::string, BasicOutSlot*>>;

  /// Publishes the slots until `shutdown`; no more than some, if that comes meanwhile. The node listens to them.
  void publishRows(const Rows& rows);
  /// Appends "Position N", "Orientation N" and "Matrix N".
  static void addPose(Rows& rows, std::size_t number, PoseSlots& slots);

  /// Prints a line on the standard output, for those who watch it, and keeps it in the log. Never waits for a reader.
  void print(const std::string& text);

private:
  void withdrawRows();

  Rows published_;           ///< guarded by the lock of structure, as the next one
  unsigned publication_ = 0; ///< changes when the rows are withdrawn
  Pelorn::Wait wait_;
  NodeWorker worker_;
};

} // namespace Vantiflux
