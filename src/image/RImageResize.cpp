// Whole-image operations that change the size.
#include <algorithm>
#include <cstring>
#include <utility>

#include "image/RImage.h"
#include "image/RImageFormat.h"
#include "image/RResample.h"
#include "image/RVectorSource.h"

namespace {

std::size_t Product(int width, int height) {
  return static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
}

// Fills `count` pixels with copies of one and returns the end.
unsigned char* FillPixels(unsigned char* destination, const unsigned char* pixel, std::size_t pixelSize,
                          std::size_t count) {
  const std::size_t bytes = count * pixelSize;
  if (bytes == 0) return destination;
  std::memcpy(destination, pixel, pixelSize);
  // What is there already is copied, so each copy doubles it.
  for (std::size_t filled = pixelSize; filled < bytes; filled *= 2) {
    std::memcpy(destination + filled, destination, std::min(filled, bytes - filled));
  }
  return destination + bytes;
}

// Writes a picture of `width` x `height` pixels, in the middle of a square filled with `fillPixel`.
void PadToSquare(unsigned char* destination, const unsigned char* source, int width, int height,
                 int pixelSize, const unsigned char* fillPixel) {
  const int side = std::max(width, height);
  const int rowsBefore = (side - height) / 2;
  const int columnsBefore = (side - width) / 2;
  const auto bytes = static_cast<std::size_t>(pixelSize);
  const std::size_t rowBytes = Product(width, pixelSize);
  destination = FillPixels(destination, fillPixel, bytes, Product(rowsBefore, side));
  for (int row = 0; row < height; ++row, source += rowBytes) {
    destination = FillPixels(destination, fillPixel, bytes, static_cast<std::size_t>(columnsBefore));
    destination = std::copy_n(source, rowBytes, destination);
    destination =
        FillPixels(destination, fillPixel, bytes, static_cast<std::size_t>(side - width - columnsBefore));
  }
  FillPixels(destination, fillPixel, bytes, Product(side - height - rowsBefore, side));
}

}  // namespace

bool RImage::ConvertSize(int width, int height) {
  if (mIncarnation == kIncarnationGL) return false;
  const bool changes = width != mWidth || height != mHeight;
  if (mDepth > 1 && changes) SetDepth(1);
  if (!mVectorSourcePath.IsEmpty()) return RenderVectorSource(width, height);
  if (!ValidateAllocation(0) || !HoldsPixels(1) || !changes) return false;
  const std::int64_t bytes = RImageBytes(width, height, 1, mPixelSize);
  if (bytes < 0) return false;
  // Without pixels to take, the new ones are transparent black.
  const bool samples = bytes > 0 && mWidth > 0 && mHeight > 0;
  const auto allocate = samples ? RAllocatePixels : RAllocateZeroedPixels;
  RPixelBuffer resized = allocate(static_cast<std::uint64_t>(bytes));
  if (!resized) return false;
  if (samples && !RResampleNearest(resized.get(), width, height, mBits, mWidth, mHeight, mPixelSize))
    return false;
  AdoptPixels(std::move(resized), static_cast<int>(bytes));
  mWidth = width;
  mHeight = height;
  Update();
  return true;
}

bool RImage::RenderVectorSource(int width, int height) {
  const QImage rendered = RRenderVectorSource(mVectorSourcePath.GetChars(), width, height);
  if (rendered.isNull()) return false;
  if (!Init(kImageFormatRGBA, width, height, 0, 0, false, kImageTypeFrame, kInterleaveNone,
            kInterpolationNone, kIncarnationRaw) ||
      !HoldsPixels(1)) {
    return false;
  }
  const std::size_t rowBytes = Product(mWidth, mPixelSize);
  for (int y = 0; y < height; ++y) {
    std::memcpy(mBits + static_cast<std::size_t>(height - 1 - y) * rowBytes, rendered.constScanLine(y),
                rowBytes);
  }
  return true;
}

bool RImage::ConvertToSquare(const unsigned char* fillPixel) {
  if (mWidth == mHeight) return true;
  if (mIncarnation == kIncarnationGL || !fillPixel) return false;
  if (mDepth > 1) SetDepth(1);
  if (!ValidateAllocation(0) || !HoldsPixels(1)) return false;
  const int side = std::max(mWidth, mHeight);
  const std::int64_t bytes = RImageBytes(side, side, 1, mPixelSize);
  if (bytes < 0) return false;
  RPixelBuffer square = RAllocatePixels(static_cast<std::uint64_t>(bytes));
  if (!square) return false;
  PadToSquare(square.get(), mBits, mWidth, mHeight, mPixelSize, fillPixel);
  AdoptPixels(std::move(square), static_cast<int>(bytes));
  mWidth = side;
  mHeight = side;
  Update();
  return true;
}
