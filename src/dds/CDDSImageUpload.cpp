// Handing DDS textures to OpenGL.
#include <GL/gl.h>
#include <GL/glext.h>

#include <algorithm>
#include <array>

#include "dds/nv_dds.h"
#include "image/RScopedPixelStore.h"
#include "rgl/RGLFunctions.h"

namespace nv_dds {

namespace {

int ChannelCount(std::uint32_t format) {
  switch (format) {
    case kTextureFormatLuminance:
      return 1;
    case kTextureFormatRGB:
      return 3;
    default:
      return 4;
  }
}

// What a level of plain pixels holds.
struct PlainLayout {
  GLint alignment;  // of its rows
  GLsizei slices;
};

// The rows of top levels are padded to 4 bytes, those of smaller levels are not. Padding keeps one slice of a
// file that names a depth without being a volume.
PlainLayout LayoutOf(const CSurface& surface, std::uint32_t format) {
  const std::int64_t channelBytes = surface.get_isFloat() ? 4 : 1;
  const std::int64_t tight = channelBytes * ChannelCount(format) * surface.get_width() * surface.get_height();
  const std::int64_t padded =
      (channelBytes * ChannelCount(format) * surface.get_width() + 3) / 4 * 4 * surface.get_height();
  if (tight != padded && surface.get_size() == tight * surface.get_depth()) return {1, surface.get_depth()};
  const std::int64_t slices = padded > 0 ? surface.get_size() / padded : 0;
  return {4, static_cast<GLsizei>(std::min<std::int64_t>(slices, surface.get_depth()))};
}

// Slices follow one another in a file.
constexpr std::array kWholeSlices{RPixelStoreSetting{GL_UNPACK_IMAGE_HEIGHT, 0},
                                  RPixelStoreSetting{GL_UNPACK_SKIP_IMAGES, 0}};

GLenum PixelType(const CSurface& surface) { return surface.get_isFloat() ? GL_FLOAT : GL_UNSIGNED_BYTE; }

// A target without depth takes the first slice of a volume.
GLsizei SliceBytes(const CSurface& surface) { return surface.get_size() / std::max(surface.get_depth(), 1); }

// Uploads the levels that `level` asks for, numbered from 0, and limits sampling to them.
template <class UploadLevel>
void UploadLevels(CTexture& texture, int level, GLenum parameterTarget, const UploadLevel& uploadLevel) {
  std::vector<CSurface*> surfaces;
  CDDSImage::GetMipMapLevels(surfaces, texture, level);
  GLint number = 0;
  for (const CSurface* surface : surfaces) uploadLevel(*surface, number++);
  if (surfaces.empty()) return;
  glTexParameteri(parameterTarget, GL_TEXTURE_BASE_LEVEL, 0);
  glTexParameteri(parameterTarget, GL_TEXTURE_MAX_LEVEL, number - 1);
}

}  // namespace

// Deliberate: the recorded format serves as internal and as pixel format.

bool CDDSImage::upload_texture1D(int level) {
  QOpenGLFunctions_2_0* gl = opengl20();
  if (!gl || mImages.empty()) return true;
  UploadLevels(mImages.front(), level, GL_TEXTURE_1D, [&](const CSurface& surface, GLint number) {
    if (mCompressed) {
      gl->glCompressedTexImage1D(GL_TEXTURE_1D, number, mFormat, surface.get_width(), 0, SliceBytes(surface),
                                 static_cast<const char*>(surface));
      return;
    }
    const PlainLayout layout = LayoutOf(surface, mFormat);
    if (layout.slices < 1) return;
    const RScopedUnpack unpack(layout.alignment);
    glTexImage1D(GL_TEXTURE_1D, number, static_cast<GLint>(mFormat), surface.get_width(), 0, mFormat,
                 PixelType(surface), static_cast<const char*>(surface));
  });
  return true;
}

bool CDDSImage::upload_texture2D(int imageIndex, unsigned int target, int level) {
  QOpenGLFunctions_2_0* gl = opengl20();
  if (!gl || imageIndex < 0 || imageIndex >= get_num_images()) return true;
  // Deliberate: the levels of cube maps and rectangles are set on the 2D target as well.
  UploadLevels(get_image(imageIndex), level, GL_TEXTURE_2D, [&](const CSurface& surface, GLint number) {
    if (mCompressed) {
      gl->glCompressedTexImage2D(target, number, mFormat, surface.get_width(), surface.get_height(), 0,
                                 SliceBytes(surface), static_cast<const char*>(surface));
      return;
    }
    const PlainLayout layout = LayoutOf(surface, mFormat);
    if (layout.slices < 1) return;
    const RScopedUnpack unpack(layout.alignment);
    glTexImage2D(target, number, static_cast<GLint>(mFormat), surface.get_width(), surface.get_height(), 0,
                 mFormat, PixelType(surface), static_cast<const char*>(surface));
  });
  return true;
}

bool CDDSImage::upload_texture3D(int level) {
  QOpenGLFunctions_2_0* gl = opengl20();
  if (!gl || mImages.empty()) return true;
  UploadLevels(mImages.front(), level, GL_TEXTURE_3D, [&](const CSurface& surface, GLint number) {
    if (mCompressed) {
      gl->glCompressedTexImage3D(GL_TEXTURE_3D, number, mFormat, surface.get_width(), surface.get_height(),
                                 surface.get_depth(), 0, surface.get_size(),
                                 static_cast<const char*>(surface));
      return;
    }
    const PlainLayout layout = LayoutOf(surface, mFormat);
    if (layout.slices < 1) return;
    const RScopedUnpack rows(layout.alignment);
    const RScopedPixelStore slices(kWholeSlices);
    gl->glTexImage3D(GL_TEXTURE_3D, number, static_cast<GLint>(mFormat), surface.get_width(),
                     surface.get_height(), layout.slices, 0, mFormat, PixelType(surface),
                     static_cast<const char*>(surface));
  });
  return true;
}

bool CDDSImage::upload_textureCubemap(int level) {
  constexpr int kFaces = 6;
  bool uploaded = true;
  for (int face = 0; face < kFaces; ++face) {
    const auto target = GL_TEXTURE_CUBE_MAP_POSITIVE_X + static_cast<GLenum>(face);
    uploaded = upload_texture2D(face, target, level) && uploaded;
  }
  return uploaded;
}

bool CDDSImage::upload_textureRectangle(int level) {
  return upload_texture2D(0, GL_TEXTURE_RECTANGLE, level);
}

}  // namespace nv_dds
