// The stream of SGI image files.
#pragma once

#include "streams/RImageStream.h"

/// Reads SGI images: grey, RGB and RGBA, verbatim or run-length coded, 8 or 16 bits a sample. There is no
/// writer.
class RIMAGE_API RImageStreamsgi : public RImageStream {
  R_CLASS(RImageStreamsgi, RImageStream)

  RImageStreamsgi();
  ~RImageStreamsgi() override;

  /// Reads the file into `GetImage(true)` as RGBA, the file's first row (the bottom one) in row 0. Grey goes
  /// to red, green and blue; without an alpha channel alpha is 255; of 16-bit samples the most significant
  /// byte is kept. The options are not used.
  ///
  /// Fails for a file that cannot be opened, has another magic number, stores a number of channels other than
  /// 1, 3 or 4, is shorter than its header, or claims more pixels than its size can justify. Damage within
  /// the rows is no failure: samples that a row does not give are those of the row before, or 255 in the
  /// first row.
  bool StreamOpen(RStreamOptions* options) override;
};
