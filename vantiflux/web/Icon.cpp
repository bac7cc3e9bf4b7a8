#include <vantiflux/web/Icon.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace Vantiflux {

namespace {

constexpr std::size_t side = 16;
constexpr std::size_t colors = 256;
constexpr std::size_t directorySize = 6 + 16;
constexpr std::size_t bitmapSize = 40 + colors * 4 + side * side + side * 4;

/// Two sources whose values flow into one sink. "." is transparent.
constexpr std::array<std::string_view, side> drawing{
    "................", //
    ".bbb............", //
    "bbbbb...........", //
    "bbbbbgg.........", //
    "bbbbb.gg........", //
    ".bbb...gg.......", //
    "........gg.rrr..", //
    ".........grrrrr.", //
    ".........grrrrr.", //
    "........gg.rrr..", //
    ".bbb...gg.......", //
    "bbbbb.gg........", //
    "bbbbbgg.........", //
    "bbbbb...........", //
    ".bbb............", //
    "................",
};

/// Writes numbers of several bytes, the lowest first.
struct Writer {
  std::array<char, directorySize + bitmapSize> bytes{};
  std::size_t at = 0;

  constexpr void put(std::uint32_t value, int size) {
    for (int i = 0; i < size; ++i)
      bytes[at++] = static_cast<char>(static_cast<unsigned char>(value >> (8 * i)));
  }
};

constexpr std::uint32_t indexOf(char point) {
  switch (point) {
  case 'b':
    return 1;
  case 'g':
    return 2;
  case 'r':
    return 3;
  default:
    return 0;
  }
}

// The bitmap's rows go from the bottom up; behind the colours stands one bit a point for what is transparent.
constexpr auto draw() {
  Writer w;
  for (const std::uint32_t field : {0U, 1U, 1U}) // a file of icons, with one
    w.put(field, 2);
  for (const std::uint32_t field : {16U, 16U, 0U, 0U})
    w.put(field, 1);
  w.put(1, 2);
  w.put(8, 2);
  w.put(bitmapSize, 4);
  w.put(directorySize, 4);
  w.put(40, 4);
  w.put(side, 4);
  w.put(2 * side, 4);
  w.put(1, 2);
  w.put(8, 2);
  for (int i = 0; i < 6; ++i)
    w.put(0, 4);
  for (const std::uint32_t color : {0x000000U, 0x003399U, 0x999999U, 0xFF7F00U})
    w.put(color, 4);
  w.at += (colors - 4) * 4;
  for (std::size_t row = side; row-- > 0;)
    for (const char point : drawing[row])
      w.put(indexOf(point), 1);
  for (std::size_t row = side; row-- > 0;) {
    for (std::size_t column = 0; column < side; column += 8) {
      std::uint32_t bits = 0;
      for (std::size_t i = 0; i < 8; ++i)
        bits = bits << 1 | (drawing[row][column + i] == '.' ? 1U : 0U);
      w.put(bits, 1);
    }
    w.put(0, 2);
  }
  return w.bytes;
}

constexpr auto bytes = draw();
static_assert(bytes.size() == 1406);

} // namespace

const std::string_view icon(bytes.data(), bytes.size());

} // namespace Vantiflux
