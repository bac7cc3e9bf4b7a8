#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string_view>

#include <vantiflux/Export.h>
#include <vantiflux/net/CommandEvent.h>
#include <vantiflux/platform/pelorn/Gather.h>

namespace Vantiflux {

class PendingValue;

/// Carries one value of a slot: its time stamp and its encoded bytes.
class VANTIFLUX_API SetStateEvent : public CommandEvent {
public:
  SetStateEvent();
  explicit SetStateEvent(short command);
  ~SetStateEvent() override;

  const Pelorn::EventType& type() const override { return type_; }
  void addFields() override;
  /// A state that is announced longer than what is there stays as it was.
  void getFields() override;
  static Pelorn::Event* create() { return new SetStateEvent; }

  unsigned long getSlotId() const noexcept { return slotId_; }
  void setSlotId(unsigned long id) noexcept { slotId_ = id; }
  unsigned long getTimeStamp() const noexcept { return timeStamp_; }
  void setTimeStamp(unsigned long timeStamp) noexcept { timeStamp_ = timeStamp; }

  /// The bytes of the value. What was received stands in the text; what is to be sent may refer to large blocks.
  const Pelorn::Gather& getState() const noexcept { return state_; }
  Pelorn::Gather& getState() noexcept { return state_; }

  /// The fields before the state of an event that has not arrived whole. `bytes` begins with the event's type and ends
  /// somewhere in the state; it is taken down to what is here of the state, of `length` bytes. Null when it is not this
  /// kind of event, or not enough of it, or the numbers do not agree.
  static std::unique_ptr<SetStateEvent> begin(std::string_view& bytes, std::size_t eventLength, std::size_t& length);
  /// For an event that `begin` made: the value that its state is received into, and who keeps its decoder.
  void setPending(std::shared_ptr<void> keeper, std::unique_ptr<PendingValue> value);
  PendingValue* getPending() const noexcept { return pending_.get(); }

private:
  static Pelorn::EventType type_;

  unsigned long slotId_ = 0;
  unsigned long timeStamp_ = 0;
  Pelorn::Gather state_;
  std::shared_ptr<void> keeper_;
  std::unique_ptr<PendingValue> pending_; ///< goes before its keeper
};

} // namespace Vantiflux
