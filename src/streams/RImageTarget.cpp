#include "streams/RImageTarget.h"

#include "image/RImageFormat.h"

bool RInitImageTarget(RImage& image, kImageFormat format, int width, int height,
                      std::span<unsigned char>& pixels) {
  const std::int64_t bytes = RImageBytes(width, height, 1, RBytesPerPixel(format));
  // A record that was set to no layers has no room for a picture.
  if (bytes < 0 || image.GetDepth() < 1) return false;
  if (!image.Init(format, width, height, 0, 0, false, kImageTypeFrame, kInterleaveNone, kInterpolationNone,
                  RImage::kIncarnationRaw)) {
    return false;
  }
  pixels = {image.GetImageBits(), static_cast<std::size_t>(bytes)};
  return bytes == 0 || image.GetImageBits() != nullptr;
}

bool RInitImageTarget(RImage& image, kImageFormat format, int width, int height, std::uint64_t fileBytes,
                      std::span<unsigned char>& pixels) {
  const std::int64_t bytes = RImageBytes(width, height, 1, RBytesPerPixel(format));
  if (bytes < 0 || !RIsCredibleImage(static_cast<std::uint64_t>(bytes), fileBytes)) return false;
  return RInitImageTarget(image, format, width, height, pixels);
}
