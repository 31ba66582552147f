// The loops of the colour correction, for any number of pixels at a time.
#pragma once

#include <array>
#include <cstddef>

#include "fp/RFpColorKernels.h"

/// The loops with the vectors of one kind. `Lanes` provides the numbers: `Floats`, of which it takes `kCount`
/// pixels with `Load` and leaves them with `Store`, `Set`, which spreads a number, `Min` and `Max`. A Lanes
/// has internal linkage, and with it these functions. What is left of the last block takes the plain loop.
template <class Lanes>
class RFpColorLoops {
 public:
  static void ApplyMatrix(unsigned char* destination, const unsigned char* source, std::size_t pixels,
                          const RFpMatrixRows& matrix, bool opaque) {
    const std::size_t done = opaque ? MatrixBlocks<true>(destination, source, pixels, matrix)
                                    : MatrixBlocks<false>(destination, source, pixels, matrix);
    kPlainColorKernels.applyMatrix(destination + 4 * done, source + 4 * done, pixels - done, matrix, opaque);
  }

  static void ApplyZones(unsigned char* destination, const unsigned char* source, std::size_t pixels,
                         const RFpZoneRows& zones, bool opaque) {
    const std::size_t done = opaque ? ZoneBlocks<true>(destination, source, pixels, zones)
                                    : ZoneBlocks<false>(destination, source, pixels, zones);
    kPlainColorKernels.applyZones(destination + 4 * done, source + 4 * done, pixels - done, zones, opaque);
  }

 private:
  using Floats = typename Lanes::Floats;
  using Pixels = typename Lanes::Pixels;

  static Floats Set(float value) { return Lanes::Set(value); }

  // A row of a matrix, spread out. In an opaque picture the offset is one number.
  template <bool kOpaque>
  struct Row {
    explicit Row(const std::array<float, 4>& row)
        : red(Set(row[0])),
          green(Set(row[1])),
          blue(Set(row[2])),
          offset(Set(kOpaque ? row[3] * 255.0F : row[3])) {}

    Floats Sum(const Pixels& p) const {
      const Floats constant = kOpaque ? offset : offset * p.alpha;
      return red * p.red + green * p.green + blue * p.blue + constant;
    }

    Floats red;
    Floats green;
    Floats blue;
    Floats offset;
  };

  template <bool kOpaque>
  struct Matrix {
    explicit Matrix(const RFpMatrixRows& matrix)
        : red(matrix.rows[0]), green(matrix.rows[1]), blue(matrix.rows[2]) {}

    Row<kOpaque> red;
    Row<kOpaque> green;
    Row<kOpaque> blue;
  };

  template <bool kOpaque>
  static Floats Alpha(const Pixels& p) {
    return kOpaque ? Set(255) : p.alpha;
  }

  static Floats Weight(Floats value) { return Lanes::Min(Lanes::Max(value, Set(0)), Set(1)); }

  // These return how many pixels they have done.
  template <bool kOpaque>
  static std::size_t MatrixBlocks(unsigned char* destination, const unsigned char* source, std::size_t pixels,
                                  const RFpMatrixRows& rows) {
    const Matrix<kOpaque> matrix(rows);
    std::size_t i = 0;
    for (; i + Lanes::kCount <= pixels; i += Lanes::kCount) {
      const Pixels p = Lanes::Load(source + 4 * i);
      Lanes::Store(destination + 4 * i,
                   {matrix.red.Sum(p), matrix.green.Sum(p), matrix.blue.Sum(p), Alpha<kOpaque>(p)});
    }
    return i;
  }

  template <bool kOpaque>
  static std::size_t ZoneBlocks(unsigned char* destination, const unsigned char* source, std::size_t pixels,
                                const RFpZoneRows& zones) {
    const Matrix<kOpaque> midtones(zones.midtones);
    const Matrix<kOpaque> shadows(zones.shadows);
    const Matrix<kOpaque> highlights(zones.highlights);
    const auto& weights = zones.luminance;
    std::size_t i = 0;
    for (; i + Lanes::kCount <= pixels; i += Lanes::kCount) {
      const Pixels p = Lanes::Load(source + 4 * i);
      const Floats luminance = Set(weights[0]) * p.red + Set(weights[1]) * p.green + Set(weights[2]) * p.blue;
      const Floats shadow = Weight(Set(1) - luminance);
      const Floats highlight = Weight(luminance + Set(zones.highlightBase));
      const auto mix = [&](Row<kOpaque> Matrix<kOpaque>::*row) {
        return (midtones.*row).Sum(p) + shadow * (shadows.*row).Sum(p) + highlight * (highlights.*row).Sum(p);
      };
      Lanes::Store(destination + 4 * i, {mix(&Matrix<kOpaque>::red), mix(&Matrix<kOpaque>::green),
                                         mix(&Matrix<kOpaque>::blue), Alpha<kOpaque>(p)});
    }
    return i;
  }
};
