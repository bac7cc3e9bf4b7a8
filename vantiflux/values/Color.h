#pragma once

#include <ostream>

#include <vantiflux/values/Forward.h>

namespace Vantiflux {

/// A colour as red, green and blue, 0 to 1 each; black unless given.
struct VANTIFLUX_API Color {
  float r = 0;
  float g = 0;
  float b = 0;

  constexpr Color() = default;
  constexpr Color(float red, float green, float blue) : r(red), g(green), b(blue) {}

  friend constexpr bool operator==(const Color&, const Color&) = default;

  /// The components, separated by one blank.
  friend std::ostream& operator<<(std::ostream& stream, const Color& c) {
    return stream << c.r << ' ' << c.g << ' ' << c.b;
  }
};

} // namespace Vantiflux
