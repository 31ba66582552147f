#include "TextureFile.h"

#include <QImageIOHandler>
#include <algorithm>
#include <limits>

bool TextureFile::Open(QIODevice& device) {
  if (!mFile.Open(device) || !RDDSDecoder::ReadInfo(mFile.Path().c_str(), mInfo)) return false;
  // However many pictures the headers claim, each takes a byte or more.
  const std::int64_t most = std::clamp<std::int64_t>(mFile.Size(), 1, std::numeric_limits<int>::max());
  mCount = static_cast<int>(std::min(SlicesOfFace() * mInfo.faces, most));
  return true;
}

std::int64_t TextureFile::SlicesOfFace() const {
  std::int64_t slices = 0;
  for (int level = 0; level < mInfo.levels; ++level) slices += RDDSDecoder::LevelSize(mInfo.depth, level);
  return slices;
}

TextureFile::Place TextureFile::PlaceOf(int picture) const {
  Place place;
  // A texture has at least one level.
  const std::int64_t slicesOfFace = std::max<std::int64_t>(SlicesOfFace(), 1);
  place.face = static_cast<int>(picture / slicesOfFace);
  place.slice = static_cast<int>(picture % slicesOfFace);
  for (;; ++place.level) {
    const int slices = RDDSDecoder::LevelSize(mInfo.depth, place.level);
    if (place.slice < slices) return place;
    place.slice -= slices;
  }
}

QSize TextureFile::SizeOf(int picture) const {
  const int level = PlaceOf(picture).level;
  return {RDDSDecoder::LevelSize(mInfo.width, level), RDDSDecoder::LevelSize(mInfo.height, level)};
}

QImage::Format TextureFile::Layout() const {
  if (!mInfo.hasAlpha) return mInfo.isFloat ? QImage::Format_RGBX32FPx4 : QImage::Format_RGBX8888;
  if (mInfo.isPremultiplied)
    return mInfo.isFloat ? QImage::Format_RGBA32FPx4_Premultiplied : QImage::Format_RGBA8888_Premultiplied;
  return mInfo.isFloat ? QImage::Format_RGBA32FPx4 : QImage::Format_RGBA8888;
}

bool TextureFile::Read(int picture, QImage& image) {
  if (!IsWithinLimit({mInfo.width, mInfo.height}, Layout())) return false;
  if (!mIsLoaded) mIsLoaded = mDecoder.Load(mFile.Path().c_str()) && !mDecoder.IsPlaceholder();
  if (!mIsLoaded) return false;
  const Place place = PlaceOf(picture);
  const RPixelBuffer pixels = mInfo.isFloat ? mDecoder.DecodeFloats(place.face, place.level, place.slice)
                                            : mDecoder.DecodeBytes(place.face, place.level, place.slice);
  // The file may have changed since its headers were read.
  const RDDSInfo& now = mDecoder.GetInfo();
  const bool isAsDescribed =
      now.width == mInfo.width && now.height == mInfo.height && now.isFloat == mInfo.isFloat;
  if (!pixels || !isAsDescribed || !QImageIOHandler::allocateImage(SizeOf(picture), Layout(), &image))
    return false;
  FillImage(pixels.get(), false, image);
  return true;
}
