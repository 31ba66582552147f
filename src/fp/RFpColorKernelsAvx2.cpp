// The inner loops of the colour correction for processors with AVX2. This file alone is compiled for them, so
// everything in it is internal.
#include "fp/RFpAvx2Pixels.h"
#include "fp/RFpColorKernels.h"

namespace {

using Floats = RFpAvx2Floats;
using Pixels = RFpAvx2Pixels;

constexpr std::size_t kBlock = kFpAvx2Pixels;

// A row of a matrix, spread out. In an opaque picture the offset is one number.
template <bool kOpaque>
struct Row {
  explicit Row(const std::array<float, 4>& row)
      : red(_mm256_set1_ps(row[0])),
        green(_mm256_set1_ps(row[1])),
        blue(_mm256_set1_ps(row[2])),
        offset(_mm256_set1_ps(kOpaque ? row[3] * 255.0F : row[3])) {}

  Floats Sum(const Pixels& p) const {
    const Floats constant = kOpaque ? offset : _mm256_mul_ps(offset, p.alpha);
    const Floats redGreen = _mm256_add_ps(_mm256_mul_ps(red, p.red), _mm256_mul_ps(green, p.green));
    return _mm256_add_ps(_mm256_add_ps(redGreen, _mm256_mul_ps(blue, p.blue)), constant);
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
Floats Alpha(const Pixels& p) {
  return kOpaque ? _mm256_set1_ps(255.0F) : p.alpha;
}

Floats Weight(Floats value) {
  return _mm256_min_ps(_mm256_max_ps(value, _mm256_setzero_ps()), _mm256_set1_ps(1.0F));
}

template <bool kOpaque>
std::size_t ApplyMatrix(unsigned char* destination, const unsigned char* source, std::size_t pixels,
                        const RFpMatrixRows& rows) {
  const Matrix<kOpaque> matrix(rows);
  std::size_t i = 0;
  for (; i + kBlock <= pixels; i += kBlock) {
    const Pixels p = RFpAvx2Load(source + 4 * i);
    RFpAvx2Store(destination + 4 * i,
                 {matrix.red.Sum(p), matrix.green.Sum(p), matrix.blue.Sum(p), Alpha<kOpaque>(p)});
  }
  return i;
}

template <bool kOpaque>
std::size_t ApplyZones(unsigned char* destination, const unsigned char* source, std::size_t pixels,
                       const RFpZoneRows& zones) {
  const Matrix<kOpaque> midtones(zones.midtones);
  const Matrix<kOpaque> shadows(zones.shadows);
  const Matrix<kOpaque> highlights(zones.highlights);
  const auto& weights = zones.luminance;
  std::size_t i = 0;
  for (; i + kBlock <= pixels; i += kBlock) {
    const Pixels p = RFpAvx2Load(source + 4 * i);
    const Floats redGreen = _mm256_add_ps(_mm256_mul_ps(_mm256_set1_ps(weights[0]), p.red),
                                          _mm256_mul_ps(_mm256_set1_ps(weights[1]), p.green));
    const Floats luminance = _mm256_add_ps(redGreen, _mm256_mul_ps(_mm256_set1_ps(weights[2]), p.blue));
    const Floats shadow = Weight(_mm256_sub_ps(_mm256_set1_ps(1.0F), luminance));
    const Floats highlight = Weight(_mm256_add_ps(luminance, _mm256_set1_ps(zones.highlightBase)));
    const auto mix = [&](Row<kOpaque> Matrix<kOpaque>::*row) {
      const Floats dark = _mm256_mul_ps(shadow, (shadows.*row).Sum(p));
      const Floats light = _mm256_mul_ps(highlight, (highlights.*row).Sum(p));
      return _mm256_add_ps(_mm256_add_ps((midtones.*row).Sum(p), dark), light);
    };
    RFpAvx2Store(destination + 4 * i, {mix(&Matrix<kOpaque>::red), mix(&Matrix<kOpaque>::green),
                                       mix(&Matrix<kOpaque>::blue), Alpha<kOpaque>(p)});
  }
  return i;
}

void ApplyMatrixAny(unsigned char* destination, const unsigned char* source, std::size_t pixels,
                    const RFpMatrixRows& matrix, bool opaque) {
  const std::size_t done = opaque ? ApplyMatrix<true>(destination, source, pixels, matrix)
                                  : ApplyMatrix<false>(destination, source, pixels, matrix);
  kPlainColorKernels.applyMatrix(destination + 4 * done, source + 4 * done, pixels - done, matrix, opaque);
}

void ApplyZonesAny(unsigned char* destination, const unsigned char* source, std::size_t pixels,
                   const RFpZoneRows& zones, bool opaque) {
  const std::size_t done = opaque ? ApplyZones<true>(destination, source, pixels, zones)
                                  : ApplyZones<false>(destination, source, pixels, zones);
  kPlainColorKernels.applyZones(destination + 4 * done, source + 4 * done, pixels - done, zones, opaque);
}

}  // namespace

const RFpColorKernels kAvx2ColorKernels = {.applyMatrix = ApplyMatrixAny, .applyZones = ApplyZonesAny};
