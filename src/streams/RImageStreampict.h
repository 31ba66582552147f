// The stream of PIC picture files.
#pragma once

#include "streams/PicPicture.h"
#include "streams/RImageStream.h"

/// Reads PIC pictures, raw or run-length coded, through the picture library. There is no writer.
class RIMAGE_API RImageStreampict : public RImageStream {
  R_CLASS(RImageStreampict, RImageStream)

  RImageStreampict();
  ~RImageStreampict() override;

  /// Reads the file into `GetImage(true)` as RGBA. To a name that does not end with ".pic" that is added, as
  /// by `pictureReadFileHeader`. Alpha is 255 whatever the file has; a channel that it does not have is 0;
  /// the pictures of fields are read as frames. The options are not used.
  ///
  /// Fails for a file that cannot be opened, is no picture, or claims more pixels than its size can justify.
  /// A file that ends early is no failure: samples that a scanline does not give are those of the scanline
  /// above, or 0 in the first. A version above 2.6 makes two lines of warning on standard error.
  bool StreamOpen(RStreamOptions* options) override;
  /// Reads the picture in a stream that is open, from its position to its end; it stays open. Gives no
  /// warning. Fails as `StreamOpen` does, and for a stream that cannot seek.
  bool ReadPicture(std::FILE* file);
};
