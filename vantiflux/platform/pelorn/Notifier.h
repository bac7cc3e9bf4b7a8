#pragma once

#include <vantiflux/Export.h>
#include <vantiflux/platform/pelorn/Descriptor.h>

struct pollfd;

namespace Pelorn {

class Deadline;

/// A flag that `poll` can watch: readable from `signal()` until `clear()`. All operations from any thread.
class VANTIFLUX_API Notifier {
public:
  /// Throws `IOException` when the system has no descriptor left.
  Notifier();

  void signal() const noexcept;
  void clear() const noexcept;
  int descriptor() const noexcept { return event_.get(); }

private:
  Descriptor event_;
};

/// `poll` that goes on after interruption by a handler of a signal. Number of ready entries, 0 at the deadline, -1 on
/// error.
VANTIFLUX_API int pollUntil(pollfd* entries, unsigned count, const Deadline& deadline) noexcept;

} // namespace Pelorn
