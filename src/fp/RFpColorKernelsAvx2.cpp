// The inner loops of the colour correction for processors with AVX2. This file alone is compiled for them, so
// everything in it is internal.
#include <immintrin.h>

#include "fp/RFpColorKernels.h"

namespace {

using Floats = __m256;
using Integers = __m256i;

constexpr std::size_t kBlock = 8;  // pixels at a time

struct Pixels {
  Floats red;
  Floats green;
  Floats blue;
  Floats alpha;
};

Pixels Load(const unsigned char* address) {
  const Integers words = _mm256_loadu_si256(reinterpret_cast<const Integers*>(address));
  const Integers low = _mm256_set1_epi32(0xFF);
  return {_mm256_cvtepi32_ps(_mm256_and_si256(words, low)),
          _mm256_cvtepi32_ps(_mm256_and_si256(_mm256_srli_epi32(words, 8), low)),
          _mm256_cvtepi32_ps(_mm256_and_si256(_mm256_srli_epi32(words, 16), low)),
          _mm256_cvtepi32_ps(_mm256_srli_epi32(words, 24))};
}

// The conversion gives a negative number for NaN, which the packing turns to 0.
Integers Round(Floats value) { return _mm256_cvtps_epi32(_mm256_min_ps(_mm256_set1_ps(255.0F), value)); }

void Store(unsigned char* address, const Pixels& pixels) {
  const Integers redGreen = _mm256_packus_epi32(Round(pixels.red), Round(pixels.green));
  const Integers blueAlpha = _mm256_packus_epi32(Round(pixels.blue), _mm256_cvtps_epi32(pixels.alpha));
  const Integers planes = _mm256_packus_epi16(redGreen, blueAlpha);
  const Integers order = _mm256_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15, 0, 4, 8, 12,
                                          1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
  _mm256_storeu_si256(reinterpret_cast<Integers*>(address), _mm256_shuffle_epi8(planes, order));
}

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
    const Pixels p = Load(source + 4 * i);
    Store(destination + 4 * i,
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
    const Pixels p = Load(source + 4 * i);
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
    Store(destination + 4 * i, {mix(&Matrix<kOpaque>::red), mix(&Matrix<kOpaque>::green),
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
