#include "EffectPicture.h"

#include <cstring>
#include <new>

namespace {

RDestroyPtr<RImage> MakeImage(int width, int height) {
  RDestroyPtr<RImage> image(RImageCreate());
  if (!image || !image->Init(kImageFormatRGBA, width, height, 0, 0, false, kImageTypeFrame, kInterleaveNone,
                             kInterpolationNone, RImage::kIncarnationRaw)) {
    throw std::bad_alloc();
  }
  return image;
}

// A second record of the same pixels or texture.
RDestroyPtr<RImage> Share(const RImage& image) { return RDestroyPtr<RImage>(new RImage(image)); }

RDestroyPtr<RImage> CutOut(RImage& image, int width, int height) {
  RDestroyPtr<RImage> part = MakeImage(width, height);
  const std::size_t rowBytes = static_cast<std::size_t>(width) * 4;
  const std::size_t stride = static_cast<std::size_t>(image.GetWidth()) * 4;
  for (std::size_t y = 0; y < static_cast<std::size_t>(height); ++y) {
    std::memcpy(part->GetImageBits() + y * rowBytes, image.GetImageBits() + y * stride, rowBytes);
  }
  return part;
}

}  // namespace

EffectPicture::EffectPicture(Picture picture) {
  MakePremultiplied(picture);
  if (!ConvertTo(picture, kImageFormatRGBA)) throw std::bad_alloc();
  mMemory = std::move(picture.image);
  // Nobody but this object may destroy it: operators give back the references that they take.
  mMemory->IncReferenceCount();
}

RImage* EffectPicture::AsTexture() {
  if (mTexture) return mTexture.get();
  RDestroyPtr<RImage> texture = Share(*mMemory);
  if (!texture->RequestGLIncarnation(true)) return nullptr;
  texture->IncReferenceCount();
  mTexture = std::move(texture);
  return mTexture.get();
}

Picture TakeResult(RImage& result) {
  const int width = result.GetWidth();
  const int height = result.GetHeight();
  RDestroyPtr<RImage> image = Share(result);
  if (!image->RequestRawIncarnation(true) || !image->GetImageBits()) throw std::bad_alloc();
  if (image->GetWidth() != width || image->GetHeight() != height) image = CutOut(*image, width, height);
  return {std::move(image), AlphaState::kPremultiplied};
}
