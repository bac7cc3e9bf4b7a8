#include "Watcher.h"

#include <algorithm>
#include <chrono>
#include <iterator>
#include <thread>
#include <typeinfo>
#include <utility>

#include <vantiflux/core/Labels.h>
#include <vantiflux/core/TreeLock.h>

namespace Host {

using namespace Vantiflux;

/// Counts a call from the namespace, which may still be on a stack, its thread having lent the lock of structure, when
/// the watcher is no longer a listener.
class Watcher::Call {
public:
  explicit Call(Watcher& watcher) : watcher_(watcher) {
    const std::lock_guard lock(watcher_.mutex_);
    ++watcher_.calls_;
  }
  ~Call() {
    const std::lock_guard lock(watcher_.mutex_);
    --watcher_.calls_;
    watcher_.left_.notify_all();
  }
  Call(const Call&) = delete;
  Call& operator=(const Call&) = delete;

private:
  Watcher& watcher_;
};

Watcher::Watcher(Namespace& space, std::vector<std::string> patterns, Sink sink)
    : space_(space), patterns_(std::move(patterns)), sink_(std::move(sink)) {
  try {
    begin();
  } catch (...) { // of a node that was to start
    end();
    throw;
  }
}

Watcher::~Watcher() {
  end();
}

void Watcher::begin() {
  const TreeLock lock; // no slot comes or goes between the listening and the look
  space_.addListener(*this);
  std::vector<LabeledOutSlot> slots;
  space_.getOutSlots("*", slots);
  for (const LabeledOutSlot& slot : slots)
    if (space_.findOutSlot(slot.label, slot.slot) != nullptr) // nodes that start may take others away
      outSlotAdded(space_, slot.label, slot.slot);
}

void Watcher::end() {
  space_.removeListener(*this);
  {
    std::unique_lock lock(mutex_);
    left_.wait(lock, [this] { return calls_ == 0; });
  }
  for (Watched& watched : watched_)
    space_.removeSlot(watched.label, &watched.text->slot());
  std::move(watched_.begin(), watched_.end(), std::back_inserter(dropped_));
  watched_.clear();
  // None of the deliveries that may still be inside waits for this thread.
  for (const Watched& watched : dropped_)
    while (watched.text->slot().isInUse())
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

std::vector<std::string> Watcher::unmatched() const {
  const TreeLock lock;
  std::vector<std::string> result;
  for (const std::string& pattern : patterns_) {
    if (std::none_of(watched_.begin(), watched_.end(), [&](const Watched& watched) {
          return !isIdle(watched) && Labels::matches(pattern, watched.label);
        }))
      result.push_back(pattern);
  }
  return result;
}

void Watcher::outSlotAdded(Namespace& /*space*/, const std::string& label, BasicOutSlot* slot) {
  const Call call(*this);
  for (const std::string& reached : labelsReachedFrom(label))
    if (space_.findOutSlot(label, slot) != nullptr)
      watch(reached, *slot);
}

void Watcher::outSlotRemoved(Namespace& /*space*/, const std::string& label, BasicOutSlot* /*slot*/) {
  const Call call(*this);
  dropIdle(labelsReachedFrom(label));
}

// A route to a pattern may lead to it.
void Watcher::inSlotAdded(Namespace& /*space*/, const std::string& label, BasicInSlot* slot) {
  const Call call(*this);
  if (!isWatched(label))
    return;
  std::vector<LabeledOutSlot> sources;
  space_.getRoutedOutSlots(label, sources);
  const auto source = std::find_if(sources.begin(), sources.end(), [&](const LabeledOutSlot& out) {
    return out.slot->getTypeID() == slot->getTypeID();
  });
  if (source != sources.end())
    watch(label, *source->slot);
}

void Watcher::inSlotRemoved(Namespace& /*space*/, const std::string& label, BasicInSlot* /*slot*/) {
  const Call call(*this);
  dropIdle({label});
}

void Watcher::routeAdded(Namespace& /*space*/, const std::string& from, const std::string& to) {
  const Call call(*this);
  std::vector<LabeledOutSlot> sources;
  space_.getOutSlots(from, sources);
  const std::vector<std::string> labels = watchedLabels(to);
  for (const LabeledOutSlot& source : sources)
    for (const std::string& label : labels)
      if (space_.findOutSlot(source.label, source.slot) != nullptr)
        watch(label, *source.slot);
}

void Watcher::routeRemoved(Namespace& /*space*/, const std::string& /*from*/, const std::string& to) {
  const Call call(*this);
  dropIdle(watchedLabels(to));
}

bool Watcher::isWatched(const std::string& label) const {
  return std::any_of(patterns_.begin(), patterns_.end(),
                     [&](const std::string& pattern) { return Labels::matches(pattern, label); });
}

// The watched ones of the labels that a route to the pattern leads to.
std::vector<std::string> Watcher::watchedLabels(const std::string& pattern) const {
  std::vector<std::string> labels;
  if (!Labels::isPattern(pattern)) {
    labels.push_back(pattern);
  } else {
    std::copy_if(patterns_.begin(), patterns_.end(), std::back_inserter(labels), [&](const std::string& watched) {
      return !Labels::isPattern(watched) && Labels::matches(pattern, watched);
    });
    std::vector<LabeledInSlot> slots;
    space_.getInSlots(pattern, slots);
    for (const LabeledInSlot& slot : slots)
      labels.push_back(slot.label);
    std::vector<LabeledOutSlot> sources;
    space_.getOutSlots(pattern, sources);
    for (const LabeledOutSlot& source : sources)
      labels.push_back(source.label);
  }
  std::erase_if(labels, [this](const std::string& label) { return !isWatched(label); });
  return labels;
}

std::vector<std::string> Watcher::labelsReachedFrom(const std::string& label) const {
  std::vector<std::string> labels;
  if (isWatched(label))
    labels.push_back(label);
  std::vector<Route> routes;
  space_.getRoutesFrom(label, routes);
  for (const Route& route : routes) {
    const std::vector<std::string> reached = watchedLabels(route.to);
    labels.insert(labels.end(), reached.begin(), reached.end());
  }
  return labels;
}

// The namespace connects the new slot, with this source and all others that lead there, now and from now on.
void Watcher::watch(const std::string& label, const BasicOutSlot& source) {
  const std::string key = Labels::lower(label);
  const bool known = std::any_of(watched_.begin(), watched_.end(), [&](const Watched& watched) {
    return watched.text->slot().getTypeID() == source.getTypeID() && Labels::lower(watched.label) == key;
  });
  if (known)
    return;
  watched_.push_back({label, std::make_unique<TextSlot>(source, [this, label](auto timeStamp, const std::string& text) {
                        sink_(timeStamp, label, text);
                      })});
  space_.addInSlot(label, &watched_.back().text->slot());
}

void Watcher::dropIdle(const std::vector<std::string>& labels) {
  for (const std::string& label : labels) {
    const auto idle = [&](const Watched& watched) {
      return Labels::lower(watched.label) == Labels::lower(label) && isIdle(watched);
    };
    // Taken out one by one, because what goes may call back and take out more.
    for (;;) {
      const auto found = std::find_if(watched_.begin(), watched_.end(), idle);
      if (found == watched_.end())
        break;
      Watched gone = std::move(*found);
      watched_.erase(found);
      drop(std::move(gone));
    }
  }
}

bool Watcher::isIdle(const Watched& watched) const {
  std::vector<LabeledOutSlot> sources;
  space_.getRoutedOutSlots(watched.label, sources);
  return !isLabel(watched.label) || std::none_of(sources.begin(), sources.end(), [&](const LabeledOutSlot& source) {
    return source.slot->getTypeID() == watched.text->slot().getTypeID();
  });
}

// Whether anybody but this watcher's own slots gives rise to the label.
bool Watcher::isLabel(const std::string& label) const {
  const std::string key = Labels::lower(label);
  const auto isIt = [&](const std::string& other) { return Labels::lower(other) == key; };
  if (std::any_of(patterns_.begin(), patterns_.end(), isIt) || space_.findOutSlot(label, nullptr) != nullptr)
    return true;
  std::vector<Route> routes;
  space_.getRoutesTo(label, routes);
  if (std::any_of(routes.begin(), routes.end(), [&](const Route& route) { return isIt(route.to); }))
    return true;
  std::vector<LabeledInSlot> slots;
  space_.getInSlots(label, slots);
  return std::any_of(slots.begin(), slots.end(), [this](const LabeledInSlot& in) {
    return std::none_of(watched_.begin(), watched_.end(),
                        [&](const Watched& watched) { return &watched.text->slot() == in.slot; });
  });
}

void Watcher::drop(Watched watched) {
  space_.removeSlot(watched.label, &watched.text->slot());
  dropped_.push_back(std::move(watched));
  std::erase_if(dropped_, [](const Watched& other) { return !other.text->slot().isInUse(); });
}

} // namespace Host
