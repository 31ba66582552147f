#include "dds/RImageDDS.h"

#include <GL/gl.h>
#include <GL/glext.h>

RImageDDS::RImageDDS() = default;
RImageDDS::RImageDDS(const RImageDDS& other) = default;
RImageDDS& RImageDDS::operator=(const RImageDDS& other) = default;
RImageDDS::~RImageDDS() { RunTeardown(); }

void RImageDDS::DrawCurrent(RVideoTextureType type, int level, unsigned int& textureId) {
  if (!mDDSImage.is_valid()) return;
  if (type == kVideoTextureCubeMap && !mDDSImage.is_cubemap()) return;
  // Deliberate: volume files are the ones that volume textures refuse; hosts rely on this way round.
  if (type == kVideoTextureVolume && mDDSImage.is_volume()) return;

  if (textureId == 0) glGenTextures(1, &textureId);
  if (type == kVideoTextureCubeMap) {
    glBindTexture(GL_TEXTURE_CUBE_MAP, textureId);
    mDDSImage.upload_textureCubemap(level);
  } else if (type == kVideoTextureVolume) {
    glBindTexture(GL_TEXTURE_3D, textureId);
    mDDSImage.upload_texture3D(level);
  } else {
    glBindTexture(GL_TEXTURE_2D, textureId);
    mDDSImage.upload_texture2D(0, GL_TEXTURE_2D, level);
  }
}
