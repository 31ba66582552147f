// The block-compressed layouts and their sizes.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

/// A layout of 4 x 4 pixel blocks.
enum kBlockFormat : int {
  kBlockBC1 = 0,         ///< DXT1: RGB 5:6:5 endpoints, one transparent code
  kBlockBC2 = 1,         ///< DXT2, DXT3: 4-bit alpha, then colours
  kBlockBC3 = 2,         ///< DXT4, DXT5: interpolated alpha, then colours
  kBlockBC4 = 3,         ///< one interpolated channel, unsigned
  kBlockBC4Signed = 4,   ///< one interpolated channel, -1 to 1
  kBlockBC5 = 5,         ///< two interpolated channels, unsigned
  kBlockBC5Signed = 6,   ///< two interpolated channels, -1 to 1
  kBlockBC6H = 7,        ///< RGB half floats, not negative
  kBlockBC6HSigned = 8,  ///< RGB half floats with sign
  kBlockBC7 = 9,         ///< RGBA in eight modes
};

/// Sizes of a layout: bytes of a block, and of a decoded pixel (4 bytes RGBA, or 4 floats RGBA).
struct RBlockSize {
  int blockBytes;  ///< of a block
  int pixelBytes;  ///< of a decoded pixel
};

/// The sizes by `kBlockFormat`.
inline constexpr std::array<RBlockSize, 10> kBlockSizes = {
    {{8, 4}, {16, 4}, {16, 4}, {8, 4}, {8, 4}, {16, 4}, {16, 4}, {16, 16}, {16, 16}, {16, 4}}};

/// Returns the sizes of a layout.
constexpr RBlockSize RSizeOf(kBlockFormat format) { return kBlockSizes[static_cast<std::size_t>(format)]; }

/// Returns the bytes of the blocks that cover a picture; the sizes must not be negative.
constexpr std::int64_t RBlockGridBytes(kBlockFormat format, std::int64_t width, std::int64_t height) {
  return (width + 3) / 4 * ((height + 3) / 4) * RSizeOf(format).blockBytes;
}
