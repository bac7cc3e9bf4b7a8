#pragma once

#include <cstddef>
#include <functional>

#include <zlib.h>

namespace Vantiflux {

/// A stream of compressed bytes that goes on over many pieces. Private to the library.
class RFBInflater {
public:
  /// Throws RFBStream::Trouble without memory.
  RFBInflater();
  ~RFBInflater();
  RFBInflater(const RFBInflater&) = delete;
  RFBInflater& operator=(const RFBInflater&) = delete;

  /// Where output goes: the next place, and how much fits there; nothing fits when there is enough.
  struct Room {
    unsigned char* data;
    std::size_t size;
  };
  /// Inflates as much as comes of these bytes. `next` is told how much the room that it gave took, and gives another.
  /// False when the stream is broken, or there is more than enough.
  bool inflatePiece(const unsigned char* bytes, std::size_t size, Room room,
                    const std::function<Room(std::size_t filled)>& next);

private:
  z_stream stream_{};
};

} // namespace Vantiflux
