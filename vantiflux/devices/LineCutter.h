#pragma once

#include <array>
#include <cstddef>
#include <string_view>
#include <utility>

namespace Vantiflux {

/// Puts lines together from single bytes. A line that is longer than `maxLength` is passed over, so a device that never
/// ends its line costs no memory.
///
/// *Threads.* One at a time.
class LineCutter {
public:
  static constexpr std::size_t maxLength = 81;

  /// Whether the byte, a line feed, ends a line: `line` gives it then, without its line feed, until the next call.
  bool add(char c) noexcept {
    if (std::exchange(complete_, false))
      length_ = 0;
    if (c == '\n') {
      complete_ = !tooLong_;
      if (tooLong_)
        reset();
      return complete_;
    }
    if (length_ == maxLength)
      tooLong_ = true;
    else
      line_[length_++] = c;
    return false;
  }

  std::string_view line() const noexcept { return {line_.data(), length_}; }

  /// Forgets the beginning of a line.
  void reset() noexcept {
    length_ = 0;
    tooLong_ = complete_ = false;
  }

private:
  std::array<char, maxLength> line_{};
  std::size_t length_ = 0;
  bool tooLong_ = false;
  bool complete_ = false;
};

} // namespace Vantiflux
