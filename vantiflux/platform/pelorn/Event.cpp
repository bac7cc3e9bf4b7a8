#include <vantiflux/platform/pelorn/Event.h>

#include <limits>
#include <utility>

#include <vantiflux/platform/pelorn/WireNumber.h>

namespace Pelorn {

Sender::~Sender() = default;
Receiver::~Receiver() = default;
Event::~Event() = default;

void Event::addFields() {}
void Event::getFields() {}

bool Event::send(Sender* sender) {
  const Frame::Pointer frame = encode();
  return frame != nullptr && sender->send(frame);
}

Frame::Pointer Event::encode(std::uint64_t supersedes) {
  auto frame = std::make_shared<Frame>();
  frame->supersedes = supersedes;
  out_ = &frame->bytes;
  addNumber(0U); // the length, filled in below
  addNumber(type().getId());
  addFields();
  out_ = nullptr;
  const std::size_t length = frame->bytes.size() - Frame::prefix;
  if (length > Frame::maxLength)
    return nullptr;
  const auto number = static_cast<unsigned>(length);
  frame->bytes.text().replace(0, sizeof number, reinterpret_cast<const char*>(&number), sizeof number);
  return frame;
}

bool Event::receive(Receiver* receiver, std::unique_ptr<Event>& event) {
  event = receiver->receiveEvent();
  return event != nullptr;
}

std::unique_ptr<Event> Event::decode(std::string_view bytes) {
  if (bytes.size() < sizeof(short))
    return nullptr;
  const EventType* const type = EventType::find(fromWire<short>(bytes.data()));
  if (type == nullptr)
    return nullptr;
  std::unique_ptr<Event> event = type->create();
  event->in_ = bytes.substr(sizeof(short));
  event->getFields();
  event->in_ = {};
  return event->short_ ? nullptr : std::move(event);
}

template <class T>
void Event::addNumber(T value) {
  out_->append(reinterpret_cast<const char*>(&value), sizeof value);
}

// A string that no length can express is cut off.
void Event::addField(const std::string& value) {
  const std::string_view kept = std::string_view(value).substr(0, std::numeric_limits<unsigned>::max());
  addNumber(static_cast<unsigned>(kept.size()));
  out_->append(kept.data(), kept.size());
}

void Event::addField(const void* block, std::size_t size) {
  out_->append(static_cast<const char*>(block), size);
}

void Event::addField(const Gather& block) {
  std::size_t done = 0;
  for (const Gather::Block& part : block.blocks()) {
    out_->append(block.text().data() + done, part.at - done);
    out_->refer(part.bytes.data, part.bytes.size, part.owner);
    done = part.at;
  }
  out_->append(block.text().data() + done, block.text().size() - done);
}

template <class T>
void Event::getNumber(T& value) {
  if (in_.size() < sizeof value)
    return skip(sizeof value);
  value = fromWire<T>(in_.data());
  in_.remove_prefix(sizeof value);
}

void Event::getField(bool& value) {
  getNumber(value);
}

void Event::getField(std::string& value) {
  unsigned size = 0;
  getNumber(size);
  if (size <= in_.size())
    value.assign(in_.substr(0, size));
  skip(size);
}

void Event::skip(std::size_t size) {
  short_ = short_ || size > in_.size();
  in_.remove_prefix(size > in_.size() ? in_.size() : size);
}

template void Event::addNumber(bool);
template void Event::addNumber(short);
template void Event::addNumber(unsigned long);
template void Event::getNumber(short&);
template void Event::getNumber(unsigned long&);

} // namespace Pelorn
