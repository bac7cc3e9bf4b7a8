// Steps that calculate. All sums are exact: the formulas ask for shifts that round down, and so do the products here.
#include <vantiflux/values/image/PixelLoops.h>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vantiflux/values/image/ColorLoops.cpp"
#include <hwy/foreach_target.h>

#include <vantiflux/values/image/Color-inl.h>

HWY_BEFORE_NAMESPACE();
namespace Vantiflux::PixelLoops::HWY_NAMESPACE {

// Streams of a block of one vector's lanes of pixels.
template <std::size_t inBytes, std::size_t outBytes>
struct PackedBlock {
  static constexpr std::size_t pixels = lanes;
  static constexpr std::array<Stride, 1> in = {{{inBytes * lanes, inBytes* lanes}}};
  static constexpr std::array<Stride, 1> out = {{{outBytes * lanes, outBytes* lanes}}};
  static constexpr bool isChroma(std::size_t, std::size_t) { return false; }
};

using From = std::array<const unsigned char*, 1>;
using To = std::array<unsigned char*, 1>;

// Three bits of the byte are looked at: bit 2 is green, bits 0 and 1 are blue.
struct BGR232Block : PackedBlock<1, 3> {
  static HWY_INLINE void run(const From& from, const To& to) {
    alignas(16) static constexpr std::uint8_t green[16] = {0, 0, 0, 0, 128, 128, 128, 128};
    alignas(16) static constexpr std::uint8_t blue[16] = {0, 64, 128, 192, 0, 64, 128, 192};
    const U8 d;
    const V8 index = hn::And(hn::LoadU(d, from[0]), hn::Set(d, 7));
    hn::StoreInterleaved3(hn::Zero(d), hn::TableLookupBytes(hn::LoadDup128(d, green), index),
                          hn::TableLookupBytes(hn::LoadDup128(d, blue), index), d, to[0]);
  }
};

template <int greenBits>
struct BGR16Block : PackedBlock<2, 3> {
  static HWY_INLINE void run(const From& from, const To& to) {
    const Rgb rgb = loadBGR16<greenBits>(from[0]);
    hn::StoreInterleaved3(rgb.r, rgb.g, rgb.b, U8(), to[0]);
  }
};

template <bool blueFirst>
struct LuminanceBlock : PackedBlock<3, 1> {
  static HWY_INLINE V16 weigh(V16 r, V16 g, V16 b) {
    const U16 d;
    const V16 sum = hn::Add(hn::Mul(r, hn::Set(d, 77)), hn::Mul(g, hn::Set(d, 150)));
    return hn::Add(sum, hn::Mul(b, hn::Set(d, 19))); // 62730 at most
  }
  static HWY_INLINE void run(const From& from, const To& to) {
    const U8 d;
    const U16 d16;
    V8 first, g, third;
    hn::LoadInterleaved3(d, from[0], first, g, third);
    const V16 r16 = hn::BitCast(d16, blueFirst ? third : first);
    const V16 g16 = hn::BitCast(d16, g);
    const V16 b16 = hn::BitCast(d16, blueFirst ? first : third);
    const V16 low = hn::Set(d16, 0xFF);
    const V16 even = weigh(hn::And(r16, low), hn::And(g16, low), hn::And(b16, low));
    const V16 odd = weigh(hn::ShiftRight<8>(r16), hn::ShiftRight<8>(g16), hn::ShiftRight<8>(b16));
    hn::StoreU(hn::Or(hn::BitCast(d, hn::ShiftRight<8>(even)), hn::BitCast(d, hn::AndNot(low, odd))), d, to[0]);
  }
};

struct FirstOfThreeBlock : PackedBlock<3, 1> {
  static HWY_INLINE void run(const From& from, const To& to) {
    V8 first, second, third;
    hn::LoadInterleaved3(U8(), from[0], first, second, third);
    hn::StoreU(first, U8(), to[0]);
  }
};

struct SecondOfTwoBlock : PackedBlock<2, 1> {
  static HWY_INLINE void run(const From& from, const To& to) {
    V8 first, second;
    hn::LoadInterleaved2(U8(), from[0], first, second);
    hn::StoreU(second, U8(), to[0]);
  }
};

template <bool chromaFirst>
struct TripleBlock : PackedBlock<3, 3> {
  static HWY_INLINE void run(const From& from, const To& to) {
    V8 first, second, v;
    hn::LoadInterleaved3(U8(), from[0], first, second, v);
    const Rgb rgb = chromaFirst ? yuvToRgb(second, first, v) : yuvToRgb(first, second, v);
    hn::StoreInterleaved3(rgb.r, rgb.g, rgb.b, U8(), to[0]);
  }
};

// Chroma is calculated once for both pixels of a pair.
template <bool chromaFirst>
struct PairBlock : PackedBlock<2, 3> {
  static constexpr bool isChroma(std::size_t, std::size_t at) { return (at % 2 == 0) == chromaFirst; }
  static HWY_INLINE void run(const From& from, const To& to) {
    const U16 d16;
    V8 first, second;
    hn::LoadInterleaved2(U8(), from[0], first, second);
    const V16 uv = hn::BitCast(d16, chromaFirst ? first : second);
    const V16 v = hn::AndNot(hn::Set(d16, 0xFF), uv);
    const Rgb rgb = pairsToRgb(chromaFirst ? second : first, hn::ShiftLeft<8>(uv), v);
    hn::StoreInterleaved3(rgb.r, rgb.g, rgb.b, U8(), to[0]);
  }
};

template <class Block>
void runPacked(Source in, unsigned char* out, std::size_t pixels) {
  runBlocks<Block>({in}, {out}, pixels);
}

void runStep(Step step, Source in, unsigned char* out, std::size_t pixels) {
  switch (step) {
  case Step::BGR232_to_RGB24:
    return runPacked<BGR232Block>(in, out, pixels);
  case Step::BGR555_to_RGB24:
    return runPacked<BGR16Block<5>>(in, out, pixels);
  case Step::BGR565_to_RGB24:
    return runPacked<BGR16Block<6>>(in, out, pixels);
  case Step::RGB24_to_Y800:
    return runPacked<LuminanceBlock<false>>(in, out, pixels);
  case Step::BGR24_to_Y800:
    return runPacked<LuminanceBlock<true>>(in, out, pixels);
  case Step::Y444_to_Y800:
    return runPacked<FirstOfThreeBlock>(in, out, pixels);
  case Step::Y422_to_Y800:
    return runPacked<SecondOfTwoBlock>(in, out, pixels);
  case Step::Y444_to_RGB24:
    return runPacked<TripleBlock<false>>(in, out, pixels);
  case Step::IYU2_to_RGB24:
    return runPacked<TripleBlock<true>>(in, out, pixels);
  case Step::Y422_to_RGB24:
    return runPacked<PairBlock<true>>(in, out, pixels);
  case Step::YUY2_to_RGB24:
    return runPacked<PairBlock<false>>(in, out, pixels);
  }
}

} // namespace Vantiflux::PixelLoops::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Vantiflux::PixelLoops {

HWY_EXPORT(runStep);

void convert(Step step, Source in, unsigned char* out, std::size_t pixels) {
  HWY_DYNAMIC_DISPATCH(runStep)(step, in, out, pixels);
}

} // namespace Vantiflux::PixelLoops
#endif
