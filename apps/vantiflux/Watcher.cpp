#include "Watcher.h"

#include <algorithm>
#include <utility>

#include <vantiflux/core/Labels.h>
#include <vantiflux/core/TreeLock.h>

#include "ValueText.h"

namespace Host {

using namespace Vantiflux;

Watcher::Watcher(Namespace& space, std::vector<std::string> patterns, Sink sink)
    : space_(space), patterns_(std::move(patterns)), sink_(std::move(sink)) {
  wait_.addInSlot(stop_);
  const TreeLock lock; // no slot comes or goes between the look and the listening
  std::vector<Namespace::LabeledOutSlot> slots;
  space_.getOutSlots("*", slots);
  for (const auto& slot : slots)
    outSlotAdded(space_, slot.label, slot.slot);
  space_.addListener(*this);
  printer_ = std::thread([this] { print(); });
}

Watcher::~Watcher() {
  stop_.push(true);
  printer_.join();
  const TreeLock lock;
  space_.removeListener(*this);
  for (Watched& watched : watched_)
    forget(watched);
}

std::vector<std::string> Watcher::unmatched() const {
  const std::lock_guard lock(mutex_);
  std::vector<std::string> result;
  for (const std::string& pattern : patterns_) {
    if (std::none_of(watched_.begin(), watched_.end(),
                     [&](const Watched& watched) { return Labels::matches(pattern, watched.label); }))
      result.push_back(pattern);
  }
  return result;
}

void Watcher::outSlotAdded(Namespace& /*space*/, const std::string& label, BasicOutSlot* slot) {
  if (std::none_of(patterns_.begin(), patterns_.end(),
                   [&](const std::string& pattern) { return Labels::matches(pattern, label); }))
    return;
  auto reader = slot->createMatchingInSlot();
  if (!isPrintable(*reader))
    return;
  BasicInSlot& in = *reader;
  {
    const std::lock_guard lock(mutex_);
    watched_.push_back({label, slot, std::move(reader)});
  }
  wait_.addInSlot(in);
  slot->connect(&in);
}

void Watcher::outSlotRemoved(Namespace& /*space*/, const std::string& label, BasicOutSlot* slot) {
  Watched gone;
  {
    const std::lock_guard lock(mutex_);
    const auto found = std::find_if(watched_.begin(), watched_.end(), [&](const Watched& watched) {
      return watched.source == slot && watched.label == label;
    });
    if (found == watched_.end())
      return;
    gone = std::move(*found);
    watched_.erase(found);
  }
  forget(gone); // stops nodes, which may call back here
}

void Watcher::forget(Watched& watched) {
  watched.source->disconnect(watched.reader.get());
  wait_.removeInSlot(*watched.reader);
}

void Watcher::print() {
  for (;;) {
    const BasicInSlot* const slot = wait_.wait();
    if (slot == &stop_)
      return;
    const std::string line = takeLine(slot);
    if (!line.empty() && !sink_(line))
      return;
  }
}

// The slot may have gone since it was found, so only its address is used until it is known to be there.
std::string Watcher::takeLine(const BasicInSlot* slot) {
  const std::lock_guard lock(mutex_);
  const auto found = std::find_if(watched_.begin(), watched_.end(),
                                  [&](const Watched& watched) { return watched.reader.get() == slot; });
  if (found == watched_.end())
    return {};
  const auto taken = takeAsText(*found->reader);
  if (!taken)
    return {};
  return timeText(taken->timeStamp) + '\t' + printable(found->label) + '\t' + taken->text + '\n';
}

} // namespace Host
