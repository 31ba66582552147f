// Preparing an image record for a reader.
#pragma once

#include "image/RImage.h"

/// Makes `image` a plain raw frame of that format and size, its pixels undefined. Fails when memory runs out
/// or the record cannot hold a layer of that size (it has no layers).
[[nodiscard]] inline bool RInitRaw(RImage& image, kImageFormat format, int width, int height) {
  return image.Init(format, width, height, 0, 0, false, kImageTypeFrame, kInterleaveNone, kInterpolationNone,
                    RImage::kIncarnationRaw) &&
         (width == 0 || height == 0 || image.HoldsPixels(1));
}
