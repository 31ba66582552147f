// Surfaces and textures.
#include <algorithm>
#include <cstring>
#include <utility>

#include "dds/nv_dds.h"

namespace nv_dds {

CSurface::CSurface(int w, int h, int d, int imgsize, bool isFloat) {
  (void)create(w, h, d, imgsize, isFloat);
}

CSurface::CSurface(const CSurface& other) {
  if (!other.mPixels || !create(other.mWidth, other.mHeight, other.mDepth, other.mSize, other.mIsFloat))
    return;
  std::memcpy(mPixels.get(), other.mPixels.get(), static_cast<std::size_t>(mSize));
}

CSurface& CSurface::operator=(const CSurface& other) {
  if (this != &other) *this = CSurface(other);
  return *this;
}

bool CSurface::create(int w, int h, int d, int imgsize, bool isFloat) {
  clear();
  RPixelBuffer pixels = imgsize < 0 ? nullptr : RAllocateZeroedPixels(static_cast<std::uint64_t>(imgsize));
  if (!pixels) return false;
  adopt(w, h, d, imgsize, isFloat, std::move(pixels));
  return true;
}

void CSurface::adopt(int w, int h, int d, int imgsize, bool isFloat, RPixelBuffer pixels) {
  mWidth = w;
  mHeight = h;
  mDepth = d;
  mSize = imgsize;
  mIsFloat = isFloat;
  mPixels = std::move(pixels);
}

void CSurface::clear() { adopt(0, 0, 0, 0, false, {}); }

int CSurface::get_maxDimension() const { return std::max({mWidth, mHeight, mDepth}); }

}  // namespace nv_dds
