// The OpenGL incarnation of the image record.
#include <GL/gl.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <utility>

#include "image/RImage.h"
#include "image/RImageFormat.h"

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

// Unpacks tightly packed rows for the time of an upload, whatever the host has set.
class ScopedTightUnpack {
 public:
  ScopedTightUnpack() {
    for (std::size_t i = 0; i < kParameters.size(); ++i) {
      glGetIntegerv(kParameters[i].name, &mSaved[i]);
      glPixelStorei(kParameters[i].name, kParameters[i].value);
    }
  }
  ~ScopedTightUnpack() {
    for (std::size_t i = 0; i < kParameters.size(); ++i) glPixelStorei(kParameters[i].name, mSaved[i]);
  }
  ScopedTightUnpack(const ScopedTightUnpack&) = delete;
  ScopedTightUnpack& operator=(const ScopedTightUnpack&) = delete;

 private:
  struct Parameter {
    GLenum name;
    GLint value;
  };
  static constexpr std::array<Parameter, 4> kParameters{{{GL_UNPACK_ROW_LENGTH, 0},
                                                         {GL_UNPACK_SKIP_ROWS, 0},
                                                         {GL_UNPACK_SKIP_PIXELS, 0},
                                                         {GL_UNPACK_ALIGNMENT, 1}}};
  std::array<GLint, 4> mSaved{};
};

class ScopedPackAlignment {
 public:
  ScopedPackAlignment() {
    glGetIntegerv(GL_PACK_ALIGNMENT, &mSaved);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
  }
  ~ScopedPackAlignment() { glPixelStorei(GL_PACK_ALIGNMENT, mSaved); }
  ScopedPackAlignment(const ScopedPackAlignment&) = delete;
  ScopedPackAlignment& operator=(const ScopedPackAlignment&) = delete;

 private:
  GLint mSaved = 4;
};

// The bytes that OpenGL moves for a pixel: RGB555 goes as three bytes, every other format as its own size.
int TransferPixelSize(kImageFormat format) {
  return format == kImageFormatRGB555 ? 3 : RBytesPerPixel(format);
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
  GLuint name = mTextureId;
  if (newTexture) {
    glGenTextures(1, newTexture);
    name = *newTexture;
  } else if (mTextureId == 0 || !glIsTexture(mTextureId)) {
    glGenTextures(1, &mTextureId);
    name = mTextureId;
    mOwnsTexture = true;
    mTexture = std::make_shared<const unsigned int>(mTextureId);
  }
  glBindTexture(GL_TEXTURE_2D, name);
  const auto width = static_cast<GLsizei>(PowerOfTwo(mWidth));
  const auto height = static_cast<GLsizei>(PowerOfTwo(mHeight));
  const LevelSize level = GetLevelSize();
  if (level.width >= width && level.height >= height) return true;
  // A texture of somebody else's that already shows the whole picture keeps its definition.
  if (!newTexture && !mOwnsTexture && level.width >= mWidth && level.height >= mHeight && level.width > 0)
    return true;
  glTexImage2D(GL_TEXTURE_2D, 0, TransferPixelSize(mFormat), width, height, 0, static_cast<GLenum>(glFormat),
               GL_UNSIGNED_BYTE, nullptr);
  return true;
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
  const ScopedTightUnpack unpack;
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
  // The validation below may free the buffer through Clear, which must not take the texture along.
  const GLuint texture = mTextureId;
  const bool ownsTexture = std::exchange(mOwnsTexture, false);
  auto token = std::move(mTexture);
  const bool valid = ValidateRawAllocation(0);
  mTexture = std::move(token);
  mOwnsTexture = ownsTexture;
  if (!valid) return false;
  mIncarnation = kIncarnationRaw;
  mIncarnationUpdateId[kIncarnationRaw] = mUpdateId;
  if (transfer && texture != 0 && glIsTexture(texture) && mBits) DownloadPixels();
  return true;
}

void RImage::DownloadPixels() {
  glBindTexture(GL_TEXTURE_2D, mTextureId);
  const LevelSize level = GetLevelSize();
  const int transferSize = TransferPixelSize(mFormat);
  const std::int64_t levelBytes = RImageBytes(level.width, level.height, 1, transferSize);
  if (level.width < 1 || level.height < 1 || levelBytes < 0) return;
  // glGetTexImage always writes the whole level, so a level of another size or pixel size goes through a
  // buffer.
  const bool direct = level.width == mWidth && level.height == mHeight && transferSize == mPixelSize;
  RPixelBuffer buffer = direct ? RPixelBuffer() : RAllocatePixels(static_cast<std::uint64_t>(levelBytes));
  if (!direct && !buffer) return;
  unsigned char* destination = direct ? mBits : buffer.get();

  glPixelStorei(GL_PACK_ROW_LENGTH, direct ? mWidth : level.width);
  glPixelStorei(GL_PACK_SKIP_ROWS, 0);
  glPixelStorei(GL_PACK_SKIP_PIXELS, 0);
  {
    const ScopedPackAlignment alignment;
    glGetTexImage(GL_TEXTURE_2D, 0, static_cast<GLenum>(ImageFormatToGLFormat(mFormat)), GL_UNSIGNED_BYTE,
                  destination);
  }
  glPixelStorei(GL_PACK_ROW_LENGTH, mWidth);
  if (!direct) CopyLevel(buffer.get(), level.width, level.height, transferSize);
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
  mTextureId = textureId;
  mOwnsTexture = own;
  if (own) mTexture = std::make_shared<const unsigned int>(textureId);
  mIncarnation = kIncarnationGL;
  mIncarnationUpdateId[kIncarnationGL] = mUpdateId;
}
