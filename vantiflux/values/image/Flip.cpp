#include <vantiflux/values/image/Flip.h>

#include <cstring>

#include <vantiflux/values/image/ColorBytes.h>
#include <vantiflux/values/image/PixelLoops.h>

namespace Vantiflux {

bool canFlip(Image::Format format) noexcept {
  return colorBytes(format) > 0;
}

void flip(const Image& in, Image& out, bool horizontal, bool vertical) {
  if (&in == &out) {
    const Image copy(in); // NOLINT(performance-unnecessary-copy-initialization): out is in
    return flip(copy, out, horizontal, vertical);
  }
  out.setParameters(in.width(), in.height(), in.format());
  if (in.size() == 0)
    return;
  const std::size_t bytes = colorBytes(in.format());
  if ((!horizontal && !vertical) || bytes == 0 || !holdsAllPixels(in, bytes)) {
    std::memcpy(out.data(), in.data(), in.size());
    return;
  }
  if (horizontal && vertical)
    return PixelLoops::reversePixels(bytes, in.data(), out.data(), in.size() / bytes);
  const std::size_t line = in.width() * bytes;
  for (std::size_t from = 0; from < in.size(); from += line) {
    if (horizontal)
      std::memcpy(out.data() + in.size() - line - from, in.data() + from, line);
    else
      PixelLoops::reversePixels(bytes, in.data() + from, out.data() + from, in.width());
  }
}

} // namespace Vantiflux
