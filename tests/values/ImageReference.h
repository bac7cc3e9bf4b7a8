#pragma once

#include <array>
#include <vector>

#include <vantiflux/values/Image.h>

/// What the loops over pixels must come to, byte by byte, one pixel after the other and without any haste.
namespace ImageReference {

using Bytes = std::vector<unsigned char>;

/// An image with bytes that look random but are the same in every run. It owns no byte more than its pixels.
Vantiflux::Image noise(unsigned int width, unsigned int height, Vantiflux::Image::Format format, unsigned int seed = 1);

Bytes bytesOf(const Vantiflux::Image& image);

/// The pixels in one of the formats to which there are steps: RGB24, Y800 or Y444. RGB24 may be the second of two
/// steps.
Bytes converted(const Vantiflux::Image& in, Vantiflux::Image::Format to);

Bytes flipped(const Vantiflux::Image& in, std::size_t bytesPerPixel, bool swapLines, bool mirrorLines);

/// Red, green, blue and alpha.
std::array<Bytes, 4> channels(const Vantiflux::Image& in);

} // namespace ImageReference
