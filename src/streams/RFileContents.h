// A whole file in memory.
#pragma once

#include <cstddef>
#include <span>

#include "image/RPixelMemory.h"

/// The bytes of a file.
class RFileContents {
 public:
  /// Reads the file at `path` (UTF-8). Fails, leaving what was held, when it cannot be opened, is no regular
  /// file, is larger than 2 GiB or memory runs out. A file that shrinks while it is read gives the bytes
  /// there were.
  [[nodiscard]] bool Read(const char* path);

  /// Returns the bytes, borrowed; none before the first file.
  std::span<const unsigned char> Bytes() const { return {mBuffer.get(), mSize}; }

 private:
  RPixelBuffer mBuffer;
  std::size_t mSize = 0;
};
