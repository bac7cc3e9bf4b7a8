#include "TestCard.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace Camera {

namespace {

// Three by five steps each, a line in three bits.
constexpr std::array<std::array<unsigned, 5>, 10> figures = {{{7, 5, 5, 5, 7},
                                                              {2, 6, 2, 2, 7},
                                                              {7, 1, 7, 4, 7},
                                                              {7, 1, 3, 1, 7},
                                                              {5, 5, 7, 1, 1},
                                                              {7, 4, 7, 1, 7},
                                                              {7, 4, 7, 5, 7},
                                                              {7, 1, 1, 2, 2},
                                                              {7, 5, 7, 5, 7},
                                                              {7, 5, 7, 1, 7}}};
constexpr std::uint32_t figureCount = 5;
constexpr std::uint32_t bitCount = 16;
// The plate behind the number, in steps: five figures and their gaps, and below them the row of fields.
constexpr std::uint32_t plateWidth = 21;
constexpr std::uint32_t plateHeight = 10;

// Full-range BT.601, as webcams do it.
int lumaOf(int red, int green, int blue) {
  return (299 * red + 587 * green + 114 * blue + 500) / 1000;
}
unsigned char clamped(int value) {
  return static_cast<unsigned char>(std::clamp(value, 0, 255));
}

} // namespace

std::size_t TestCard::bytesPerPixel(const std::string& layout) {
  if (layout == "RGB3" || layout == "BGR3")
    return 3;
  if (layout == "RGB4")
    return 4;
  return layout == "GREY" ? 1 : 2;
}

TestCard::TestCard(Size size, const std::string& layout)
    : size_(size), layout_(layout), unit_(std::max<std::uint32_t>(1, std::min(size.width / 42, size.height / 24))),
      card_(std::size_t{size.width} * size.height * bytesPerPixel(layout)) {
  for (std::uint32_t y = 0; y < size_.height; ++y)
    for (std::uint32_t x = 0; x < size_.width; ++x)
      put(card_.data(), x, y, colorAt(x, y));
}

TestCard::Color TestCard::colorAt(std::uint32_t x, std::uint32_t y) const {
  static constexpr std::array<Color, 8> bars = {
      {{255, 255, 255}, {255, 255, 0}, {0, 255, 255}, {0, 255, 0}, {255, 0, 255}, {255, 0, 0}, {0, 0, 255}, {0, 0, 0}}};
  static constexpr std::array<Color, 4> marks = {{{255, 0, 0}, {0, 255, 0}, {0, 0, 255}, {255, 255, 0}}};
  const std::uint32_t mark = std::max<std::uint32_t>(1, std::min(size_.width, size_.height) / 8);
  const bool left = x < mark;
  const bool top = y < mark;
  if ((left || x >= size_.width - mark) && (top || y >= size_.height - mark)) {
    // A black frame sets the mark off from the bars.
    const std::uint32_t dx = left ? x : size_.width - 1 - x;
    const std::uint32_t dy = top ? y : size_.height - 1 - y;
    if (dx + mark / 8 >= mark || dy + mark / 8 >= mark)
      return {0, 0, 0};
    return marks[(top ? 0U : 2U) + (left ? 0U : 1U)];
  }
  if (y >= size_.height - size_.height / 6) {
    const int grey = static_cast<int>(std::uint64_t{x} * 255 / std::max<std::uint32_t>(1, size_.width - 1));
    return {grey, grey, grey};
  }
  return bars[std::uint64_t{x} * bars.size() / size_.width];
}

void TestCard::put(unsigned char* frame, std::uint32_t x, std::uint32_t y, Color color) const {
  if (x >= size_.width || y >= size_.height)
    return;
  const std::size_t pixel = std::size_t{y} * size_.width + x;
  const auto [red, green, blue] = color;
  if (layout_ == "RGB3" || layout_ == "BGR3") {
    frame[3 * pixel + (layout_ == "RGB3" ? 0 : 2)] = clamped(red);
    frame[3 * pixel + 1] = clamped(green);
    frame[3 * pixel + (layout_ == "RGB3" ? 2 : 0)] = clamped(blue);
  } else if (layout_ == "RGB4") {
    frame[4 * pixel] = 255;
    frame[4 * pixel + 1] = clamped(red);
    frame[4 * pixel + 2] = clamped(green);
    frame[4 * pixel + 3] = clamped(blue);
  } else if (layout_ == "GREY") {
    frame[pixel] = clamped(lumaOf(red, green, blue));
  } else if (layout_ == "YUYV") {
    const int luma = lumaOf(red, green, blue);
    frame[2 * pixel] = clamped(luma);
    // Two pixels share a pair of colour values: that of the first.
    if (pixel % 2 == 0) {
      frame[2 * pixel + 1] = clamped(128 + (blue - luma) * 564 / 1000);
      if (2 * pixel + 3 < card_.size())
        frame[2 * pixel + 3] = clamped(128 + (red - luma) * 713 / 1000);
    }
  }
}

void TestCard::fill(unsigned char* frame, std::uint32_t x, std::uint32_t y, std::uint32_t width, std::uint32_t height,
                    Color color) const {
  for (std::uint32_t dy = 0; dy < height; ++dy)
    for (std::uint32_t dx = 0; dx < width; ++dx)
      put(frame, x + dx, y + dy, color);
}

void TestCard::drawFigure(unsigned char* frame, std::uint32_t x, std::uint32_t y, unsigned figure) const {
  for (std::uint32_t line = 0; line < 5; ++line)
    for (std::uint32_t column = 0; column < 3; ++column)
      if ((figures[figure][line] >> (2 - column) & 1) != 0)
        fill(frame, x + column * unit_, y + line * unit_, unit_, unit_, {255, 255, 255});
}

void TestCard::draw(unsigned char* frame, std::uint32_t number) const {
  std::memcpy(frame, card_.data(), card_.size());
  // Even, so that colour values shared by two pixels belong to the plate.
  const std::uint32_t left = (size_.width - std::min(size_.width, plateWidth * unit_)) / 4 * 2;
  const std::uint32_t top = (size_.height - std::min(size_.height, plateHeight * unit_)) / 2;
  fill(frame, left, top, plateWidth * unit_, plateHeight * unit_, {0, 0, 0});
  unsigned rest = number;
  for (std::uint32_t i = figureCount; i-- > 0; rest /= 10)
    drawFigure(frame, left + (1 + 4 * i) * unit_, top + unit_, rest % 10);
  for (std::uint32_t i = 0; i < bitCount; ++i)
    if ((number >> (bitCount - 1 - i) & 1) != 0)
      fill(frame, left + (2 + i) * unit_, top + 7 * unit_, unit_, 2 * unit_, {255, 255, 255});
}

} // namespace Camera
