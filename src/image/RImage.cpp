// The image record: description, storage and life cycle.
#include "image/RImage.h"

#include <GL/gl.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <new>

#include "image/RImageFormat.h"

RImage* RImageCreate() { return new (std::nothrow) RImage; }

RImage::RImage() : RObject(nullptr, nullptr) { RImage::SetCapabilities(); }

RImage::RImage(const RImage& other) = default;

RImage& RImage::operator=(const RImage& other) = default;

RImage::~RImage() { RunTeardown(); }

void RImage::Destruct() {
  Clear();
  RObject::Destruct();
}

kImageFormat RImage::SetFormat(kImageFormat format) {
  if (!RIsImageFormat(format)) return mFormat;
  mFormat = format;
  mPixelSize = RBytesPerPixel(format);
  ValidateAllocation(0);
  Update();
  return mFormat;
}

kImageFormat RImage::GetFormat() { return mFormat; }
kImageType RImage::GetImageType() { return mImageType; }
kInterleaveType RImage::GetInterleaveType() { return mInterleaveType; }
kInterpolationType RImage::GetInterpolationType() { return mInterpolationType; }
int RImage::GetHeight() { return mHeight; }
int RImage::GetWidth() { return mWidth; }
int RImage::GetDepth() { return mDepth; }

int RImage::SetHeight(int height) {
  mHeight = height;
  ValidateAllocation(0);
  Update();
  return mHeight;
}

int RImage::SetWidth(int width) {
  mWidth = width;
  ValidateAllocation(0);
  Update();
  return mWidth;
}

int RImage::SetDepth(int depth) {
  if (depth == mDepth) return mDepth;
  mDepth = depth;
  ValidateAllocation(0);
  Update();
  return mDepth;
}

int RImage::SetPadWidth(int padWidth) {
  mPadWidth = padWidth;
  ValidateAllocation(0);
  Update();
  return mPadWidth;
}

int RImage::GetPadWidth() { return mPadWidth; }
int RImage::GetPixelSize() { return mPixelSize; }

bool RImage::ValidateAllocation(int minAllocation) {
  if (mIncarnation == kIncarnationRaw) return ValidateRawAllocation(minAllocation);
  if (mIncarnation == kIncarnationGL) return ValidateGLAllocation(nullptr);
  return false;
}

bool RImage::ValidateRawAllocation(int minAllocation) {
  mPixelSize = RBytesPerPixel(mFormat);
  const std::int64_t imageSize = RImageBytes(mWidth, mHeight, mDepth, mPixelSize);
  if (imageSize < 0 || minAllocation < 0) return false;
  mImageSize = static_cast<int>(imageSize);
  const int needed = std::max(minAllocation == 0 ? mAllocatedSize : minAllocation, mImageSize);
  if (needed <= mAllocatedSize) return true;
  Clear();
  mBuffer = RAllocatePixels(static_cast<std::uint64_t>(needed));
  mBits = mBuffer.get();
  if (!mBits) return false;
  mAllocatedSize = needed;
  return true;
}

bool RImage::Init(kImageFormat format, int width, int height, int padWidth, int minAllocation, bool clear,
                  kImageType imageType, kInterleaveType interleaveType, kInterpolationType interpolationType,
                  kIncarnationType incarnation) {
  if (!RIsImageFormat(format)) return false;
  mImageType = imageType;
  mInterleaveType = interleaveType;
  mInterpolationType = interpolationType;
  mPadWidth = padWidth;
  mFormat = format;
  mIncarnation = incarnation;
  mWidth = width;
  mHeight = height;
  if (!ValidateAllocation(minAllocation)) return false;
  if (clear && mIncarnation == kIncarnationRaw && mBits) {
    std::memset(mBits, 0, static_cast<std::size_t>(mAllocatedSize));
  }
  Update();
  return true;
}

void RImage::Clear() {
  if (mBits && mOwnsBits && mBits == mBuffer.get()) {
    mBuffer.reset();
    mBits = nullptr;
    Update();
  }
  if (mOwnsTexture && mTextureId != 0 && glIsTexture(mTextureId)) {
    if (mTexture.use_count() == 1) glDeleteTextures(1, &mTextureId);
    mTextureId = 0;
    mOwnsTexture = false;
  }
  if (!mOwnsTexture) mTexture.reset();
  mAllocatedSize = 0;
  mOwnsBits = true;
}

void RImage::Cleanup() {
  if (ValidateAllocation(0) && mBits) std::memset(mBits, 0, static_cast<std::size_t>(mAllocatedSize));
}

RImage* RImage::Clone() {
  RImage* clone = RImageCreate();
  if (!clone) return nullptr;
  // Deliberate: the copy is a plain frame of one layer without padding, whatever this image is.
  const bool made = clone->Init(GetFormat(), GetWidth(), GetHeight(), 0, 0, true, kImageTypeFrame,
                                kInterleaveNone, kInterpolationNone, mIncarnation);
  clone->mVectorSourcePath = mVectorSourcePath;
  if (made && mIncarnation == kIncarnationRaw && HoldsPixels(1)) {
    const std::int64_t bytes = RImageBytes(GetWidth(), GetHeight(), 1, GetPixelSize());
    std::memcpy(clone->mBits, mBits, static_cast<std::size_t>(bytes));
  }
  return clone;
}

bool RImage::HoldsPixels(int layers) const {
  const std::int64_t bytes = RImageBytes(mWidth, mHeight, layers, mPixelSize);
  return mBits && bytes >= 0 && bytes <= mAllocatedSize;
}

void RImage::AdoptPixels(RPixelBuffer buffer, int bytes) {
  Clear();
  mBuffer = std::move(buffer);
  mBits = mBuffer.get();
  mAllocatedSize = bytes;
  mImageSize = bytes;
}

unsigned char* RImage::GetImageBits() { return mBits; }

bool RImage::SetImageBits(unsigned char* source) {
  const bool valid = ValidateAllocation(0);
  if (valid && source && mIncarnation == kIncarnationRaw && mImageSize > 0) {
    std::memcpy(mBits, source, static_cast<std::size_t>(mImageSize));
  }
  if (valid && source && mIncarnation == kIncarnationGL) UploadPixels(source);
  Update();
  return true;
}

bool RImage::SetImageBits(unsigned char* source, kImageFormat sourceFormat) {
  if (mIncarnation == kIncarnationGL || !source) return false;
  if (!ValidateAllocation(0) || !HoldsPixels(1)) return false;
  if (!RImageConvertFormat(mBits, mFormat, mWidth, mHeight, source, sourceFormat)) return false;
  Update();
  return true;
}

unsigned int RImage::GetTextureID() { return mTextureId; }
RImage::kIncarnationType RImage::GetIncarnation() { return mIncarnation; }

int RImage::IncReferenceCount() { return mReferenceCount++; }
void RImage::DecReferenceCount() { --mReferenceCount; }

void RImage::Update() {
  ++mUpdateId;
  if (mIncarnation == kIncarnationRaw || mIncarnation == kIncarnationGL)
    mIncarnationUpdateId[mIncarnation] = mUpdateId;
}

unsigned char* RImage::GetImageBitsAtDepth(unsigned int layer) {
  if (layer >= static_cast<unsigned int>(mDepth) || mDepth < 0 || !mBits) return nullptr;
  const auto layerSize = static_cast<unsigned int>(mPixelSize) * static_cast<unsigned int>(mHeight) *
                         static_cast<unsigned int>(mWidth);
  return mBits + layerSize * layer;
}
