// Sizes of image formats and of images.
#pragma once

#include <array>
#include <cstdint>
#include <limits>

#include "image/RImage.h"

inline constexpr std::array<int, 9> kBytesPerPixel = {4, 0, 4, 3, 4, 3, 2, 4, 4};

constexpr bool RIsImageFormat(kImageFormat format) {
  return format >= 0 && static_cast<std::size_t>(format) < kBytesPerPixel.size();
}

/// Returns the bytes of a pixel; `format` must be a format.
constexpr int RBytesPerPixel(kImageFormat format) { return kBytesPerPixel[static_cast<std::size_t>(format)]; }

/// Returns the bytes of an image, or -1 when a number is negative or the product exceeds INT32_MAX.
constexpr std::int64_t RImageBytes(int width, int height, int depth, int pixelSize) {
  constexpr std::int64_t kLimit = std::numeric_limits<std::int32_t>::max();
  if (width < 0 || height < 0 || depth < 0 || pixelSize < 0) return -1;
  std::int64_t bytes = std::int64_t{width} * height;
  if (bytes > kLimit) return (depth == 0 || pixelSize == 0) ? 0 : -1;
  bytes *= depth;
  if (bytes > kLimit) return pixelSize == 0 ? 0 : -1;
  bytes *= pixelSize;
  return bytes <= kLimit ? bytes : -1;
}
