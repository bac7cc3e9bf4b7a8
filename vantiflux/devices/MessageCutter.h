#pragma once

#include <cstddef>
#include <string>

#include <vantiflux/Export.h>
#include <vantiflux/platform/pelorn/StreamBuf.h>

namespace Vantiflux {

/// Cuts a stream of bytes into messages. A message ends with the delimiter, which stays in it, or when it has the
/// greatest number of bytes, whichever comes first; without a delimiter it also ends with the burst in which it
/// arrived, that is where no more bytes are waiting.
///
/// A peer that never sends the delimiter, or never pauses, does not make a message grow without end: what has reached
/// `limit` bytes is passed on as it is.
class VANTIFLUX_API MessageCutter {
public:
  static constexpr std::size_t limit = std::size_t{1} << 20;

  /// Negative: no greatest number of bytes; no delimiter. A greatest number of 0 counts as 1.
  MessageCutter(int maxBytes, int delimiter) noexcept;

  /// Waits for the next message and puts it in place of the contents. False when the stream has come to its end, failed
  /// or was broken: a message that was not complete by then is dropped.
  bool next(Pelorn::StreamBuf& stream, std::string& message) const;

private:
  bool isComplete(const std::string& message) const noexcept;

  std::size_t maxBytes_;
  int delimiter_;
};

} // namespace Vantiflux
