// The OpenGL incarnation of the image record.
#include <GL/gl.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <memory>
#include <utility>

#include "image/RImage.h"
#include "image/RImageFormat.h"
#include "image/RScopedPixelStore.h"

#ifndef GL_ABGR_EXT
#define GL_ABGR_EXT 0x8000
#endif

namespace {

// The smallest power of two not below `size`: 2^k with k the highest set bit of 2 x size - 1. A size of 0
// wraps to 2^31; no texture is ever made for an empty image.
unsigned PowerOfTwo(int size) { return std::bit_floor(2U * static_cast<unsigned>(size) - 1U); }

struct LevelSize {
  GLint width = 0;
  GLint height = 0;
};

LevelSize GetLevelSize() {
  LevelSize size;
  glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH, &size.width);
  glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_HEIGHT, &size.height);
  return size;
}

// The bytes that OpenGL moves for a pixel, and the components of the texture: RGB555 goes as three bytes,
// every other format as its own size. The record's own pixel size may still be that of a raw image before.
int TransferPixelSize(kImageFormat format) {
  return format == kImageFormatRGB555 ? 3 : RBytesPerPixel(format);
}

void ReadLevel(kImageFormat format, unsigned char* destination) {
  const auto glFormat = static_cast<GLenum>(RImage::ImageFormatToGLFormat(format));
  glGetTexImage(GL_TEXTURE_2D, 0, glFormat, GL_UNSIGNED_BYTE, destination);
}

void PackRGB555(unsigned char* destination, const unsigned char* rgb, std::size_t pixels) {
  for (std::size_t i = 0; i < pixels; ++i) {
    const unsigned word =
        (unsigned{rgb[3 * i]} >> 3 << 10) | (unsigned{rgb[3 * i + 1]} >> 3 << 5) | (rgb[3 * i + 2] >> 3);
    destination[2 * i] = static_cast<unsigned char>(word & 0xFF);
    destination[2 * i + 1] = static_cast<unsigned char>(word >> 8);
  }
}

}  // namespace

int RImage::ImageFormatToGLFormat(kImageFormat format) {
  switch (format) {
    case kImageFormatRGBA:
      return GL_RGBA;
    case kImageFormatRGB:
      return GL_RGB;
    case kImageFormatBGRA:
      return GL_BGRA;
    case kImageFormatBGR:
      return GL_BGR;
    // Deliberate: RGB555 and ARGB name formats of another byte layout; uploads take ARGB bytes as they stand.
    case kImageFormatRGB555:
      return GL_RGB;
    case kImageFormatABGR:
      return GL_ABGR_EXT;
    case kImageFormatARGB:
      return GL_RGBA;
    default:
      return -1;
  }
}

kImageFormat RImage::GLFormatToImageFormat(int glFormat) {
  switch (glFormat) {
    case GL_RGB:
      return kImageFormatRGB;
    case GL_RGBA:
      return kImageFormatRGBA;
    case GL_ABGR_EXT:
      return kImageFormatABGR;
    case GL_BGR:
      return kImageFormatBGR;
    case GL_BGRA:
      return kImageFormatBGRA;
    default:
      return kImageFormatUndefined;
  }
}

bool RImage::ValidateGLAllocation(unsigned int* newTexture) {
  const int glFormat = ImageFormatToGLFormat(mFormat);
  if (glFormat == -1) return false;
  const bool isFresh = newTexture || mTextureId == 0 || !glIsTexture(mTextureId);
  GLuint name = mTextureId;
  if (isFresh) {
    name = 0;
    // Before there is a texture: where memory lacks, nobody would delete it.
    auto users = std::make_shared<unsigned int>(0U);
    glGenTextures(1, &name);
    if (name == 0) return false;  // no context is current: a name that is already held stays
    if (newTexture)
      *newTexture = name;
    else
      TakeTexture(name, std::move(users));
  }
  glBindTexture(GL_TEXTURE_2D, name);
  const auto width = static_cast<GLsizei>(PowerOfTwo(mWidth));
  const auto height = static_cast<GLsizei>(PowerOfTwo(mHeight));
  const LevelSize level = GetLevelSize();
  if (level.width >= width && level.height >= height) return true;
  // A texture of somebody else's that already shows the whole picture keeps its definition.
  const bool isForeign = !isFresh && !mOwnsTexture;
  if (isForeign && level.width > 0 && level.width >= mWidth && level.height >= mHeight) return true;
  glTexImage2D(GL_TEXTURE_2D, 0, TransferPixelSize(mFormat), width, height, 0, static_cast<GLenum>(glFormat),
               GL_UNSIGNED_BYTE, nullptr);
  return true;
}

void RImage::TakeTexture(unsigned int name, std::shared_ptr<unsigned int> users) {
  *users = name;
  mTextureId = name;
  mOwnsTexture = true;
  mTexture = std::move(users);
}

