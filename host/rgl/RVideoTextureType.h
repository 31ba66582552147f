// The kinds of texture that a picture can be put on.
#pragma once

enum RVideoTextureType : int {
  kVideoTexture2D = 0,
  kVideoTextureCubeMap = 1,
  kVideoTextureVolume = 2,
};
