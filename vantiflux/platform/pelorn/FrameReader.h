#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include <vantiflux/Export.h>

namespace Pelorn {

class Event;

/// Cuts the bytes that arrive on a connection into events, wherever they are parted.
///
/// *Memory.* The buffer grows with what has arrived and never because of a length that somebody states. An exception is
/// a large event whose receiver has a place for its bulk: it checks the length itself and asks for the memory at once,
/// which the system gives as the bytes arrive.
///
/// *Threads.* One at a time.
///
/// *Failure.* A length that is impossible or exceeds the limit, a type that is not known and fields that are cut short
/// make the reader fail for good: what follows could not be told apart.
class VANTIFLUX_API FrameReader {
public:
  /// Events from this length on are offered to the bulk handler.
  static constexpr std::size_t bulkFrom = std::size_t{64} << 10;

  /// Is shown the bytes of a large event that are here and its whole length. If it has a place for the rest, it returns
  /// the event, which is received when that is full, and takes off the head what does not belong there; `rest` must
  /// stay until then. Otherwise null. Asked once for each event.
  using BulkHandler =
      std::function<std::unique_ptr<Event>(std::string_view& head, std::size_t length, std::span<std::byte>& rest)>;

  FrameReader();
  ~FrameReader();
  FrameReader(const FrameReader&) = delete;
  FrameReader& operator=(const FrameReader&) = delete;

  void setBulkHandler(BulkHandler handler) { bulkHandler_ = std::move(handler); }
  void setLimit(std::size_t length) noexcept { limit_ = length; }

  /// Where the next bytes belong; never empty unless failed.
  std::span<std::byte> room();
  /// So many bytes were put there.
  void filled(std::size_t count);

  /// Whether an event has arrived whole. Null from `next` otherwise.
  bool hasEvent();
  std::unique_ptr<Event> next();
  /// Bytes that have arrived and were not taken, apart from those of a bulk.
  std::size_t buffered() const noexcept { return end_ - begin_; }
  bool failed() const noexcept { return failed_; }

private:
  std::string_view pending() const noexcept { return {buffer_.data() + begin_, end_ - begin_}; }
  /// The length of the event at the front, 0 when that is not here yet.
  std::size_t frontLength();
  void offerBulk(std::size_t length);

  BulkHandler bulkHandler_;
  std::size_t limit_;
  std::vector<char> buffer_; ///< what arrived stands from begin_ to end_
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
  bool offered_ = false; ///< the event at the front was shown to the handler
  bool failed_ = false;

  std::unique_ptr<Event> bulk_; ///< an event whose rest arrives
  std::span<std::byte> bulkRest_;
};

} // namespace Pelorn
