#include <vantiflux/platform/pelorn/FrameReader.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include <vantiflux/platform/pelorn/Event.h>
#include <vantiflux/platform/pelorn/WireNumber.h>

namespace Pelorn {

namespace {

constexpr std::size_t initialSize = std::size_t{64} << 10;
/// Small events are read in runs of up to this size; only a single event makes the buffer greater.
constexpr std::size_t runSize = std::size_t{256} << 10;
/// What a handler needs to see of a large event.
constexpr std::size_t bulkHead = 256;

} // namespace

FrameReader::FrameReader() : limit_(Frame::maxLength) {}

FrameReader::~FrameReader() = default;

std::size_t FrameReader::frontLength() {
  if (failed_ || buffered() < Frame::prefix)
    return 0;
  const std::size_t length = fromWire<unsigned>(buffer_.data() + begin_);
  failed_ = length < sizeof(short) || length > limit_;
  return failed_ ? 0 : length;
}

std::span<std::byte> FrameReader::room() {
  if (failed_)
    return {};
  if (bulk_ != nullptr && !bulkRest_.empty())
    return bulkRest_;
  if (begin_ == end_) {
    begin_ = end_ = 0;
    if (buffer_.size() > 4 * runSize) // of one large event
      decltype(buffer_)().swap(buffer_);
  }
  const std::size_t whole = frontLength() + Frame::prefix;
  if (failed_)
    return {};
  if (begin_ != 0 && (end_ == buffer_.size() || begin_ + whole > buffer_.size())) {
    std::memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
    end_ -= begin_;
    begin_ = 0;
  }
  if (buffer_.empty())
    buffer_.resize(initialSize);
  else if (end_ == buffer_.size())
    buffer_.resize(buffer_.size() < runSize ? runSize : std::max(std::min(2 * buffer_.size(), whole), runSize + end_));
  std::size_t free = buffer_.size() - end_;
  // The end of an event that is large is not read beyond: what comes after it would have to be moved.
  if (whole > runSize && begin_ + whole > end_)
    free = std::min(free, begin_ + whole - end_);
  return std::as_writable_bytes(std::span(buffer_).subspan(end_, free));
}

void FrameReader::filled(std::size_t count) {
  if (bulk_ != nullptr && !bulkRest_.empty()) {
    bulkRest_ = bulkRest_.subspan(count);
    return;
  }
  end_ += count;
}

bool FrameReader::hasEvent() {
  if (bulk_ != nullptr)
    return bulkRest_.empty();
  const std::size_t length = frontLength();
  if (length == 0)
    return false;
  if (buffered() - Frame::prefix >= length)
    return true;
  if (length >= bulkFrom && !offered_ && buffered() >= bulkHead && bulkHandler_)
    offerBulk(length);
  return false;
}

// All that is here belongs to the event at the front, which is not complete yet.
void FrameReader::offerBulk(std::size_t length) {
  offered_ = true;
  std::string_view head = pending().substr(Frame::prefix);
  const std::size_t here = head.size();
  std::span<std::byte> rest;
  bulk_ = bulkHandler_(head, length, rest);
  if (bulk_ == nullptr)
    return;
  // The handler took what does not belong into the rest: the two must make up the event.
  if (here - head.size() + rest.size() != length || head.size() > rest.size()) {
    failed_ = true;
    return bulk_.reset();
  }
  std::memcpy(rest.data(), head.data(), head.size());
  bulkRest_ = rest.subspan(head.size());
  begin_ = end_ = 0;
}

std::unique_ptr<Event> FrameReader::next() {
  if (!hasEvent())
    return nullptr;
  offered_ = false;
  if (bulk_ != nullptr)
    return std::exchange(bulk_, nullptr);
  const std::size_t length = frontLength();
  std::unique_ptr<Event> event = Event::decode(pending().substr(Frame::prefix, length));
  begin_ += Frame::prefix + length;
  failed_ = event == nullptr;
  return event;
}

} // namespace Pelorn
