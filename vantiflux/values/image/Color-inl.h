// Colour in vectors: 16-bit pixels taken apart, and Y, U, V turned into R, G, B. Included once for each instruction
// set.
#if defined(VANTIFLUX_COLOR_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VANTIFLUX_COLOR_INL_H
#undef VANTIFLUX_COLOR_INL_H
#else
#define VANTIFLUX_COLOR_INL_H
#endif

#include <vantiflux/values/image/BlockRun-inl.h>

HWY_BEFORE_NAMESPACE();
namespace Vantiflux::PixelLoops::HWY_NAMESPACE {

struct Rgb {
  V8 r;
  V8 g;
  V8 b;
};

// Bytes have no shifts of their own: shifted as 16-bit lanes, the mask removes what came from the byte beside.
template <int bits>
HWY_INLINE V8 shiftedLeft(V8 bytes, std::uint8_t mask) {
  return hn::And(hn::BitCast(U8(), hn::ShiftLeft<bits>(hn::BitCast(U16(), bytes))), hn::Set(U8(), mask));
}
template <int bits>
HWY_INLINE V8 shiftedRight(V8 bytes, std::uint8_t mask) {
  return hn::And(hn::BitCast(U8(), hn::ShiftRight<bits>(hn::BitCast(U16(), bytes))), hn::Set(U8(), mask));
}

// Bytes are calculated with as 16-bit lanes, those at even places apart from those at odd ones.
HWY_INLINE V16 evenBytes(V8 bytes) {
  return hn::And(hn::BitCast(U16(), bytes), hn::Set(U16(), 0x00FF));
}
HWY_INLINE V16 oddBytes(V8 bytes) {
  return hn::ShiftRight<8>(hn::BitCast(U16(), bytes));
}
// The same times 256.
HWY_INLINE V16 evenBytesHigh(V8 bytes) {
  return hn::ShiftLeft<8>(hn::BitCast(U16(), bytes));
}
HWY_INLINE V16 oddBytesHigh(V8 bytes) {
  return hn::And(hn::BitCast(U16(), bytes), hn::Set(U16(), 0xFF00));
}

// Saturates two vectors of signed 16-bit lanes to bytes: in each block of 16 bytes the lanes of a, then those of b.
// (This Highway has no such operation for bytes.)
HWY_INLINE V8 packBlocks(VI16 a, VI16 b) {
#if HWY_MAX_BYTES > 16
  return V8{_mm256_packus_epi16(a.raw, b.raw)};
#elif HWY_TARGET == HWY_SSE4 || HWY_TARGET == HWY_SSSE3
  return V8{_mm_packus_epi16(a.raw, b.raw)};
#else
  const hn::Half<U8> half;
  return hn::Combine(U8(), hn::DemoteTo(half, b), hn::DemoteTo(half, a));
#endif
}

// Loads a vector's lanes of something that is taken apart in pieces of that many bytes a block: the even pieces, then
// the odd ones, so that packBlocks() brings all in order.
template <std::size_t piece>
HWY_INLINE void loadPieces(const unsigned char* from, V8& even, V8& odd) {
#if HWY_MAX_BYTES > 16
  const hn::Half<U8> block;
  even = hn::Combine(U8(), hn::LoadU(block, from + 2 * piece), hn::LoadU(block, from));
  odd = hn::Combine(U8(), hn::LoadU(block, from + 3 * piece), hn::LoadU(block, from + piece));
#else
  even = hn::LoadU(U8(), from);
  odd = hn::LoadU(U8(), from + piece);
#endif
}

// The bytes at even and at odd places.
HWY_INLINE void loadAlternating(const unsigned char* from, V8& first, V8& second) {
  V8 a, b;
  loadPieces<16>(from, a, b);
  const I16 d;
  first = packBlocks(hn::BitCast(d, evenBytes(a)), hn::BitCast(d, evenBytes(b)));
  second = packBlocks(hn::BitCast(d, oddBytes(a)), hn::BitCast(d, oddBytes(b)));
}

// A vector's lanes of 16-bit pixels, blue in the lowest five bits, then green of five or six bits.
template <int greenBits>
HWY_INLINE Rgb loadBGR16(const unsigned char* from) {
  V8 low, high;
  loadAlternating(from, low, high);
  const V8 b = shiftedLeft<3>(low, 0xF8);
  if constexpr (greenBits == 5)
    return {shiftedLeft<1>(high, 0xF8), hn::Or(shiftedLeft<6>(high, 0xC0), shiftedRight<2>(low, 0x38)), b};
  else
    return {hn::And(high, hn::Set(U8(), 0xF8)), hn::Or(shiftedLeft<5>(high, 0xE0), shiftedRight<3>(low, 0x1C)), b};
}

// What chroma adds to Y. U and V come as signed 16-bit lanes of (U - 128) * 256, so that the high half of a product is
// u * factor / 256, rounded down:
//   1436 v >> 10 = 359 v / 256,  1814 u >> 10 = 907 u / 256 / 2,
//   (352 u + 731 v) >> 10 = (11 u + (731 v >> 5)) >> 5, where 731 v >> 5 = 5848 v / 256 and 11 u = 2816 u / 256.
struct ChromaTerms {
  VI16 r;
  VI16 g; // to be subtracted
  VI16 b;
};
HWY_INLINE ChromaTerms chromaTerms(VI16 u, VI16 v) {
  const I16 d;
  return {hn::MulHigh(v, hn::Set(d, 359)),
          hn::ShiftRight<5>(hn::Add(hn::MulHigh(v, hn::Set(d, 5848)), hn::MulHigh(u, hn::Set(d, 2816)))),
          hn::ShiftRight<1>(hn::MulHigh(u, hn::Set(d, 907)))};
}

// From (U times 256) to that form.
HWY_INLINE VI16 centered(V16 chroma) {
  return hn::BitCast(I16(), hn::Xor(chroma, hn::Set(U16(), 0x8000)));
}

// Stores the first blocks of 16 bytes of a, b and c, then the second ones, and so on.
HWY_INLINE void storeBlocksInTurn(V8 a, V8 b, V8 c, unsigned char* to) {
#if HWY_MAX_BYTES > 16
  const U8 d;
  hn::StoreU(hn::ConcatLowerLower(d, b, a), d, to);
  hn::StoreU(hn::ConcatUpperLower(d, a, c), d, to + lanes);
  hn::StoreU(hn::ConcatUpperUpper(d, c, b), d, to + 2 * lanes);
#else
  hn::StoreU(a, U8(), to);
  hn::StoreU(b, U8(), to + lanes);
  hn::StoreU(c, U8(), to + 2 * lanes);
#endif
}

// The shuffles that weave three channels, which packBlocks() left with the even pixels of each 16 before the odd ones,
// into three times 16 bytes: for each of these, which byte of which channel; 128 takes none.
struct WeaveTables {
  alignas(16) std::uint8_t index[3][3][16];
};
constexpr WeaveTables makeWeaveTables() {
  WeaveTables tables{};
  for (std::size_t at = 0; at < 48; ++at) {
    const std::size_t pixel = at / 3;
    for (std::size_t channel = 0; channel < 3; ++channel)
      tables.index[at / 16][channel][at % 16] =
          static_cast<std::uint8_t>(channel == at % 3 ? pixel % 2 * 8 + pixel / 2 : 0x80);
  }
  return tables;
}
inline constexpr WeaveTables weave = makeWeaveTables();

template <std::size_t part>
HWY_INLINE V8 weavePart(V8 r, V8 g, V8 b) {
  const U8 d;
  return hn::Xor3(hn::TableLookupBytesOr0(r, hn::LoadDup128(d, weave.index[part][0])),
                  hn::TableLookupBytesOr0(g, hn::LoadDup128(d, weave.index[part][1])),
                  hn::TableLookupBytesOr0(b, hn::LoadDup128(d, weave.index[part][2])));
}

// Writes a vector's lanes of pixels.
HWY_INLINE void storeRgb(V8 y, const ChromaTerms& even, const ChromaTerms& odd, unsigned char* to) {
  const VI16 y0 = hn::BitCast(I16(), evenBytes(y));
  const VI16 y1 = hn::BitCast(I16(), oddBytes(y));
  const V8 r = packBlocks(hn::Add(y0, even.r), hn::Add(y1, odd.r));
  const V8 g = packBlocks(hn::Sub(y0, even.g), hn::Sub(y1, odd.g));
  const V8 b = packBlocks(hn::Add(y0, even.b), hn::Add(y1, odd.b));
  storeBlocksInTurn(weavePart<0>(r, g, b), weavePart<1>(r, g, b), weavePart<2>(r, g, b), to);
}

HWY_INLINE void storeYuvAsRgb(V8 y, V8 u, V8 v, unsigned char* to) {
  storeRgb(y, chromaTerms(centered(evenBytesHigh(u)), centered(evenBytesHigh(v))),
           chromaTerms(centered(oddBytesHigh(u)), centered(oddBytesHigh(v))), to);
}

// The same where each two pixels share their chroma: calculated once, it fits both the even and the odd pixels. It
// comes as 16-bit lanes, times 256.
HWY_INLINE void storePairsAsRgb(V8 y, V16 u, V16 v, unsigned char* to) {
  const ChromaTerms once = chromaTerms(centered(u), centered(v));
  storeRgb(y, once, once, to);
}

} // namespace Vantiflux::PixelLoops::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
