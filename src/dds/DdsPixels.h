// Decoding of DDS pixels that are not handed to OpenGL as they are.
#pragma once

#include <span>

#include "dds/DdsLayout.h"
#include "image/RImageExport.h"

/// Returns the bytes of decoded pixels: `channels` bytes, or floats, each.
RIMAGE_API std::int64_t DdsDecodedBytes(const DdsLayout& layout, std::int64_t width, std::int64_t height);

/// Decodes one slice into tightly packed rows, in the order of the file (top row first). Integers become
/// bytes: 16-bit channels keep their high byte, bit fields span 0 to 255 rounded, signed ones map -1 to 1 to
/// 0 to 255 rounded; floats stay what they are. A bit field that is not there is 0, as alpha 255.
///
/// `data` must hold the slice's bytes, `palette` the layout's entries and `pixels` room for the decoded
/// bytes; returns false, writing nothing, when the data or the palette are too short or a size is below 1.
[[nodiscard]] RIMAGE_API bool DdsDecodePixels(const DdsLayout& layout, std::span<const unsigned char> palette,
                                              std::span<const unsigned char> data, int width, int height,
                                              unsigned char* pixels);
