#pragma once

#include <ostream>

#include <vantiflux/values/Forward.h>

namespace Vantiflux {

/// A colour with opacity, 0 to 1 each; opaque black unless given.
struct VANTIFLUX_API ColorRGBA {
  float r = 0;
  float g = 0;
  float b = 0;
  float a = 1;

  constexpr ColorRGBA() = default;
  constexpr ColorRGBA(float red, float green, float blue, float alpha = 1) : r(red), g(green), b(blue), a(alpha) {}

  friend constexpr bool operator==(const ColorRGBA&, const ColorRGBA&) = default;

  /// The components, separated by one blank.
  friend std::ostream& operator<<(std::ostream& stream, const ColorRGBA& c) {
    return stream << c.r << ' ' << c.g << ' ' << c.b << ' ' << c.a;
  }
};

} // namespace Vantiflux
