// The interface through which images are read out of plugs and written into them.
#pragma once

#include "image/RImage.h"

struct RFpContext;

/// Whoever hands out an image. The order of the virtual functions is an interface.
///
/// Reading and writing go by forms (masks of `kForm`): `Lock` makes the image available in one, `Bind` puts
/// it in place for a draw, `UnBind` and `UnLock` take both back in reverse order. Every call returns 0 when
/// it fails.
struct RIMAGE_API IImageProvider {
  /// Returns the image, borrowed, or null.
  virtual RImage* GetImage() const = 0;
  virtual int GetUpdateId() = 0;   ///< a number that changes with the image
  virtual void IncUpdateId() = 0;  ///< makes it another

  /// Returns the forms in which the image is there at present, whether it is up to date or not; 0 without
  /// one. `want` says what the caller would like.
  virtual int ReadTest(RFpContext* context, int want) = 0;
  /// Brings the image up to date and makes it readable in the form `mask`.
  virtual int ReadLock(RFpContext* context, int mask) = 0;
  /// Binds the image as input `unit` of `count`.
  virtual int ReadBind(RFpContext* context, int mask, int unit, int count) = 0;
  ///@{
  /// Takes back what the call of the other name did.
  virtual int ReadUnBind(RFpContext* context, int mask, int unit, int count) = 0;
  virtual int ReadUnLock(RFpContext* context, int mask) = 0;
  ///@}
  /// Makes the image `width` x `height` RGBA pixels in the incarnation that `mask` writes.
  virtual int WriteLock(RFpContext* context, int mask, int width, int height) = 0;
  ///@{
  /// Makes the image the target of drawing, and takes that back.
  virtual int WriteBind(RFpContext* context, int mask) = 0;
  virtual int WriteUnBind(RFpContext* context, int mask) = 0;
  ///@}
  /// `drawn` is 0 when nothing was written.
  virtual int WriteUnLock(RFpContext* context, int mask, int drawn) = 0;

  ///@{
  /// Returns the size in pixels, 0 without an image.
  virtual int GetWidth() = 0;
  virtual int GetHeight() = 0;
  ///@}

  virtual ~IImageProvider() = default;
};
