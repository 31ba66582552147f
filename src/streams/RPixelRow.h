// Rows of channel samples put together to rows of pixels.
#pragma once

#include <cstddef>
#include <span>

/// The samples of one row, a span for each channel; alpha need not be the file's.
struct RChannelRows {
  std::span<const unsigned char> red, green, blue, alpha;
};

/// Writes `pixels.size()` / 4 RGBA pixels from the first samples of the four rows, each of which must have as
/// many. Two channels may share a row; none may share memory with the pixels.
inline void RInterleaveRow(const RChannelRows& rows, std::span<unsigned char> pixels) {
  const unsigned char* __restrict red = rows.red.data();
  const unsigned char* __restrict green = rows.green.data();
  const unsigned char* __restrict blue = rows.blue.data();
  const unsigned char* __restrict alpha = rows.alpha.data();
  unsigned char* __restrict out = pixels.data();
  const std::size_t width = pixels.size() / 4;
  for (std::size_t x = 0; x < width; ++x) {
    out[4 * x] = red[x];
    out[4 * x + 1] = green[x];
    out[4 * x + 2] = blue[x];
    out[4 * x + 3] = alpha[x];
  }
}
