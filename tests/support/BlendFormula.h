// The blend effect's result by its formula, written apart from the code under test.
#pragma once

#include <array>
#include <vector>

namespace test {

/// The parameters of a blend, as the operator's properties number them.
struct BlendSettings {
  int funcRGB = 0;
  int funcAlpha = 0;
  int aFactorRGB = 1;
  int aFactorAlpha = 1;
  int bFactorRGB = 0;
  int bFactorAlpha = 0;
  std::array<double, 4> constant = {1, 1, 1, 1};
};

/// Returns function(A x factor, B x factor) of one RGBA pixel, 0 to 255, as OpenGL's blending computes it:
/// inputs and result are clamped to 0..1, minimum and maximum take no factors, and with factor 14 of B the
/// colours or the alpha of A are multiplied by the constant alpha before anything else.
std::array<double, 4> BlendPixel(const BlendSettings& settings, const unsigned char* a,
                                 const unsigned char* b);

/// An RGBA picture, tightly packed, the bottom row first.
struct Picture {
  int width = 0;
  int height = 0;
  std::vector<unsigned char> bytes;
};

/// Returns a picture of noise whose first pixels are the extreme ones.
Picture NoisePicture(int width, int height, unsigned seed);

/// Returns the pixel at (x, y), transparent black outside.
std::array<unsigned char, 4> PixelAt(const Picture& picture, int x, int y);

/// Returns the largest difference, in 255ths, between `result` and the blend of `a` over `b` on A's area, B
/// being transparent black outside its own.
double LargestBlendError(const BlendSettings& settings, const Picture& a, const Picture& b,
                         const Picture& result);

}  // namespace test
