#include <vantiflux/platform/pelorn/ioStream.h>

namespace Pelorn {

ioStream::ioStream(Channel& channel, std::size_t sendSize, std::size_t receiveSize)
    : std::iostream(nullptr), buf_(channel, sendSize, receiveSize) {
  rdbuf(&buf_); // also clears the flag that a stream without a buffer has
}

ioStream::~ioStream() = default;

void ioStream::restart() {
  clear();
  buf_.discard();
}

} // namespace Pelorn
