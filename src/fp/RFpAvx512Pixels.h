// Sixteen RGBA pixels at a time, for files that are compiled for AVX-512 with its operations on bytes.
// Everything here is internal to the file, because other files must not get code for such processors.
#pragma once

#include <immintrin.h>

#include <cstddef>

namespace {

struct RFpAvx512Lanes {
  using Floats = __m512;
  struct Pixels {
    Floats red;
    Floats green;
    Floats blue;
    Floats alpha;
  };
  static constexpr std::size_t kCount = 16;

  static Floats Set(float value) { return _mm512_set1_ps(value); }
  static Floats Min(Floats a, Floats b) { return _mm512_min_ps(a, b); }
  static Floats Max(Floats a, Floats b) { return _mm512_max_ps(a, b); }

  static Pixels Load(const unsigned char* address) {
    const __m512i words = _mm512_loadu_si512(address);
    const __m512i low = _mm512_set1_epi32(0xFF);
    return {_mm512_cvtepi32_ps(_mm512_and_si512(words, low)),
            _mm512_cvtepi32_ps(_mm512_and_si512(_mm512_srli_epi32(words, 8), low)),
            _mm512_cvtepi32_ps(_mm512_and_si512(_mm512_srli_epi32(words, 16), low)),
            _mm512_cvtepi32_ps(_mm512_srli_epi32(words, 24))};
  }

  /// Clamps to 0..255 and rounds to the nearest, ties to even; NaN becomes 0.
  static void Store(unsigned char* address, const Pixels& pixels) {
    const __m512i redGreen = _mm512_packus_epi32(Round(pixels.red), Round(pixels.green));
    const __m512i blueAlpha = _mm512_packus_epi32(Round(pixels.blue), Round(pixels.alpha));
    const __m512i planes = _mm512_packus_epi16(redGreen, blueAlpha);
    const __m512i order =
        _mm512_broadcast_i32x4(_mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15));
    _mm512_storeu_si512(address, _mm512_shuffle_epi8(planes, order));
  }

 private:
  // The conversion gives a negative number for NaN, which the packing turns to 0.
  static __m512i Round(Floats value) { return _mm512_cvtps_epi32(_mm512_min_ps(Set(255), value)); }
};

}  // namespace
