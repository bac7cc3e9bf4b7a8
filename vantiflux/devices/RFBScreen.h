#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include <vantiflux/Export.h>
#include <vantiflux/core/SmartPtr.h>
#include <vantiflux/devices/RFBStream.h>
#include <vantiflux/values/Image.h>

namespace Vantiflux {

class RFBInflater;

/// The client's copy of a remote framebuffer, in RGB24, its last line first. Takes pixels of 32 bits as they come over
/// the line, red in the third byte, blue in the first.
///
/// *Failure.* A size that is none, or too large, and a rectangle that is not inside, are thrown as RFBStream::Trouble,
/// before anything is changed or memory is taken.
class VANTIFLUX_API RFBScreen {
public:
  /// Two of 8K do not fit; that takes 100 MB. As many again are in each frame, and those that nobody has any more stay
  /// in the pool of images, at their size, until they are used again.
  static constexpr std::uint64_t maxPixels = std::uint64_t{1} << 25;

  /// From the top left corner.
  struct Rectangle {
    std::uint16_t x = 0, y = 0, width = 0, height = 0;
    std::uint64_t pixels() const noexcept { return std::uint64_t{width} * height; }
  };

  RFBScreen();
  ~RFBScreen();

  /// All pixels are black then.
  void resize(std::uint16_t width, std::uint16_t height);
  std::uint16_t width() const noexcept { return width_; }
  std::uint16_t height() const noexcept { return height_; }

  /// Reads the pixels of a rectangle. With compression, the stream of compressed bytes goes on from rectangle to
  /// rectangle. What cannot be inflated is told on standard error; pixels that do not come of it stay as they were.
  void readRaw(RFBStream& stream, const Rectangle& to);
  void readZlib(RFBStream& stream, const Rectangle& to);
  /// Copies the pixels of a rectangle of the same size, which may overlap.
  void copy(std::uint16_t sourceX, std::uint16_t sourceY, const Rectangle& to);

  /// A new image from the pool, with what is there now.
  SmartPtr<Image> frame() const;

private:
  void check(const Rectangle& rectangle) const;
  unsigned char* at(unsigned x, unsigned y);
  /// How many rows are read at once; `block_` holds them.
  std::size_t prepareBlock(const Rectangle& to);
  void store(const Rectangle& to, std::uint64_t firstPixel, std::uint64_t count);

  std::uint16_t width_ = 0;
  std::uint16_t height_ = 0;
  Image image_;
  std::vector<unsigned char> block_;
  std::vector<unsigned char> compressed_;
  std::unique_ptr<RFBInflater> inflater_;
};

} // namespace Vantiflux
