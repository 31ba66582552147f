#include "support/StreamReading.h"

namespace test {

Bytes PixelsOf(RImage* image) {
  if (!image || !image->GetImageBits()) return {};
  const unsigned char* bits = image->GetImageBits();
  return {bits, bits + std::size_t(image->GetWidth()) * std::size_t(image->GetHeight()) *
                           std::size_t(image->GetPixelSize())};
}

Bytes GreyPixels(const Bytes& samples) {
  Bytes pixels;
  for (const unsigned char sample : samples) pixels.insert(pixels.end(), {sample, sample, sample, 255});
  return pixels;
}

}  // namespace test