void RImage::UploadPixels(unsigned char* source) {
  glBindTexture(GL_TEXTURE_2D, mTextureId);
  RPixelBuffer expanded;
  if (mFormat == kImageFormatRGB555) {
    const std::int64_t bytes = RImageBytes(mWidth, mHeight, 1, 3);
    expanded = bytes > 0 ? RAllocatePixels(static_cast<std::uint64_t>(bytes)) : RPixelBuffer();
    if (!expanded || !RImageConvertFormat(expanded.get(), kImageFormatRGB, mWidth, mHeight, source, mFormat))
      return;
    source = expanded.get();
  }
  const RScopedUnpack unpack(1);
  glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, mWidth, mHeight,
                  static_cast<GLenum>(ImageFormatToGLFormat(mFormat)), GL_UNSIGNED_BYTE, source);
}

bool RImage::RequestIncarnation(kIncarnationType incarnation, bool transfer) {
  if (incarnation == kIncarnationRaw) return RequestRawIncarnation(transfer);
  if (incarnation == kIncarnationGL) return RequestGLIncarnation(transfer);
  return false;
}

bool RImage::RequestGLIncarnation(bool transfer) {
  if (mIncarnation == kIncarnationGL) return true;
  if (!ValidateGLAllocation(nullptr)) return false;
  mIncarnation = kIncarnationGL;
  mIncarnationUpdateId[kIncarnationGL] = mUpdateId;
  if (transfer && HoldsPixels(1)) SetImageBits(mBits);
  return true;
}

bool RImage::RequestRawIncarnation(bool transfer) {
  if (mIncarnation == kIncarnationRaw) return true;
  // Deliberate: the size becomes the texture's, so that the whole texture can be read back.
  mWidth = static_cast<int>(PowerOfTwo(mWidth));
  mHeight = static_cast<int>(PowerOfTwo(mHeight));
  // The validation may free the buffer through Clear, which must not take the texture along.
  const bool ownsTexture = std::exchange(mOwnsTexture, false);
  auto texture = std::move(mTexture);
  const bool valid = ValidateRawAllocation(0);
  mTexture = std::move(texture);
  mOwnsTexture = ownsTexture;
  if (!valid) return false;
  mIncarnation = kIncarnationRaw;
  mIncarnationUpdateId[kIncarnationRaw] = mUpdateId;
  const bool readable = HoldsPixels(1) && ImageFormatToGLFormat(mFormat) != -1;
  if (transfer && mTextureId != 0 && glIsTexture(mTextureId) && readable) DownloadPixels();
  return true;
}

void RImage::DownloadPixels() {
  glBindTexture(GL_TEXTURE_2D, mTextureId);
  // These three stay as they are set here: the host's own read-backs rely on it.
  glPixelStorei(GL_PACK_ROW_LENGTH, mWidth);
  glPixelStorei(GL_PACK_SKIP_ROWS, 0);
  glPixelStorei(GL_PACK_SKIP_PIXELS, 0);
  const RScopedPixelStore tight(std::array{RPixelStoreSetting{GL_PACK_ALIGNMENT, 1}});
  // The driver always writes the whole level, so one of another size or pixel size goes through a buffer.
  const LevelSize level = GetLevelSize();
  const int pixelSize = TransferPixelSize(mFormat);
  if (level.width == mWidth && level.height == mHeight && pixelSize == mPixelSize) {
    ReadLevel(mFormat, mBits);
    return;
  }
  const std::int64_t bytes = RImageBytes(level.width, level.height, 1, pixelSize);
  const RPixelBuffer buffer = bytes > 0 ? RAllocatePixels(static_cast<std::uint64_t>(bytes)) : RPixelBuffer();
  if (!buffer) return;
  glPixelStorei(GL_PACK_ROW_LENGTH, level.width);
  ReadLevel(mFormat, buffer.get());
  glPixelStorei(GL_PACK_ROW_LENGTH, mWidth);
  CopyLevel(buffer.get(), level.width, level.height, pixelSize);
}

void RImage::CopyLevel(const unsigned char* pixels, int width, int height, int pixelSize) {
  const auto columns = static_cast<std::size_t>(std::min(width, mWidth));
  const std::size_t sourceStride = static_cast<std::size_t>(width) * static_cast<std::size_t>(pixelSize);
  const std::size_t stride = static_cast<std::size_t>(mWidth) * static_cast<std::size_t>(mPixelSize);
  for (int row = 0; row < std::min(height, mHeight); ++row) {
    const unsigned char* from = pixels + static_cast<std::size_t>(row) * sourceStride;
    unsigned char* to = mBits + static_cast<std::size_t>(row) * stride;
    if (mFormat == kImageFormatRGB555)
      PackRGB555(to, from, columns);
    else
      std::memcpy(to, from, columns * static_cast<std::size_t>(mPixelSize));
  }
}

void RImage::SetTextureID(unsigned int textureId, bool own) {
  Clear();
  if (own) TakeTexture(textureId, std::make_shared<unsigned int>(0U));
  mTextureId = textureId;
  mOwnsTexture = own;
  mIncarnation = kIncarnationGL;
  mIncarnationUpdateId[kIncarnationGL] = mUpdateId;
}
