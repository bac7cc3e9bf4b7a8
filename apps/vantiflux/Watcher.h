#pragma once

#include <condition_variable>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <vantiflux/core/Namespace.h>

#include "ValueText.h"

namespace Host {

/// Tells of every value that arrives under certain labels of a namespace: of the out-slots that have such a label, and
/// of those that routes lead there. Labels are chosen by patterns, as in routes; what comes later is watched too.
///
/// For each label, and each type of the values that come there, the watcher adds an in-slot to the namespace. So what
/// arrives is what any in-slot of that label would get: each value once, however many ways lead there, and the nodes
/// that it comes from run. An in-slot goes with the last out-slot that leads to it. Where a pattern meets a route to
/// another pattern, there are in-slots for the labels that the namespace has and for those that are watched by name.
///
/// *Threads.* The sink is called by the threads that push values, several at a time. Make and destroy it without
/// holding the lock of structure.
class Watcher : private Vantiflux::Namespace::Listener {
public:
  /// Takes a value as text. It must not block, nor call back into the tree.
  using Sink = std::function<void(Vantiflux::BasicData::TimeStamp, const std::string& label, const std::string& text)>;

  Watcher(Vantiflux::Namespace& space, std::vector<std::string> patterns, Sink sink);
  ~Watcher() override;
  Watcher(const Watcher&) = delete;
  Watcher& operator=(const Watcher&) = delete;

  /// The patterns under which nothing can arrive now.
  std::vector<std::string> unmatched() const;

private:
  struct Watched {
    std::string label;
    std::unique_ptr<TextSlot> text;
  };
  class Call;

  void outSlotAdded(Vantiflux::Namespace& space, const std::string& label, Vantiflux::BasicOutSlot* slot) override;
  void outSlotRemoved(Vantiflux::Namespace& space, const std::string& label, Vantiflux::BasicOutSlot* slot) override;
  void inSlotAdded(Vantiflux::Namespace& space, const std::string& label, Vantiflux::BasicInSlot* slot) override;
  void inSlotRemoved(Vantiflux::Namespace& space, const std::string& label, Vantiflux::BasicInSlot* slot) override;
  void routeAdded(Vantiflux::Namespace& space, const std::string& from, const std::string& to) override;
  void routeRemoved(Vantiflux::Namespace& space, const std::string& from, const std::string& to) override;

  void begin();
  void end();
  bool isWatched(const std::string& label) const;
  std::vector<std::string> watchedLabels(const std::string& pattern) const;
  std::vector<std::string> labelsReachedFrom(const std::string& label) const;
  void watch(const std::string& label, const Vantiflux::BasicOutSlot& source);
  void dropIdle(const std::vector<std::string>& labels);
  bool isIdle(const Watched& watched) const;
  bool isLabel(const std::string& label) const;
  void drop(Watched watched);

  Vantiflux::Namespace& space_;
  const std::vector<std::string> patterns_;
  const Sink sink_;

  // The lists are guarded by the lock of structure.
  std::list<Watched> watched_;
  std::vector<Watched> dropped_; ///< no longer in the namespace, but a delivery may still be inside

  mutable std::mutex mutex_; ///< guards the next
  std::condition_variable left_;
  int calls_ = 0; ///< listener calls under way
};

} // namespace Host
