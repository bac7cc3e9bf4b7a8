#pragma once

#include <atomic>
#include <cstddef>
#include <utility>

namespace Pelorn {

/// A connection's share of the memory that messages of clients may take, in all connections of the process together.
///
/// *Threads.* Shares of different connections from any thread.
class WebSocketMemory {
public:
  static constexpr std::size_t limit = std::size_t{256} << 20;

  WebSocketMemory() noexcept = default;
  WebSocketMemory(WebSocketMemory&& other) noexcept : bytes_(std::exchange(other.bytes_, 0)) {}
  WebSocketMemory& operator=(WebSocketMemory&& other) noexcept {
    std::swap(bytes_, other.bytes_);
    return *this;
  }
  ~WebSocketMemory() { total_.fetch_sub(bytes_, std::memory_order_relaxed); }

  /// Makes it so many bytes, at least as many as before; false when there is no room for them.
  bool grow(std::size_t bytes) noexcept {
    const std::size_t more = bytes - bytes_;
    if (total_.fetch_add(more, std::memory_order_relaxed) + more > limit) {
      total_.fetch_sub(more, std::memory_order_relaxed);
      return false;
    }
    bytes_ = bytes;
    return true;
  }

private:
  std::size_t bytes_ = 0;
  static inline std::atomic<std::size_t> total_{0};
};

} // namespace Pelorn
