// Pixels in reverse order.
#include <vantiflux/values/image/PixelLoops.h>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vantiflux/values/image/MirrorLoops.cpp"
#include <hwy/foreach_target.h>

#include <vantiflux/values/image/BlockRun-inl.h>

HWY_BEFORE_NAMESPACE();
namespace Vantiflux::PixelLoops::HWY_NAMESPACE {

template <std::size_t bytes>
HWY_INLINE void reverseOneByOne(const unsigned char* in, unsigned char* out, std::size_t pixels) {
  for (std::size_t i = 0; i < pixels; ++i)
    std::memcpy(out + (pixels - 1 - i) * bytes, in + i * bytes, bytes);
}

// Pixels of a size that lanes have.
template <class T>
void reverseLanes(const unsigned char* in, unsigned char* out, std::size_t pixels) {
  const hn::Repartition<T, U8> d;
  constexpr std::size_t step = hn::MaxLanes(d);
  if (pixels < step)
    return reverseOneByOne<sizeof(T)>(in, out, pixels);
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

// Five pixels of three bytes at a time, from the end of the source. The byte that is written behind them belongs to the
// pixel that comes next, the one that is read before them goes nowhere.
void reverse24(const unsigned char* in, unsigned char* out, std::size_t pixels) {
  alignas(16) static constexpr std::uint8_t order[16] = {13, 14, 15, 10, 11, 12, 7, 8, 9, 4, 5, 6, 1, 2, 3, 0x80};
  const hn::FixedTag<std::uint8_t, 16> d;
  const auto indices = hn::Load(d, order);
  const auto reverse = [&](std::size_t done) HWY_ATTR {
    const auto bytes = hn::LoadU(d, in + (pixels - done - 5) * 3 - 1);
    hn::StoreU(hn::TableLookupBytesOr0(bytes, indices), d, out + done * 3);
  };
  std::size_t done = 0;
  for (; done + 21 <= pixels; done += 20) {
    reverse(done);
    reverse(done + 5);
    reverse(done + 10);
    reverse(done + 15);
  }
  for (; done + 6 <= pixels; done += 5)
    reverse(done);
  reverseOneByOne<3>(in, out + done * 3, pixels - done);
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
