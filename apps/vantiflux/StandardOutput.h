#pragma once

#include <string_view>

#include <vantiflux/platform/pelorn/Wait.h>

namespace Host {

/// Standard output for a thread that must come back when the program ends, even if nobody reads the other end.
class StandardOutput {
public:
  /// Throws Vantiflux::Exception when the system has no descriptor left.
  StandardOutput();

  /// Writes all of the text; blocks while the other end is full. False when it is closed, or after `end`.
  bool write(std::string_view text);
  /// Ends present and future writes. From any thread.
  void end() { ended_.signal(); }

private:
  Pelorn::Wait ended_;
};

} // namespace Host
