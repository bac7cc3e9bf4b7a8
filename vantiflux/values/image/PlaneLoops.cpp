// Planes put together and taken apart.
#include <vantiflux/values/image/PixelLoops.h>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vantiflux/values/image/PlaneLoops.cpp"
#include <hwy/foreach_target.h>

#include <vantiflux/values/image/Color-inl.h>

HWY_BEFORE_NAMESPACE();
namespace Vantiflux::PixelLoops::HWY_NAMESPACE {

// Each byte of chroma for two or four pixels.
HWY_INLINE V8 loadTwice(const unsigned char* from) {
  const V16 wide = hn::PromoteTo(U16(), hn::LoadU(hn::Rebind<std::uint8_t, U16>(), from));
  return hn::BitCast(U8(), hn::Or(wide, hn::ShiftLeft<8>(wide)));
}
HWY_INLINE V8 loadFourTimes(const unsigned char* from) {
  using U32 = hn::RepartitionToWide<U16>;
  auto wide = hn::PromoteTo(U32(), hn::LoadU(hn::Rebind<std::uint8_t, U32>(), from));
  wide = hn::Or(wide, hn::ShiftLeft<8>(wide));
  return hn::BitCast(U8(), hn::Or(wide, hn::ShiftLeft<16>(wide)));
}

template <std::size_t shared>
struct PlanarBlock {
  static constexpr std::size_t pixels = lanes;
  static constexpr Stride chroma = {lanes / shared, lanes / shared};
  static constexpr std::array<Stride, 3> in = {{{lanes, lanes}, chroma, chroma}};
  static constexpr std::array<Stride, 1> out = {{{3 * lanes, 3 * lanes}}};
  static constexpr bool isChroma(std::size_t source, std::size_t) { return source != 0; }

