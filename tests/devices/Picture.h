#pragma once

#include <cstdint>

namespace test {

/// The picture that is drawn on screens, and looked for in what arrives: no two places near each other are alike. Red
/// in bits 16 to 23, blue in bits 0 to 7.
inline std::uint32_t pictureAt(unsigned x, unsigned y, unsigned seed) {
  const std::uint32_t mixed = (x * 2654435761U) ^ (y * 2246822519U) ^ (seed * 3266489917U);
  return (mixed ^ mixed >> 13) & 0xFFFFFF;
}

} // namespace test
