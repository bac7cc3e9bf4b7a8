#pragma once

#include <cstddef>
#include <deque>
#include <mutex>
#include <string>
#include <string_view>

#include <vantiflux/Export.h>

namespace Pelorn {

/// The latest events of a web server, with the time of each.
/// *Threads.* All operations from any thread.
class VANTIFLUX_API WebLog {
public:
  static constexpr int maxSize = 100000; ///< events that are kept, whatever is asked for
  static constexpr std::size_t maxLine = 500;

  /// How many events to keep; none for 0 and less.
  void setSize(int size);
  int getSize() const;
  /// Keeps the event, cut to `maxLine` bytes.
  void add(std::string_view line);
  /// The whole page, the latest event last.
  std::string page(std::string_view title) const;

private:
  void trim();

  mutable std::mutex lock_; ///< innermost; guards the rest
  int size_ = 0;
  std::deque<std::string> lines_;
};

} // namespace Pelorn
