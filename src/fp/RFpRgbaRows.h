// An image in memory as RGBA.
#pragma once

#include <cstddef>

#include "fp/RFpContext.h"

/// Reads the rows of an image in any layout of pixels as RGBA bytes, as OpenGL would see them: without alpha
/// it is opaque.
class RFpRgbaRows {
 public:
  explicit RFpRgbaRows(const RFpPixels& pixels);

  /// Whether there is an image in memory, in a layout that is known.
  bool IsReadable() const { return mLayout != nullptr; }
  /// Whether `Get` uses its buffer.
  bool NeedsConversion() const;
  /// Returns `count` pixels of row `y` from column `x` on, which must lie within the image: its own bytes, or
  /// `buffer`, filled with 4 x `count` bytes.
  const unsigned char* Get(int x, int y, int count, unsigned char* buffer) const;

 private:
  struct Layout;
  static const Layout kLayouts[];
  static const Layout* Find(const RFpPixels& pixels);

  const RFpPixels& mPixels;
  const Layout* mLayout;
};
