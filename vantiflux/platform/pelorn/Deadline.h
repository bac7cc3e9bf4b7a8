#pragma once

#include <algorithm>
#include <chrono>
#include <limits>

namespace Pelorn {

/// The end of a time limit given in milliseconds; a negative limit never ends.
class Deadline {
public:
  explicit Deadline(int milliseconds)
      : never_(milliseconds < 0), end_(Clock::now() + std::chrono::milliseconds(std::max(milliseconds, 0))) {}

  /// What is left, in the form that `poll` takes: -1 without a limit, otherwise rounded up, so that 0 means over.
  int remaining() const {
    if (never_)
      return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end_ - Clock::now()).count();
    return static_cast<int>(std::clamp<long long>(left, 0, std::numeric_limits<int>::max()));
  }

  /// The one that ends first.
  static const Deadline& earlier(const Deadline& a, const Deadline& b) {
    return b.never_ || (!a.never_ && a.end_ <= b.end_) ? a : b;
  }

private:
  using Clock = std::chrono::steady_clock;
  bool never_;
  Clock::time_point end_;
};

} // namespace Pelorn
