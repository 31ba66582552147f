// Whole-image operations that change the size.
#include <algorithm>
#include <cstring>

#include "image/RImage.h"
#include "image/RImageFormat.h"
#include "image/RVectorSource.h"

namespace {

std::size_t Product(int width, int height) {
  return static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
}

// Fills `count` pixels with copies of one and returns the end.
unsigned char* FillPixels(unsigned char* destination, const unsigned char* pixel, int pixelSize,
                          std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) destination = std::copy_n(pixel, pixelSize, destination);
  return destination;
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
  RPixelBuffer resized = RAllocateZeroedPixels(static_cast<std::uint64_t>(bytes));
  if (!resized) return false;
  if (mWidth > 0 && mHeight > 0) ResampleNearest(resized.get(), width, height);
  AdoptPixels(std::move(resized), static_cast<int>(bytes));
  mWidth = width;
  mHeight = height;
  Update();
  return true;
}

void RImage::ResampleNearest(unsigned char* destination, int width, int height) const {
  const std::size_t rowBytes = Product(mWidth, mPixelSize);
  const auto pixelSize = static_cast<std::size_t>(mPixelSize);
  for (int y = 0; y < height; ++y) {
    const auto sourceRow = static_cast<std::size_t>(std::int64_t{y} * mHeight / height);
    for (int x = 0; x < width; ++x) {
      const auto sourceColumn = static_cast<std::size_t>(std::int64_t{x} * mWidth / width);
      destination =
          std::copy_n(mBits + sourceRow * rowBytes + sourceColumn * pixelSize, pixelSize, destination);
    }
  }
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
  PadToSquare(square.get(), side, fillPixel);
  AdoptPixels(std::move(square), static_cast<int>(bytes));
  mWidth = side;
  mHeight = side;
  Update();
  return true;
}

void RImage::PadToSquare(unsigned char* destination, int side, const unsigned char* fillPixel) const {
  const int rowsBefore = (side - mHeight) / 2;
  const int columnsBefore = (side - mWidth) / 2;
  const std::size_t rowBytes = Product(mWidth, mPixelSize);
  destination = FillPixels(destination, fillPixel, mPixelSize, Product(rowsBefore, side));
  for (int row = 0; row < mHeight; ++row) {
    destination = FillPixels(destination, fillPixel, mPixelSize, static_cast<std::size_t>(columnsBefore));
    destination = std::copy_n(mBits + static_cast<std::size_t>(row) * rowBytes, rowBytes, destination);
    const int columnsAfter = side - mWidth - columnsBefore;
    destination = FillPixels(destination, fillPixel, mPixelSize, static_cast<std::size_t>(columnsAfter));
  }
  FillPixels(destination, fillPixel, mPixelSize, Product(side - mHeight - rowsBefore, side));
}
