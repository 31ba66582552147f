// The inner loops of the keyer for processors with AVX2. This file alone is compiled for them, so everything
// in it is internal.
#include "fp/RFpAvx2Pixels.h"
#include "fp/RFpKeyerLoops.h"

namespace {

struct Avx2Lanes : RFpAvx2Lanes {
  static Floats WherePositive(Floats value, Floats condition) {
    return _mm256_and_ps(value, _mm256_cmp_ps(condition, _mm256_setzero_ps(), _CMP_GT_OQ));
  }
  // Only 0 has no bit set where nothing is negative.
  static bool AreZero(Floats value) {
    const __m256i bits = _mm256_castps_si256(value);
    return _mm256_testz_si256(bits, bits) != 0;
  }
  static void Clear(unsigned char* address) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(address), _mm256_setzero_si256());
  }
  static void CopyOpaque(unsigned char* to, const unsigned char* from) {
    const __m256i pixels = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
    const __m256i opaque = _mm256_or_si256(pixels, _mm256_slli_epi32(_mm256_set1_epi32(0xFF), 24));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), opaque);
  }
};

}  // namespace

const RFpKeyerKernels kAvx2KeyerKernels = RFpMakeKeyerKernels<Avx2Lanes>();
