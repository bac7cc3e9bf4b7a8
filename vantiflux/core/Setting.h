#pragma once

#include <mutex>
#include <utility>

namespace Vantiflux {

/// The value of a node's field: set and read by people's threads while the node's worker reads it.
/// *Threads.* All operations from any thread. The lock is innermost: nothing is called while it is held.
template <class T>
class Setting {
public:
  Setting() = default;
  explicit Setting(T initial) : value_(std::move(initial)) {}
  Setting(const Setting&) = delete;
  Setting& operator=(const Setting&) = delete;

  T get() const {
    const std::lock_guard guard(lock_);
    return value_;
  }

  void set(T value) {
    const std::lock_guard guard(lock_);
    std::swap(value_, value); // the old value goes after the lock
  }

private:
  mutable std::mutex lock_;
  T value_{};
};

} // namespace Vantiflux
