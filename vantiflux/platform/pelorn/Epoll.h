#pragma once

#include <array>
#include <cstdint>
#include <span>

#include <vantiflux/Export.h>
#include <vantiflux/platform/pelorn/Descriptor.h>
#include <vantiflux/platform/pelorn/Notifier.h>

namespace Pelorn {

/// Waits for any number of descriptors at once. Each has a number by which it is told.
/// *Threads.* Waiting in one; all else from any.
class VANTIFLUX_API Epoll {
public:
  struct Ready {
    std::uint64_t number;
    bool readable; ///< or at its end, or failed
    bool writable;
  };
  /// Told when `wake` was called; not to be used for a descriptor.
  static constexpr std::uint64_t woken = ~std::uint64_t{0};

  /// Throws `IOException` when the system has no descriptors left.
  Epoll();

  /// False when the system refuses.
  bool addReader(int descriptor, std::uint64_t number) { return add(descriptor, number, true); }
  /// Tells only when the descriptor becomes able to take more after it was not.
  bool addWriter(int descriptor, std::uint64_t number) { return add(descriptor, number, false); }
  void remove(int descriptor);

  /// Waits for `milliseconds` at most, negative for no limit. A wake-up is consumed.
  std::span<const Ready> wait(int milliseconds);
  /// Ends the wait, or the next one.
  void wake() const noexcept { notifier_.signal(); }

private:
  bool add(int descriptor, std::uint64_t number, bool reader);

  Descriptor epoll_;
  Notifier notifier_;
  std::array<Ready, 64> ready_{};
};

} // namespace Pelorn
