#pragma once

#include <string_view>

#include <sys/types.h>

namespace Host {

/// Writes to where a descriptor of the process leads, without blocking on whoever reads there.
///
/// Terminals and pipes are opened once more, so that only this object's writes do not block: the process shares the
/// descriptor that it was given, with all its flags, with the shell and others.
class OutputEnd {
public:
  explicit OutputEnd(int fd);
  ~OutputEnd();
  OutputEnd(const OutputEnd&) = delete;
  OutputEnd& operator=(const OutputEnd&) = delete;

  /// Writes a part of the text. How many bytes; 0 if there is no room at present; -1, with `errno`, when it failed.
  ssize_t write(std::string_view text) const;

  /// To wait for room with `poll`.
  int descriptor() const noexcept { return own_ >= 0 ? own_ : fd_; }

private:
  ssize_t writeOnce(std::string_view text) const;

  const int fd_;
  int own_ = -1; ///< the second opening, if there is one
  bool socket_ = false;
  bool file_ = false;
};

/// Writes the whole text, but waits for no longer than half a second for a reader that stalls. True when all of it is
/// written, otherwise `errno` says why not.
bool writeOrGiveUp(int fd, std::string_view text);

} // namespace Host
