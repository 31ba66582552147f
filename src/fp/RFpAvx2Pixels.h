// Eight RGBA pixels at a time, for files that are compiled for AVX2. Everything here is internal to the file,
// because other files must not get code for such processors.
#pragma once

#include <immintrin.h>

#include <cstddef>

namespace {

using RFpAvx2Floats = __m256;

constexpr std::size_t kFpAvx2Pixels = 8;

struct RFpAvx2Pixels {
  RFpAvx2Floats red;
  RFpAvx2Floats green;
  RFpAvx2Floats blue;
  RFpAvx2Floats alpha;
};

inline RFpAvx2Pixels RFpAvx2Load(const unsigned char* address) {
  const __m256i words = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(address));
  const __m256i low = _mm256_set1_epi32(0xFF);
  return {_mm256_cvtepi32_ps(_mm256_and_si256(words, low)),
          _mm256_cvtepi32_ps(_mm256_and_si256(_mm256_srli_epi32(words, 8), low)),
          _mm256_cvtepi32_ps(_mm256_and_si256(_mm256_srli_epi32(words, 16), low)),
          _mm256_cvtepi32_ps(_mm256_srli_epi32(words, 24))};
}

// The conversion gives a negative number for NaN, which the packing turns to 0.
inline __m256i RFpAvx2Round(RFpAvx2Floats value) {
  return _mm256_cvtps_epi32(_mm256_min_ps(_mm256_set1_ps(255.0F), value));
}

/// Clamps to 0..255 and rounds to the nearest, ties to even; NaN becomes 0.
inline void RFpAvx2Store(unsigned char* address, const RFpAvx2Pixels& pixels) {
  const __m256i redGreen = _mm256_packus_epi32(RFpAvx2Round(pixels.red), RFpAvx2Round(pixels.green));
  const __m256i blueAlpha = _mm256_packus_epi32(RFpAvx2Round(pixels.blue), RFpAvx2Round(pixels.alpha));
  const __m256i planes = _mm256_packus_epi16(redGreen, blueAlpha);
  const __m256i order = _mm256_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15, 0, 4, 8, 12, 1,
                                         5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(address), _mm256_shuffle_epi8(planes, order));
}

/// What loops over any number of pixels ask of vectors.
struct RFpAvx2Lanes {
  using Floats = RFpAvx2Floats;
  using Pixels = RFpAvx2Pixels;
  static constexpr std::size_t kCount = kFpAvx2Pixels;

  static Floats Set(float value) { return _mm256_set1_ps(value); }
  static Floats Min(Floats a, Floats b) { return _mm256_min_ps(a, b); }
  static Floats Max(Floats a, Floats b) { return _mm256_max_ps(a, b); }
  static Pixels Load(const unsigned char* address) { return RFpAvx2Load(address); }
  static void Store(unsigned char* address, const Pixels& pixels) { RFpAvx2Store(address, pixels); }
};

}  // namespace
