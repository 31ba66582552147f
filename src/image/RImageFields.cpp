// Conversion between frames and fields of interlaced video.
#include <algorithm>
#include <array>
#include <limits>

#include "image/RDestroyPtr.h"
#include "image/RImage.h"
#include "image/RImageFormat.h"
#include "image/RPixelKernels.h"

namespace {

struct FieldConversion {
  kImageType source;
  kImageType target;
  kInterleaveType interleave;
  kInterpolationType interpolation;
};

constexpr std::array kFieldConversions{
    FieldConversion{kImageTypeFrame, kImageTypeFrame, kInterleaveNone, kInterpolationNone},
    FieldConversion{kImageTypeFrame, kImageTypeFrame, kInterleaveFieldOne, kInterpolationDouble},
    FieldConversion{kImageTypeFrame, kImageTypeFrame, kInterleaveFieldTwo, kInterpolationDouble},
    FieldConversion{kImageTypeFrame, kImageTypeFrame, kInterleaveAverage, kInterpolationNone},
    // Deliberate: listed, though GetImageFields refuses it: without interleave a field source is needed.
    FieldConversion{kImageTypeFrame, kImageTypeField, kInterleaveNone, kInterpolationDouble},
    FieldConversion{kImageTypeFrame, kImageTypeField, kInterleaveFieldOne, kInterpolationNone},
    FieldConversion{kImageTypeFrame, kImageTypeField, kInterleaveFieldTwo, kInterpolationNone},
    FieldConversion{kImageTypeField, kImageTypeFrame, kInterleaveNone, kInterpolationDouble},
    FieldConversion{kImageTypeField, kImageTypeField, kInterleaveFieldOne, kInterpolationNone},
    FieldConversion{kImageTypeField, kImageTypeField, kInterleaveFieldTwo, kInterpolationNone},
};

bool FillConversions(int (&table)[2][2][4][3]) {
  for (const auto& [source, target, interleave, interpolation] : kFieldConversions) {
    table[source][target][interleave][interpolation] = 1;
  }
  return true;
}

bool InRange(int value, int count) { return value >= 0 && value < count; }

bool IsSupported(kImageType source, kImageType target, kInterleaveType interleave,
                 kInterpolationType interpolation) {
  return InRange(source, 2) && InRange(target, 2) && InRange(interleave, 4) && InRange(interpolation, 3) &&
         RImage::mConvertionSupported[source][target][interleave][interpolation] != 0;
}

bool IsPlainCopy(kImageType source, kImageType target, kInterleaveType interleave,
                 kInterpolationType interpolation) {
  if (source != target || interpolation != kInterpolationNone) return false;
  if (source == kImageTypeFrame) return interleave == kInterleaveNone;
  return interleave == kInterleaveFieldOne || interleave == kInterleaveFieldTwo;
}

bool IsSingleField(kInterleaveType interleave) {
  return interleave == kInterleaveFieldOne || interleave == kInterleaveFieldTwo;
}

// Returns the rows of the converted image, or -1 when there is no such conversion.
int TargetHeight(int height, kImageType source, kImageType target, kInterleaveType interleave,
                 kInterpolationType interpolation) {
  const bool toFrame = source == kImageTypeField && target == kImageTypeFrame;
  const bool toField = source == kImageTypeFrame && target == kImageTypeField;
  if (interpolation == kInterpolationOther) return -1;
  if (interpolation == kInterpolationDouble && toFrame && interleave != kInterleaveAverage) {
    return height <= std::numeric_limits<int>::max() / 2 ? height * 2 : -1;
  }
  if (interpolation == kInterpolationNone && toField && IsSingleField(interleave)) return height / 2;
  return height;
}

// Returns the row of a frame at which a field starts. Deliberate: frames of 576 rows (PAL) have their fields
// the other way round.
int FirstRow(kInterleaveType interleave, int height) {
  constexpr int kPalHeight = 576;
  if (!IsSingleField(interleave)) return 0;
  return (interleave == kInterleaveFieldTwo) != (height == kPalHeight) ? 1 : 0;
}

}  // namespace

int RImage::mConvertionSupported[2][2][4][3] = {};

void RImage::SetCapabilities() {
  [[maybe_unused]] static const bool kFilled = FillConversions(mConvertionSupported);
}

RImage* RImage::CloneFromType(kImageType type, kInterleaveType interleave, kInterpolationType interpolation) {
  if (mIncarnation == kIncarnationGL || mDepth > 1) return nullptr;
  if (!IsSupported(mImageType, type, interleave, interpolation)) return nullptr;
  if (IsPlainCopy(mImageType, type, interleave, interpolation)) return Clone();
  const int height = TargetHeight(mHeight, mImageType, type, interleave, interpolation);
  if (height < 0) return nullptr;
  RDestroyPtr<RImage> clone(RImageCreate());
  if (!clone) return nullptr;
  if (!clone->Init(mFormat, mWidth, height, 0, 0, true, type, interleave, interpolation, kIncarnationRaw)) {
    return nullptr;
  }
  return GetImageFields(clone.get(), type, interleave) ? clone.release() : nullptr;
}

