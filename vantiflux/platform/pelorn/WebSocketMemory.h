#pragma once

#include <atomic>
#include <cstddef>
#include <utility>

namespace Pelorn {

/// What a message takes of the memory that messages may take, in all connections of the process together.
///
/// *Threads.* Different shares, and the limit, from any thread.
class WebSocketMemory {
public:
  /// In bytes. Returns the one before. What is taken already stays so.
  static std::size_t setLimit(std::size_t bytes) noexcept { return limit_.exchange(bytes, std::memory_order_relaxed); }

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
    const std::size_t limit = limit_.load(std::memory_order_relaxed);
    std::size_t total = total_.load(std::memory_order_relaxed);
    do {
      if (more > limit || total > limit - more)
        return false;
    } while (!total_.compare_exchange_weak(total, total + more, std::memory_order_relaxed));
    bytes_ = bytes;
    return true;
  }

private:
  std::size_t bytes_ = 0;
  static inline std::atomic<std::size_t> total_{0};
  static inline std::atomic<std::size_t> limit_{std::size_t{256} << 20};
};

} // namespace Pelorn
