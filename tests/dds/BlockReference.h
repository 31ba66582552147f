// A second decoder of BC1 to BC5, written pixel by pixel from the tables of the format document (Khronos Data
// Format Specification, chapters S3TC and RGTC) with exact fractions: slow, plain, and with nothing of the
// one under test.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "dds/blocks/BlockFormat.h"

namespace test {

using Rgba = std::array<int, 4>;

struct Fraction {
  long numerator, denominator;
};

/// 0 to 1 as 0 to 255, rounded half up; what is outside is clamped.
inline int ToByte(Fraction value) {
  if (value.numerator <= 0) return 0;
  if (value.numerator >= value.denominator) return 255;
  return static_cast<int>((2 * 255 * value.numerator + value.denominator) / (2 * value.denominator));
}

/// Mixes a/max and b/max, wa : wb.
inline Fraction Mix(long a, long wa, long b, long wb, long max) { return {a * wa + b * wb, (wa + wb) * max}; }

inline Rgba ReferenceColour(const unsigned char* block, int x, int y, bool punchThrough) {
  const long c0 = block[0] | block[1] << 8;
  const long c1 = block[2] | block[3] << 8;
  const int code = block[4 + y] >> (2 * x) & 3;
  Rgba pixel{0, 0, 0, 255};
  if (punchThrough && c0 <= c1 && code == 3) return {0, 0, 0, 0};
  for (int channel = 0; channel < 3; ++channel) {
    const int shift = channel == 0 ? 11 : channel == 1 ? 5 : 0;
    const long max = channel == 1 ? 63 : 31;
    const long a = c0 >> shift & max;
    const long b = c1 >> shift & max;
    Fraction value{};
    if (code == 0) value = {a, max};
    if (code == 1) value = {b, max};
    if (code == 2) value = punchThrough && c0 <= c1 ? Mix(a, 1, b, 1, max) : Mix(a, 2, b, 1, max);
    if (code == 3) value = Mix(a, 1, b, 2, max);
    pixel[static_cast<std::size_t>(channel)] = ToByte(value);
  }
  return pixel;
}

inline int ReferenceChannel(const unsigned char* block, int x, int y, bool isSigned) {
  std::uint64_t bits = 0;
  for (int i = 5; i >= 0; --i) bits = bits << 8 | block[2 + i];
  const int code = static_cast<int>(bits >> (3 * (4 * y + x)) & 7);
  long a = isSigned ? static_cast<signed char>(block[0]) : block[0];
  long b = isSigned ? static_cast<signed char>(block[1]) : block[1];
  const bool sevenths = a > b;
  const long max = isSigned ? 127 : 255;
  if (isSigned && a == -128) a = -127;
  if (isSigned && b == -128) b = -127;
  if (code == 0) return ToByte({a, max});
  if (code == 1) return ToByte({b, max});
  if (sevenths) return ToByte(Mix(a, 8 - code, b, code - 1, max));
  if (code < 6) return ToByte(Mix(a, 6 - code, b, code - 1, max));
  return code == 7 ? 255 : 0;
}

/// The pixel at column x and row y of a block.
inline Rgba ReferencePixel(kBlockFormat format, const unsigned char* block, int x, int y) {
  const auto colour = [&] { return ReferenceColour(block + 8, x, y, false); };
  Rgba pixel{};
  switch (format) {
    case kBlockBC1:
      return ReferenceColour(block, x, y, true);
    case kBlockBC2: {
      pixel = colour();
      pixel[3] = ToByte({(block[2 * y + x / 2] >> (x % 2 * 4)) & 15, 15});
      return pixel;
    }
    case kBlockBC3: {
      pixel = colour();
      pixel[3] = ReferenceChannel(block, x, y, false);
      return pixel;
    }
    case kBlockBC4:
    case kBlockBC4Signed:
      return {ReferenceChannel(block, x, y, format == kBlockBC4Signed), 0, 0, 255};
    case kBlockBC5:
    case kBlockBC5Signed:
      return {ReferenceChannel(block, x, y, format == kBlockBC5Signed),
              ReferenceChannel(block + 8, x, y, format == kBlockBC5Signed), 0, 255};
    default:
      return pixel;
  }
}

/// A whole picture, tightly packed RGBA, in the order of the blocks.
inline std::vector<unsigned char> ReferencePicture(kBlockFormat format,
                                                   const std::vector<unsigned char>& blocks, int width,
                                                   int height) {
  std::vector<unsigned char> pixels;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const int index = y / 4 * ((width + 3) / 4) + x / 4;
      const unsigned char* block = &blocks.at(static_cast<std::size_t>(index * RSizeOf(format).blockBytes));
      for (const int value : ReferencePixel(format, block, x % 4, y % 4))
        pixels.push_back(static_cast<unsigned char>(value));
    }
  }
  return pixels;
}

}  // namespace test