bool RImage::GetImageFields(RImage* destination, kImageType type, kInterleaveType interleave) {
  if (!destination || mIncarnation == kIncarnationGL || destination->mIncarnation == kIncarnationGL)
    return false;
  if (mDepth > 1 || !InRange(interleave, 4)) return false;
  if (interleave == kInterleaveNone && mImageType != kImageTypeField) return false;
  const std::int64_t rowBytes = RImageBytes(mWidth, 1, 1, mPixelSize);
  if (rowBytes < 0 || mHeight < 0) return false;
  if (rowBytes == 0 || mHeight == 0) return true;
  if (!HoldsPixels(1)) return false;
  if (destination->mHeight == 0) return true;
  if (!destination->HoldsPixels(1)) return false;

  unsigned char* const end = mBits + rowBytes * mHeight;
  unsigned char* const destinationEnd =
      destination->mBits + RImageBytes(destination->mWidth, destination->mHeight, 1, destination->mPixelSize);
  if (interleave == kInterleaveAverage) {
    ExtractAverage(destination->mBits, mBits, end, static_cast<int>(rowBytes), destinationEnd);
    return true;
  }
  unsigned char* const start = mBits + rowBytes * FirstRow(interleave, mHeight);
  ExtractField(destination->mBits, type, start, end, static_cast<int>(rowBytes), destinationEnd);
  return true;
}

// Pointers to what is only read are not const in the host's contract, so neither are they in the forms that
// know the end of the destination.
// NOLINTBEGIN(readability-non-const-parameter)
void RImage::ExtractField(unsigned char* destination, kImageType type, unsigned char* source,
                          unsigned char* end, int rowBytes, unsigned char* destinationEnd) {
  if (rowBytes <= 0 || source >= end || destination >= destinationEnd) return;
  const auto bytes = static_cast<std::size_t>(rowBytes);
  const std::size_t step = bytes * (mImageType == kImageTypeFrame ? 2 : 1);
  const std::size_t rows = (static_cast<std::size_t>(end - source) + step - bytes) / step;
  const std::size_t room = static_cast<std::size_t>(destinationEnd - destination) / bytes;
  const std::size_t copies = type == kImageTypeFrame ? 2 : 1;
  for (std::size_t i = 0; i < copies; ++i) {
    const std::size_t fitting = (room + copies - 1 - i) / copies;
    RGetPixelKernels().copyRows(destination + i * bytes, copies * bytes, source, step, bytes,
                                std::min(rows, fitting));
  }
}

void RImage::ExtractField(unsigned char* destination, kImageType type, unsigned char* source,
                          unsigned char* end, int rowBytes) {
  if (source >= end) return;
  // Every row is written twice at most.
  ExtractField(destination, type, source, end, rowBytes, destination + 2 * (end - source) + rowBytes);
}

void RImage::ExtractAverage(unsigned char* destination, unsigned char* source, unsigned char* end,
                            int rowBytes) {
  if (source >= end) return;
  ExtractAverage(destination, source, end, rowBytes, destination + (end - source) + rowBytes);
}

void RImage::ExtractAverage(unsigned char* destination, unsigned char* source, unsigned char* end,
                            int rowBytes, unsigned char* destinationEnd) {
  if (rowBytes <= 0 || source >= end || destination >= destinationEnd) return;
  const auto bytes = static_cast<std::size_t>(rowBytes);
  const std::size_t rows = static_cast<std::size_t>(end - source) / bytes;
  const std::size_t room = static_cast<std::size_t>(destinationEnd - destination) / bytes;
  const std::size_t pairs = std::min(rows, room) / 2;
  RGetPixelKernels().averagePairs(destination, source, bytes, pairs);
  if (std::min(rows, room) == 2 * pairs) return;

  // One row is left on a side: the source's last one averages with itself, or the destination has room for
  // one only.
  const unsigned char* const last = source + 2 * pairs * bytes;
  const unsigned char* const partner = rows > 2 * pairs + 1 ? last + bytes : last;
  unsigned char* const row = destination + 2 * pairs * bytes;
  for (std::size_t i = 0; i < bytes; ++i) row[i] = static_cast<unsigned char>((last[i] + partner[i]) / 2);
  if (room > 2 * pairs + 1) std::copy_n(row, bytes, row + bytes);
}
// NOLINTEND(readability-non-const-parameter)
