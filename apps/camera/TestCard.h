#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "Settings.h"

namespace Camera {

/// Draws the picture that a simulated camera sees, in one size and pixel layout: eight colour bars (white, yellow,
/// cyan, green, magenta, red, blue, black), below them a sixth of grey rising from left to right, marks in the corners
/// (red, green, blue and yellow, from the top left, line by line), and in the middle the number of the frame: in
/// figures, and below those in sixteen black or white fields for programs, the highest bit first.
///
/// Layouts: RGB3, RGB4, BGR3, YUYV, GREY. Any other is two bytes a pixel of nothing.
class TestCard {
public:
  TestCard(Size size, const std::string& layout);

  /// Bytes of a frame.
  std::size_t size() const noexcept { return card_.size(); }
  std::size_t bytesPerLine() const noexcept { return card_.size() / size_.height; }
  /// Draws the frame of that number; the buffer has `size()` bytes at least.
  void draw(unsigned char* frame, std::uint32_t number) const;

  static std::size_t bytesPerPixel(const std::string& layout);

private:
  struct Color {
    int red, green, blue;
  };

  Color colorAt(std::uint32_t x, std::uint32_t y) const;
  void put(unsigned char* frame, std::uint32_t x, std::uint32_t y, Color color) const;
  void fill(unsigned char* frame, std::uint32_t x, std::uint32_t y, std::uint32_t width, std::uint32_t height,
            Color color) const;
  void drawFigure(unsigned char* frame, std::uint32_t x, std::uint32_t y, unsigned figure) const;

  const Size size_;
  const std::string layout_;
  const std::uint32_t unit_;        ///< pixels of one step of the figures
  std::vector<unsigned char> card_; ///< everything but the number
};

} // namespace Camera
