// Conversion between pixel layouts.
#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#include "image/RImage.h"
#include "image/RImageFormat.h"
#include "image/RPixelKernels.h"

namespace {

struct Conversion {
  kImageFormat destination;
  kImageFormat source;
  RPixelKernels::Convert RPixelKernels::*kernel;
};

constexpr std::array kConversions{
    Conversion{kImageFormatRGBA, kImageFormatBGRA, &RPixelKernels::swap02},
    Conversion{kImageFormatRGBA, kImageFormatARGB, &RPixelKernels::rotate},
    Conversion{kImageFormatRGBA, kImageFormatABGR, &RPixelKernels::reverse},
    Conversion{kImageFormatRGBA, kImageFormatRGB, &RPixelKernels::addAlpha},
    Conversion{kImageFormatRGBA, kImageFormatBGR, &RPixelKernels::addAlphaSwap},
    Conversion{kImageFormatRGBA, kImageFormatRGB555, &RPixelKernels::rgb555ToRgba},
    Conversion{kImageFormatBGRA, kImageFormatRGBA, &RPixelKernels::swap02},
    Conversion{kImageFormatBGRA, kImageFormatBGR, &RPixelKernels::addAlpha},
    Conversion{kImageFormatARGB, kImageFormatABGR, &RPixelKernels::swap13},
    Conversion{kImageFormatABGR, kImageFormatARGB, &RPixelKernels::swap13},
    Conversion{kImageFormatRGB, kImageFormatBGR, &RPixelKernels::reverse3},
    Conversion{kImageFormatRGB, kImageFormatRGBA, &RPixelKernels::dropAlpha},
    Conversion{kImageFormatRGB, kImageFormatRGB555, &RPixelKernels::rgb555ToRgb},
    Conversion{kImageFormatBGR, kImageFormatRGB, &RPixelKernels::reverse3},
    Conversion{kImageFormatBGR, kImageFormatBGRA, &RPixelKernels::dropAlpha},
    Conversion{kImageFormatBGR, kImageFormatRGBA, &RPixelKernels::dropAlphaSwap},
};

// Returns the loop for a pair of formats, or null when it is not supported.
RPixelKernels::Convert FindKernel(kImageFormat destination, kImageFormat source) {
  const auto* row = std::find_if(kConversions.begin(), kConversions.end(), [=](const Conversion& conversion) {
    return conversion.destination == destination && conversion.source == source;
  });
  return row == kConversions.end() ? nullptr : RGetPixelKernels().*row->kernel;
}

}  // namespace

bool RImageConvertFormat(unsigned char* destination, kImageFormat destinationFormat, int width, int height,
                         unsigned char* source, kImageFormat sourceFormat) {
  if (width < 0 || height < 0 || !RIsImageFormat(destinationFormat)) return false;
  const RPixelKernels::Convert convert = FindKernel(destinationFormat, sourceFormat);
  if (destinationFormat != sourceFormat && !convert) return false;
  const std::size_t pixels = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  const std::size_t bytes = pixels * static_cast<std::size_t>(RBytesPerPixel(destinationFormat));
  if (bytes == 0) return true;
  if (!destination || !source) return false;
  if (convert)
    convert(destination, source, pixels);
  else
    std::memmove(destination, source, bytes);
  return true;
}

bool RImage::ConvertFormat(kImageFormat format) {
  if (mIncarnation == kIncarnationGL || mDepth > 1 || !RIsImageFormat(format)) return false;
  if (!ValidateAllocation(0) || format == mFormat || !HoldsPixels(mDepth)) return false;
  const std::int64_t bytes = RImageBytes(mWidth, mHeight, mDepth, RBytesPerPixel(format));
  if (bytes < 0) return false;
  RPixelBuffer converted = RAllocatePixels(static_cast<std::uint64_t>(bytes));
  // The depth is 0 or 1 here; an image without layers has no pixels.
  if (!converted || !RImageConvertFormat(converted.get(), format, mWidth, mHeight * mDepth, mBits, mFormat)) {
    return false;
  }
  AdoptPixels(std::move(converted), static_cast<int>(bytes));
  mFormat = format;
  mPixelSize = RBytesPerPixel(format);
  Update();
  return true;
}

void Invert2(void* value) {
  auto* bytes = static_cast<unsigned char*>(value);
  std::swap(bytes[0], bytes[1]);
}

void Invert4(void* value) {
  auto* bytes = static_cast<unsigned char*>(value);
  std::reverse(bytes, bytes + 4);
}
