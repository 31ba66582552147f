// The block kernels for x86-64 processors with AVX2 and BMI2. This file is compiled for those, so nothing in
// it may run, or be shared with other files, without a check of the processor.
#include "dds/blocks/BlockLoops.h"

#if defined(__AVX2__)

#include <immintrin.h>

namespace {

struct Avx2Ops {
  static void PickOfFour(const u32* palette, u32 codes, u32* tile) {
    const __m256 colours = _mm256_broadcast_ps(reinterpret_cast<const __m128*>(palette));
    const __m256i all = _mm256_set1_epi32(static_cast<int>(codes));
    // A lane's choice is its lowest two bits; the others are ignored.
    const __m256i low = _mm256_srlv_epi32(all, _mm256_setr_epi32(0, 2, 4, 6, 8, 10, 12, 14));
    const __m256i high = _mm256_srlv_epi32(all, _mm256_setr_epi32(16, 18, 20, 22, 24, 26, 28, 30));
    Store(_mm256_castps_si256(_mm256_permutevar_ps(colours, low)), tile);
    Store(_mm256_castps_si256(_mm256_permutevar_ps(colours, high)), tile + 8);
  }

  static void AddPickOfEight(const u32* palette, u64 codes, u32* tile) {
    const __m256i values = Fetch(palette);
    AddEight(values, static_cast<u32>(codes), tile);
    AddEight(values, static_cast<u32>(codes >> 24), tile + 8);
  }

  static void LookUp(const u8* table, u64 low, u64 high, u8* factors) {
    const __m128i indices = _mm_set_epi64x(static_cast<long long>(high), static_cast<long long>(low));
    const __m128i entries = _mm_loadu_si128(reinterpret_cast<const __m128i*>(table));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(factors), _mm_shuffle_epi8(entries, indices));
  }

  static void Interpolate(const Bc7Pixels& pixels, u32* tile) {
    const __m256i selectors = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(pixels.selectors));
    const __m256i factors[2] = {Pairs(pixels.factors[0]), Pairs(pixels.factors[1])};
    __m256i channels[4];
    for (int c = 0; c < 4; ++c) {
      const __m256i ends = _mm256_set1_epi64x(static_cast<long long>(pixels.endpoints[c]));
      const __m256i sums =
          _mm256_maddubs_epi16(_mm256_shuffle_epi8(ends, selectors), factors[c == pixels.apart]);
      channels[c] = _mm256_srli_epi16(_mm256_add_epi16(sums, _mm256_set1_epi16(32)), 6);
    }
    const __m256i redGreen = _mm256_or_si256(channels[0], _mm256_slli_epi16(channels[1], 8));
    const __m256i blueAlpha = _mm256_or_si256(channels[2], _mm256_slli_epi16(channels[3], 8));
    // Each half of a register holds eight pixels, in order.
    const __m256i low = _mm256_unpacklo_epi16(redGreen, blueAlpha);
    const __m256i high = _mm256_unpackhi_epi16(redGreen, blueAlpha);
    Store(_mm256_permute2x128_si256(low, high, 0x20), tile);
    Store(_mm256_permute2x128_si256(low, high, 0x31), tile + 8);
  }

  template <class Low, class High>
  static std::ptrdiff_t FlipBlocks(unsigned char* first, unsigned char* second, std::ptrdiff_t bytes) {
    std::ptrdiff_t i = 0;
    for (; i + 32 <= bytes; i += 32) {
      auto* one = reinterpret_cast<__m256i*>(first + i);
      auto* other = reinterpret_cast<__m256i*>(second + i);
      const __m256i fromFirst = Flip<Low, High>(_mm256_loadu_si256(one));
      const __m256i fromSecond = Flip<Low, High>(_mm256_loadu_si256(other));
      _mm256_storeu_si256(one, fromSecond);
      _mm256_storeu_si256(other, fromFirst);
    }
    return i;
  }

 private:
  template <class Rows>
  static constexpr bool kHasHalfBytes = std::is_same_v<Rows, ChannelRows>;

  /// Which byte goes where: rows of whole bytes tell it when they are the numbers of their bytes. Endpoints
  /// stay.
  template <class Rows>
  static constexpr u64 kBytes = kHasHalfBytes<Rows> ? 0x0706'0504'0302'0100
                                                    : Rows::Flip(0x0706'0504'0302'0100);

  /// Puts bytes of the lower 8 of each 16 into the places that `low` says, and of the upper 8 those of
  /// `high`.
  static __m256i Shuffle(__m256i blocks, u64 low, u64 high) {
    constexpr u64 kUpper8 = 0x0808'0808'0808'0808;
    const __m128i places =
        _mm_set_epi64x(static_cast<long long>(high | kUpper8), static_cast<long long>(low));
    return _mm256_shuffle_epi8(blocks, _mm256_broadcastsi128_si256(places));
  }

  template <class Low, class High>
  static __m256i Flip(__m256i blocks) {
    const __m256i bytes = Shuffle(blocks, kBytes<Low>, kBytes<High>);
    if constexpr (!kHasHalfBytes<Low> && !kHasHalfBytes<High>) return bytes;
    // Rows of twelve bits: the lower half of each byte was the upper half of one, the upper half the lower of
    // another.
    constexpr u64 kUpper = 0x0204'0305'0706'0100;
    constexpr u64 kLower = 0x0302'0406'0507'0100;
    const __m256i mask = _mm256_set1_epi8(0x0F);
    const __m256i lower = _mm256_and_si256(_mm256_srli_epi16(Shuffle(blocks, kUpper, kUpper), 4), mask);
    const __m256i upper = _mm256_andnot_si256(mask, _mm256_slli_epi16(Shuffle(blocks, kLower, kLower), 4));
    // All words but the endpoints'.
    constexpr int kWords = (kHasHalfBytes<Low> ? 0x0E : 0) | (kHasHalfBytes<High> ? 0xE0 : 0);
    return _mm256_blend_epi16(bytes, _mm256_or_si256(lower, upper), kWords);
  }

  static __m256i Fetch(const u32* values) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(values));
  }
  static void Store(__m256i values, u32* tile) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(tile), values);
  }

  static void AddEight(__m256i values, u32 codes, u32* tile) {
    const __m256i all = _mm256_set1_epi32(static_cast<int>(codes));
    const __m256i picks = _mm256_srlv_epi32(all, _mm256_setr_epi32(0, 3, 6, 9, 12, 15, 18, 21));
    Store(_mm256_or_si256(Fetch(tile), _mm256_permutevar8x32_epi32(values, picks)), tile);
  }

  /// For each pixel the factor of its first endpoint and that of its second.
  static __m256i Pairs(const u8* factors) {
    const __m128i second = _mm_loadu_si128(reinterpret_cast<const __m128i*>(factors));
    const __m128i first = _mm_sub_epi8(_mm_set1_epi8(64), second);
    return _mm256_set_m128i(_mm_unpackhi_epi8(first, second), _mm_unpacklo_epi8(first, second));
  }
};

}  // namespace

constexpr rblocks::Kernels rblocks::kAvx2 = kKernelsWith<Avx2Ops>;

#else

constexpr rblocks::Kernels rblocks::kAvx2 = {};

#endif
