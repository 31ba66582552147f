#include "streams/YuvArithmetic.h"

namespace {

constexpr YuvLineConverters kPortable = {YuvToPixels, YuvToLine};

const YuvLineConverters& Converters() {
#if defined(__x86_64__)
  static const bool hasAvx2 = kYuvAvx2.toPixels && __builtin_cpu_supports("avx2");
  return hasAvx2 ? kYuvAvx2 : kPortable;
#else
  return kPortable;
#endif
}

}  // namespace

void RYuvToPixels(std::span<const unsigned char, kYuvLineBytes> line,
                  std::span<unsigned char, kYuvRowBytes> pixels) {
  Converters().toPixels(line.data(), pixels.data());
}

void RPixelsToYuv(std::span<const unsigned char, kYuvRowBytes> pixels,
                  std::span<unsigned char, kYuvLineBytes> line) {
  Converters().toLine(pixels.data(), line.data());
}
