#include "streams/RFileContents.h"

#include "rbaselib/RFile.h"

bool RFileContents::Read(const char* path) {
  RFile file;
  if (!file.Open(path, "rb")) return false;
  const std::int64_t size = file.GetSize();
  if (size < 0) return false;
  RPixelBuffer buffer = RAllocatePixels(static_cast<std::uint64_t>(size));
  if (!buffer) return false;
  mSize = file.Read(buffer.get(), static_cast<std::size_t>(size));
  mBuffer = std::move(buffer);
  return true;
}
