#pragma once

#include <cstddef>

#include <vantiflux/values/Image.h>
#include <vantiflux/values/codecs/Blocks.h>

namespace Vantiflux {

/// What stands before the pixels of an image: width and height (unsigned int) and the number of the format (int).
struct VANTIFLUX_API ImageParameters {
  unsigned int width = 0;
  unsigned int height = 0;
  int format = Image::NONE;

  ImageParameters() = default;
  explicit ImageParameters(const Image& image);

  /// Bytes of the pixels, as Image counts them; 0 for a format that it does not know.
  std::size_t size() const;
  void apply(Image& image) const;
};

VANTIFLUX_API Pelorn::obinstream& operator<<(Pelorn::obinstream& out, const ImageParameters& parameters);
VANTIFLUX_API Pelorn::ibinstream& operator>>(Pelorn::ibinstream& in, ImageParameters& parameters);

using SFImageEncoder = BlockEncoder<Image, ImageParameters>;
using SFImageDecoder = BlockDecoder<Image, ImageParameters>;

} // namespace Vantiflux
