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
      if (append(static_cast<char>(byte))) {
        line = std::string_view(line_.data(), length_);
        length_ = 0;
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

/// Whether this ends a line.
bool LineReader::append(char c) noexcept {
  if (c == '\n') {
    const bool complete = !tooLong_;
    tooLong_ = false;
    if (!complete)
      length_ = 0;
    return complete;
  }
  if (length_ == maxLength)
    tooLong_ = true;
  else
    line_[length_++] = c;
  return false;
}

// A device may go on sending for as long as it likes: one look, of bounded length.
void LineReader::discard() {
  length_ = 0;
  tooLong_ = false;
  for (std::streamsize left = stream_.in_avail(); left > 0; --left)
    if (stream_.sbumpc() == Pelorn::StreamBuf::traits_type::eof())
      return;
}

} // namespace Vantiflux
