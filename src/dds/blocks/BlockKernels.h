// The loops over blocks, in a version for every instruction set.
#pragma once

#include <array>
#include <cstddef>

#include "dds/blocks/BlockFormat.h"
#include "image/RImageExport.h"

namespace rblocks {

/// Decodes `count` blocks that lie side by side.
using DecodeStrip = void (*)(const unsigned char* blocks, int count, unsigned char* pixels,
                             std::size_t stride);
/// Turns the pixels of each of `count` blocks at both places upside down, without decoding them, and
/// exchanges the two strips. They may be one strip, which then is turned in place, but must not overlap
/// otherwise.
using FlipStrips = void (*)(unsigned char* first, unsigned char* second, int count);

/// One entry a layout. BC6H and BC7 blocks cannot be flipped; their entries are null.
struct Kernels {
  ///@{
  /// By `kBlockFormat`.
  std::array<DecodeStrip, kBlockSizes.size()> decode;
  std::array<FlipStrips, kBlockSizes.size()> flip;
  ///@}
};

/// The kernels for any processor.
extern RIMAGE_API const Kernels kPortable;
/// The kernels for x86-64 with AVX2 and BMI2, which give the same bytes; all null on processors of another
/// family.
extern RIMAGE_API const Kernels kAvx2;
/// Whether this processor can run `kAvx2`.
RIMAGE_API bool HasAvx2();
/// The fastest kernels that this processor can run.
const Kernels& Best();

}  // namespace rblocks
