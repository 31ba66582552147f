// Whole-image operations on raw pixels: alpha, flip and translation.
#include <algorithm>
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

// A run of columns moved within a row.
struct ColumnMove {
  int from;
  int to;
  int count;
};

// Returns where the columns of a row of `width` go when the picture moves by `dx`: in one run, or, wrapping,
// in two.
std::array<ColumnMove, 2> MoveColumns(int width, int dx, bool wrap) {
  if (wrap) {
    const int shift = Wrap(dx, width);
    return {{{0, shift, width - shift}, {width - shift, 0, shift}}};
  }
  const auto shift = static_cast<int>(std::clamp<std::int64_t>(dx, -std::int64_t{width}, width));
  return {{{std::max(0, -shift), std::max(0, shift), width - std::abs(shift)}, {0, 0, 0}}};
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
  if (mPixelSize != kPixelBytes || !HoldsPixels(1)) return result.release();
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
  RPixelBuffer copy;
  const unsigned char* source = mBits;
  if (destination->mBits == mBits) {
    copy = RAllocatePixels(rowBytes * static_cast<std::size_t>(mHeight));
    if (!copy) return false;
    std::memcpy(copy.get(), mBits, rowBytes * static_cast<std::size_t>(mHeight));
    source = copy.get();
  }
  const auto moves = MoveColumns(mWidth, dx, wrap);
  for (int row = 0; row < mHeight; ++row) {
    const std::int64_t moved = std::int64_t{row} + dy;
    if (!wrap && (moved < 0 || moved >= mHeight)) continue;
    const unsigned char* from = source + static_cast<std::size_t>(Wrap(moved, mHeight)) * rowBytes;
    unsigned char* to = destination->mBits + static_cast<std::size_t>(row) * rowBytes;
    for (const ColumnMove& move : moves) {
      std::memcpy(to + Product(move.to, mPixelSize), from + Product(move.from, mPixelSize),
                  Product(move.count, mPixelSize));
    }
  }
  return true;
}
