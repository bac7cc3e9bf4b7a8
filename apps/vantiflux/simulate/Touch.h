#pragma once

#include <array>

namespace Simulate {

/// Where a touch of a surface is, from 0 to 1, and how fast it moves, in sizes of the surface a second.
struct Touch {
  std::array<double, 2> position{};
  std::array<double, 2> velocity{};
};

/// The path of the touch of a session after so many seconds. It is smooth, and stays on the surface.
Touch touchAt(int session, double seconds);

} // namespace Simulate
