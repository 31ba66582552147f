// A way to the private members of CDDSImage.
#pragma once

#include <cstdint>

#include "dds/nv_dds.h"

namespace nv_dds {

struct CDDSImageAccess {
  CDDSImage image;

  /// An image of that format without textures.
  explicit CDDSImageAccess(std::uint32_t format) {
    image.mFormat = format;
    image.mCompressed = format > kTextureFormatBGRA;
  }

  void Flip(void* pixels, int width, int height, int depth, int size) {
    image.flip(static_cast<char*>(pixels), width, height, depth, size);
  }
  void Swap(void* a, void* b, int size) { image.swap(a, b, size); }
  static void FlipAlpha(void* block) { CDDSImage::flip_dxt5_alpha(static_cast<DXT5AlphaBlock*>(block)); }

  using Handler = void (*)(DXTColBlock*, int);
  static constexpr Handler kDxt1 = &CDDSImage::flip_blocks_dxtc1;
  static constexpr Handler kDxt3 = &CDDSImage::flip_blocks_dxtc3;
  static constexpr Handler kDxt5 = &CDDSImage::flip_blocks_dxtc5;
  static constexpr Handler kBc4 = &CDDSImage::flip_blocks_bc4;
  static constexpr Handler kBc5 = &CDDSImage::flip_blocks_bc5;
  static void FlipBlocks(Handler handler, void* blocks, int count) {
    handler(static_cast<DXTColBlock*>(blocks), count);
  }
};

}  // namespace nv_dds
