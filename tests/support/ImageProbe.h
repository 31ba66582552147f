// Image records for tests: with their protected parts open, filled with known pixels.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "image/RDestroyPtr.h"
#include "image/RImage.h"

namespace test {

using Pixels = std::vector<unsigned char>;

/// The image record with its protected parts open.
class ProbeImage : public RImage {
 public:
  using RImage::AdoptPixels;
  using RImage::ExtractAverage;
  using RImage::ExtractField;
  using RImage::GetImageFields;
  using RImage::HoldsPixels;
  using RImage::mAllocatedSize;
  using RImage::mBits;
  using RImage::mDepth;
  using RImage::mFormat;
  using RImage::mHeight;
  using RImage::mImageSize;
  using RImage::mImageType;
  using RImage::mIncarnation;
  using RImage::mIncarnationUpdateId;
  using RImage::mInterleaveType;
  using RImage::mInterpolationType;
  using RImage::mOwnsBits;
  using RImage::mOwnsTexture;
  using RImage::mPadWidth;
  using RImage::mPixelSize;
  using RImage::mReferenceCount;
  using RImage::mReservedMode;
  using RImage::mTextureId;
  using RImage::mUpdateId;
  using RImage::mVectorSourcePath;
  using RImage::mWidth;
  using RImage::ValidateAllocation;
  using RImage::ValidateGLAllocation;
  using RImage::ValidateRawAllocation;
};

using ProbePtr = RDestroyPtr<ProbeImage>;
using ImagePtr = RDestroyPtr<RImage>;

inline constexpr kImageFormat kAllFormats[] = {kImageFormatUndefined, kImageFormatEmpty, kImageFormatRGBA,
                                               kImageFormatRGB,       kImageFormatBGRA,  kImageFormatBGR,
                                               kImageFormatRGB555,    kImageFormatABGR,  kImageFormatARGB};

inline std::string FormatName(kImageFormat format) {
  constexpr const char* kNames[] = {"Undefined", "Empty",  "RGBA", "RGB", "BGRA",
                                    "BGR",       "RGB555", "ABGR", "ARGB"};
  return kNames[format];
}

inline int BytesPerPixel(kImageFormat format) {
  constexpr int kBytes[] = {4, 0, 4, 3, 4, 3, 2, 4, 4};
  return kBytes[format];
}

/// Returns bytes of no pattern, the same for the same seed.
inline Pixels NoisePixels(std::size_t count, std::uint32_t seed = 1) {
  Pixels bytes(count);
  std::uint32_t state = seed * 2654435761U + 12345U;
  for (unsigned char& byte : bytes) {
    state = state * 1664525U + 1013904223U;
    byte = static_cast<unsigned char>(state >> 24);
  }
  return bytes;
}

inline bool InitFrame(RImage& image, kImageFormat format, int width, int height) {
  return image.Init(format, width, height, 0, 0, true, kImageTypeFrame, kInterleaveNone, kInterpolationNone,
                    RImage::kIncarnationRaw);
}

/// Returns a raw frame of zeros.
inline ProbePtr MakeImage(kImageFormat format, int width, int height) {
  ProbePtr image(new ProbeImage);
  EXPECT_TRUE(InitFrame(*image, format, width, height));
  return image;
}

/// Returns a raw frame with the given pixels, bottom row first.
inline ProbePtr MakeImage(kImageFormat format, int width, int height, const Pixels& pixels) {
  ProbePtr image = MakeImage(format, width, height);
  EXPECT_EQ(pixels.size(), static_cast<std::size_t>(image->mImageSize));
  if (pixels.size() == static_cast<std::size_t>(image->mImageSize) && !pixels.empty()) {
    std::copy(pixels.begin(), pixels.end(), image->GetImageBits());
  }
  return image;
}

/// Returns a raw frame of noise.
inline ProbePtr MakeNoiseImage(kImageFormat format, int width, int height, std::uint32_t seed = 1) {
  const std::size_t bytes = static_cast<std::size_t>(width) * static_cast<std::size_t>(height) *
                            static_cast<std::size_t>(BytesPerPixel(format));
  return MakeImage(format, width, height, NoisePixels(bytes, seed));
}

/// Returns the pixels of the first layer, tightly packed, bottom row first; none when there is no memory.
inline Pixels PixelsOf(RImage& image) {
  const unsigned char* bits = image.GetImageBits();
  if (!bits) return {};
  return {bits,
          bits + static_cast<std::ptrdiff_t>(image.GetWidth()) * image.GetHeight() * image.GetPixelSize()};
}

}  // namespace test
