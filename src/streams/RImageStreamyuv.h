// The stream of raw video frames.
#pragma once

#include "streams/RImageStream.h"

/// Reads and writes frames of 8-bit 4:2:2 components with 720 pixels a line and no header; `YuvFormat.h` has
/// the layout and the arithmetic.
class RIMAGE_API RImageStreamyuv : public RImageStream {
  R_CLASS(RImageStreamyuv, RImageStream)

  RImageStreamyuv();
  ~RImageStreamyuv() override;

  /// Reads the file into `GetImage(true)` as RGB, 720 pixels wide, the frame's top line in the last row. The
  /// options are not used. Fails for a file that cannot be opened, or whose size is not that of 486 or 576
  /// lines; a last byte may be missing and counts as 0.
  bool StreamOpen(RStreamOptions* options) override;

  /// Writes `GetImage(false)` as a frame of 486 lines, the image's last row as the top line; images of
  /// another format are converted to RGB and those of another size resampled to 720 x 486, in a copy. The
  /// options are not used. Fails without an image, for a texture, when it cannot be converted, and when the
  /// file cannot be written completely.
  bool StreamCreate(RStreamOptions* options) override;
};
