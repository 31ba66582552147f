#include "support/BlendFormula.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>

namespace test {

namespace {

using Color = std::array<double, 4>;

constexpr std::size_t kAlpha = 3;

// The factor of component `c` (3 is alpha) by its number.
double Factor(int number, bool ofB, std::size_t c, const Color& a, const Color& b, const Color& constant) {
  switch (number) {
    case 0:
      return 0;
    case 1:
      return 1;
    case 2:
      return a[c];
    case 3:
      return 1 - a[c];
    case 4:
      return a[kAlpha];
    case 5:
      return 1 - a[kAlpha];
    case 6:
      return b[c];
    case 7:
      return 1 - b[c];
    case 8:
      return b[kAlpha];
    case 9:
      return 1 - b[kAlpha];
    case 10:
      return constant[c];
    case 11:
      return 1 - constant[c];
    case 12:
      return constant[kAlpha];
    case 13:
      return 1 - constant[kAlpha];
    case 14:
      if (ofB) return 1 - a[kAlpha];
      return c == kAlpha ? 1 : std::min(a[kAlpha], 1 - b[kAlpha]);
    default:
      std::abort();
  }
}

double Apply(int function, double a, double b, double aFactor, double bFactor) {
  switch (function) {
    case 1:
      return a * aFactor - b * bFactor;
    case 2:
      return b * bFactor - a * aFactor;
    case 3:
      return std::min(a, b);
    case 4:
      return std::max(a, b);
    default:
      return a * aFactor + b * bFactor;
  }
}

}  // namespace

std::array<double, 4> BlendPixel(const BlendSettings& s, const unsigned char* a, const unsigned char* b) {
  Color incoming;
  Color target;
  for (std::size_t c = 0; c < 4; ++c) {
    incoming[c] = a[c] / 255.0;
    target[c] = b[c] / 255.0;
  }
  if (s.bFactorRGB == 14) {
    for (std::size_t c = 0; c < kAlpha; ++c) incoming[c] *= s.constant[kAlpha];
  }
  if (s.bFactorAlpha == 14) incoming[kAlpha] *= s.constant[kAlpha];
  Color result;
  for (std::size_t c = 0; c < 4; ++c) {
    const bool alpha = c == kAlpha;
    const double aFactor =
        Factor(alpha ? s.aFactorAlpha : s.aFactorRGB, false, c, incoming, target, s.constant);
    const double bFactor =
        Factor(alpha ? s.bFactorAlpha : s.bFactorRGB, true, c, incoming, target, s.constant);
    const double value = Apply(alpha ? s.funcAlpha : s.funcRGB, incoming[c], target[c], aFactor, bFactor);
    result[c] = 255 * std::clamp(value, 0.0, 1.0);
  }
  return result;
}

Picture NoisePicture(int width, int height, unsigned seed) {
  Picture picture{width, height, {}};
  picture.bytes.resize(std::size_t{4} * static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
  std::uint32_t state = seed * 2654435761U + 12345U;
  for (unsigned char& byte : picture.bytes) {
    state = state * 1664525U + 1013904223U;
    byte = static_cast<unsigned char>(state >> 24);
  }
  // Transparent and opaque black and white, in an order that differs between seeds.
  for (std::size_t i = 0; i + 4 <= std::min<std::size_t>(picture.bytes.size(), 64); i += 4) {
    const unsigned bits = static_cast<unsigned>(seed % 2 == 1 ? i / 4 : i / 16);
    for (std::size_t c = 0; c < 3; ++c) picture.bytes[i + c] = (bits & 1) != 0 ? 255 : 0;
    picture.bytes[i + 3] = (bits & 2) != 0 ? 255 : 0;
  }
  return picture;
}

std::array<unsigned char, 4> PixelAt(const Picture& picture, int x, int y) {
  if (x >= picture.width || y >= picture.height) return {};
  const std::size_t at =
      std::size_t{4} *
      (static_cast<std::size_t>(y) * static_cast<std::size_t>(picture.width) + static_cast<std::size_t>(x));
  return {picture.bytes[at], picture.bytes[at + 1], picture.bytes[at + 2], picture.bytes[at + 3]};
}

double LargestBlendError(const BlendSettings& settings, const Picture& a, const Picture& b,
                         const Picture& result) {
  if (result.width != a.width || result.height != a.height) return 1e9;
  double largest = 0;
  for (int y = 0; y < a.height; ++y) {
    for (int x = 0; x < a.width; ++x) {
      const Color expected = BlendPixel(settings, PixelAt(a, x, y).data(), PixelAt(b, x, y).data());
      const auto drawn = PixelAt(result, x, y);
      for (std::size_t c = 0; c < 4; ++c) largest = std::max(largest, std::abs(expected[c] - drawn[c]));
    }
  }
  return largest;
}

}  // namespace test
