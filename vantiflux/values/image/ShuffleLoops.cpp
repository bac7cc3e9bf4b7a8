// Steps that only move bytes: tables for the byte shuffle of 16-byte blocks, made from the layout of one group of
// pixels.
#include <vantiflux/values/image/PixelLoops.h>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vantiflux/values/image/ShuffleLoops.cpp"
#include <hwy/foreach_target.h>

#include <vantiflux/values/image/BlockRun-inl.h>

#ifndef VANTIFLUX_GROUP_MAPS
#define VANTIFLUX_GROUP_MAPS
namespace Vantiflux::PixelLoops {
namespace {

constexpr std::uint8_t none = 0xFF; // in a map: no byte of the source, but one without colour

// One group of pixels: for each byte of the result, the byte of the source that it is taken from.
struct GroupMap {
  std::size_t pixels;
  std::size_t inBytes;
  std::size_t outBytes;
  std::array<std::uint8_t, 24> from;
  std::uint16_t chroma; // a bit for each byte of the source that is chrominance
};

constexpr GroupMap swap24 = {1, 3, 3, {2, 1, 0}, 0};
constexpr GroupMap bgr32 = {1, 4, 3, {2, 1, 0}, 0};
constexpr GroupMap iyu2 = {1, 3, 3, {1, 0, 2}, 0b101};
constexpr GroupMap y422 = {2, 4, 6, {1, 0, 2, 3, 0, 2}, 0b0101};
constexpr GroupMap yuy2 = {2, 4, 6, {0, 1, 3, 2, 1, 3}, 0b1010};
constexpr GroupMap y411 = {4, 6, 12, {1, 0, 3, 2, 0, 3, 4, 0, 3, 5, 0, 3}, 0b001001};
constexpr GroupMap y411Luminance = {4, 6, 4, {1, 2, 4, 5}, 0b001001};
constexpr GroupMap y41p = {
    8, 12, 24, {1, 0, 2, 3, 0, 2, 5, 0, 2, 7, 0, 2, 8, 4, 6, 9, 4, 6, 10, 4, 6, 11, 4, 6}, 0b000001010101};
constexpr GroupMap y800 = {1, 1, 3, {0, none, none}, 0};
constexpr GroupMap y1600 = {1, 2, 3, {1, none, none}, 0};
constexpr GroupMap y800Gray = {1, 1, 3, {0, 0, 0}, 0};
constexpr GroupMap y1600Gray = {1, 2, 3, {1, 1, 1}, 0};

} // namespace
} // namespace Vantiflux::PixelLoops
#endif

HWY_BEFORE_NAMESPACE();
namespace Vantiflux::PixelLoops::HWY_NAMESPACE {

using Block16 = hn::FixedTag<std::uint8_t, 16>;

// As many groups as 16 bytes hold, read by one load and written by one or more stores; some of them at once.
template <GroupMap map>
struct ShuffleBlock {
  static constexpr std::size_t unrolled = 4;
  static constexpr std::size_t groups = 16 / map.inBytes;
  static constexpr std::size_t stores = (groups * map.outBytes + 15) / 16;
  static constexpr std::size_t used = groups * map.inBytes;
  static constexpr std::size_t stored = groups * map.outBytes / stores;
  static_assert(groups * map.outBytes == stores * stored);

  static constexpr std::size_t pixels = unrolled * groups * map.pixels;
  static constexpr std::array<Stride, 1> in = {{{unrolled * used, (unrolled - 1) * used + 16}}};
  static constexpr std::array<Stride, 1> out = {{{unrolled * stores * stored, (unrolled * stores - 1) * stored + 16}}};

  static constexpr bool isChroma(std::size_t, std::size_t at) { return (map.chroma >> (at % map.inBytes) & 1) != 0; }

  // An index of 128 makes the shuffle write 0; then the constant is added.
  struct Tables {
    alignas(16) std::uint8_t index[stores][16];
    alignas(16) std::uint8_t constant[stores][16];
  };
  static constexpr Tables makeTables() {
    Tables made{};
    for (std::size_t store = 0; store < stores; ++store) {
      for (std::size_t i = 0; i < 16; ++i) {
        const std::size_t at = store * stored + i;
        const std::uint8_t from = map.from[at % map.outBytes];
        const bool taken = i < stored && from != none;
        made.index[store][i] = static_cast<std::uint8_t>(taken ? at / map.outBytes * map.inBytes + from : 0x80);
        made.constant[store][i] = from == none ? noColor : black;
      }
    }
    return made;
  }
  static constexpr Tables tables = makeTables();

  static HWY_INLINE void run(const std::array<const unsigned char*, 1>& from, const std::array<unsigned char*, 1>& to) {
    const Block16 d;
    for (std::size_t i = 0; i < unrolled; ++i) {
      const auto bytes = hn::LoadU(d, from[0] + i * used);
      for (std::size_t store = 0; store < stores; ++store) {
        auto result = hn::TableLookupBytesOr0(bytes, hn::Load(d, tables.index[store]));
        if constexpr (map.from[1] == none)
          result = hn::Or(result, hn::Load(d, tables.constant[store]));
        hn::StoreU(result, d, to[0] + (i * stores + store) * stored);
      }
    }
  }
};

template <GroupMap map>
void runMap(Source in, unsigned char* out, std::size_t pixels) {
  runBlocks<ShuffleBlock<map>>({in}, {out}, pixels);
}

void runShuffle(Shuffle step, Source in, unsigned char* out, std::size_t pixels) {
  switch (step) {
  case Shuffle::swap24:
    return runMap<swap24>(in, out, pixels);
  case Shuffle::BGR32_to_RGB24:
    return runMap<bgr32>(in, out, pixels);
  case Shuffle::IYU2_to_Y444:
    return runMap<iyu2>(in, out, pixels);
  case Shuffle::Y422_to_Y444:
    return runMap<y422>(in, out, pixels);
  case Shuffle::YUY2_to_Y444:
    return runMap<yuy2>(in, out, pixels);
  case Shuffle::Y411_to_Y444:
    return runMap<y411>(in, out, pixels);
  case Shuffle::Y411_to_Y800:
    return runMap<y411Luminance>(in, out, pixels);
  case Shuffle::Y41P_to_Y444:
    return runMap<y41p>(in, out, pixels);
  case Shuffle::Y800_to_Y444:
    return runMap<y800>(in, out, pixels);
  case Shuffle::Y1600_to_Y444:
    return runMap<y1600>(in, out, pixels);
  case Shuffle::Y800_to_RGB24:
    return runMap<y800Gray>(in, out, pixels);
  case Shuffle::Y1600_to_RGB24:
    return runMap<y1600Gray>(in, out, pixels);
  }
}

} // namespace Vantiflux::PixelLoops::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Vantiflux::PixelLoops {

HWY_EXPORT(runShuffle);

void shuffle(Shuffle step, Source in, unsigned char* out, std::size_t pixels) {
  HWY_DYNAMIC_DISPATCH(runShuffle)(step, in, out, pixels);
}

} // namespace Vantiflux::PixelLoops
#endif
