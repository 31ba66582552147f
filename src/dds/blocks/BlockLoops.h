// The loops over blocks, for one instruction set.
#pragma once

#include "dds/blocks/Bc6hBlock.h"
#include "dds/blocks/Bc7Block.h"
#include "dds/blocks/BlockFlips.h"
#include "dds/blocks/BlockKernels.h"
#include "dds/blocks/S3tcBlocks.h"

namespace {  // NOLINT(google-build-namespaces): each instruction set has its own copy

template <class Block>
void DecodeBlockStrip(const unsigned char* blocks, int count, unsigned char* pixels, std::size_t stride) {
  using Pixel = typename Block::Pixel;
  constexpr std::size_t kTileRow = 4 * sizeof(Pixel);
  for (int i = 0; i < count; ++i) {
    Pixel tile[kBlockPixels];
    Block::Decode(&blocks[i * Block::kBytes], tile);
    for (std::size_t y = 0; y < 4; ++y)
      std::memcpy(pixels + y * stride + static_cast<std::size_t>(i) * kTileRow, &tile[4 * y], kTileRow);
  }
}

/// All kernels on top of `Ops`, the operations that an instruction set does its own way:
/// - PickOfFour: sets pixel i to the palette entry that bits 2i, 2i + 1 name;
/// - AddPickOfEight: or-s into pixel i the palette entry that bits 3i to 3i + 2 name;
/// - LookUp: sets factor i to the table entry that byte i of the indices names;
/// - Interpolate: BC7's pixels from endpoints and factors;
/// - FlipBlocks: what `FlipBlockStrips` does to a multiple of 16 bytes, of which it returns the number.
template <class Ops>
constexpr rblocks::Kernels kKernelsWith = {
    {
        DecodeBlockStrip<Bc1Block<Ops>>,
        DecodeBlockStrip<Bc2Block<Ops>>,
        DecodeBlockStrip<Bc3Block<Ops>>,
        DecodeBlockStrip<Bc4Block<Ops, UnsignedChannel>>,
        DecodeBlockStrip<Bc4Block<Ops, SignedChannel>>,
        DecodeBlockStrip<Bc5Block<Ops, UnsignedChannel>>,
        DecodeBlockStrip<Bc5Block<Ops, SignedChannel>>,
        DecodeBlockStrip<Bc6hBlock<Ops, false>>,
        DecodeBlockStrip<Bc6hBlock<Ops, true>>,
        DecodeBlockStrip<Bc7Block<Ops>>,
    },
    {
        FlipBlockStrips<Ops, 8, ColourRows>,
        FlipBlockStrips<Ops, 16, AlphaRows, ColourRows>,
        FlipBlockStrips<Ops, 16, ChannelRows, ColourRows>,
        FlipBlockStrips<Ops, 8, ChannelRows>,
        FlipBlockStrips<Ops, 8, ChannelRows>,
        FlipBlockStrips<Ops, 16, ChannelRows>,
        FlipBlockStrips<Ops, 16, ChannelRows>,
    },
};

}  // namespace
