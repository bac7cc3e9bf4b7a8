#include <vantiflux/net/SetStateEvent.h>

#include <utility>

#include <vantiflux/platform/pelorn/WireNumber.h>
#include <vantiflux/values/BasicDecoder.h>

namespace Vantiflux {

namespace {

// Where the fields stand, from the type of the event on.
constexpr std::size_t commandAt = 2;
constexpr std::size_t slotIdAt = 4;
constexpr std::size_t timeStampAt = 12;
constexpr std::size_t lengthAt = 20;
constexpr std::size_t stateAt = 28;

} // namespace

Pelorn::EventType SetStateEvent::type_("Vantiflux::SetStateEvent", 303, &SetStateEvent::create);

SetStateEvent::SetStateEvent() = default;

SetStateEvent::SetStateEvent(short command) : CommandEvent(command) {}

SetStateEvent::~SetStateEvent() = default;

void SetStateEvent::addFields() {
  CommandEvent::addFields();
  addField(slotId_);
  addField(timeStamp_);
  addField(static_cast<unsigned long>(state_.size()));
  if (!state_.empty())
    addField(state_);
}

void SetStateEvent::getFields() {
  CommandEvent::getFields();
  getField(slotId_);
  getField(timeStamp_);
  unsigned long length = 0;
  getField(length);
  if (length > rest().size())
    return;
  state_.clear();
  state_.append(rest().data(), length);
  skip(length);
}

std::unique_ptr<SetStateEvent> SetStateEvent::begin(std::string_view& bytes, std::size_t eventLength,
                                                    std::size_t& length) {
  using Pelorn::fromWire;
  if (bytes.size() < stateAt || fromWire<short>(bytes.data()) != type_.getId())
    return nullptr;
  const unsigned long stated = fromWire<unsigned long>(bytes.data() + lengthAt);
  if (stated != eventLength - stateAt)
    return nullptr;
  auto event = std::make_unique<SetStateEvent>(fromWire<short>(bytes.data() + commandAt));
  event->slotId_ = fromWire<unsigned long>(bytes.data() + slotIdAt);
  event->timeStamp_ = fromWire<unsigned long>(bytes.data() + timeStampAt);
  length = stated;
  bytes.remove_prefix(stateAt);
  return event;
}

void SetStateEvent::setPending(std::shared_ptr<void> keeper, std::unique_ptr<PendingValue> value) {
  keeper_ = std::move(keeper);
  pending_ = std::move(value);
}

} // namespace Vantiflux
