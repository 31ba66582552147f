// Blocks upside down without decoding them: their four rows of indices in reverse order.
#pragma once

#include <cstddef>
#include <type_traits>

#include "dds/blocks/BlockMath.h"

namespace {  // NOLINT(google-build-namespaces): each instruction set has its own copy

// An 8-byte block, or half of a 16-byte one, is one little-endian number here.

/// The colours of DXT blocks:
///
///     bit 63    56 55    48 47    40 39    32 31      0
///          row 3    row 2    row 1    row 0   endpoints        four 2-bit indices a row
struct ColourRows {
  static constexpr u64 Flip(u64 block) {
    return (block & 0xFFFF'FFFF) | (block >> 24 & u64{0xFF} << 32) | (block >> 8 & u64{0xFF} << 40) |
           (block << 8 & u64{0xFF} << 48) | (block << 24 & u64{0xFF} << 56);
  }
};

/// The alpha of DXT3 blocks: four rows of four 4-bit values.
struct AlphaRows {
  static constexpr u64 Flip(u64 block) {
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
  static constexpr u64 Flip(u64 block) {
    return (block & 0xFFFF) | (block >> 36 & u64{0xFFF} << 16) | (block >> 12 & u64{0xFFF} << 28) |
           (block << 12 & u64{0xFFF} << 40) | (block << 36 & u64{0xFFF} << 52);
  }
};

/// Turns 8 bytes at each place upside down and exchanges them.
template <class Rows>
void FlipHalves(unsigned char* first, unsigned char* second) {
  const u64 fromFirst = Rows::Flip(Load<u64>(first));
  const u64 fromSecond = Rows::Flip(Load<u64>(second));
  std::memcpy(first, &fromSecond, sizeof fromSecond);
  std::memcpy(second, &fromFirst, sizeof fromFirst);
}

/// Turns blocks upside down and exchanges those at `first` with those at `second`. `Low` is in the lower 8
/// bytes of each 16 and `High` in the upper; smaller blocks have one kind.
template <class Ops, int kBlockBytes, class Low, class High = Low>
void FlipBlockStrips(unsigned char* first, unsigned char* second, int count) {
  static_assert(kBlockBytes == 16 || std::is_same_v<Low, High>);
  const std::ptrdiff_t bytes = std::ptrdiff_t{kBlockBytes} * count;
  std::ptrdiff_t i = Ops::template FlipBlocks<Low, High>(first, second, bytes);
  for (; i + 16 <= bytes; i += 16) {
    FlipHalves<Low>(first + i, second + i);
    FlipHalves<High>(first + i + 8, second + i + 8);
  }
  if (i < bytes) FlipHalves<Low>(first + i, second + i);
}

}  // namespace
