#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <vantiflux/Export.h>
#include <vantiflux/core/BasicInSlot.h>
#include <vantiflux/core/BasicOutSlot.h>
#include <vantiflux/net/NetworkNode.h>
#include <vantiflux/net/SetStateEvent.h>
#include <vantiflux/platform/pelorn/Communicator.h>
#include <vantiflux/values/BasicDecoder.h>
#include <vantiflux/values/BasicEncoder.h>

namespace Vantiflux {

/// What exported slots of both directions have in common: a number, an offer, and the peers that use the slot. While
/// there are such peers the slot is connected, and only then.
///
/// *Threads.* Peers come and go under the lock of structure, in which the slot is connected; so a slot that is being
/// removed is not connected any more.
class NetworkNode::ExportedSlot {
public:
  virtual ~ExportedSlot();
  ExportedSlot(const ExportedSlot&) = delete;
  ExportedSlot& operator=(const ExportedSlot&) = delete;

  unsigned long getId() const noexcept { return id_; }
  const std::string& getLabel() const noexcept { return label_; }

  /// Both need the announcements lock of the node.
  void sendAddSlotEvent(Pelorn::Sender* sender) const;
  void sendRemoveSlotEvent(Pelorn::Sender* sender) const;

  /// The peer wants the slot, once however often it says so. False when the slot is being removed.
  bool addCommunicator(Pelorn::Communicator* communicator);
  /// False when the peer had not wanted it.
  bool removeCommunicator(Pelorn::Communicator* communicator);
  /// Ends all use, for good. The slot itself may go after this.
  void withdraw();

protected:
  ExportedSlot(NetworkNode& node, unsigned long id, const std::string& label, const Slot& slot,
               const std::string& codec, CommandEvent::Command add, CommandEvent::Command remove);

  /// All with the lock of structure held.
  virtual void connect() = 0;
  virtual void disconnect() = 0;
  /// A further peer joins; `join` enters it.
  virtual void welcome(Pelorn::Communicator& communicator);
  void join(Pelorn::Communicator& communicator);

  const unsigned long id_;
  mutable std::mutex communicatorsLock_; ///< guards the next; sends, which do not block, happen under it
  std::vector<Pelorn::Communicator::Pointer> communicators_;

private:
  NetworkNode& node_;
  const std::string label_;
  const std::string description_;
  const std::string codec_;
  const CommandEvent::Command add_;
  const CommandEvent::Command remove_;
  bool withdrawn_ = false; ///< guarded by the lock of structure
};

/// An out-slot of this process that peers may use: its values are encoded once and sent to all who want them.
///
/// A value that waits on a slow connection is replaced by the newer one. A peer that comes to want the slot gets the
/// latest value at once, as every new reader does.
class NetworkNode::ExportedOutSlot final : public ExportedSlot, private BasicInSlot::Listener {
public:
  ExportedOutSlot(NetworkNode& node, std::unique_ptr<BasicEncoder> encoder, unsigned long id, const std::string& label,
                  BasicOutSlot* slot, const std::string& codec);
  ~ExportedOutSlot() override;

private:
  void newData(BasicInSlot& slot) override;
  void connect() override;
  void disconnect() override;
  void welcome(Pelorn::Communicator& communicator) override;

  BasicOutSlot* const slot_;
  std::unique_ptr<BasicEncoder> encoder_;
  SetStateEvent event_;         ///< kept for its memory; of the thread that pushes
  Pelorn::Frame::Pointer last_; ///< the latest value while anybody wants it; guarded by the communicators' lock
};

/// An in-slot of this process that peers may write to.
class NetworkNode::ExportedInSlot final : public ExportedSlot {
public:
  ExportedInSlot(NetworkNode& node, std::unique_ptr<BasicDecoder> decoder, unsigned long id, const std::string& label,
                 BasicInSlot* slot, const std::string& codec);
  ~ExportedInSlot() override;

  /// In the receive thread.
  void handleSetStateEvent(const SetStateEvent& event) { decoder_->decodeAndPush(event); }
  const std::shared_ptr<BasicDecoder>& decoder() const noexcept { return decoder_; }

private:
  void connect() override;
  void disconnect() override;

  BasicInSlot* const slot_;
  const std::shared_ptr<BasicDecoder> decoder_; ///< shared with a value that is arriving
};

} // namespace Vantiflux
