// The arithmetic between 4:2:2 components and RGB, written down once more, step by step.
#pragma once

#include <array>

namespace test {

using YuvPixel = std::array<int, 3>;

inline int CutTo255(double value) {
  if (value < 0.0) return 0;
  if (value > 255.0) return 255;
  return static_cast<int>(value);
}

/// The bytes of a pixel with this luma and chroma.
inline YuvPixel ReferencePixel(int luma, int first, int second) {
  float single = static_cast<float>(luma);
  single -= 16.0F;
  double y = single;
  y *= 1.164;
  float c1 = static_cast<float>(first);
  c1 -= 128.0F;
  float c2 = static_cast<float>(second);
  c2 -= 128.0F;
  const double a = 2.018 * static_cast<double>(c2);
  const double b = 0.813 * static_cast<double>(c1);
  const double c = 0.391 * static_cast<double>(c2);
  const double d = 1.596 * static_cast<double>(c1);
  double green = y - b;
  green -= c;
  return {CutTo255(y + a), CutTo255(green), CutTo255(y + d)};
}

/// Y and both chroma bytes of a pixel.
inline YuvPixel ReferenceComponents(int red, int green, int blue) {
  const auto sum = [](double r, double g, double b, double offset) {
    double total = r + g;
    total += b;
    total += offset;
    return static_cast<int>(total) & 255;
  };
  return {sum(0.257 * red, 0.504 * green, 0.098 * blue, 16.0),
          sum(-0.148 * red, -(0.291 * green), 0.439 * blue, 128.0),
          sum(0.439 * red, -(0.368 * green), -(0.071 * blue), 128.0)};
}

}  // namespace test
