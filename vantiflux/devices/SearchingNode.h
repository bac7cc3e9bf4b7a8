#pragma once

#include <memory>

#include <vantiflux/Export.h>
#include <vantiflux/devices/TrackerNode.h>

namespace Vantiflux {

/// A tracker that has to be asked which bodies it knows. That is done in `initialize`, which publishes their slots when
/// the device has answered.
///
/// *Threads.* The worker asks, and `initialize` waits for it, so that a tracker that answers has its slots when the
/// node is enabled. Since that holds the lock of structure, it waits for 5 seconds at most. A search that takes longer,
/// because nobody answers at the first speeds, goes on without it; the slots come when the tracker is found. Slots that
/// come into use meanwhile make the node start afterwards.
///
/// *Failure.* A device that is not found leaves the node without slots, until it is enabled anew.
class VANTIFLUX_API SearchingNode : public TrackerNode {
public:
  ~SearchingNode() override;

  void start() override;
  void stop() override;

protected:
  static constexpr int patience = 5000; ///< milliseconds

  SearchingNode();

  void initialize() override;
  void shutdown() override;
  void work() override;

  /// Asks the device, in the worker. False with the state set, or when told to stop.
  virtual bool search() = 0;
  /// The slots of what was found. Called with the lock of structure held.
  virtual Rows foundSlots() = 0;

private:
  struct Search;

  void runSearch(const std::shared_ptr<Search>& mine);
  void finishSearch(const std::shared_ptr<Search>& mine, bool found);
  void startThread();

  // Guarded by the lock of structure; `running_` is also read by the run that it was set for.
  std::shared_ptr<Search> search_;  ///< what goes on, null when there is none
  std::shared_ptr<Search> running_; ///< what the present run of the worker is for, null if it reads the device
  bool wanted_ = false;             ///< a slot came into use during the search
};

} // namespace Vantiflux