  static HWY_INLINE void run(const std::array<const unsigned char*, 3>& from, const std::array<unsigned char*, 1>& to) {
    const V8 y = hn::LoadU(U8(), from[0]);
    if constexpr (shared == 2)
      hn::StoreInterleaved3(y, loadTwice(from[1]), loadTwice(from[2]), U8(), to[0]);
    else
      hn::StoreInterleaved3(y, loadFourTimes(from[1]), loadFourTimes(from[2]), U8(), to[0]);
  }
};

template <std::size_t shared>
struct PlanarToRgbBlock : PlanarBlock<shared> {
  // A 16-bit lane for each two pixels, times 256.
  static HWY_INLINE V16 loadHigh(const unsigned char* from) {
    if constexpr (shared == 2)
      return hn::ShiftLeft<8>(hn::PromoteTo(U16(), hn::LoadU(hn::Rebind<std::uint8_t, U16>(), from)));
    else
      return oddBytesHigh(loadFourTimes(from));
  }
  static HWY_INLINE void run(const std::array<const unsigned char*, 3>& from, const std::array<unsigned char*, 1>& to) {
    storePairsAsRgb(hn::LoadU(U8(), from[0]), loadHigh(from[1]), loadHigh(from[2]), to[0]);
  }
};

template <std::size_t inBytes, std::size_t planes>
struct SplitBlock {
  static constexpr std::size_t pixels = lanes;
  static constexpr std::array<Stride, 1> in = {{{inBytes * lanes, inBytes* lanes}}};
  static constexpr std::array<Stride, planes> out = [] {
    std::array<Stride, planes> strides{};
    strides.fill({lanes, lanes});
    return strides;
  }();
  static constexpr bool isChroma(std::size_t, std::size_t) { return false; }
};

struct SplitThreeBlock : SplitBlock<3, 3> {
  static HWY_INLINE void run(const std::array<const unsigned char*, 1>& from, const std::array<unsigned char*, 3>& to) {
    V8 a, b, c;
    hn::LoadInterleaved3(U8(), from[0], a, b, c);
    hn::StoreU(a, U8(), to[0]);
    hn::StoreU(b, U8(), to[1]);
    hn::StoreU(c, U8(), to[2]);
  }
};

struct SplitFourBlock : SplitBlock<4, 4> {
  static HWY_INLINE void run(const std::array<const unsigned char*, 1>& from, const std::array<unsigned char*, 4>& to) {
    V8 a, b, c, d;
    hn::LoadInterleaved4(U8(), from[0], a, b, c, d);
    hn::StoreU(a, U8(), to[0]);
    hn::StoreU(b, U8(), to[1]);
    hn::StoreU(c, U8(), to[2]);
    hn::StoreU(d, U8(), to[3]);
  }
};

template <int greenBits>
struct SplitBGR16Block : SplitBlock<2, 3> {
  static HWY_INLINE void run(const std::array<const unsigned char*, 1>& from, const std::array<unsigned char*, 3>& to) {
    const Rgb rgb = loadBGR16<greenBits>(from[0]);
    hn::StoreU(rgb.r, U8(), to[0]);
    hn::StoreU(rgb.g, U8(), to[1]);
    hn::StoreU(rgb.b, U8(), to[2]);
  }
};

void runPlanarToY444(Chroma chroma, const PlanarLine& in, unsigned char* out, std::size_t pixels) {
  if (chroma == Chroma::half)
    runBlocks<PlanarBlock<2>>({in.y, in.u, in.v}, {out}, pixels);
  else
    runBlocks<PlanarBlock<4>>({in.y, in.u, in.v}, {out}, pixels);
}

void runPlanarToRgb24(Chroma chroma, const PlanarLine& in, unsigned char* out, std::size_t pixels) {
  if (chroma == Chroma::half)
    runBlocks<PlanarToRgbBlock<2>>({in.y, in.u, in.v}, {out}, pixels);
  else
    runBlocks<PlanarToRgbBlock<4>>({in.y, in.u, in.v}, {out}, pixels);
}

void runSplitThree(Source in, const std::array<unsigned char*, 3>& planes, std::size_t pixels) {
  runBlocks<SplitThreeBlock>({in}, planes, pixels);
}
void runSplitFour(Source in, const std::array<unsigned char*, 4>& planes, std::size_t pixels) {
  runBlocks<SplitFourBlock>({in}, planes, pixels);
}
void runSplitBGR555(Source in, const std::array<unsigned char*, 3>& planes, std::size_t pixels) {
  runBlocks<SplitBGR16Block<5>>({in}, planes, pixels);
}
void runSplitBGR565(Source in, const std::array<unsigned char*, 3>& planes, std::size_t pixels) {
  runBlocks<SplitBGR16Block<6>>({in}, planes, pixels);
}

} // namespace Vantiflux::PixelLoops::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Vantiflux::PixelLoops {

HWY_EXPORT(runPlanarToY444);
HWY_EXPORT(runPlanarToRgb24);
HWY_EXPORT(runSplitThree);
HWY_EXPORT(runSplitFour);
HWY_EXPORT(runSplitBGR555);
HWY_EXPORT(runSplitBGR565);

void planarLineToY444(Chroma chroma, const PlanarLine& in, unsigned char* out, std::size_t pixels) {
  HWY_DYNAMIC_DISPATCH(runPlanarToY444)(chroma, in, out, pixels);
}
void planarLineToRgb24(Chroma chroma, const PlanarLine& in, unsigned char* out, std::size_t pixels) {
  HWY_DYNAMIC_DISPATCH(runPlanarToRgb24)(chroma, in, out, pixels);
}
void splitThree(Source in, const std::array<unsigned char*, 3>& planes, std::size_t pixels) {
  HWY_DYNAMIC_DISPATCH(runSplitThree)(in, planes, pixels);
}
void splitFour(Source in, const std::array<unsigned char*, 4>& planes, std::size_t pixels) {
  HWY_DYNAMIC_DISPATCH(runSplitFour)(in, planes, pixels);
}
void splitBGR555(Source in, const std::array<unsigned char*, 3>& planes, std::size_t pixels) {
  HWY_DYNAMIC_DISPATCH(runSplitBGR555)(in, planes, pixels);
}
void splitBGR565(Source in, const std::array<unsigned char*, 3>& planes, std::size_t pixels) {
  HWY_DYNAMIC_DISPATCH(runSplitBGR565)(in, planes, pixels);
}

} // namespace Vantiflux::PixelLoops
#endif
