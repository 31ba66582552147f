// The conversion of single pixels between 4:2:2 components and RGB, as it is defined, and of lines with it.
#pragma once

#include <cstddef>

#include "streams/YuvFormat.h"

/// The line conversions for one instruction set.
struct YuvLineConverters {
  void (*toPixels)(const unsigned char* line, unsigned char* pixels);
  void (*toLine)(const unsigned char* pixels, unsigned char* line);
};

/// For x86-64 processors with AVX2; the pointers are null where the compiler has no such thing.
extern const YuvLineConverters kYuvAvx2;

namespace {  // NOLINT(google-build-namespaces): each instruction set has its own copy

inline unsigned char YuvByte(double value) {
  const double clamped = value < 0 ? 0 : value > 255 ? 255 : value;
  return static_cast<unsigned char>(clamped);
}

// Deliberate: the first chroma byte, which the writer fills with Cb, drives the third byte of the pixel, and
// the second the first: pixels and files of this format have always been paired this way.
inline void YuvToPixel(int luma, int chroma1, int chroma2, unsigned char* pixel) {
  const double y = static_cast<double>(static_cast<float>(luma) - 16.0F) * 1.164;
  const auto c1 = static_cast<double>(static_cast<float>(chroma1) - 128.0F);
  const auto c2 = static_cast<double>(static_cast<float>(chroma2) - 128.0F);
  pixel[0] = YuvByte(y + 2.018 * c2);
  pixel[1] = YuvByte(y - 0.813 * c1 - 0.391 * c2);
  pixel[2] = YuvByte(y + 1.596 * c1);
}

/// Converts pixel `x` of a line; `pixels` is where pixel 0 goes.
inline void YuvToPixelOf(const unsigned char* line, std::size_t x, unsigned char* pixels) {
  const std::size_t pair = 4 * (x / 2);
  if (x % 2 == 0) return YuvToPixel(line[pair + 1], line[pair], line[pair + 2], pixels + 3 * x);
  // Behind the last pair there is none: its own chroma stands in.
  const std::size_t next = pair + 4 < kYuvLineBytes ? pair + 4 : pair;
  YuvToPixel(line[pair + 3], (line[pair] + line[next]) >> 1, (line[pair + 2] + line[next + 2]) >> 1,
             pixels + 3 * x);
}

/// Converts pixel `x` to a line: its Y, and for an even pixel the chroma.
inline void YuvFromPixelOf(const unsigned char* pixels, std::size_t x, unsigned char* line) {
  const double r = pixels[3 * x];
  const double g = pixels[3 * x + 1];
  const double b = pixels[3 * x + 2];
  line[2 * x + 1] = static_cast<unsigned char>(0.257 * r + 0.504 * g + 0.098 * b + 16);
  if (x % 2 != 0) return;
  line[2 * x] = static_cast<unsigned char>(-0.148 * r - 0.291 * g + 0.439 * b + 128);
  line[2 * x + 2] = static_cast<unsigned char>(0.439 * r - 0.368 * g - 0.071 * b + 128);
}

///@{
/// Converts a line on any processor.
inline void YuvToPixels(const unsigned char* line, unsigned char* pixels) {
  for (std::size_t x = 0; x < kYuvWidth; ++x) YuvToPixelOf(line, x, pixels);
}
inline void YuvToLine(const unsigned char* pixels, unsigned char* line) {
  for (std::size_t x = 0; x < kYuvWidth; ++x) YuvFromPixelOf(pixels, x, line);
}
///@}

}  // namespace
