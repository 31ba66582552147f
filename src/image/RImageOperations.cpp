// Whole-image operations on raw pixels: alpha, flip and translation.
#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>

#include "image/RDestroyPtr.h"
#include "image/RImage.h"
#include "image/RImageFormat.h"
#include "image/RPixelKernels.h"

namespace {

constexpr std::size_t kPixelBytes = 4;

std::size_t Product(int width, int height) {
  return static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
}

// A remainder that is never negative.
int Wrap(std::int64_t value, int size) {
  const std::int64_t remainder = value % size;
  return static_cast<int>(remainder < 0 ? remainder + size : remainder);
}

// A run of rows or columns that moves as a whole.
struct Run {
  std::size_t from;
  std::size_t to;
  std::size_t count;
};

Run MakeRun(int from, int to, int count) {
  return {static_cast<std::size_t>(from), static_cast<std::size_t>(to), static_cast<std::size_t>(count)};
}

// Returns where `size` rows or columns go when they move by `distance`: in two runs when they wrap, else in
// one and an empty one.
std::array<Run, 2> Move(int size, std::int64_t distance, bool wrap) {
  if (wrap) {
    const int shift = Wrap(distance, size);
    return {MakeRun(0, shift, size - shift), MakeRun(size - shift, 0, shift)};
  }
  const auto shift = static_cast<int>(std::clamp<std::int64_t>(distance, -std::int64_t{size}, size));
  return {MakeRun(std::max(0, -shift), std::max(0, shift), size - std::abs(shift)), Run{}};
}

}  // namespace

void RImage::Premultiply() {
  if (mPixelSize != kPixelBytes || !HoldsPixels(1)) return;
  RGetPixelKernels().premultiply(mBits, Product(mWidth, mHeight));
}

void RImage::RemovePremultiply() {
  if (mPixelSize != kPixelBytes || !HoldsPixels(1)) return;
  RGetPixelKernels().unpremultiply(mBits, Product(mWidth, mHeight));
}

bool RImage::ApplyAlpha(float factor) {
  if (!HoldsPixels(1)) return true;
  const std::size_t bytes = Product(mWidth, mHeight) * static_cast<std::size_t>(mPixelSize);
  RGetPixelKernels().scaleAlpha(mBits, bytes / kPixelBytes, factor);
  return true;
}

RImage* RImage::CreateFromAlphaChannel(bool invert) {
  if (mIncarnation == kIncarnationGL || mDepth > 1) return nullptr;
  RDestroyPtr<RImage> result(RImageCreate());
  if (!result || !result->Init(mFormat, mWidth, mHeight, 0, 0, true, mImageType, mInterleaveType,
                               mInterpolationType, kIncarnationRaw)) {
    return nullptr;
  }
  if (mPixelSize != kPixelBytes || mWidth == 0 || mHeight == 0) return result.release();
  if (!HoldsPixels(1)) return nullptr;
  const bool alphaLast = mFormat == kImageFormatRGBA || mFormat == kImageFormatBGRA;
  const bool alphaFirst = mFormat == kImageFormatABGR || mFormat == kImageFormatARGB;
  // Deliberate: `invert` is ignored where alpha is the first byte.
  const unsigned char inverted = invert && alphaLast ? 0xFF : 0;
  if (alphaLast || alphaFirst) {
    RGetPixelKernels().alphaToGray(result->mBits, mBits, Product(mWidth, mHeight), alphaLast ? 3 : 0,
                                   inverted);
  }
  return result.release();
}

RImage* RImage::MergeAlphaChannel(RImage* alpha) {
  if (!alpha || mIncarnation == kIncarnationGL || alpha->mIncarnation == kIncarnationGL || mDepth > 1)
    return nullptr;
  const std::int64_t bytes = RImageBytes(mWidth, mHeight, 1, mPixelSize);
  const std::int64_t alphaBytes =
      RImageBytes(alpha->mWidth, alpha->mHeight, alpha->mDepth, alpha->mPixelSize);
  const std::int64_t used = bytes - bytes % static_cast<std::int64_t>(kPixelBytes);
  if (bytes < 0 || (bytes > 0 && !HoldsPixels(1))) return nullptr;
  if (used > 0 && (alphaBytes < used || !alpha->HoldsPixels(alpha->mDepth))) return nullptr;
  RDestroyPtr<RImage> result(RImageCreate());
  if (!result || !result->Init(mFormat, mWidth, mHeight, 0, 0, false, kImageTypeFrame, kInterleaveNone,
                               kInterpolationNone, kIncarnationRaw)) {
    return nullptr;
  }
  if (bytes == 0) return result.release();
  RGetPixelKernels().mergeAlpha(result->mBits, mBits, alpha->mBits,
                                static_cast<std::size_t>(used) / kPixelBytes);
  std::copy(mBits + used, mBits + bytes, result->mBits + used);
  return result.release();
}

void RImage::ImageVerticalFlip() {
  if (!ValidateAllocation(0) || !HoldsPixels(1) || mPixelSize == 0 || mWidth == 0 || mHeight == 0) return;
  const std::size_t rowBytes = Product(mWidth, mPixelSize);
  for (int row = 0; row < mHeight / 2; ++row) {
    RGetPixelKernels().swapRows(mBits + static_cast<std::size_t>(row) * rowBytes,
                                mBits + static_cast<std::size_t>(mHeight - 1 - row) * rowBytes, rowBytes);
  }
}

bool RImage::ImageTranslate(RImage* destination, int dx, int dy, bool wrap, bool initDestination) {
  if (!destination) return false;
  if (initDestination) {
    destination->Init(mFormat, mWidth, mHeight, mPadWidth, 0, false, mImageType, mInterleaveType,
                      mInterpolationType, mIncarnation);
    destination->Cleanup();
  }
  if (destination->mWidth != mWidth || destination->mHeight != mHeight ||
      destination->mPixelSize != mPixelSize) {
    return false;
  }
  if (mWidth < 1 || mHeight < 1 || !HoldsPixels(1) || !destination->HoldsPixels(1)) return true;
  const std::size_t rowBytes = Product(mWidth, mPixelSize);
  const std::size_t bytes = rowBytes * static_cast<std::size_t>(mHeight);
  const unsigned char* source = mBits;
  RPixelBuffer copy;
  if (destination->mBits == mBits) {  // itself, or a copy that shares the pixels
    copy = RAllocatePixels(bytes);
    if (!copy) return false;
    std::memcpy(copy.get(), mBits, bytes);
    source = copy.get();
  }
  const auto pixelSize = static_cast<std::size_t>(mPixelSize);
  for (const Run& rows : Move(mHeight, -std::int64_t{dy}, wrap)) {
    for (const Run& columns : Move(mWidth, dx, wrap)) {
      RGetPixelKernels().copyRows(destination->mBits + rows.to * rowBytes + columns.to * pixelSize, rowBytes,
                                  source + rows.from * rowBytes + columns.from * pixelSize, rowBytes,
                                  columns.count * pixelSize, rows.count);
    }
  }
  return true;
}
