// What the surrounding namespace has to offer.
#include <vantiflux/net/NetworkNode.h>

#include <utility>

#include <vantiflux/net/ExportedSlots.h>
#include <vantiflux/net/ImportedSlots.h>
#include <vantiflux/platform/config/ParamBag.h>
#include <vantiflux/values/BasicCodec.h>

namespace Vantiflux {

namespace {

const char* const codecDescription = "Created by NetworkNode to transfer data via network";

} // namespace

// Needs the announcements lock.
std::string NetworkNode::expandLabel(const std::string& label) const {
  Config::ParamBag params;
  params.setParam("Hostname", hostName_);
  params.setParam("SlotLabel", label);
  return labelTemplate_.toString(params);
}

void NetworkNode::markOwn(const Slot* slot) {
  const std::lock_guard lock(slotsLock_);
  ownSlots_.insert(slot);
}

void NetworkNode::unmarkOwn(const Slot* slot) {
  const std::lock_guard lock(slotsLock_);
  ownSlots_.erase(slot);
}

bool NetworkNode::isOwn(const Slot* slot) const {
  const std::lock_guard lock(slotsLock_);
  return ownSlots_.contains(slot);
}

unsigned long NetworkNode::drawSlotId() {
  const std::lock_guard lock(slotsLock_);
  return nextSlotId_++;
}

// Null for a slot that has no codec, or is the twin of a peer's, or one that this node made for itself.
template <class Exported, class Coder, class BasicSlot>
std::shared_ptr<NetworkNode::ExportedSlot>
NetworkNode::exportSlot(ExportMap<Exported>& map, std::unique_ptr<Coder> (BasicCodec::*makeCoder)() const,
                        const std::string& label, BasicSlot* slot) {
  const BasicCodec* const codec = isOwn(slot) ? nullptr : BasicCodec::findCodec(*slot);
  auto coder = codec == nullptr ? nullptr : (codec->*makeCoder)();
  if (coder == nullptr)
    return nullptr;
  coder->initialize(label, codecDescription);
  const unsigned long id = drawSlotId();
  auto exported = std::make_shared<Exported>(*this, std::move(coder), id, label, slot, codec->getName());
  const std::lock_guard lock(slotsLock_);
  map.emplace(id, exported);
  exportedBySlot_.emplace(slot, id);
  return exported;
}

std::shared_ptr<NetworkNode::ExportedSlot> NetworkNode::exportSlot(const std::string& label, BasicOutSlot* slot) {
  return exportSlot(exportedOutSlots_, &BasicCodec::createEncoder, label, slot);
}

std::shared_ptr<NetworkNode::ExportedSlot> NetworkNode::exportSlot(const std::string& label, BasicInSlot* slot) {
  return exportSlot(exportedInSlots_, &BasicCodec::createDecoder, label, slot);
}

void NetworkNode::exportAll() {
  std::vector<LabeledOutSlot> outSlots;
  surrounding_->getOutSlots("*", outSlots);
  for (const LabeledOutSlot& entry : outSlots)
    exportSlot(entry.label, entry.slot);
  std::vector<LabeledInSlot> inSlots;
  surrounding_->getInSlots("*", inSlots);
  for (const LabeledInSlot& entry : inSlots)
    exportSlot(entry.label, entry.slot);
}

// A peer that is just being added gets the offer here or with all others, and not twice.
template <class BasicSlot>
void NetworkNode::offer(const std::string& label, BasicSlot* slot) {
  const std::lock_guard announcing(announcementsLock_);
  if (const auto exported = exportSlot(label, slot))
    exported->sendAddSlotEvent(&connector_);
}

template <class Exported>
void NetworkNode::withdrawExport(ExportMap<Exported>& map, const std::string& label, const Slot* slot) {
  std::shared_ptr<Exported> removed;
  {
    const std::lock_guard announcing(announcementsLock_);
    {
      const std::lock_guard lock(slotsLock_);
      const auto [first, last] = exportedBySlot_.equal_range(slot);
      for (auto at = first; at != last && removed == nullptr; ++at) {
        const auto found = map.find(at->second);
        if (found == map.end() || found->second->getLabel() != label)
          continue;
        removed = std::move(found->second);
        map.erase(found);
        exportedBySlot_.erase(at);
        break;
      }
    }
    if (removed == nullptr)
      return;
    removed->sendRemoveSlotEvent(&connector_);
  }
  removed->withdraw();
}

void NetworkNode::outSlotAdded(Namespace&, const std::string& label, BasicOutSlot* slot) {
  offer(label, slot);
}

void NetworkNode::outSlotRemoved(Namespace&, const std::string& label, BasicOutSlot* slot) {
  withdrawExport(exportedOutSlots_, label, slot);
}

void NetworkNode::inSlotAdded(Namespace&, const std::string& label, BasicInSlot* slot) {
  offer(label, slot);
}

void NetworkNode::inSlotRemoved(Namespace&, const std::string& label, BasicInSlot* slot) {
  withdrawExport(exportedInSlots_, label, slot);
}

} // namespace Vantiflux
