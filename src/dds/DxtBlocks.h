// The parts of DXT blocks, as stored.
#pragma once

#include <cstdint>

namespace nv_dds {

/// The colours of a DXT1 block, and of the second half of DXT3 and DXT5 blocks.
struct DXTColBlock {
  std::uint16_t col0;   ///< RGB 5:6:5
  std::uint16_t col1;   ///< RGB 5:6:5
  std::uint8_t row[4];  ///< four 2-bit indices a pixel row, the left pixel in the low bits
};
static_assert(sizeof(DXTColBlock) == 8);

/// The first half of a DXT3 block.
struct DXT3AlphaBlock {
  std::uint16_t row[4];  ///< four 4-bit alpha values a pixel row, the left pixel in the low bits
};
static_assert(sizeof(DXT3AlphaBlock) == 8);

/// The first half of a DXT5 block; BC4 blocks and both halves of BC5 blocks are alike.
struct DXT5AlphaBlock {
  ///@{
  /// An end of the scale; which one is larger tells how it is divided.
  std::uint8_t alpha0;
  std::uint8_t alpha1;
  ///@}
  std::uint8_t
      row[6];  ///< four 3-bit indices a pixel row, row 0 in the low 12 bits of the little-endian number
};
static_assert(sizeof(DXT5AlphaBlock) == 8);

}  // namespace nv_dds
