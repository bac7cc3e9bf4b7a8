#pragma once

#include <memory>
#include <mutex>
#include <vantiflux/Export.h>

namespace Pelorn {

class Notifier;

/// Lets a worker sleep for a stated time and be woken early by whoever wants it to end.
///
/// A signal sticks: once given, every `wait` returns at once until the channel is created anew, so a signal that comes
/// before the wait is not lost. Threads: every operation from any thread at any time; several threads may wait at once.
class VANTIFLUX_API Wait {
public:
  Wait();
  /// Closes. No thread may still be inside an operation.
  ~Wait();
  /// Closes the channel at the end of a scope: for the worker, which is the last to need it.
  class Closing {
  public:
    explicit Closing(Wait& wait) : wait_(wait) {}
    ~Closing() { wait_.close(); }
    Closing(const Closing&) = delete;
    Closing& operator=(const Closing&) = delete;

  private:
    Wait& wait_;
  };

  Wait(const Wait&) = delete;
  Wait& operator=(const Wait&) = delete;

  /// Creates the channel, unsignalled; one that exists is closed first. False when the system has no descriptor left.
  bool create();

  /// Closes the channel and wakes all who wait on it. Without a channel it does nothing.
  void close();

  /// Sleeps for at most `milliseconds` (negative: no limit; 0: only looks). True when the time passed, false when
  /// signalled, closed or never created.
  bool wait(int milliseconds);

  /// Ends present and future waits. Without a channel it does nothing.
  void signal();

  /// Readable (`POLLIN`) once signalled, for a loop that polls other descriptors too; -1 without a channel. It belongs
  /// to this object and stays valid until `create` or `close`, so only one who knows that neither can happen may poll
  /// it.
  int descriptor() const;

private:
  std::shared_ptr<const Notifier> channel() const;

  mutable std::mutex mutex_; // guards channel_
  std::shared_ptr<const Notifier> channel_;
};

} // namespace Pelorn
