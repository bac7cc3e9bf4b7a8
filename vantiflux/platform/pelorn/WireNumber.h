#pragma once

#include <bit>
#include <climits>
#include <concepts>
#include <cstddef>
#include <cstring>
#include <limits>

namespace Pelorn {

template <class T, class... Types>
concept OneOf = (std::same_as<T, Types> || ...);

/// The numbers that the binary streams carry. Each has one width on the wire, which is its width here: bool and
/// unsigned char take 1 byte, short 2, int and float 4, long and double 8. The lowest byte comes first; signed numbers
/// are two's complement, floating point numbers IEEE 754. Other types must be converted first, so that no width comes
/// about by accident.
template <class T>
concept WireNumber =
    OneOf<T, bool, unsigned char, short, unsigned short, int, unsigned int, long, unsigned long, float, double>;

static_assert(CHAR_BIT == 8 && sizeof(bool) == 1 && sizeof(short) == 2 && sizeof(int) == 4 && sizeof(long) == 8);
static_assert(std::numeric_limits<float>::is_iec559 && sizeof(float) == 4);
static_assert(std::numeric_limits<double>::is_iec559 && sizeof(double) == 8);
// Runs of numbers are copied as they lie in memory.
static_assert(std::endian::native == std::endian::little);

/// The number whose bytes begin at `bytes`.
template <WireNumber T>
T fromWire(const char* bytes) noexcept {
  if constexpr (std::same_as<T, bool>) {
    return *bytes != 0; // any other byte than 0 and 1 would not be a bool
  } else {
    T value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
  }
}

} // namespace Pelorn
