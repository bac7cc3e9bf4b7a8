// Pixels in reverse order.
#include <vantiflux/values/image/PixelLoops.h>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vantiflux/values/image/MirrorLoops.cpp"
#include <hwy/foreach_target.h>

#include <vantiflux/values/image/BlockRun-inl.h>

HWY_BEFORE_NAMESPACE();
namespace Vantiflux::PixelLoops::HWY_NAMESPACE {

template <std::size_t bytes>
HWY_INLINE void reverseOneByOne(const unsigned char* in, unsigned char* out, std::size_t from, std::size_t pixels) {
  for (std::size_t i = from; i < pixels; ++i)
    std::memcpy(out + (pixels - 1 - i) * bytes, in + i * bytes, bytes);
}

// Pixels of a size that lanes have.
template <class T>
void reverseLanes(const unsigned char* in, unsigned char* out, std::size_t pixels) {
  const hn::ScalableTag<T> d;
  constexpr std::size_t step = hn::MaxLanes(d);
  if (pixels < step)
    return reverseOneByOne<sizeof(T)>(in, out, 0, pixels);
  const auto reverse = [&](std::size_t at) HWY_ATTR {
    const auto bytes = hn::LoadU(U8(), in + at * sizeof(T));
    hn::StoreU(hn::BitCast(U8(), hn::Reverse(d, hn::BitCast(d, bytes))), U8(), out + (pixels - step - at) * sizeof(T));
  };
  std::size_t at = 0;
  for (; at + step <= pixels; at += step)
    reverse(at);
  if (at < pixels)
    reverse(pixels - step); // the last pixels, some of them a second time
}

// Five pixels of three bytes at a time. They end up in the upper fifteen bytes: the byte below belongs to the pixel
// that is written next.
void reverse24(const unsigned char* in, unsigned char* out, std::size_t pixels) {
  alignas(16) static constexpr std::uint8_t order[16] = {0x80, 12, 13, 14, 9, 10, 11, 6, 7, 8, 3, 4, 5, 0, 1, 2};
  const hn::FixedTag<std::uint8_t, 16> d;
  const auto indices = hn::Load(d, order);
  std::size_t at = 0;
  for (; at + 6 <= pixels; at += 5)
    hn::StoreU(hn::TableLookupBytesOr0(hn::LoadU(d, in + at * 3), indices), d, out + (pixels - at - 5) * 3 - 1);
  reverseOneByOne<3>(in, out, at, pixels);
}

void runReverse(std::size_t bytesPerPixel, const unsigned char* in, unsigned char* out, std::size_t pixels) {
  switch (bytesPerPixel) {
  case 2:
    return reverseLanes<std::uint16_t>(in, out, pixels);
  case 3:
    return reverse24(in, out, pixels);
  case 4:
    return reverseLanes<std::uint32_t>(in, out, pixels);
  default:
    return;
  }
}

} // namespace Vantiflux::PixelLoops::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Vantiflux::PixelLoops {

HWY_EXPORT(runReverse);

void reversePixels(std::size_t bytesPerPixel, const unsigned char* in, unsigned char* out, std::size_t pixels) {
  HWY_DYNAMIC_DISPATCH(runReverse)(bytesPerPixel, in, out, pixels);
}

} // namespace Vantiflux::PixelLoops
#endif
