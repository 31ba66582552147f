// What the fuzz targets of the file readers share.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <span>
#include <vector>

#include "image/RDestroyPtr.h"
#include "streams/RImageStream.h"
#include "support/MemoryFile.h"

namespace fuzz {

/// A finding: the input breaks something that holds for every file.
inline void Require(bool holds) {
  if (!holds) std::abort();
}

inline std::vector<unsigned char> PixelsOf(RImage& image) {
  const unsigned char* bits = image.GetImageBits();
  const auto width = static_cast<std::size_t>(image.GetWidth());
  const auto height = static_cast<std::size_t>(image.GetHeight());
  return {bits, bits + (bits ? width * height * static_cast<std::size_t>(image.GetPixelSize()) : 0)};
}

/// Reads a file of these bytes and looks at every pixel; returns whether the stream took it.
template <class Stream>
bool Open(std::span<const unsigned char> bytes, const char* suffix) {
  const test::MemoryFile file(bytes, suffix);
  Stream stream;
  stream.SetFileName(file.Path());
  const bool opened = stream.StreamOpen(nullptr);
  const RDestroyPtr<RImage> image(stream.GetImage(false));
  volatile unsigned sum = 0;
  if (opened) {
    for (const unsigned char byte : PixelsOf(*image)) sum = sum + byte;
  }
  return opened;
}

}  // namespace fuzz
