// Images as they come from elsewhere: any width, height, format and bytes, converted, mirrored and split. The address
// sanitizer watches buffers that are exactly as large as their images.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include <vantiflux/values/Image.h>
#include <vantiflux/values/image/ChannelSplit.h>
#include <vantiflux/values/image/Flip.h>

namespace {

using Vantiflux::Image;

constexpr std::uint32_t enough = 1 << 20; // bytes of an image

struct Header {
  std::uint32_t width;
  std::uint32_t height;
  std::uint32_t resultWidth;
  std::uint32_t resultHeight;
  std::int8_t format;
  std::int8_t target;
  std::int8_t resultFormat;
  std::uint8_t flips;
};

// False, and the image left alone, if it would be large.
bool make(Image& image, std::uint32_t width, std::uint32_t height, std::int8_t format) {
  const std::uint32_t pixels = width * height;
  for (const std::uint32_t bytes : {1U, 2U, 3U, 4U}) {
    if (pixels * bytes > enough)
      return false;
  }
  image.setParameters(width, height, static_cast<Image::Format>(format));
  return true;
}

void splitAndCompare(const Image& image) {
  std::array<Image, 4> planes;
  Vantiflux::splitChannels(image, {planes[0], planes[1], planes[2], planes[3]});
  for (const Image& plane : planes) {
    if (plane.format() != Image::Y800 || plane.size() != planes[0].size())
      std::abort();
  }
}

// Twice mirrored is the image again.
void flipAndCompare(const Image& image, bool horizontal, bool vertical) {
  Image once;
  Image twice;
  Vantiflux::flip(image, once, horizontal, vertical);
  Vantiflux::flip(once, twice, horizontal, vertical);
  if (!(twice == image))
    std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  Header header;
  if (size < sizeof(header))
    return 0;
  std::memcpy(&header, bytes, sizeof(header));
  bytes += sizeof(header);
  size -= sizeof(header);
  Image source;
  Image result;
  if (!make(source, header.width, header.height, header.format) ||
      !make(result, header.resultWidth, header.resultHeight, header.resultFormat))
    return 0;
  if (const std::size_t count = std::min(size, source.size()); count > 0)
    std::memcpy(source.data(), bytes, count);

  const std::size_t room = 4 * std::max(source.size(), result.size()) + 16;
  source.convertFormat(static_cast<Image::Format>(header.target), result);
  if (result.size() > room)
    std::abort();
  Image again;
  source.convertFormat(static_cast<Image::Format>(header.target), again);
  if (again.format() == result.format() && again.width() == result.width() && again.height() == result.height() &&
      source.size() >= source.width() * std::uint64_t{source.height()} && !(again == result))
    std::abort();
  result = source;
  if (!(result == source))
    std::abort();
  flipAndCompare(source, (header.flips & 1) != 0, (header.flips & 2) != 0);
  splitAndCompare(source);
  return 0;
}
