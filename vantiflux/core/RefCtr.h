#pragma once

#include <atomic>
#include <cstdint>

#include <vantiflux/Export.h>

namespace Vantiflux {

/// The count of references to a shared value.
/// *Threads.* All operations from any thread. What one thread did to the value before it gave up its reference is seen
/// by the thread that finds the count at zero.
class VANTIFLUX_API BasicRefCtr {
public:
  BasicRefCtr() = default;
  BasicRefCtr(const BasicRefCtr&) = delete;
  BasicRefCtr& operator=(const BasicRefCtr&) = delete;

  /// Both return the new count.
  std::uint64_t incrementReferenceCounter() noexcept { return counter_.fetch_add(1, std::memory_order_relaxed) + 1; }
  std::uint64_t decrementReferenceCounter() noexcept { return counter_.fetch_sub(1, std::memory_order_acq_rel) - 1; }
  std::uint64_t referenceCounter() const noexcept { return counter_.load(std::memory_order_acquire); }

private:
  std::atomic<std::uint64_t> counter_{0};
};

/// Holds a shared value and its count.
template <class T>
class RefCtr : public BasicRefCtr {
public:
  T value{};
};

} // namespace Vantiflux
