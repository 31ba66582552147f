// Reader and writer of uncompressed true-colour TGA files.
#pragma once

#include "image/RImage.h"

enum kTgaResult : int {
  kTgaRead = 0,     ///< the image holds the picture
  kTgaFailed = 1,   ///< no readable file, fewer bytes than the header promises, or out of memory
  kTgaRefused = 2,  ///< another image type than 2, or a depth other than 16, 24 and 32 bits
};

/// Reads the file at `path` (UTF-8) into `image`: BGR from 24 bits, BGRA from 32 and 16 bits, rows in the
/// file's order.
///
/// The pixels start right behind the 18 bytes of the header: identification text, colour map and the
/// descriptor with its row and column order are ignored. The alpha of 16-bit pixels is 0 or 128. Nothing is
/// allocated for a file that is too short for its size. A refused file, and one that is too short, leaves
/// `image` as it was.
[[nodiscard]] kTgaResult TgaRead(const char* path, RImage& image);

/// Writes the first layer of `image` to `path` (UTF-8), its row 0 first as the bottom row: RGBA, BGRA, ABGR
/// and ARGB with 32 bits a pixel, RGB and BGR with 24.
///
/// Fails, before the file is touched, for any other format, an image without pixels in memory, or a side
/// above 65,535 pixels, which the header cannot hold. Fails also when the file cannot be written completely.
[[nodiscard]] bool TgaWrite(const char* path, RImage& image);
