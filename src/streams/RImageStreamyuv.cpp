// Reader and writer of raw video frames.
#include "streams/RImageStreamyuv.h"

#include <cstring>

#include "image/RDestroyPtr.h"
#include "rbaselib/RFile.h"
#include "streams/RImageTarget.h"
#include "streams/YuvFormat.h"

namespace {

[[nodiscard]] bool ReadFrame(RFile& file, int lines, std::span<unsigned char> pixels) {
  const std::size_t size = kYuvLineBytes * static_cast<std::size_t>(lines);
  const RPixelBuffer frame = RAllocatePixels(size);
  if (!frame) return false;
  const std::size_t read = file.Read(frame.get(), size);
  std::memset(frame.get() + read, 0, size - read);
  std::span<const unsigned char> rest(frame.get(), size);
  for (; !rest.empty(); rest = rest.subspan(kYuvLineBytes)) {
    RYuvToPixels(rest.first<kYuvLineBytes>(), pixels.last<kYuvRowBytes>());
    pixels = pixels.first(pixels.size() - kYuvRowBytes);
  }
  return true;
}

// A copy of the image in the format and size of a frame, or null.
RDestroyPtr<RImage> FrameOf(RImage& image) {
  RDestroyPtr<RImage> copy(image.Clone());
  const auto convert = [&] {
    return copy->GetFormat() == kImageFormatRGB || copy->ConvertFormat(kImageFormatRGB);
  };
  if (!copy) return nullptr;
  // A copy for which memory ran out has no pixels, and would get some that nobody wrote.
  const bool isWhole = copy->HoldsPixels(1) || !image.HoldsPixels(1);
  if (!isWhole || !convert()) return nullptr;
  if (copy->GetWidth() != kYuvWidth || copy->GetHeight() != kYuvLines) {
    // A vector picture is rendered again at the new size, with alpha.
    if (!copy->ConvertSize(kYuvWidth, kYuvLines) || !convert()) return nullptr;
  }
  return copy->HoldsPixels(1) ? std::move(copy) : nullptr;
}

[[nodiscard]] bool WriteFrame(RFile& file, std::span<const unsigned char> pixels) {
  constexpr std::size_t kSize = kYuvLineBytes * kYuvLines;
  const RPixelBuffer frame = RAllocatePixels(kSize);
  if (!frame) return false;
  std::span<unsigned char> rest(frame.get(), kSize);
  for (; !rest.empty(); rest = rest.subspan(kYuvLineBytes)) {
    RPixelsToYuv(pixels.last<kYuvRowBytes>(), rest.first<kYuvLineBytes>());
    pixels = pixels.first(pixels.size() - kYuvRowBytes);
  }
  return file.Write(frame.get(), kSize) == kSize && file.Close();
}

}  // namespace

RImageStreamyuv::RImageStreamyuv() = default;

RImageStreamyuv::~RImageStreamyuv() { RunTeardown(); }

bool RImageStreamyuv::StreamOpen(RStreamOptions*) {
  RFile file;
  if (!file.Open(GetFileName(), "rb")) return false;
  const std::int64_t size = file.GetSize();
  const int lines = YuvLinesOf(size);
  RImage* image = lines > 0 ? GetImage(true) : nullptr;
  std::span<unsigned char> pixels;
  return image &&
         RInitImageTarget(*image, kImageFormatRGB, kYuvWidth, lines, static_cast<std::uint64_t>(size),
                          pixels) &&
         ReadFrame(file, lines, pixels);
}

bool RImageStreamyuv::StreamCreate(RStreamOptions*) {
  RImage* image = GetImage(false);
  if (!image) return false;
  const RDestroyPtr<RImage> frame = FrameOf(*image);
  RFile file;
  if (!frame || !file.Open(GetFileName(), "wb")) return false;
  return WriteFrame(file, {frame->GetImageBits(), kYuvRowBytes * kYuvLines});
}
