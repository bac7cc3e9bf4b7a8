#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace Host {

/// Lines on their way out of the process. Whoever has a line leaves it in a queue and goes on at once; a thread of this
/// object writes. When the reader is slower than the lines come, or stalls, the queue fills and further lines are
/// dropped and counted.
class Output {
public:
  /// What the queue holds at most.
  static constexpr std::size_t maxBytes = std::size_t{4} << 20;
  static constexpr std::size_t maxLines = std::size_t{1} << 16;

  struct Events {
    /// The first failure of a write, after which all lines are dropped silently.
    std::function<void()> failed;
    /// Lines were dropped, and the reader has caught up since.
    std::function<void(std::uint64_t lines)> dropped;
  };

  /// Writes to where the descriptor leads. Both events come from the writing thread and must not take long, since
  /// `end` waits for them.
  Output(int fd, Events events);
  ~Output();
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  /// Never blocks. From any thread.
  void write(const std::string& line);

  /// Lets what is queued go out, but gives a stalled reader no more than a second. Lines and events that come later are
  /// ignored. How many lines were dropped without having been reported.
  std::uint64_t end();

  /// The number of the error that made a write fail, 0 for none.
  int failure() const;

private:
  class Writer;

  // Shared with the thread: a write to a reader that stalls may never return, and no end of the process waits for it.
  const std::shared_ptr<Writer> writer_;
};

} // namespace Host
