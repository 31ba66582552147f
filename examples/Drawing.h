// Vectors, chance and pictures for the programs that draw samples.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "image/RImage.h"

/// A place, a direction or a colour.
struct Vector {
  double x = 0, y = 0, z = 0;
};

inline Vector operator+(const Vector& a, const Vector& b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
inline Vector operator-(const Vector& a, const Vector& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
inline Vector operator*(double f, const Vector& a) { return {f * a.x, f * a.y, f * a.z}; }
/// Component by component, as light on a surface.
inline Vector operator*(const Vector& a, const Vector& b) { return {a.x * b.x, a.y * b.y, a.z * b.z}; }
inline Vector operator/(const Vector& a, const Vector& b) { return {a.x / b.x, a.y / b.y, a.z / b.z}; }
inline double Dot(const Vector& a, const Vector& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
inline double Length(const Vector& a) { return std::sqrt(Dot(a, a)); }
inline Vector Normalized(const Vector& a) { return (1 / Length(a)) * a; }
inline Vector Mix(const Vector& a, const Vector& b, double share) { return (1 - share) * a + share * b; }
/// Rises smoothly from 0 at `from` to 1 at `to`.
inline double Smooth(double from, double to, double value) {
  const double share = std::clamp((value - from) / (to - from), 0.0, 1.0);
  return share * share * (3 - 2 * share);
}

/// Numbers that look like chance, the same on every machine.
class Chance {
 public:
  explicit Chance(std::uint64_t seed) : mState(seed * 0x9E3779B97F4A7C15U + 1) {}
  /// From 0 to 1.
  double Next() {
    mState ^= mState << 13U;
    mState ^= mState >> 7U;
    mState ^= mState << 17U;
    return static_cast<double>(mState >> 11U) * 0x1p-53;
  }
  /// From -1 to 1.
  double Around() { return 2 * Next() - 1; }
  /// A bell curve of variance 1.
  double Bell() {
    double sum = 0;
    for (int i = 0; i < 12; ++i) sum += Next();
    return sum - 6;
  }
  Vector Direction() {
    Vector v{Around(), Around(), Around()};
    while (Dot(v, v) > 1 || Dot(v, v) < 1e-4) v = {Around(), Around(), Around()};
    return Normalized(v);
  }

 private:
  std::uint64_t mState;
};

/// Colours row by row from the top, 0 to 1.
struct Canvas {
  Canvas(int w, int h)
      : width(w), height(h), pixels(static_cast<std::size_t>(w) * static_cast<std::size_t>(h)) {}

  std::size_t Index(int column, int row) const {
    return static_cast<std::size_t>(row) * static_cast<std::size_t>(width) + static_cast<std::size_t>(column);
  }
  Vector& At(int column, int row) { return pixels[Index(column, row)]; }
  const Vector& At(int column, int row) const { return pixels[Index(column, row)]; }

  int width;
  int height;
  std::vector<Vector> pixels;
};

/// Writes a canvas; the extension of the path tells the format. Returns false when that fails.
inline bool Write(const Canvas& canvas, const char* path, int quality = -1) {
  RImage* image = RImageCreate();
  bool written =
      image && image->Init(kImageFormatRGB, canvas.width, canvas.height, 0, 0, false, kImageTypeFrame,
                           kInterleaveNone, kInterpolationNone, RImage::kIncarnationRaw);
  for (int row = 0; written && row < canvas.height; ++row) {
    unsigned char* pixel = image->GetImageBits() + 3L * canvas.width * (canvas.height - 1 - row);
    for (int column = 0; column < canvas.width; ++column) {
      const Vector& colour = canvas.At(column, row);
      for (const double channel : {colour.x, colour.y, colour.z})
        *pixel++ = static_cast<unsigned char>(std::clamp(channel, 0.0, 1.0) * 255 + 0.5);
    }
  }
  written = written && RImage::WriteToDisk(image, path, nullptr, quality, -1);
  if (image) image->Destroy(0);
  return written;
}
