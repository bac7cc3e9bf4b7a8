#include <vantiflux/net/ImportedSlots.h>

#include <utility>

#include <vantiflux/core/InterruptedException.h>
#include <vantiflux/core/TreeLock.h>
#include <vantiflux/net/CommandEvent.h>
#include <vantiflux/net/RetiredDecoder.h>

namespace Vantiflux {

NetworkNode::ImportedSlot::ImportedSlot(NetworkNode& node, Pelorn::Communicator* communicator, unsigned long id,
                                        const std::string& label)
    : communicator_(communicator->shared_from_this()), id_(id), label_(label), node_(node) {}

NetworkNode::ImportedSlot::~ImportedSlot() = default;

void NetworkNode::ImportedSlot::init() {
  const TreeLock tree;
  if (withdrawn_)
    return;
  added_ = true;
  addTo(node_);
}

void NetworkNode::ImportedSlot::withdraw() {
  const TreeLock tree;
  withdrawn_ = true;
  if (std::exchange(added_, false))
    removeFrom(node_);
  node_.unmarkOwn(slot());
}

void NetworkNode::ImportedSlot::sendCommand(CommandEvent::Command command) const {
  SlotCommandEvent(command, id_).send(communicator_.get());
}

NetworkNode::ImportedOutSlot::ImportedOutSlot(NetworkNode& node, std::unique_ptr<BasicDecoder> decoder,
                                              Pelorn::Communicator* communicator, unsigned long id,
                                              const std::string& label)
    : ImportedSlot(node, communicator, id, label), decoder_(retireAtLast(std::move(decoder))) {
  decoder_->getOutSlot()->addListener(*this);
}

NetworkNode::ImportedOutSlot::~ImportedOutSlot() = default;

void NetworkNode::ImportedOutSlot::addTo(NetworkNode& node) {
  node.addOutSlot(label_, decoder_->getOutSlot());
}

// The peer is not told that nobody uses a slot any more that is not there any more.
void NetworkNode::ImportedOutSlot::removeFrom(NetworkNode& node) {
  decoder_->getOutSlot()->removeListener(*this);
  node.removeOutSlot(label_, decoder_->getOutSlot());
}

void NetworkNode::ImportedOutSlot::startOutSlot(BasicOutSlot&) {
  sendCommand(CommandEvent::StartOutSlot);
}

void NetworkNode::ImportedOutSlot::stopOutSlot(BasicOutSlot& slot) {
  sendCommand(CommandEvent::StopOutSlot);
  slot.invalidateValue();
}

NetworkNode::ImportedInSlot::ImportedInSlot(NetworkNode& node, std::unique_ptr<BasicEncoder> encoder,
                                            Pelorn::Communicator* communicator, unsigned long id,
                                            const std::string& label)
    : ImportedSlot(node, communicator, id, label), encoder_(std::move(encoder)), event_(CommandEvent::SetInSlotState) {
  event_.setSlotId(id);
  encoder_->getInSlot()->addListener(*this);
}

NetworkNode::ImportedInSlot::~ImportedInSlot() {
  const Slot* const retired = slot();
  retireSlot(std::move(encoder_), retired);
}

void NetworkNode::ImportedInSlot::addTo(NetworkNode& node) {
  node.addInSlot(label_, encoder_->getInSlot());
}

void NetworkNode::ImportedInSlot::removeFrom(NetworkNode& node) {
  encoder_->getInSlot()->removeListener(*this);
  node.removeInSlot(label_, encoder_->getInSlot());
}

void NetworkNode::ImportedInSlot::startInSlot(BasicInSlot&) {
  sendCommand(CommandEvent::StartInSlot);
}

void NetworkNode::ImportedInSlot::stopInSlot(BasicInSlot&) {
  sendCommand(CommandEvent::StopInSlot);
}

void NetworkNode::ImportedInSlot::newData(BasicInSlot& slot) {
  if (slot.empty()) // two writers left one value for two calls
    return;
  try {
    encoder_->popAndEncode(event_);
  } catch (const InterruptedException&) {
    return;
  }
  const Pelorn::Frame::Pointer frame = event_.encode(stateNumber(CommandEvent::SetInSlotState, id_));
  event_.getState().clear();
  if (frame != nullptr)
    communicator_->send(frame);
}

} // namespace Vantiflux
