// The layout of raw video frames: 4:2:2 components of 8 bits, as in ITU-R BT.601, without a header.
//
//     byte      0    1    2    3     4    5    6    7   ...  1439
//              C1   Y    C2   Y     C1   Y    C2   Y             a line, 720 pixels
//     pixel         0         1          2         3
//
// Two pixels share their chroma: C1 is what the writer calls Cb, C2 what it calls Cr. The top line comes
// first.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "image/RImageExport.h"

inline constexpr int kYuvWidth = 720;      ///< pixels a line
inline constexpr int kYuvLines = 486;      ///< of the frames that are written
inline constexpr int kYuvLongLines = 576;  ///< of the other frames that are read
inline constexpr std::size_t kYuvLineBytes = std::size_t{2} * kYuvWidth;  ///< of a line in a file
inline constexpr std::size_t kYuvRowBytes =
    std::size_t{3} * kYuvWidth;  ///< of the same pixels in 3 bytes each

/// Returns the lines of a frame of `size` bytes, or 0 when there is no such frame.
constexpr int YuvLinesOf(std::int64_t size) {
  for (const int lines : {kYuvLines, kYuvLongLines}) {
    const auto bytes = static_cast<std::int64_t>(kYuvLineBytes) * lines;
    // Deliberate: one byte less is a frame too.
    if (size == bytes || size == bytes - 1) return lines;
  }
  return 0;
}

/// Converts a line to pixels of 3 bytes.
///
/// With y = 1.164 (Y - 16), c1 = C1 - 128, c2 = C2 - 128, the bytes of a pixel are y + 2.018 c2,
/// y - 0.813 c1 - 0.391 c2 and y + 1.596 c1, clamped to 0 ... 255 and cut to whole numbers. Even pixels have
/// the chroma of their pair; odd ones the mean of that and the next pair's, halves cut; the last pixel that
/// of its pair. Differences are taken in single precision, products and sums in double precision, and the
/// result is that of this arithmetic to the last bit, on any processor.
RIMAGE_API void RYuvToPixels(std::span<const unsigned char, kYuvLineBytes> line,
                             std::span<unsigned char, kYuvRowBytes> pixels);

/// Converts pixels of 3 bytes, R, G and B, to a line.
///
/// Y = 0.257 R + 0.504 G + 0.098 B + 16; of the even pixels C1 = -0.148 R - 0.291 G + 0.439 B + 128 and
/// C2 = 0.439 R - 0.368 G - 0.071 B + 128, in double precision, cut to whole numbers; the odd pixels' colour
/// does not count in them. The result is that of this arithmetic to the last bit, on any processor.
RIMAGE_API void RPixelsToYuv(std::span<const unsigned char, kYuvRowBytes> pixels,
                             std::span<unsigned char, kYuvLineBytes> line);
