// The image record: description, storage and life cycle.
#include "image/RImage.h"

#include <GL/gl.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <tuple>
#include <utility>

#include "image/RImageFormat.h"

RImage* RImageCreate() { return new (std::nothrow) RImage; }

RImage::RImage() : RObject(nullptr, nullptr) { RImage::SetCapabilities(); }

RImage::RImage(const RImage& other) = default;

RImage& RImage::operator=(const RImage& other) {
  if (this == &other) return *this;
  Clear();
  RObject::operator=(other);
  const auto fields = [](auto& image) {
    return std::tie(image.mWidth, image.mHeight, image.mDepth, image.mPadWidth, image.mPixelSize,
                    image.mAllocatedSize, image.mImageSize, image.mReferenceCount, image.mIncarnationUpdateId,
                    image.mTextureId, image.mIncarnation, image.mBits, image.mFormat, image.mImageType,
                    image.mInterleaveType, image.mInterpolationType, image.mOwnsBits, image.mOwnsTexture,
                    image.mUpdateId, image.mVectorSourcePath, image.mReservedMode, image.mBuffer,
                    image.mTexture);
  };
  fields(*this) = fields(other);
  return *this;
}

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
  if (imageSize < 0) return false;
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
  (void)ValidateAllocation(0);
  if (mBits) std::memset(mBits, 0, static_cast<std::size_t>(mAllocatedSize));
}

RImage* RImage::Clone() {
  RImage* clone = RImageCreate();
  if (!clone) return nullptr;
  // A derived class may describe itself differently from what it holds, so the buffers decide.
  const std::int64_t bytes = RImageBytes(GetWidth(), GetHeight(), 1, GetPixelSize());
  const bool copies = mIncarnation == kIncarnationRaw && mBits && bytes > 0 && bytes <= mAllocatedSize;
  // Deliberate: the copy is a plain frame of one layer without padding, whatever this image is.
  (void)clone->Init(GetFormat(), GetWidth(), GetHeight(), 0, 0, !copies, kImageTypeFrame, kInterleaveNone,
                    kInterpolationNone, mIncarnation);
  clone->mVectorSourcePath = mVectorSourcePath;
  if (copies && clone->mBits) {
    const auto capacity = static_cast<std::size_t>(clone->mAllocatedSize);
    const std::size_t copied = bytes <= clone->mAllocatedSize ? static_cast<std::size_t>(bytes) : 0;
    std::memcpy(clone->mBits, mBits, copied);
    std::memset(clone->mBits + copied, 0, capacity - copied);
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
  const bool valid = ValidateAllocation(0) && source;
  if (valid && mIncarnation == kIncarnationRaw && mImageSize > 0) {
    std::memmove(mBits, source, static_cast<std::size_t>(mImageSize));
  }
  if (valid && mIncarnation == kIncarnationGL) UploadPixels(source);
  Update();
  return true;
}

bool RImage::SetImageBits(unsigned char* source, kImageFormat sourceFormat) {
  if (mIncarnation == kIncarnationGL || !ValidateAllocation(0)) return false;
  const bool empty = mWidth == 0 || mHeight == 0;
  if (!empty && !HoldsPixels(1)) return false;
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
    mIncarnationUpdateId[static_cast<std::size_t>(mIncarnation)] = mUpdateId;
}

unsigned char* RImage::GetImageBitsAtDepth(unsigned int layer) {
  if (mDepth < 0 || layer >= static_cast<unsigned int>(mDepth)) return nullptr;
  if (!HoldsPixels(static_cast<int>(layer) + 1)) return nullptr;
  // The layers before this one fit the buffer, so the product does not overflow.
  return mBits + RImageBytes(mWidth, mHeight, static_cast<int>(layer), mPixelSize);
}
