#include <vantiflux/devices/LineReader.h>

#include <vantiflux/platform/pelorn/Deadline.h>

namespace Vantiflux {

LineReader::Result LineReader::read(std::string_view& line, int milliseconds) {
  const Pelorn::Deadline deadline(milliseconds);
  for (;;) {
    for (std::streamsize ready = stream_.in_avail(); ready > 0; --ready) {
      const int byte = stream_.sbumpc();
      if (byte == Pelorn::StreamBuf::traits_type::eof())
        return Result::End;
      if (cutter_.add(static_cast<char>(byte))) {
        line = cutter_.line();
        return Result::Line;
      }
    }
    const int left = deadline.remaining();
    if (left == 0) // even of a device that sends on and on
      return Result::Timeout;
    const Pelorn::WaitResult result = stream_.waitForData(left);
    if (result != Pelorn::WaitResult::Data)
      return result == Pelorn::WaitResult::Timeout ? Result::Timeout : Result::End;
  }
}

// A device may go on sending for as long as it likes: one look, of bounded length.
void LineReader::discard() {
  cutter_.reset();
  int left = 0;
  for (stream_.dataAvail(left); left > 0; --left)
    if (stream_.sbumpc() == Pelorn::StreamBuf::traits_type::eof())
      return;
}

} // namespace Vantiflux
