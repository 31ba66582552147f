// What the readers of own formats share: the image that they fill.
#pragma once

#include <cstdint>
#include <span>

#include "image/RImage.h"

/// Whether a file of `fileBytes` bytes can describe an image of `imageBytes` bytes. None of the module's own
/// formats codes more than 65,535 image bytes in a byte of the file, so a larger claim is a damaged or
/// hostile header, and refusing it before anything is allocated keeps a short file from asking for gigabytes.
constexpr bool RIsCredibleImage(std::uint64_t imageBytes, std::uint64_t fileBytes) {
  return imageBytes <= 65536 * fileBytes;
}

/// Makes `image` a raw frame of that format and size and lends the pixels of its first layer, whose contents
/// are undefined. Fails when the product is no image size, the record has no layers or there is no storage.
[[nodiscard]] bool RInitImageTarget(RImage& image, kImageFormat format, int width, int height,
                                    std::span<unsigned char>& pixels);

/// The same for a file of `fileBytes` bytes; fails also, leaving `image` as it was, when the file cannot
/// describe such an image.
[[nodiscard]] bool RInitImageTarget(RImage& image, kImageFormat format, int width, int height,
                                    std::uint64_t fileBytes, std::span<unsigned char>& pixels);
