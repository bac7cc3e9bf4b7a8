#include <vantiflux/values/Image.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

#include <vantiflux/platform/tarsil/Console.h>
#include <vantiflux/values/image/PixelLoops.h>

namespace Vantiflux {

namespace {

using PixelLoops::Chroma;
using PixelLoops::Shuffle;
using PixelLoops::Source;
using PixelLoops::Step;

// Both in 32 bits, as the size is.
std::uint32_t pixelsOf(const Image& image) {
  return image.width() * image.height();
}

// Whether there is a byte for each pixel that the image claims to have: every format has that, unless the size wrapped
// around.
bool isWhole(const Image& image) {
  return image.size() >= std::uint64_t{image.width()} * image.height();
}

// Makes room for the result and says how many pixels to write: as many as it has room for, and no more than the source
// can hold. An image whose size wrapped around has no pixels to speak of: a few bytes must not make room for gigabytes.
std::size_t prepare(const Image& in, Image& result, Image::Format format) {
  if (!isWhole(in)) {
    result.setParameters(0, 0, format);
    return 0;
  }
  result.setParameters(in.width(), in.height(), format);
  const std::size_t bytesPerPixel = format == Image::Y800 ? 1 : 3;
  return std::min({std::size_t{pixelsOf(in)}, in.size(), result.size() / bytesPerPixel});
}

Source from(const Image& image, std::size_t offset) {
  return offset < image.size() ? Source{image.data() + offset, image.size() - offset} : Source{image.data(), 0};
}

void run(Shuffle step, const Image& in, Image& result, Image::Format format) {
  const std::size_t pixels = prepare(in, result, format);
  PixelLoops::shuffle(step, from(in, 0), result.data(), pixels);
}

void run(Step step, const Image& in, Image& result, Image::Format format) {
  const std::size_t pixels = prepare(in, result, format);
  PixelLoops::convert(step, from(in, 0), result.data(), pixels);
}

// Three planes one after the other. A chroma line is width / 2 or width / 4 long; so the last pixels of an odd width,
// or of an odd last line, find the bytes that follow.
struct Planes {
  Chroma chroma;
  bool vFirst;
};
constexpr Planes i420 = {Chroma::half, false};
constexpr Planes yv12 = {Chroma::half, true};
constexpr Planes yvu9 = {Chroma::quarter, true};

void run(const Planes& planes, const Image& in, Image& result, Image::Format format) {
  const std::size_t pixels = prepare(in, result, format);
  const unsigned int shift = planes.chroma == Chroma::half ? 1 : 2;
  const std::size_t first = pixelsOf(in);
  const std::size_t second = first + (first >> (2 * shift));
  const std::size_t width = in.width();
  for (std::size_t at = 0, line = 0; at < pixels; at += width, ++line) {
    const std::size_t chroma = (line >> shift) * (width >> shift);
    const PixelLoops::PlanarLine bytes = {from(in, at), from(in, (planes.vFirst ? second : first) + chroma),
                                          from(in, (planes.vFirst ? first : second) + chroma)};
    unsigned char* const out = result.data() + 3 * at;
    const std::size_t count = std::min(width, pixels - at);
    if (format == Image::RGB24)
      PixelLoops::planarLineToRgb24(planes.chroma, bytes, out, count);
    else
      PixelLoops::planarLineToY444(planes.chroma, bytes, out, count);
  }
}

void reportMissing(Image::Format source, Image::Format target) {
  Tarsil::printErrorLine(std::string("convert \"") + Image::format2String(source) + "\" to \"" +
                         Image::format2String(target) + "\" not implemented");
}

} // namespace

void Image::convert_BGR232_to_RGB24(Image& result) const {
  run(Step::BGR232_to_RGB24, *this, result, RGB24);
}
void Image::convert_BGR555_to_RGB24(Image& result) const {
  run(Step::BGR555_to_RGB24, *this, result, RGB24);
}
void Image::convert_BGR565_to_RGB24(Image& result) const {
  run(Step::BGR565_to_RGB24, *this, result, RGB24);
}
void Image::convert_BGR24_to_RGB24(Image& result) const {
  run(Shuffle::swap24, *this, result, RGB24);
}
void Image::convert_BGR32_to_RGB24(Image& result) const {
  run(Shuffle::BGR32_to_RGB24, *this, result, RGB24);
}
void Image::convert_RGB24_to_Y800(Image& result) const {
  run(Step::RGB24_to_Y800, *this, result, Y800);
}
void Image::convert_BGR24_to_Y800(Image& result) const {
  run(Step::BGR24_to_Y800, *this, result, Y800);
}
void Image::convert_Y444_to_Y800(Image& result) const {
  run(Step::Y444_to_Y800, *this, result, Y800);
}
void Image::convert_IYU2_to_Y444(Image& result) const {
  run(Shuffle::IYU2_to_Y444, *this, result, Y444);
}
void Image::convert_Y422_to_Y444(Image& result) const {
  run(Shuffle::Y422_to_Y444, *this, result, Y444);
}
void Image::convert_Y422_to_Y800(Image& result) const {
  run(Step::Y422_to_Y800, *this, result, Y800);
}
void Image::convert_Y411_to_Y444(Image& result) const {
  run(Shuffle::Y411_to_Y444, *this, result, Y444);
}
void Image::convert_Y411_to_Y800(Image& result) const {
  run(Shuffle::Y411_to_Y800, *this, result, Y800);
}
void Image::convert_Y41P_to_Y444(Image& result) const {
  run(Shuffle::Y41P_to_Y444, *this, result, Y444);
}
void Image::convert_Y800_to_Y444(Image& result) const {
  run(Shuffle::Y800_to_Y444, *this, result, Y444);
}
void Image::convert_Y1600_to_Y444(Image& result) const {
  run(Shuffle::Y1600_to_Y444, *this, result, Y444);
}
void Image::convert_I420_to_Y444(Image& result) const {
  run(i420, *this, result, Y444);
}
void Image::convert_I420_to_Y800(Image& result) const {
  if (const std::size_t pixels = prepare(*this, result, Y800); pixels > 0)
    std::memcpy(result.data(), data(), pixels);
}
void Image::convert_YVU9_to_Y444(Image& result) const {
  run(yvu9, *this, result, Y444);
}
void Image::convert_YV12_to_Y444(Image& result) const {
  run(yv12, *this, result, Y444);
}
void Image::convert_YUY2_to_Y444(Image& result) const {
  run(Shuffle::YUY2_to_Y444, *this, result, Y444);
}

void Image::copyTo(Image& result) const {
  result = *this;
}

// What there is to do with one source format.
struct Image::Way {
  Format source;
  void (Image::*step)(Image& result) const;
};

template <std::size_t count>
bool Image::convertOneOf(const Way (&ways)[count], Image& result) const {
  for (const Way& way : ways) {
    if (way.source == format_) {
      (this->*way.step)(result);
      return true;
    }
  }
  return false;
}

void Image::convertFormat(Format target, Image& result) const {
  if (&result == this) {
    const Image source(*this);
    return source.convertFormat(target, result);
  }
  if (convertDirectly(target, result))
    return;
  if (format_ < Y444 || target >= Y444)
    return convertBySource(target, result);
  if (convertYuvToRgb24(result))
    return;
  reportMissing(format_, target);
  const bool whole = isWhole(result);
  result.setParameters(whole ? result.width_ : 0, whole ? result.height_ : 0, RGB24);
  const std::size_t pixels = std::min(std::size_t{pixelsOf(result)}, result.size() / 3);
  PixelLoops::convert(Step::Y444_to_RGB24, from(result, 0), result.data(), pixels);
}

bool Image::convertDirectly(Format target, Image& result) const {
  static constexpr Way toRgb24[] = {
      {BGR232, &Image::convert_BGR232_to_RGB24}, {BGR555, &Image::convert_BGR555_to_RGB24},
      {BGR565, &Image::convert_BGR565_to_RGB24}, {BGR24, &Image::convert_BGR24_to_RGB24},
      {BGR32, &Image::convert_BGR32_to_RGB24},   {RGB24, &Image::copyTo},
  };
  static constexpr Way toY800[] = {
      {BGR24, &Image::convert_BGR24_to_Y800},
      {RGB24, &Image::convert_RGB24_to_Y800},
      {Y444, &Image::convert_Y444_to_Y800},
      {I420, &Image::convert_I420_to_Y800},
      {Y422, &Image::convert_Y422_to_Y800},
      {Y411, &Image::convert_Y411_to_Y800},
      {Y800, &Image::copyTo},
  };
  return (target == RGB24 && convertOneOf(toRgb24, result)) || (target == Y800 && convertOneOf(toY800, result));
}

void Image::convertBySource(Format target, Image& result) const {
  static constexpr Way ways[] = {
      {BGR232, &Image::convert_BGR232_to_RGB24}, {BGR555, &Image::convert_BGR555_to_RGB24},
      {BGR565, &Image::convert_BGR565_to_RGB24}, {BGR24, &Image::convert_BGR24_to_RGB24},
      {BGR32, &Image::convert_BGR32_to_RGB24},   {Y444, &Image::copyTo},
      {IYU2, &Image::convert_IYU2_to_Y444},      {I420, &Image::convert_I420_to_Y444},
      {YVU9, &Image::convert_YVU9_to_Y444},      {Y800, &Image::convert_Y800_to_Y444},
      {Y1600, &Image::convert_Y1600_to_Y444},    {Y422, &Image::convert_Y422_to_Y444},
      {Y411, &Image::convert_Y411_to_Y444},      {Y41P, &Image::convert_Y41P_to_Y444},
      {YV12, &Image::convert_YV12_to_Y444},      {YUY2, &Image::convert_YUY2_to_Y444},
  };
  if (format_ != RGB24 && !convertOneOf(ways, result))
    reportMissing(format_, target);
}

bool Image::convertYuvToRgb24(Image& result) const {
  static constexpr std::pair<Format, Step> calculated[] = {
      {Y444, Step::Y444_to_RGB24}, {IYU2, Step::IYU2_to_RGB24}, {Y422, Step::Y422_to_RGB24},
      {YUY2, Step::YUY2_to_RGB24}, {Y411, Step::Y411_to_RGB24}, {Y41P, Step::Y41P_to_RGB24},
  };
  // Without colour, red, green and blue equal the luminance.
  static constexpr std::pair<Format, Shuffle> gray[] = {{Y800, Shuffle::Y800_to_RGB24},
                                                        {Y1600, Shuffle::Y1600_to_RGB24}};
  static constexpr std::pair<Format, Planes> planar[] = {{I420, i420}, {YV12, yv12}, {YVU9, yvu9}};
  const auto convertWith = [&](const auto& ways) {
    for (const auto& [source, way] : ways) {
      if (source == format_) {
        run(way, *this, result, RGB24);
        return true;
      }
    }
    return false;
  };
  return convertWith(calculated) || convertWith(gray) || convertWith(planar);
}

} // namespace Vantiflux
