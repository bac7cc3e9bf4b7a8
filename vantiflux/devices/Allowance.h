#pragma once

#include <algorithm>
#include <chrono>

namespace Vantiflux {

/// A time that several waits share, whatever passes between them.
class Allowance {
public:
  explicit Allowance(int milliseconds) : left_(std::chrono::milliseconds(milliseconds)) {}

  /// Calls `wait` with the milliseconds that are left, and takes off what it used. Returns its result.
  template <class Wait>
  auto spend(Wait&& wait) {
    struct Account {
      ~Account() { left = std::max(left - (Clock::now() - begin), Clock::duration::zero()); }
      Clock::duration& left;
      const Clock::time_point begin = Clock::now();
    } const account{left_};
    return wait(static_cast<int>(std::chrono::ceil<std::chrono::milliseconds>(left_).count()));
  }

private:
  using Clock = std::chrono::steady_clock;

  Clock::duration left_;
};

} // namespace Vantiflux
