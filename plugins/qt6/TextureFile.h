// A DDS file: all of its pictures, decoded on the processor.
#pragma once

#include "PictureFile.h"
#include "dds/RDDSDecoder.h"

/// The pictures are numbered as the file has them: face after face of a cube map or element after element of
/// an array, in each of them level after level, the largest first, and of a volume's levels slice after
/// slice.
class TextureFile : public PictureFile {
 public:
  /// Fails as `PictureFile::Open` does.
  [[nodiscard]] bool Open(QIODevice& device);

  int Count() const override { return mCount; }
  QSize SizeOf(int picture) const override;
  /// Floats where the file has them; premultiplied where it says so.
  QImage::Format Layout() const override;
  /// Reading any picture takes memory for the largest one.
  bool Read(int picture, QImage& image) override;

 private:
  struct Place {
    int face = 0;
    int level = 0;
    int slice = 0;
  };
  Place PlaceOf(int picture) const;
  std::int64_t SlicesOfFace() const;

  DeviceFile mFile;
  RDDSInfo mInfo;
  int mCount = 0;
  RDDSDecoder mDecoder;
  bool mIsLoaded = false;
};
