#pragma once

#include <vantiflux/values/Image.h>

namespace Vantiflux {

/// Where splitChannels() puts the four planes: four different images, none of them the source.
struct ChannelPlanes {
  Image& red;
  Image& green;
  Image& blue;
  Image& alpha;
};

/// Splits an image into its channels, each a Y800 image of the same width and height.
///
/// BGR555, BGR565, BGR24, RGB24, BGR32 and RGB32 are read directly. The spare byte of a 32-bit pixel is its alpha, in
/// all other formats alpha is 255. Any other format is converted to RGB24 first, in an image from the pool; where there
/// is no such conversion the planes are black, and Image::convertFormat() prints its message.
///
/// An image whose width and height claim more than its bytes hold (a size that wrapped around, or NONE) has no
/// channels: the planes are empty then, zero by zero pixels. Planes whose buffers are large enough are reused without
/// allocation.
VANTIFLUX_API void splitChannels(const Image& in, const ChannelPlanes& planes);

} // namespace Vantiflux
