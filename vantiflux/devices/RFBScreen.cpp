#include <vantiflux/devices/RFBScreen.h>

#include <algorithm>
#include <cstring>
#include <string>

#include <vantiflux/platform/tarsil/Console.h>
#include <vantiflux/values/SlotTypes.h>
#include <vantiflux/values/image/PixelLoops.h>

#include "RFBInflater.h"

namespace Vantiflux {

namespace {

constexpr std::size_t wireBytes = 4; // of a pixel
constexpr std::size_t pixelBytes = 3;
constexpr std::size_t blockBytes = std::size_t{1} << 16; // stays in the processor's cache
constexpr std::size_t pieceBytes = std::size_t{1} << 16;

std::string sizeText(unsigned width, unsigned height) {
  return std::to_string(width) + " x " + std::to_string(height);
}

} // namespace

RFBScreen::RFBScreen() = default;

RFBScreen::~RFBScreen() = default;

void RFBScreen::resize(std::uint16_t width, std::uint16_t height) {
  const std::uint64_t pixels = std::uint64_t{width} * height;
  if (pixels == 0 || pixels > maxPixels)
    throw RFBStream::Trouble("A framebuffer of " + sizeText(width, height));
  image_.setParameters(width, height, Image::RGB24);
  std::memset(image_.data(), 0, image_.size());
  width_ = width;
  height_ = height;
}

void RFBScreen::check(const Rectangle& r) const {
  if (unsigned{r.x} + r.width > width_ || unsigned{r.y} + r.height > height_)
    throw RFBStream::Trouble("A rectangle of " + sizeText(r.width, r.height) + " at " + std::to_string(r.x) + ", " +
                             std::to_string(r.y) + ", outside the framebuffer of " + sizeText(width_, height_));
}

unsigned char* RFBScreen::at(unsigned x, unsigned y) {
  return image_.data() + (std::size_t{height_ - y - 1} * width_ + x) * pixelBytes;
}

std::size_t RFBScreen::prepareBlock(const Rectangle& to) {
  const std::size_t row = to.width * wireBytes;
  const std::size_t rows =
      std::max<std::size_t>(std::min<std::size_t>(blockBytes / std::max<std::size_t>(row, 1), to.height), 1);
  if (block_.size() < rows * row)
    block_.resize(std::max(rows * row, blockBytes));
  return rows;
}

/// Takes pixels from the block to where they belong; the first one begins a row.
void RFBScreen::store(const Rectangle& to, std::uint64_t firstPixel, std::uint64_t count) {
  const unsigned char* from = block_.data();
  for (auto y = static_cast<unsigned>(to.y + firstPixel / to.width); count > 0; ++y) {
    const std::size_t row = std::min<std::uint64_t>(count, to.width);
    PixelLoops::shuffle(PixelLoops::Shuffle::BGR32_to_RGB24, {from, row * wireBytes}, at(to.x, y), row);
    from += row * wireBytes;
    count -= row;
  }
}

void RFBScreen::readRaw(RFBStream& stream, const Rectangle& to) {
  check(to);
  if (to.pixels() == 0)
    return;
  const std::uint64_t most = std::uint64_t{prepareBlock(to)} * to.width;
  for (std::uint64_t done = 0; done < to.pixels();) {
    const std::uint64_t part = std::min(most, to.pixels() - done);
    stream.read(block_.data(), part * wireBytes);
    store(to, done, part);
    done += part;
  }
}

// The compressed bytes are taken to their end in any case: what follows them has to be found.
void RFBScreen::readZlib(RFBStream& stream, const Rectangle& to) {
  check(to);
  const std::uint64_t pixels = to.pixels();
  std::uint64_t length = stream.u32();
  if (length > pixels * (wireBytes + 1) + pieceBytes) // compression makes nothing that much larger
    throw RFBStream::Trouble(std::to_string(length) + " compressed bytes for a rectangle of " +
                             sizeText(to.width, to.height));
  if (inflater_ == nullptr)
    inflater_ = std::make_unique<RFBInflater>();
  compressed_.resize(pieceBytes);
  const std::uint64_t blockPixels = std::uint64_t{prepareBlock(to)} * to.width;
  std::uint64_t done = 0;  // pixels in their place
  std::size_t pending = 0; // bytes in the block
  const auto room = [&] {
    const std::uint64_t size = std::min(blockPixels, pixels - done) * wireBytes;
    return RFBInflater::Room{block_.data() + pending, size - pending};
  };
  const auto flush = [&] {
    const std::uint64_t whole = pending / wireBytes;
    if (whole > 0)
      store(to, done, whole);
    done += whole;
    pending = 0;
  };
  bool good = true;
  while (length > 0) {
    const std::size_t piece = std::min<std::uint64_t>(length, pieceBytes);
    stream.read(compressed_.data(), piece);
    length -= piece;
    good = good && inflater_->inflatePiece(compressed_.data(), piece, room(), [&](std::size_t filled) {
      pending += filled;
      if (room().size == 0)
        flush();
      return room();
    });
  }
  flush();
  if (!good)
    Tarsil::printErrorLine("Failed to inflate");
}

void RFBScreen::copy(std::uint16_t sourceX, std::uint16_t sourceY, const Rectangle& to) {
  check(to);
  check({sourceX, sourceY, to.width, to.height});
  const bool upwards = sourceY < to.y; // or a row would be overwritten before it is read
  for (unsigned i = 0; i < to.height; ++i) {
    const unsigned row = upwards ? to.height - 1U - i : i;
    std::memmove(at(to.x, to.y + row), at(sourceX, sourceY + row), to.width * pixelBytes);
  }
}

SmartPtr<Image> RFBScreen::frame() const {
  SmartPtr<Image> frame;
  frame.acquire();
  frame->setParameters(width_, height_, Image::RGB24);
  std::memcpy(frame->data(), image_.data(), image_.size());
  return frame;
}

} // namespace Vantiflux
