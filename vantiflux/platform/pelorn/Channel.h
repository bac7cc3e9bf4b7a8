#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <sys/types.h>
#include <vantiflux/Export.h>
#include <vantiflux/platform/pelorn/Descriptor.h>
#include <vantiflux/platform/pelorn/Notifier.h>

namespace Pelorn {

class Deadline;

/// Outcome of a wait with a time limit.
enum class WaitResult : int {
  Error = 0,   ///< broken, closed, end of stream, or failed
  Timeout = 1, ///< the time passed
  Data = 2     ///< there is something to take
};

/// What serial ports, sockets and datagram sockets have in common: an open descriptor that several threads share, and
/// waits that another thread can break.
///
/// *Breaking.* `breakWait` ends every blocking operation at once, on the reading and on the writing side, and makes
/// each later one (opening included) fail at once. It stays in force over `close` and opening anew, until `resetWait`:
/// so a stop request is never lost, whatever the worker is doing just then. Whoever starts a worker calls `resetWait`
/// first.
///
/// *Closing* ends blocking operations likewise, and lasts until the channel is opened again. The descriptor itself goes
/// when the last operation that uses it has returned, so its number cannot be taken by another file under a reader.
///
/// Threads: `breakWait`, `resetWait`, `broken`, `isOpen`, `close` from any thread at any time.
class VANTIFLUX_API Channel {
public:
  /// An open descriptor (always non-blocking) with the events that end or shorten a wait on it.
  struct Handle {
    Descriptor descriptor;
    Notifier stop; ///< closed or broken; stays signalled
    Notifier kick; ///< the poller should look again at what it polls for
    std::uint64_t generation = 0;

    int fd() const noexcept { return descriptor.get(); }
  };
  using HandlePtr = std::shared_ptr<const Handle>;

  virtual ~Channel();
  Channel(const Channel&) = delete;
  Channel& operator=(const Channel&) = delete;

  bool isOpen() const;
  virtual void close();

  void breakWait();
  void resetWait();
  bool broken() const noexcept { return broken_.load(std::memory_order_acquire); }

protected:
  friend class StreamBuf;

  Channel();

  /// The open descriptor, null when closed. Holding it keeps the descriptor's number from being used again.
  HandlePtr handle() const;

  /// Makes `fd` the open descriptor, in place of an earlier one. Throws `IOException`, with code `ECANCELED` and the
  /// text `what` when the wait is broken.
  HandlePtr adopt(Descriptor fd, const std::string& what);

  /// Polls for `events`. `Error` when closed or broken; `Data` when one of the events or a fault of the descriptor is
  /// there (then in `found`), or when kicked (`found` is 0; the kick is consumed). Only the one reader heeds kicks.
  enum class Kicks { Ignore, Heed };
  WaitResult poll(const Handle& on, short events, short& found, const Deadline& deadline,
                  Kicks kicks = Kicks::Ignore) const;

  /// Waits for nothing but the end of the time, where polling would report the same trouble again at once. False when
  /// closed or broken before.
  static bool pause(const Handle& on, int milliseconds);

  /// The last step before a close, also of a broken channel: until the deadline, sees to it that the far end gets what
  /// was written.
  virtual void finish(const Handle& on, const Deadline& deadline);

  /// One non-blocking transfer, as `read` and `write`.
  virtual ssize_t readSome(int fd, char* data, std::size_t size);
  virtual ssize_t writeSome(int fd, const char* data, std::size_t size);

private:
  mutable std::mutex mutex_; // guards handle_, generation_, changes of broken_
  std::shared_ptr<const Handle> handle_;
  std::uint64_t generation_ = 0;
  std::atomic<bool> broken_{false}; // written by breakWait and resetWait, read by every operation
};

} // namespace Pelorn
