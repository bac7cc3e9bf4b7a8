#include <vantiflux/net/ExportedSlots.h>

#include <algorithm>
#include <utility>

#include <vantiflux/core/InterruptedException.h>
#include <vantiflux/core/TreeLock.h>
#include <vantiflux/net/CommandEvent.h>
#include <vantiflux/net/RetiredDecoder.h>

namespace Vantiflux {

NetworkNode::ExportedSlot::ExportedSlot(NetworkNode& node, unsigned long id, const std::string& label, const Slot& slot,
                                        const std::string& codec, CommandEvent::Command add,
                                        CommandEvent::Command remove)
    : id_(id), node_(node), label_(label), description_(slot.getDescription()), codec_(codec), add_(add),
      remove_(remove) {}

NetworkNode::ExportedSlot::~ExportedSlot() = default;

void NetworkNode::ExportedSlot::sendAddSlotEvent(Pelorn::Sender* sender) const {
  AddSlotEvent event(add_);
  event.setSlotId(id_);
  event.setLabel(node_.expandLabel(label_));
  event.setDescription(description_);
  event.setCodec(codec_);
  event.send(sender);
}

void NetworkNode::ExportedSlot::sendRemoveSlotEvent(Pelorn::Sender* sender) const {
  SlotCommandEvent(remove_, id_).send(sender);
}

void NetworkNode::ExportedSlot::join(Pelorn::Communicator& communicator) {
  communicators_.push_back(communicator.shared_from_this());
}

void NetworkNode::ExportedSlot::welcome(Pelorn::Communicator& communicator) {
  const std::lock_guard lock(communicatorsLock_);
  join(communicator);
}

bool NetworkNode::ExportedSlot::addCommunicator(Pelorn::Communicator* communicator) {
  const TreeLock tree;
  if (withdrawn_)
    return false;
  bool first = false;
  {
    const std::lock_guard lock(communicatorsLock_);
    if (std::any_of(communicators_.begin(), communicators_.end(),
                    [&](const auto& present) { return present.get() == communicator; }))
      return true;
    first = communicators_.empty();
    if (first)
      join(*communicator);
  }
  if (first)
    connect();
  else
    welcome(*communicator);
  return true;
}

bool NetworkNode::ExportedSlot::removeCommunicator(Pelorn::Communicator* communicator) {
  const TreeLock tree;
  Pelorn::Communicator::Pointer removed; // goes after the lock
  bool last = false;
  {
    const std::lock_guard lock(communicatorsLock_);
    const auto found = std::find_if(communicators_.begin(), communicators_.end(),
                                    [&](const auto& present) { return present.get() == communicator; });
    if (found == communicators_.end())
      return false;
    removed = std::move(*found);
    communicators_.erase(found);
    last = communicators_.empty();
  }
  if (last)
    disconnect();
  return true;
}

void NetworkNode::ExportedSlot::withdraw() {
  const TreeLock tree;
  if (std::exchange(withdrawn_, true))
    return;
  std::vector<Pelorn::Communicator::Pointer> removed;
  {
    const std::lock_guard lock(communicatorsLock_);
    removed.swap(communicators_);
  }
  if (!removed.empty())
    disconnect();
}

NetworkNode::ExportedOutSlot::ExportedOutSlot(NetworkNode& node, std::unique_ptr<BasicEncoder> encoder,
                                              unsigned long id, const std::string& label, BasicOutSlot* slot,
                                              const std::string& codec)
    : ExportedSlot(node, id, label, *slot, codec, CommandEvent::AddOutSlot, CommandEvent::RemoveOutSlot), slot_(slot),
      encoder_(std::move(encoder)), event_(CommandEvent::SetOutSlotState) {
  event_.setSlotId(id);
  encoder_->getInSlot()->addListener(*this);
}

NetworkNode::ExportedOutSlot::~ExportedOutSlot() {
  const BasicInSlot* const slot = encoder_->getInSlot();
  encoder_->getInSlot()->removeListener(*this);
  retireSlot(std::move(encoder_), slot);
}

void NetworkNode::ExportedOutSlot::connect() {
  slot_->connect(encoder_->getInSlot());
}

void NetworkNode::ExportedOutSlot::disconnect() {
  slot_->disconnect(encoder_->getInSlot());
  const std::lock_guard lock(communicatorsLock_);
  if (communicators_.empty())
    last_ = nullptr;
}

void NetworkNode::ExportedOutSlot::newData(BasicInSlot& slot) {
  if (slot.empty()) // somebody interrupts it
    return;
  try {
    encoder_->popAndEncode(event_);
  } catch (const InterruptedException&) {
    return;
  }
  Pelorn::Frame::Pointer frame = event_.encode(stateNumber(CommandEvent::SetOutSlotState, id_));
  event_.getState().clear(); // large blocks are kept by the frame alone
  if (frame == nullptr)
    return;
  const std::lock_guard lock(communicatorsLock_);
  for (const auto& communicator : communicators_)
    communicator->send(frame);
  last_ = std::move(frame);
}

// Whether the stored value is one for new readers shows when one comes.
void NetworkNode::ExportedOutSlot::welcome(Pelorn::Communicator& communicator) {
  const auto reader = slot_->createMatchingInSlot();
  slot_->connect(reader.get());
  slot_->disconnect(reader.get());
  const std::lock_guard lock(communicatorsLock_);
  join(communicator);
  if (!reader->empty() && last_ != nullptr)
    communicator.send(last_);
}

NetworkNode::ExportedInSlot::ExportedInSlot(NetworkNode& node, std::unique_ptr<BasicDecoder> decoder, unsigned long id,
                                            const std::string& label, BasicInSlot* slot, const std::string& codec)
    : ExportedSlot(node, id, label, *slot, codec, CommandEvent::AddInSlot, CommandEvent::RemoveInSlot), slot_(slot),
      decoder_(retireAtLast(std::move(decoder))) {}

NetworkNode::ExportedInSlot::~ExportedInSlot() = default;

void NetworkNode::ExportedInSlot::connect() {
  decoder_->getOutSlot()->connect(slot_);
}

void NetworkNode::ExportedInSlot::disconnect() {
  decoder_->getOutSlot()->disconnect(slot_);
}

} // namespace Vantiflux
