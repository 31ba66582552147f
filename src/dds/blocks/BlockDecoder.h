// Decoding of block-compressed pictures on the processor.
#pragma once

#include <cstddef>
#include <span>

#include "dds/blocks/BlockFormat.h"
#include "image/RImageExport.h"

// Pixels come out as four channels, R G B A: bytes, or for BC6H 32-bit floats. Channels that a layout lacks
// are 0, alpha 255 (1.0). Every value is the exact result of the format's formula, rounded to the nearest of
// the 256 levels; BC7 and BC6H are defined to the bit. Signed layouts of one and two channels give clamp(v,
// 0, 1) x 255 rounded, what an unsigned 8-bit render target keeps of them. Block encodings that the formats
// reserve give 0 (BC6H: alpha 1). Formats: Khronos Data Format Specification, chapters S3TC, RGTC and BPTC.

/// Decodes blocks that lie side by side into four rows of pixels, `stride` bytes apart, the block's first row
/// first. Each whole block of `blocks` fills 4 pixels of each row; bytes after the last whole block are
/// ignored.
RIMAGE_API void RDecodeBlocks(kBlockFormat format, std::span<const unsigned char> blocks,
                              unsigned char* pixels, std::size_t stride);

/// Decodes a picture into tightly packed rows, in the order of the block rows (a DDS file: top row first).
/// `pixels` holds width x height pixels. Returns false, writing nothing, when a size is below 1 or `blocks`
/// holds fewer bytes than `RBlockGridBytes`.
[[nodiscard]] RIMAGE_API bool RDecodeBlockImage(kBlockFormat format, std::span<const unsigned char> blocks,
                                                int width, int height, unsigned char* pixels);
