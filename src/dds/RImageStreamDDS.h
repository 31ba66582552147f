// The image stream of DDS files.
#pragma once

#include "streams/RImageStream.h"

/// Reads DDS files into images of class `RImageDDS`. The graphics driver decodes them: the texture is drawn
/// to a framebuffer object of its size, and the pixels are read back as 8-bit RGBA, the bottom row first.
class RIMAGE_API RImageStreamDDS : public RImageStream {
  R_CLASS(RImageStreamDDS, RImageStream)

  RImageStreamDDS();
  ~RImageStreamDDS() override;

  /// Attaches a new `RImageDDS`, which the stream's user owns, and fills it from the file.
  ///
  /// May run on any thread. It draws with a context of its own, in the format of Qt's global share context.
  /// When it ends no context is current on the thread, unless it failed before it made one: callers make
  /// theirs current again.
  ///
  /// False when the file cannot be loaded or there is no global share context, the image then being the new,
  /// empty record; and when the picture is too large for memory or the driver, or no compatibility context
  /// can be made, the image then having no pixels that mean anything.
  bool StreamOpen(RStreamOptions* options) override;
};
