// The kinds of texture that a picture can be put on.
#pragma once

/// Which texture of OpenGL is meant.
enum RVideoTextureType : int {
  kVideoTexture2D = 0,       ///< GL_TEXTURE_2D
  kVideoTextureCubeMap = 1,  ///< GL_TEXTURE_CUBE_MAP, with six faces
  kVideoTextureVolume = 2,   ///< GL_TEXTURE_3D
};
