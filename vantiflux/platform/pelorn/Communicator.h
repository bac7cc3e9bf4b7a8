#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <sys/uio.h>
#include <vector>

#include <vantiflux/Export.h>
#include <vantiflux/platform/pelorn/FrameReader.h>
#include <vantiflux/platform/pelorn/LinkSocket.h>
#include <vantiflux/platform/pelorn/OutputQueue.h>
#include <vantiflux/platform/pelorn/Sender.h>

namespace Pelorn {

/// One connection of a MultiConnector.
///
/// *Sending* is for any number of threads and never blocks. While the connection is idle an event is written by the
/// thread that sends it. While it is not (the peer takes no more just now, somebody else is writing, or events follow
/// each other so fast that it pays to write many at once), the event joins the queue, and the connector's loop writes
/// what waits. Events keep their order and never mix.
///
/// *Receiving* is for one thread at a time.
class VANTIFLUX_API Communicator : public Sender, public Receiver, public std::enable_shared_from_this<Communicator> {
public:
  using Pointer = std::shared_ptr<Communicator>;
  using Clock = std::chrono::steady_clock;

  /// `handOver` tells the loop, once, that there is something to flush.
  Communicator(std::unique_ptr<LinkSocket> socket, std::function<void(Communicator&)> handOver);
  ~Communicator() override;
  Communicator(const Communicator&) = delete;
  Communicator& operator=(const Communicator&) = delete;

  bool send(const Frame::Pointer& frame) override;

  /// Waits until an event has arrived whole, `milliseconds` at most. `Timeout` when nothing came at all, `Error` when
  /// what came is no event, or not all of one, and when the connection ended.
  WaitResult waitForEvent(int milliseconds);
  /// Reads what there is, without waiting. `count` is then the number of bytes of events that can be received now,
  /// 0 when there is none that is whole. False when the connection has ended and none is left.
  bool dataAvail(int& count);
  /// The same of what was read before.
  bool hasEvent() { return reader_.hasEvent(); }
  std::unique_ptr<Event> receiveEvent() override;
  /// For who receives: see FrameReader.
  FrameReader& reader() noexcept { return reader_; }

  bool isOpen() const;
  /// Ends the connection; who receives finds out. From any thread.
  void close();

  /// What the loop does with a connection that was handed over: writes until the queue is empty, or the peer takes no
  /// more for now.
  enum class Flushed { All, Blocked, More, Failed };
  Flushed flush();
  /// Whether so little waits, so soon after the last flush, that it pays to let some more come first.
  bool isGathering(Clock::time_point now) const;
  /// Whether something has waited since before that moment without a byte being taken.
  bool isStalledSince(Clock::time_point moment) const;

  LinkSocket& socket() noexcept { return *socket_; }
  /// A number of its own within the connector; 0 until it has one.
  std::uint64_t number() const noexcept { return number_; }
  void setNumber(std::uint64_t number) noexcept { number_ = number; }
  /// Whether it gets what is sent to all.
  bool isAdmitted() const noexcept { return admitted_.load(std::memory_order_acquire); }
  void admit() noexcept { admitted_.store(true, std::memory_order_release); }

private:
  bool earns(Clock::time_point now);
  /// Writes pending_, without blocking. False after a failure.
  bool write(bool untilFull);
  bool refill();

  const std::unique_ptr<LinkSocket> socket_;
  const std::function<void(Communicator&)> handOver_;
  std::uint64_t number_ = 0;
  std::atomic<bool> admitted_{false};
  FrameReader reader_;

  mutable std::mutex mutex_; ///< innermost; guards the next seven
  OutputQueue queue_;
  bool busy_ = false;   ///< somebody writes: a sender, or the loop from when it was handed over
  bool closed_ = false; ///< nothing is sent any more
  int credit_ = 0;      ///< events that may be written at once
  Clock::time_point credited_{};
  Clock::time_point progress_{}; ///< when bytes were taken last, or the queue began to fill
  Clock::time_point flushed_{};  ///< when the loop last took something from the queue, or found it empty

  // Of whoever is busy.
  std::vector<Frame::Pointer> pending_;
  std::size_t first_ = 0;     ///< the first of them that is not written whole
  std::size_t done_ = 0;      ///< its bytes that are
  std::uint64_t written_ = 0; ///< bytes
  std::vector<iovec> pieces_;
};

} // namespace Pelorn
