#pragma once

#include <array>
#include <cstddef>
#include <string_view>

#include <vantiflux/Export.h>
#include <vantiflux/platform/pelorn/StreamBuf.h>

namespace Vantiflux {

/// Takes lines from a device that sends short ones. A line that is longer than `maxLength` is passed over, so a device
/// that never ends its line costs no memory.
///
/// *Threads.* That of the stream's reader.
class VANTIFLUX_API LineReader {
public:
  static constexpr std::size_t maxLength = 81;

  enum class Result { Line, Timeout, End };

  explicit LineReader(Pelorn::StreamBuf& stream) noexcept : stream_(stream) {}

  /// Waits for the next line, all in all as long as that (negative: no limit). The line comes without its line feed and
  /// holds until the next call. End: the stream ended, failed or was broken.
  Result read(std::string_view& line, int milliseconds);

  /// Forgets the beginning of a line, and what waits in the stream's buffer and at the device.
  void discard();

private:
  bool append(char c) noexcept;

  Pelorn::StreamBuf& stream_;
  std::array<char, maxLength> line_{};
  std::size_t length_ = 0;
  bool tooLong_ = false;
};

} // namespace Vantiflux
