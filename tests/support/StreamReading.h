// Reading of files through the format streams.
#pragma once

#include <string>
#include <vector>

#include "image/RDestroyPtr.h"
#include "streams/RImageStream.h"
#include "support/ByteWriter.h"
#include "support/MemoryFile.h"
#include "support/TestData.h"

namespace test {

/// Reads the file at `path` through a `Stream`; null when the stream fails.
template <class Stream>
RDestroyPtr<RImage> ReadWith(const std::string& path) {
  Stream stream;
  stream.SetFileName(path.c_str());
  const bool opened = stream.StreamOpen(nullptr);
  RDestroyPtr<RImage> image(stream.GetImage(false));
  if (!opened) image.reset();
  return image;
}

/// Reads a file of these bytes, whose name ends with `suffix`, through a `Stream`; null when the stream
/// fails.
template <class Stream>
RDestroyPtr<RImage> ReadBytesWith(const Bytes& bytes, const std::string& suffix) {
  const MemoryFile file(bytes, suffix);
  return ReadWith<Stream>(file.Path());
}

/// Returns the pixels of the first layer, bottom row first; none for null.
Bytes PixelsOf(RImage* image);

/// Returns the RGBA pixels of grey samples, alpha 255.
Bytes GreyPixels(const Bytes& samples);

}  // namespace test
