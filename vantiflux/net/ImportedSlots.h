#pragma once

#include <memory>
#include <string>

#include <vantiflux/Export.h>
#include <vantiflux/core/BasicInSlot.h>
#include <vantiflux/core/BasicOutSlot.h>
#include <vantiflux/net/NetworkNode.h>
#include <vantiflux/net/SetStateEvent.h>
#include <vantiflux/platform/pelorn/Communicator.h>
#include <vantiflux/values/BasicDecoder.h>
#include <vantiflux/values/BasicEncoder.h>

namespace Vantiflux {

/// What the twins of peers' slots have in common: they stand in the network node under the label of the offer, and tell
/// the peer when somebody here begins and ends to use them.
class NetworkNode::ImportedSlot {
public:
  virtual ~ImportedSlot();
  ImportedSlot(const ImportedSlot&) = delete;
  ImportedSlot& operator=(const ImportedSlot&) = delete;

  /// Adds the slot to the node, unless it was withdrawn meanwhile.
  void init();
  /// Takes it out for good.
  void withdraw();

protected:
  ImportedSlot(NetworkNode& node, Pelorn::Communicator* communicator, unsigned long id, const std::string& label);

  virtual void addTo(NetworkNode& node) = 0;
  virtual void removeFrom(NetworkNode& node) = 0;
  virtual const Slot* slot() const noexcept = 0;
  void sendCommand(CommandEvent::Command command) const;

  const Pelorn::Communicator::Pointer communicator_;
  const unsigned long id_; ///< in the numbering of the peer
  const std::string label_;

private:
  NetworkNode& node_;
  bool added_ = false; ///< this and the next are guarded by the lock of structure
  bool withdrawn_ = false;
};

/// The twin of a peer's out-slot. Values that arrive are pushed in the receive thread, with their own time stamps.
class NetworkNode::ImportedOutSlot final : public ImportedSlot, private BasicOutSlot::Listener {
public:
  ImportedOutSlot(NetworkNode& node, std::unique_ptr<BasicDecoder> decoder, Pelorn::Communicator* communicator,
                  unsigned long id, const std::string& label);
  ~ImportedOutSlot() override;

  /// In the receive thread.
  bool isWanted() const { return decoder_->getOutSlot()->isConnected(); }
  void handleSetStateEvent(const SetStateEvent& event) { decoder_->decodeAndPush(event); }
  const std::shared_ptr<BasicDecoder>& decoder() const noexcept { return decoder_; }

private:
  void startOutSlot(BasicOutSlot& slot) override;
  void stopOutSlot(BasicOutSlot& slot) override;
  void addTo(NetworkNode& node) override;
  void removeFrom(NetworkNode& node) override;
  const Slot* slot() const noexcept override { return decoder_->getOutSlot(); }

  const std::shared_ptr<BasicDecoder> decoder_; ///< shared with a value that is arriving
};

/// The twin of a peer's in-slot. Each value goes to the peer.
class NetworkNode::ImportedInSlot final : public ImportedSlot, private BasicInSlot::Listener {
public:
  ImportedInSlot(NetworkNode& node, std::unique_ptr<BasicEncoder> encoder, Pelorn::Communicator* communicator,
                 unsigned long id, const std::string& label);
  ~ImportedInSlot() override;

private:
  void startInSlot(BasicInSlot& slot) override;
  void stopInSlot(BasicInSlot& slot) override;
  void newData(BasicInSlot& slot) override;
  void addTo(NetworkNode& node) override;
  void removeFrom(NetworkNode& node) override;
  const Slot* slot() const noexcept override { return encoder_->getInSlot(); }

  std::unique_ptr<BasicEncoder> encoder_;
  SetStateEvent event_; ///< kept for its memory; guarded by the slot's listeners mutex
};

} // namespace Vantiflux
