// The base of every image stream.
#pragma once

#include "image/RImage.h"
#include "rbaselib/RStream.h"

/// A stream whose attached object is an image. Readers fill `GetImage(true)`, writers drain
/// `GetImage(false)`.
class RIMAGE_API RImageStream : public RStream {
  R_CLASS(RImageStream, RStream)

  RImageStream();
  ~RImageStream() override;

  /// Attaches an image; the stream borrows it.
  void SetImage(RImage* image);
  /// Returns the attached image, borrowed from the stream's user. When nothing is attached, or something that
  /// is no image: null without `create`, else a new empty record, which is attached and which the stream's
  /// user owns.
  RImage* GetImage(bool create);
};
