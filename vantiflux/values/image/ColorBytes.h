#pragma once

#include <cstddef>
#include <cstdint>

#include <vantiflux/values/Image.h>

namespace Vantiflux {

/// Bytes of a pixel of colour: of the formats whose pixels are each two, three or four whole bytes of red, green and
/// blue. 0 for any other. Private to the library.
constexpr std::size_t colorBytes(Image::Format format) noexcept {
  switch (format) {
  case Image::BGR555:
  case Image::BGR565:
    return 2;
  case Image::BGR24:
  case Image::RGB24:
    return 3;
  case Image::BGR32:
  case Image::RGB32:
    return 4;
  default:
    return 0;
  }
}

/// Whether an image has that many bytes for each of its pixels. Not so where its size wrapped around.
inline bool holdsAllPixels(const Image& image, std::size_t bytesPerPixel) noexcept {
  const std::uint64_t pixels = std::uint64_t{image.width()} * image.height();
  return pixels <= image.size() / bytesPerPixel;
}

} // namespace Vantiflux
