#pragma once

#include <string_view>

#include <vantiflux/Export.h>
#include <vantiflux/devices/LineCutter.h>
#include <vantiflux/platform/pelorn/StreamBuf.h>

namespace Vantiflux {

/// Takes lines from a device that sends short ones: at most LineCutter::maxLength bytes.
///
/// *Threads.* That of the stream's reader.
class VANTIFLUX_API LineReader {
public:
  enum class Result { Line, Timeout, End };

  explicit LineReader(Pelorn::StreamBuf& stream) noexcept : stream_(stream) {}

  /// Waits for the next line, all in all as long as that (negative: no limit). The line comes without its line feed and
  /// holds until the next call. End: the stream ended, failed or was broken.
  Result read(std::string_view& line, int milliseconds);

  /// Forgets the beginning of a line, and what waits in the stream's buffer and at the device.
  void discard();

private:
  Pelorn::StreamBuf& stream_;
  LineCutter cutter_;
};

} // namespace Vantiflux
