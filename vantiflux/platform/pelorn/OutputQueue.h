#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <unordered_map>
#include <vector>

#include <vantiflux/Export.h>
#include <vantiflux/platform/pelorn/Frame.h>

namespace Pelorn {

/// The events that wait on a connection, in their order. It is bounded: when it is full, a state takes the place of the
/// latest one of the same number that waits, and only if none does, it is added. What must arrive is always added,
/// up to a second bound beyond which the connection is lost.
///
/// As long as there is room, small states that follow each other are copied into one frame. That is cheaper to keep and
/// to write than many, and by the time that the queue is full they can no longer be told apart.
/// *Threads.* Guarded by its owner.
class VANTIFLUX_API OutputQueue {
public:
  /// In bytes: when states begin to replace each other, and when a peer that takes nothing is given up.
  static constexpr std::size_t fullAt = std::size_t{8} << 20;
  static constexpr std::size_t giveUpAt = std::size_t{64} << 20;

  /// False when the second bound is exceeded.
  bool push(Frame::Pointer frame);
  /// Moves events from the front to `batch`, up to `bytes` of them but one at least.
  void take(std::vector<Frame::Pointer>& batch, std::size_t bytes);
  bool empty() const noexcept { return frames_.empty(); }
  std::size_t bytes() const noexcept { return bytes_; }
  void clear();

private:
  bool joinRun(const Frame& frame);
  void index();

  std::deque<Frame::Pointer> frames_;
  std::shared_ptr<Frame> run_; ///< the last of them while more may be copied into it
  std::size_t bytes_ = 0;
  std::size_t commandBytes_ = 0; ///< of those that must arrive
  // While the queue is full: the place of the latest event of each number, counted from the first that ever waited.
  bool indexed_ = false;
  std::uint64_t taken_ = 0; ///< the count at the front
  std::unordered_map<std::uint64_t, std::uint64_t> latest_;
};

} // namespace Pelorn
