#include "fp/RFpRgbaRows.h"

#include <GL/gl.h>
#include <GL/glext.h>

#include <algorithm>
#include <iterator>

#include "image/RPixelKernels.h"

struct RFpRgbaRows::Layout {
  int glFormat;
  int pixelSize;
  RPixelKernels::Convert RPixelKernels::*convert;  // null where the bytes are right as they are
};

// A pixel of two bytes goes by the name of the format that it is expanded to.
const RFpRgbaRows::Layout RFpRgbaRows::kLayouts[] = {
    {GL_RGBA, 4, nullptr},
    {GL_RGB, 3, &RPixelKernels::addAlpha},
    {GL_BGRA, 4, &RPixelKernels::swap02},
    {GL_BGR, 3, &RPixelKernels::addAlphaSwap},
    {GL_RGB, 2, &RPixelKernels::rgb555ToRgba},
    {GL_ABGR_EXT, 4, &RPixelKernels::reverse},
};

const RFpRgbaRows::Layout* RFpRgbaRows::Find(const RFpPixels& pixels) {
  if (!pixels.bits) return nullptr;
  const auto* const found = std::find_if(std::begin(kLayouts), std::end(kLayouts), [&](const Layout& row) {
    return row.glFormat == pixels.glFormat && row.pixelSize == pixels.pixelSize;
  });
  return found == std::end(kLayouts) ? nullptr : found;
}

RFpRgbaRows::RFpRgbaRows(const RFpPixels& pixels) : mPixels(pixels), mLayout(Find(pixels)) {}

bool RFpRgbaRows::NeedsConversion() const { return mLayout && mLayout->convert; }

const unsigned char* RFpRgbaRows::Get(int x, int y, int count, unsigned char* buffer) const {
  const std::size_t pixel =
      static_cast<std::size_t>(y) * static_cast<std::size_t>(mPixels.rowLength) + static_cast<std::size_t>(x);
  const unsigned char* const source = mPixels.bits + pixel * static_cast<std::size_t>(mLayout->pixelSize);
  if (!mLayout->convert) return source;
  (RGetPixelKernels().*mLayout->convert)(buffer, source, static_cast<std::size_t>(count));
  return buffer;
}
