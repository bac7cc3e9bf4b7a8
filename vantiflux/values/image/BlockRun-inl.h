// What the loops over pixels have in common. Included once for each instruction set (the guard toggles), by the sources
// of the loops only.
#if defined(VANTIFLUX_BLOCK_RUN_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef VANTIFLUX_BLOCK_RUN_INL_H
#undef VANTIFLUX_BLOCK_RUN_INL_H
#else
#define VANTIFLUX_BLOCK_RUN_INL_H
#endif

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include <hwy/highway.h>

#include <vantiflux/values/image/PixelLoops.h>

HWY_BEFORE_NAMESPACE();
namespace Vantiflux::PixelLoops::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

// Vectors of bytes, and the same bits as 16-bit lanes.
using U8 = hn::CappedTag<std::uint8_t, 32>;
using U16 = hn::RepartitionToWide<U8>;
using I16 = hn::RebindToSigned<U16>;
using V8 = hn::VFromD<U8>;
using V16 = hn::VFromD<U16>;
using VI16 = hn::VFromD<I16>;
inline constexpr std::size_t lanes = hn::MaxLanes(U8());

// How one stream of a block loop moves: bytes used by each block, and bytes touched, which may be more.
struct Stride {
  std::size_t advance;
  std::size_t reach;
};

template <class Block>
using Sources = std::array<Source, Block::in.size()>;
template <class Block>
using Inputs = std::array<const unsigned char*, Block::in.size()>;
template <class Block>
using Outputs = std::array<unsigned char*, Block::out.size()>;

// How many whole blocks fit in that many bytes.
HWY_INLINE std::size_t blocksIn(std::size_t bytes, const Stride& stride) {
  return bytes < stride.reach ? 0 : (bytes - stride.reach) / stride.advance + 1;
}

// What stands for bytes that are not there.
inline constexpr unsigned char black = 0;
inline constexpr unsigned char noColor = 128;

// The end of a run, or a cut group: one block, by way of buffers that have room for all that the block touches.
template <class Block>
HWY_NOINLINE void runLastBlock(const Sources<Block>& in, const Outputs<Block>& out, std::size_t pixels) {
  constexpr std::size_t room = 256;
  static_assert(Block::in[0].reach <= room && Block::out[0].reach <= room);
  HWY_ALIGN unsigned char from[Block::in.size()][room];
  HWY_ALIGN unsigned char to[Block::out.size()][room];
  Inputs<Block> inputs;
  Outputs<Block> outputs;
  for (std::size_t k = 0; k < in.size(); ++k) {
    const std::size_t have = std::min(in[k].size, Block::in[k].advance);
    if (have > 0)
      std::memcpy(from[k], in[k].data, have);
    for (std::size_t i = have; i < Block::in[k].reach; ++i)
      from[k][i] = Block::isChroma(k, i) ? noColor : black;
    inputs[k] = from[k];
  }
  for (std::size_t k = 0; k < out.size(); ++k)
    outputs[k] = to[k];
  Block::run(inputs, outputs);
  for (std::size_t k = 0; k < out.size(); ++k)
    std::memcpy(out[k], to[k], pixels * (Block::out[k].advance / Block::pixels));
}

// Walks all pixels in blocks. A Block says how many pixels it takes at once, how its streams move, which bytes are
// chrominance, and does the work: run(inputs, outputs).
template <class Block>
HWY_INLINE void runBlocks(Sources<Block> in, Outputs<Block> out, std::size_t pixels) {
  std::size_t blocks = pixels / Block::pixels;
  for (std::size_t k = 0; k < in.size(); ++k)
    blocks = std::min(blocks, blocksIn(in[k].size, Block::in[k]));
  for (std::size_t k = 0; k < out.size(); ++k)
    blocks = std::min(blocks, blocksIn(pixels * (Block::out[k].advance / Block::pixels), Block::out[k]));

  Inputs<Block> from;
  for (std::size_t k = 0; k < in.size(); ++k)
    from[k] = in[k].data;
  for (std::size_t i = 0; i < blocks; ++i) {
    Block::run(from, out);
    for (std::size_t k = 0; k < in.size(); ++k)
      from[k] += Block::in[k].advance;
    for (std::size_t k = 0; k < out.size(); ++k)
      out[k] += Block::out[k].advance;
  }
  for (std::size_t k = 0; k < in.size(); ++k)
    in[k] = {from[k], in[k].size - blocks * Block::in[k].advance};

  for (std::size_t left = pixels - blocks * Block::pixels; left > 0;) {
    const std::size_t count = std::min(left, Block::pixels);
    runLastBlock<Block>(in, out, count);
    left -= count;
    for (std::size_t k = 0; k < in.size(); ++k) {
      const std::size_t used = std::min(in[k].size, Block::in[k].advance);
      in[k] = {in[k].data + used, in[k].size - used};
    }
    for (std::size_t k = 0; k < out.size(); ++k)
      out[k] += count * (Block::out[k].advance / Block::pixels);
  }
}

} // namespace Vantiflux::PixelLoops::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
