#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <streambuf>
#include <string>
#include <string_view>
#include <vantiflux/Export.h>
#include <vantiflux/platform/pelorn/Channel.h>

namespace Pelorn {

/// Buffered bytes over a serial port or a socket, with waits that another thread can end.
///
/// *Reading* side: `waitForData`, `dataAvail`, `setTimeLimit` and the input operations of `std::streambuf`. One thread.
///
/// *Writing* side: `write`, `queueWrite`, `sendFinal`, `queued`, from any number of threads at once, also while another
/// reads. Each call's text stays in one piece. The output operations of `std::streambuf` collect in the send buffer,
/// which belongs to one thread (that which uses an `ioStream` over this buffer), and go the way of `write` when
/// flushed.
///
/// *Queue*. What the descriptor does not take at once waits in a queue. It is sent on by whoever is in `waitForData` or
/// a blocking read, and by every later write; it is dropped when the channel closes.
///
/// *Ends*. `Channel::breakWait` and `Channel::close` end every blocking operation here. What was received before a
/// break is still there after `resetWait`; what came from a channel that was closed is dropped by the first
/// `waitForData` after the channel was opened again, or by `discard`.
class VANTIFLUX_API StreamBuf : public std::streambuf {
public:
  static constexpr std::size_t defaultQueueLimit = 1 << 20;

  /// The channel must outlive the buffer. A buffer size of 0 counts as 1.
  explicit StreamBuf(Channel& channel, std::size_t sendSize = 8192, std::size_t receiveSize = 8192);
  ~StreamBuf() override;
  StreamBuf(const StreamBuf&) = delete;
  StreamBuf& operator=(const StreamBuf&) = delete;

  /// Waits without limit. True when there is a byte to read; false when broken, closed, at the end of the stream, or
  /// failed.
  bool waitForData() { return waitForData(-1) == WaitResult::Data; }
  /// The same with a limit in milliseconds; 0 only looks, negative means no limit. A broken wait comes before data.
  WaitResult waitForData(int timeout);

  /// How many bytes can be read without blocking. False when the channel is closed or fails, with `count` what is
  /// buffered.
  bool dataAvail(int& count);

  /// Limit of each blocking read and flush through `std::streambuf`, in milliseconds; negative (the default): none. A
  /// read that exceeds it reports the end of the file.
  void setTimeLimit(int milliseconds) noexcept { timeLimit_ = milliseconds; }
  int getTimeLimit() const noexcept { return timeLimit_; }

  /// Sends everything, blocking while the other side does not take it. False when broken, closed, failed or over the
  /// limit; what was not sent by then stays in the queue.
  bool write(std::string_view text, int timeout = -1);

  /// Takes `text` and never blocks: what cannot be sent at once is queued. False, with nothing sent, when the queue
  /// would exceed its limit, or the channel is broken, closed or failed.
  bool queueWrite(std::string_view text);

  /// `write` that goes through although the wait is broken, for the last words to a device. `timeout` must not be
  /// negative.
  bool sendFinal(std::string_view text, int timeout);

  /// For the end of a conversation, before `close`: sends what is queued, and waits until the far end's system has it
  /// all, as far as that can be told. Goes through although the wait is broken; `timeout` as of `sendFinal`.
  void finish(int timeout);

  std::size_t queued() const noexcept { return queued_.load(std::memory_order_relaxed); }
  /// Bytes that `queueWrite` may leave waiting.
  void setQueueLimit(std::size_t bytes);

  /// Drops what is in the send and the receive buffer. To be called by the reading thread, while no other writes
  /// through `std::streambuf`. The queue is not touched.
  void discard();

  /// Forwarded to the channel.
  void close();
  void breakWait() { channel_.breakWait(); }
  void resetWait() { channel_.resetWait(); }

  Channel& channel() noexcept { return channel_; }

protected:
  int_type underflow() override;
  std::streamsize showmanyc() override;
  int_type overflow(int_type byte) override;
  std::streamsize xsputn(const char* text, std::streamsize size) override;
  int sync() override;

private:
  enum class Fill { Data, Nothing, End };
  enum class OnBreak { Stop, GoOn };

  // The reading side, without the mutex.
  void enter(const Channel::Handle& handle);
  Fill fill(const Channel::Handle& handle);

  // The writing side; `...Locked` with mutex_ held.
  bool writeAll(std::string_view text, const Deadline& deadline, OnBreak onBreak);
  bool beginLocked(const Channel::Handle& handle);
  void submitLocked(const Channel::Handle& handle, std::string_view text);
  bool drainLocked(const Channel::Handle& handle);
  std::size_t sendLocked(const Channel::Handle& handle, std::string_view text);
  void dropQueueLocked();
  void drain(const Channel::Handle& handle);

  Channel& channel_;
  std::string receive_;
  std::string send_;
  std::uint64_t readGeneration_ = 0; // of the channel, as last seen by the reader
  int timeLimit_ = -1;

  std::mutex mutex_; // guards the members below, and keeps sends in order
  std::string queue_;
  std::size_t head_ = 0; // bytes at the start of queue_ that have been sent
  std::size_t limit_ = defaultQueueLimit;
  std::uint64_t accepted_ = 0; // bytes ever taken by and sent from this buffer: tells a writer when its own are out
  std::uint64_t sent_ = 0;
  std::uint64_t drops_ = 0; // how often the queue was dropped: tells a writer that its own went with it
  std::uint64_t writeGeneration_ = 0;
  bool failed_ = false;                // the present channel refused a write
  std::atomic<std::size_t> queued_{0}; // queue_.size() - head_, for those without the mutex
};

} // namespace Pelorn
