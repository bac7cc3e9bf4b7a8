#pragma once

#include <array>
#include <cstddef>

/// The loops over pixels, each in one version for every instruction set; the best that the processor has is chosen at
/// run time. Private to the library: images come and go by pointers, and the callers know formats and sizes.
///
/// A loop reads nothing outside its sources and writes exactly the given number of pixels. Where a source ends early (a
/// group of pixels that is cut short, a chroma line that a plane has no room for), a missing luminance byte counts as
/// 0 and a missing chrominance byte as 128, which is no colour. Unless stated, source and result do not overlap.
namespace Vantiflux::PixelLoops {

/// What there is to read.
struct Source {
  const unsigned char* data;
  std::size_t size;
};

/// Steps that only move bytes.
enum class Shuffle {
  swap24, ///< bytes 2, 1, 0 of three: BGR24 to RGB24 and back
  BGR32_to_RGB24,
  IYU2_to_Y444,
  Y422_to_Y444,
  YUY2_to_Y444,
  Y411_to_Y444,
  Y411_to_Y800,
  Y41P_to_Y444,
  Y800_to_Y444,
  Y1600_to_Y444,
  Y800_to_RGB24,
  Y1600_to_RGB24,
};
void shuffle(Shuffle step, Source in, unsigned char* out, std::size_t pixels);

/// Steps that calculate, from one packed source.
enum class Step {
  BGR232_to_RGB24,
  BGR555_to_RGB24,
  BGR565_to_RGB24,
  RGB24_to_Y800,
  BGR24_to_Y800,
  Y444_to_Y800,
  Y422_to_Y800,
  Y444_to_RGB24, ///< the result may be the source itself
  IYU2_to_RGB24,
  Y422_to_RGB24,
  YUY2_to_RGB24,
  Y411_to_RGB24,
  Y41P_to_RGB24,
};
void convert(Step step, Source in, unsigned char* out, std::size_t pixels);

/// How many pixels of a line share one chroma byte.
enum class Chroma { half, quarter };
struct PlanarLine {
  Source y;
  Source u;
  Source v;
};
/// One line of a planar image. A chroma source of size 0 may have a null pointer.
void planarLineToY444(Chroma chroma, const PlanarLine& in, unsigned char* out, std::size_t pixels);
/// The same straight to R, G, B.
void planarLineToRgb24(Chroma chroma, const PlanarLine& in, unsigned char* out, std::size_t pixels);

/// Splits pixels into planes, in the order in which their bytes lie in memory.
void splitThree(Source in, const std::array<unsigned char*, 3>& planes, std::size_t pixels);
void splitFour(Source in, const std::array<unsigned char*, 4>& planes, std::size_t pixels);
/// Into red, green and blue.
void splitBGR555(Source in, const std::array<unsigned char*, 3>& planes, std::size_t pixels);
void splitBGR565(Source in, const std::array<unsigned char*, 3>& planes, std::size_t pixels);

/// Writes pixels of 2, 3 or 4 bytes in reverse order.
void reversePixels(std::size_t bytesPerPixel, const unsigned char* in, unsigned char* out, std::size_t pixels);

} // namespace Vantiflux::PixelLoops
