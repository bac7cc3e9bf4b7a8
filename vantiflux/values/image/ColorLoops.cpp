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
  // Of bytes times 256; the weights too, so that the high half of a product is the exact one. 62730 at most.
  static HWY_INLINE V16 weigh(V16 r, V16 g, V16 b) {
    const U16 d;
    const V16 sum = hn::Add(hn::MulHigh(r, hn::Set(d, 77 * 256)), hn::MulHigh(g, hn::Set(d, 150 * 256)));
    return hn::Add(sum, hn::MulHigh(b, hn::Set(d, 19 * 256)));
  }
  static HWY_INLINE void run(const From& from, const To& to) {
    const U8 d;
    V8 first, g, third;
    hn::LoadInterleaved3(d, from[0], first, g, third);
    const V8 r = blueFirst ? third : first;
    const V8 b = blueFirst ? first : third;
    const V16 even = weigh(evenBytesHigh(r), evenBytesHigh(g), evenBytesHigh(b));
    const V16 odd = weigh(oddBytesHigh(r), oddBytesHigh(g), oddBytesHigh(b));
    const V16 upper = hn::And(odd, hn::Set(U16(), 0xFF00));
    hn::StoreU(hn::BitCast(d, hn::Or(hn::ShiftRight<8>(even), upper)), d, to[0]);
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
    loadAlternating(from[0], first, second);
    hn::StoreU(second, U8(), to[0]);
  }
};

template <bool chromaFirst>
struct TripleBlock : PackedBlock<3, 3> {
  static HWY_INLINE void run(const From& from, const To& to) {
    V8 first, second, v;
    hn::LoadInterleaved3(U8(), from[0], first, second, v);
    storeYuvAsRgb(chromaFirst ? second : first, chromaFirst ? first : second, v, to[0]);
  }
};

template <bool chromaFirst>
struct PairBlock : PackedBlock<2, 3> {
  static constexpr bool isChroma(std::size_t, std::size_t at) { return (at % 2 == 0) == chromaFirst; }
  static HWY_INLINE void run(const From& from, const To& to) {
    V8 first, second;
    loadAlternating(from[0], first, second);
    const V8 uv = chromaFirst ? first : second;
    storePairsAsRgb(chromaFirst ? second : first, evenBytesHigh(uv), oddBytesHigh(uv), to[0]);
  }
};

// Eight pixels in twelve bytes, each four of them with the same chroma.
struct TwelveLayout {
  std::array<std::uint8_t, 8> y;
  std::array<std::uint8_t, 2> u;
  std::array<std::uint8_t, 2> v;
};
constexpr TwelveLayout y411 = {{1, 2, 4, 5, 7, 8, 10, 11}, {0, 6}, {3, 9}};
constexpr TwelveLayout y41p = {{1, 3, 5, 7, 8, 9, 10, 11}, {0, 4}, {2, 6}};

template <TwelveLayout layout>
struct TwelveBlock {
  static constexpr std::size_t pixels = lanes;
  static constexpr std::array<Stride, 1> in = {{{lanes / 2 * 3, lanes / 2 * 3 + 4}}};
  static constexpr std::array<Stride, 1> out = {{{lanes * 3, lanes * 3}}};
  static constexpr bool isChroma(std::size_t, std::size_t at) {
    return std::find(layout.y.begin(), layout.y.end(), at % 12) == layout.y.end();
  }

  // For 16 pixels, the first eight from one load, the others from another: their Y, and chroma in the high halves of
  // 16-bit lanes, one for two pixels. 128 takes nothing.
  struct Tables {
    alignas(16) std::uint8_t y[2][16];
    alignas(16) std::uint8_t u[2][16];
    alignas(16) std::uint8_t v[2][16];
  };
  static constexpr Tables makeTables() {
    Tables made{};
    for (std::size_t load = 0; load < 2; ++load) {
      for (std::size_t i = 0; i < 16; ++i) {
        const bool mine = i / 8 == load;
        made.y[load][i] = mine ? layout.y[i % 8] : std::uint8_t{0x80};
        made.u[load][i] = mine && i % 2 == 1 ? layout.u[i % 8 / 4] : std::uint8_t{0x80};
        made.v[load][i] = mine && i % 2 == 1 ? layout.v[i % 8 / 4] : std::uint8_t{0x80};
      }
    }
    return made;
  }
  static constexpr Tables tables = makeTables();

  static HWY_INLINE V8 take(V8 a, V8 b, const std::uint8_t (&index)[2][16]) {
    const U8 d;
    return hn::Or(hn::TableLookupBytesOr0(a, hn::LoadDup128(d, index[0])),
                  hn::TableLookupBytesOr0(b, hn::LoadDup128(d, index[1])));
  }
  static HWY_INLINE void run(const From& from, const To& to) {
    const U16 d16;
    V8 a, b;
    loadPieces<12>(from[0], a, b);
    storePairsAsRgb(take(a, b, tables.y), hn::BitCast(d16, take(a, b, tables.u)),
                    hn::BitCast(d16, take(a, b, tables.v)), to[0]);
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
  case Step::Y411_to_RGB24:
    return runPacked<TwelveBlock<y411>>(in, out, pixels);
  case Step::Y41P_to_RGB24:
    return runPacked<TwelveBlock<y41p>>(in, out, pixels);
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
