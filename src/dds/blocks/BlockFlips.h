// Blocks upside down without decoding them: their four rows of indices in reverse order.
#pragma once

#include "dds/blocks/BlockMath.h"

namespace {  // NOLINT(google-build-namespaces): each instruction set has its own copy

// An 8-byte block, or half of a 16-byte one, is one little-endian number here.

/// The colours of DXT blocks:
///
///     bit 63    56 55    48 47    40 39    32 31      0
///          row 3    row 2    row 1    row 0   endpoints        four 2-bit indices a row
struct ColourRows {
  static u64 Flip(u64 block) {
    return (block & 0xFFFF'FFFF) | (block >> 24 & u64{0xFF} << 32) | (block >> 8 & u64{0xFF} << 40) |
           (block << 8 & u64{0xFF} << 48) | (block << 24 & u64{0xFF} << 56);
  }
};

/// The alpha of DXT3 blocks: four rows of four 4-bit values.
struct AlphaRows {
  static u64 Flip(u64 block) {
    constexpr u64 kEven = 0x0000'FFFF'0000'FFFF;
    const u64 halves = block >> 32 | block << 32;
    return (halves >> 16 & kEven) | (halves & kEven) << 16;
  }
};

/// The alpha of DXT5 blocks, and BC4 blocks:
///
///     bit 63    52 51    40 39    28 27    16 15      0
///          row 3    row 2    row 1    row 0   endpoints        four 3-bit indices a row
struct ChannelRows {
  static u64 Flip(u64 block) {
    return (block & 0xFFFF) | (block >> 36 & u64{0xFFF} << 16) | (block >> 12 & u64{0xFFF} << 28) |
           (block << 12 & u64{0xFFF} << 40) | (block << 36 & u64{0xFFF} << 52);
  }
};

/// Flips blocks of one number, or of two of different kinds.
template <class... Halves>
void FlipBlockStrip(unsigned char* blocks, int count) {
  for (int i = 0; i < count; ++i) {
    const auto flip = [&]<class Rows>(Rows) {
      const u64 flipped = Rows::Flip(Load<u64>(blocks));
      std::memcpy(blocks, &flipped, sizeof flipped);
      blocks += sizeof flipped;
    };
    (flip(Halves{}), ...);
  }
}

}  // namespace
