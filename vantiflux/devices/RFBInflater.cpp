#include "RFBInflater.h"

#include <algorithm>
#include <limits>

#include <vantiflux/devices/RFBStream.h>
#include <vantiflux/platform/tarsil/Console.h>

namespace Vantiflux {

RFBInflater::RFBInflater() {
  if (inflateInit(&stream_) == Z_OK)
    return;
  Tarsil::printErrorLine("Cannot initialize z_stream");
  throw RFBStream::Trouble("Cannot initialize z_stream");
}

RFBInflater::~RFBInflater() {
  inflateEnd(&stream_);
}

// When there is enough, what is left of the piece may still hold the mark of its end, but no byte of output.
bool RFBInflater::inflatePiece(const unsigned char* bytes, std::size_t size, Room room,
                               const std::function<Room(std::size_t filled)>& next) {
  stream_.next_in = const_cast<unsigned char*>(bytes); // NOLINT: it is only read
  stream_.avail_in = static_cast<uInt>(size);
  for (;;) {
    unsigned char surplus = 0;
    const bool enough = room.size == 0;
    const std::size_t fits = enough ? 1 : std::min<std::size_t>(room.size, std::numeric_limits<uInt>::max());
    stream_.next_out = enough ? &surplus : room.data;
    stream_.avail_out = static_cast<uInt>(fits);
    const int result = inflate(&stream_, Z_SYNC_FLUSH);
    const std::size_t filled = fits - stream_.avail_out;
    if (enough && filled > 0)
      return false;
    if (filled > 0)
      room = next(filled);
    if (result == Z_BUF_ERROR || result == Z_STREAM_END || result == Z_NEED_DICT)
      return true; // no more comes of this piece
    if (result < 0)
      return false;
  }
}

} // namespace Vantiflux
