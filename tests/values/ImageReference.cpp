#include "ImageReference.h"

#include <algorithm>
#include <random>
#include <stdexcept>

namespace ImageReference {

using Vantiflux::Image;

namespace {

using Triple = std::array<int, 3>;

// The bytes of an image, and what stands for those behind its end.
struct Reader {
  const Image& image;
  int luminance(std::size_t at) const { return at < image.size() ? image.data()[at] : 0; }
  int chroma(std::size_t at) const { return at < image.size() ? image.data()[at] : 128; }
};

Triple planar(const Reader& r, std::size_t pixel, std::size_t shift, bool vFirst) {
  const std::size_t width = r.image.width();
  const std::size_t p = width * r.image.height();
  const std::size_t at = (pixel / width >> shift) * (width >> shift) + (pixel % width >> shift);
  const std::size_t second = p + (p >> (2 * shift));
  return {r.luminance(pixel), r.chroma((vFirst ? second : p) + at), r.chroma((vFirst ? p : second) + at)};
}

Triple y444(const Image& in, std::size_t pixel) {
  const Reader r{in};
  const std::size_t pair = pixel / 2 * 4;
  const std::size_t group = pixel / 4 * 6;
  const std::size_t twelve = pixel / 8 * 12;
  static constexpr std::size_t y411[] = {1, 2, 4, 5};
  static constexpr std::size_t y41p[] = {1, 3, 5, 7, 8, 9, 10, 11};
  switch (in.format()) {
  case Image::Y444:
    return {r.luminance(3 * pixel), r.chroma(3 * pixel + 1), r.chroma(3 * pixel + 2)};
  case Image::IYU2:
    return {r.luminance(3 * pixel + 1), r.chroma(3 * pixel), r.chroma(3 * pixel + 2)};
  case Image::Y800:
    return {r.luminance(pixel), 128, 128};
  case Image::Y1600:
    return {r.luminance(2 * pixel + 1), 128, 128};
  case Image::Y422:
    return {r.luminance(pair + 1 + pixel % 2 * 2), r.chroma(pair), r.chroma(pair + 2)};
  case Image::YUY2:
    return {r.luminance(pair + pixel % 2 * 2), r.chroma(pair + 1), r.chroma(pair + 3)};
  case Image::Y411:
    return {r.luminance(group + y411[pixel % 4]), r.chroma(group), r.chroma(group + 3)};
  case Image::Y41P:
    return {r.luminance(twelve + y41p[pixel % 8]), r.chroma(twelve + (pixel % 8 < 4 ? 0 : 4)),
            r.chroma(twelve + (pixel % 8 < 4 ? 2 : 6))};
  case Image::I420:
    return planar(r, pixel, 1, false);
  case Image::YV12:
    return planar(r, pixel, 1, true);
  case Image::YVU9:
    return planar(r, pixel, 2, true);
  default:
    throw std::logic_error("no YUV format");
  }
}

Triple rgbOf(const Triple& yuv) {
  const int u = yuv[1] - 128;
  const int v = yuv[2] - 128;
  const auto clamped = [](int value) { return std::clamp(value, 0, 255); };
  return {clamped(yuv[0] + ((1436 * v) >> 10)), clamped(yuv[0] - ((352 * u + 731 * v) >> 10)),
          clamped(yuv[0] + ((1814 * u) >> 10))};
}

Triple rgb24(const Image& in, std::size_t pixel) {
  const unsigned char* const one = in.data() + pixel;
  const unsigned char* const two = in.data() + 2 * pixel;
  const unsigned char* const three = in.data() + 3 * pixel;
  const unsigned char* const four = in.data() + 4 * pixel;
  switch (in.format()) {
  case Image::BGR232:
    return {0, ((one[0] & 0x1C) << 5) & 0xFF, (one[0] << 6) & 0xFF};
  case Image::BGR555:
    return {(two[1] & 0x7C) * 2, ((two[1] << 6) & 0xFF) | ((two[0] & 0xE0) >> 2), (two[0] << 3) & 0xFF};
  case Image::BGR565:
    return {two[1] & 0xF8, ((two[1] << 5) & 0xFF) | ((two[0] & 0xE0) >> 3), (two[0] << 3) & 0xFF};
  case Image::BGR24:
    return {three[2], three[1], three[0]};
  case Image::RGB24:
    return {three[0], three[1], three[2]};
  case Image::BGR32:
    return {four[2], four[1], four[0]};
  case Image::RGB32:
    return {four[0], four[1], four[2]};
  default:
    return rgbOf(y444(in, pixel));
  }
}

int luminance(const Image& in, std::size_t pixel) {
  if (in.format() != Image::BGR24 && in.format() != Image::RGB24)
    return y444(in, pixel)[0];
  const Triple rgb = rgb24(in, pixel);
  return (77 * rgb[0] + 150 * rgb[1] + 19 * rgb[2]) >> 8;
}

} // namespace

Image noise(unsigned int width, unsigned int height, Image::Format format, unsigned int seed) {
  Image image;
  image.setParameters(width, height, format);
  std::minstd_rand random(seed);
  for (std::size_t i = 0; i < image.size(); ++i)
    image.data()[i] = static_cast<unsigned char>(random() >> 8);
  return image;
}

Bytes bytesOf(const Image& image) {
  return Bytes(image.data(), image.data() + image.size());
}

Bytes converted(const Image& in, Image::Format to) {
  Bytes result;
  for (std::size_t pixel = 0; pixel < std::size_t{in.width()} * in.height(); ++pixel) {
    if (to == Image::Y800) {
      result.push_back(static_cast<unsigned char>(luminance(in, pixel)));
      continue;
    }
    for (const int byte : to == Image::RGB24 ? rgb24(in, pixel) : y444(in, pixel))
      result.push_back(static_cast<unsigned char>(byte));
  }
  return result;
}

Bytes flipped(const Image& in, std::size_t bytesPerPixel, bool swapLines, bool mirrorLines) {
  Bytes result;
  for (std::size_t y = 0; y < in.height(); ++y) {
    for (std::size_t x = 0; x < in.width(); ++x) {
      const std::size_t line = swapLines ? in.height() - 1 - y : y;
      const std::size_t column = mirrorLines ? in.width() - 1 - x : x;
      const unsigned char* const pixel = in.data() + (line * in.width() + column) * bytesPerPixel;
      result.insert(result.end(), pixel, pixel + bytesPerPixel);
    }
  }
  return result;
}

std::array<Bytes, 4> channels(const Image& in) {
  std::array<Bytes, 4> result;
  const bool withAlpha = in.format() == Image::BGR32 || in.format() == Image::RGB32;
  for (std::size_t pixel = 0; pixel < std::size_t{in.width()} * in.height(); ++pixel) {
    const Triple rgb = rgb24(in, pixel);
    for (std::size_t i = 0; i < 3; ++i)
      result[i].push_back(static_cast<unsigned char>(rgb[i]));
    result[3].push_back(withAlpha ? in.data()[4 * pixel + 3] : 255);
  }
  return result;
}

} // namespace ImageReference
