#pragma once

#include <cstddef>
#include <iostream>
#include <vantiflux/Export.h>
#include <vantiflux/platform/pelorn/StreamBuf.h>

namespace Pelorn {

/// A `std::iostream` over a serial port or a socket.
///
/// The stream object, error flags included, belongs to one thread. Other threads write through `buf()`, whose writing
/// side takes any number of them, and end this thread's waits with `breakWait` or `close`.
class VANTIFLUX_API ioStream : public std::iostream {
public:
  /// The channel must outlive the stream.
  explicit ioStream(Channel& channel, std::size_t sendSize = 8192, std::size_t receiveSize = 8192);
  ~ioStream() override;

  StreamBuf& buf() noexcept { return buf_; }

  /// Makes the stream fit for a channel that was opened anew: clears the error flags, drops what was buffered.
  void restart();

  // As in `StreamBuf`.
  bool waitForData() { return buf_.waitForData(); }
  WaitResult waitForData(int timeout) { return buf_.waitForData(timeout); }
  bool dataAvail(int& count) { return buf_.dataAvail(count); }
  void setTimeLimit(int milliseconds) noexcept { buf_.setTimeLimit(milliseconds); }
  void breakWait() { buf_.breakWait(); }

  /// Closes the channel; from any thread. The error flags follow with the owner's next operation.
  void close() { buf_.close(); }

private:
  StreamBuf buf_;
};

} // namespace Pelorn
