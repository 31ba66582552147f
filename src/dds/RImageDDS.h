// An image that keeps the DDS file it came from.
#pragma once

#include "dds/nv_dds.h"
#include "image/RImage.h"
#include "rgl/RVideoTextureType.h"

/// An image with 8-bit RGBA pixels beside the textures of the DDS file, compressed and with all levels as in
/// the file.
class RIMAGE_API RImageDDS : public RImage {
  R_CLASS(RImageDDS, RImage)

  /// Makes an empty record without a file.
  RImageDDS();
  ///@{
  /// A copy has textures of its own and shares pixels and texture as `RImage` does.
  RImageDDS(const RImageDDS& other);
  RImageDDS& operator=(const RImageDDS& other);
  ///@}
  ~RImageDDS() override;

  /// Returns the file's textures.
  nv_dds::CDDSImage& DDSImage() { return mDDSImage; }

  /// Puts the file's texture on an OpenGL texture, which it binds to the target of `type` and, when
  /// `textureId` is 0, makes first; the caller owns it. `level` is the largest side of a level that is
  /// uploaded, as for `nv_dds::CDDSImage`; filters and wrapping stay as they are. Does nothing without a
  /// file, for a cube map of a file that is none, and for a volume texture of a file that is a volume. Needs
  /// a current context.
  void DrawCurrent(RVideoTextureType type, int level, unsigned int& textureId);

 private:
  nv_dds::CDDSImage mDDSImage;
};
