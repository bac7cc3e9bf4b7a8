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

// A vector's lanes of 16-bit pixels, blue in the lowest five bits, then green of five or six bits.
template <int greenBits>
HWY_INLINE Rgb loadBGR16(const unsigned char* from) {
  V8 low, high;
  hn::LoadInterleaved2(U8(), from, low, high);
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

// From bytes in the high halves of 16-bit lanes, the low halves zero, to that form.
HWY_INLINE VI16 centered(V16 chroma) {
  return hn::BitCast(I16(), hn::Xor(chroma, hn::Set(U16(), 0x8000)));
}

HWY_INLINE Rgb addChroma(V8 y, const ChromaTerms& lower, const ChromaTerms& upper) {
  const VI16 y0 = hn::BitCast(I16(), hn::InterleaveLower(U8(), y, hn::Zero(U8())));
  const VI16 y1 = hn::BitCast(I16(), hn::InterleaveUpper(U8(), y, hn::Zero(U8())));
  return {packBlocks(hn::Add(y0, lower.r), hn::Add(y1, upper.r)),
          packBlocks(hn::Sub(y0, lower.g), hn::Sub(y1, upper.g)),
          packBlocks(hn::Add(y0, lower.b), hn::Add(y1, upper.b))};
}

HWY_INLINE VI16 lowerChroma(V8 bytes) {
  return centered(hn::BitCast(U16(), hn::InterleaveLower(U8(), hn::Zero(U8()), bytes)));
}
HWY_INLINE VI16 upperChroma(V8 bytes) {
  return centered(hn::BitCast(U16(), hn::InterleaveUpper(U8(), hn::Zero(U8()), bytes)));
}

HWY_INLINE Rgb yuvToRgb(V8 y, V8 u, V8 v) {
  return addChroma(y, chromaTerms(lowerChroma(u), lowerChroma(v)), chromaTerms(upperChroma(u), upperChroma(v)));
}

// The same where two pixels share their chroma, which stands in the high halves of 16-bit lanes.
HWY_INLINE Rgb pairsToRgb(V8 y, V16 u, V16 v) {
  const I16 d;
  const ChromaTerms once = chromaTerms(centered(u), centered(v));
  const ChromaTerms lower = {hn::InterleaveLower(d, once.r, once.r), hn::InterleaveLower(d, once.g, once.g),
                             hn::InterleaveLower(d, once.b, once.b)};
  const ChromaTerms upper = {hn::InterleaveUpper(d, once.r, once.r), hn::InterleaveUpper(d, once.g, once.g),
                             hn::InterleaveUpper(d, once.b, once.b)};
  return addChroma(y, lower, upper);
}

} // namespace Vantiflux::PixelLoops::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
