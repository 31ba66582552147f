// The stream of the formats that Qt reads and writes, with an own TGA codec.
#pragma once

#include "streams/RImageStream.h"

/// Reads and writes what `QImageReader` and `QImageWriter` list among tif, tiff, jpg, jpeg, tga, bmp, png and
/// svg; files of the suffix "tga" that Qt does not load, or does not write, take the module's own codec.
class RIMAGE_API RImageStreamQT : public RImageStream {
  R_CLASS(RImageStreamQT, RImageStream)

  RImageStreamQT();
  ~RImageStreamQT() override;

  /// Reads the file into `GetImage(true)`, bottom row first. Palettes, grey and packed colours become RGB;
  /// three bytes a pixel stay RGB or BGR; everything else becomes RGBA, straight or premultiplied as the file
  /// has it. Does not load, beside damaged files: SVG without a QGuiApplication, and what Qt finds too large
  /// (QImageReader::allocationLimit). The options are not used. A TGA file of a kind that is not read
  /// destroys the image and detaches it.
  bool StreamOpen(RStreamOptions* options) override;
  /// Writes `GetImage(false)` with the options' quality, compression and text. RGBA pixels count as
  /// premultiplied. Leaves an RGBA or RGB image flipped top to bottom.
  bool StreamCreate(RStreamOptions* options) override;

 private:
  /// Reads with the own codec; a refused file destroys and detaches `image`.
  bool OpenTga(RImage& image);
};
