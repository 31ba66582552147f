// The line conversions for x86-64 processors with AVX2. This file is compiled for those, so nothing in it may
// run, or be shared with other files, without a check of the processor.
//
// The factors are whole thousandths, so 1000 times a result is a whole number N, exactly. The defined
// arithmetic, which rounds in double precision, is off by far less than a thousandth: it has the same whole
// part, except where N is a multiple of 1000 and rounding may have gone just below. So 16 pixels at a time
// are computed in whole numbers, and the few with such a multiple once more as defined.
//
// N / 1000 is found as M / 250, where M is N / 4 cut. For M below 65536, (M + 1) x 33554 / 2^23 cut is M /
// 250 cut; and M x 33554 / 2^23 cut is the same but where M is a multiple of 250, where it is one less.
#include "streams/YuvArithmetic.h"

#if defined(__AVX2__)

#include <immintrin.h>

#include <cstdint>

namespace {

// What the loops call twice must be part of them all the same: a call would load every constant anew.
#define RIMAGE_IN_LOOP [[gnu::always_inline]] inline

constexpr std::size_t kBlock = 16;  // pixels
constexpr std::size_t kBlocks = kYuvWidth / kBlock;
constexpr std::size_t kLast = kBlocks - 1;  // the others go in pairs
static_assert(kBlocks * kBlock == kYuvWidth && kLast % 2 == 0);

__m256i Load(const unsigned char* from) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from)); }
__m256i Words(int value) { return _mm256_set1_epi16(static_cast<short>(value)); }
// A factor for the even words and one for the odd words of pairs.
__m256i Pairs(int even, int odd) { return _mm256_set1_epi32(odd * 65536 + (even & 0xFFFF)); }

__m256i TimesReciprocal(__m256i m) { return _mm256_srli_epi16(_mm256_mulhi_epu16(m, Words(33554)), 7); }

// What is said above of 33554, for every number of 16 bits.
consteval bool ReciprocalHolds() {
  for (unsigned m = 0; m < 65535; ++m) {
    const unsigned low = m > 0 && m % 250 == 0 ? 1 : 0;
    if (((m + 1) * 33554) >> 23 != m / 250 || (m * 33554) >> 23 != m / 250 - low) return false;
  }
  return true;
}
static_assert(ReciprocalHolds());

// Multiplies quotients by what they were divided by.
class Times250 {
 public:
  Times250() {
    // Keeps the compiler from replacing the multiplication by five shifts and additions.
    asm("" : "+x"(m250));
  }
  __m256i operator()(__m256i quotient) const { return _mm256_mullo_epi16(quotient, m250); }

 private:
  __m256i m250 = Words(250);
};

// The words of a line that the defined arithmetic has to look at.
class Suspects {
 public:
  // Takes the words of a block, and of the one behind it, that are all ones. Where there are none, that costs
  // no branch.
  void Add(std::size_t block, __m256i words, __m256i next = _mm256_setzero_si256()) {
    const auto mask = static_cast<std::uint32_t>(_mm256_movemask_epi8(_mm256_packs_epi16(words, next)));
    mBlock[mCount] = block;
    mMask[mCount] = mask;
    mCount += mask != 0;
  }
  // Gives the block and the number within it, 0 to 15, of each word to `visit`. Packing has put the first 8
  // words of both blocks before their second 8.
  template <class Visit>
  void ForEach(Visit visit) const {
    for (std::size_t i = 0; i < mCount; ++i) {
      for (std::uint32_t mask = mMask[i]; mask != 0; mask &= mask - 1) {
        const auto bit = static_cast<std::size_t>(__builtin_ctz(mask));
        visit(mBlock[i] + bit / 8 % 2, bit / 16 * 8 + bit % 8);
      }
    }
  }

 private:
  static constexpr std::size_t kMost = (kBlocks + 1) / 2;

  std::size_t mCount = 0;
  std::size_t mBlock[kMost];
  std::uint32_t mMask[kMost];
};

// --- From components to pixels

// Numbers of the even and of the odd pixels of a block, 8 each.
struct EvenOdd {
  __m256i even, odd;
};

// Words in the order that packing leaves: of each 8 pixels the 4 even ones, then the 4 odd ones.
constexpr std::size_t kPackedPixel[kBlock] = {0, 2, 4, 6, 1, 3, 5, 7, 8, 10, 12, 14, 9, 11, 13, 15};

EvenOdd Luma(__m256i components) {
  const __m256i y = _mm256_sub_epi16(_mm256_srli_epi16(components, 8), Words(16));
  return {_mm256_madd_epi16(y, Pairs(291, 0)), _mm256_madd_epi16(y, Pairs(0, 291))};
}

// Both chroma words of each pair, for the even pixel, and with the mean of the next pair for the odd one.
EvenOdd Chroma(__m256i components, __m256i next) {
  const __m256i own = _mm256_and_si256(components, Words(255));
  const __m256i sum = _mm256_add_epi16(own, _mm256_and_si256(next, Words(255)));
  return {_mm256_sub_epi16(own, Words(128)), _mm256_sub_epi16(_mm256_srli_epi16(sum, 1), Words(128))};
}

template <int kShift>
__m256i Weighted(__m256i chroma, __m256i factors) {
  const __m256i sum = _mm256_madd_epi16(chroma, factors);
  if constexpr (kShift == 0) return sum;
  return _mm256_srai_epi32(sum, kShift);
}

// M of one byte of the pixels, 0 where it is negative: luma plus weighted chroma / 2^kShift cut.
template <int kShift>
__m256i Channel(const EvenOdd& luma, const EvenOdd& chroma, __m256i factors) {
  return _mm256_packus_epi32(_mm256_add_epi32(luma.even, Weighted<kShift>(chroma.even, factors)),
                             _mm256_add_epi32(luma.odd, Weighted<kShift>(chroma.odd, factors)));
}

// Places of pixel bytes 0-15 and 16-23 of each 8 pixels: where they come from in a row of 8 packed first
// bytes, then 8 second bytes, and in a row of third bytes.
#define RIMAGE_TWICE(...) _mm256_setr_epi8(__VA_ARGS__, __VA_ARGS__)

void StorePixels(__m256i first, __m256i second, __m256i third, unsigned char* pixels) {
  const __m256i low = RIMAGE_TWICE(0, 8, -1, 4, 12, -1, 1, 9, -1, 5, 13, -1, 2, 10, -1, 6);
  const __m256i lowThird = RIMAGE_TWICE(-1, -1, 0, -1, -1, 4, -1, -1, 1, -1, -1, 5, -1, -1, 2, -1);
  const __m256i high = RIMAGE_TWICE(14, -1, 3, 11, -1, 7, 15, -1, -1, -1, -1, -1, -1, -1, -1, -1);
  const __m256i highThird = RIMAGE_TWICE(-1, 6, -1, -1, 3, -1, -1, 7, -1, -1, -1, -1, -1, -1, -1, -1);
  const __m256i pairs = _mm256_packus_epi16(first, second);
  const __m256i thirds = _mm256_packus_epi16(third, third);
  const __m256i a = _mm256_or_si256(_mm256_shuffle_epi8(pairs, low), _mm256_shuffle_epi8(thirds, lowThird));
  const __m256i b = _mm256_or_si256(_mm256_shuffle_epi8(pairs, high), _mm256_shuffle_epi8(thirds, highThird));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(pixels), _mm256_castsi256_si128(a));
  _mm_storel_epi64(reinterpret_cast<__m128i*>(pixels + 16), _mm256_castsi256_si128(b));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(pixels + 24), _mm256_extracti128_si256(a, 1));
  _mm_storel_epi64(reinterpret_cast<__m128i*>(pixels + 40), _mm256_extracti128_si256(b, 1));
}
#undef RIMAGE_TWICE

// Converts a block whose components, and those two pixels further on, are given. Returns the words, in packed
// order, that may be one too low.
RIMAGE_IN_LOOP __m256i ConvertBlock(__m256i components, __m256i next, const Times250& times250,
                                    unsigned char* pixels) {
  const EvenOdd luma = Luma(components);
  const EvenOdd chroma = Chroma(components, next);
  const __m256i m[3] = {Channel<1>(luma, chroma, Pairs(0, 1009)), Channel<2>(luma, chroma, Pairs(-813, -391)),
                        Channel<0>(luma, chroma, Pairs(399, 0))};
  __m256i bytes[3];
  __m256i rest = _mm256_setzero_si256();
  for (int i = 0; i < 3; ++i) {
    bytes[i] = TimesReciprocal(m[i]);
    rest = _mm256_max_epi16(rest, _mm256_sub_epi16(m[i], times250(bytes[i])));
  }
  StorePixels(bytes[0], bytes[1], bytes[2], pixels);
  return _mm256_cmpeq_epi16(rest, Words(250));  // of a quotient that is one less
}

void ToPixels(const unsigned char* line, unsigned char* pixels) {
  const Times250 times250;
  Suspects suspects;
  const auto convert = [&](std::size_t block, __m256i components, __m256i next) {
    return ConvertBlock(components, next, times250, pixels + 3 * kBlock * block);
  };
  const auto convertInside = [&](std::size_t block) {
    const unsigned char* from = line + 2 * kBlock * block;
    return convert(block, Load(from), Load(from + 4));
  };
  for (std::size_t i = 0; i < kLast; i += 2) suspects.Add(i, convertInside(i), convertInside(i + 1));
  // Behind the last pair there is none: its own chroma stands in.
  const __m256i last = Load(line + 2 * kBlock * kLast);
  const __m256i order = _mm256_setr_epi32(1, 2, 3, 4, 5, 6, 7, 7);
  suspects.Add(kLast, convert(kLast, last, _mm256_permutevar8x32_epi32(last, order)));
  suspects.ForEach([&](std::size_t block, std::size_t word) {
    YuvToPixelOf(line, kBlock * block + kPackedPixel[word], pixels);
  });
}

// --- From pixels to components

// R and G, and B and 4, of 4 pixels in each half.
struct PixelWords {
  __m256i redGreen, blueFour;
};

PixelWords LoadPixels(const unsigned char* lowHalf, const unsigned char* highHalf) {
  const __m256i bytes = _mm256_inserti128_si256(
      _mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(lowHalf))),
      _mm_loadu_si128(reinterpret_cast<const __m128i*>(highHalf)), 1);
  const __m256i redGreen = _mm256_setr_epi8(0, -1, 1, -1, 3, -1, 4, -1, 6, -1, 7, -1, 9, -1, 10, -1,  //
                                            0, -1, 1, -1, 3, -1, 4, -1, 6, -1, 7, -1, 9, -1, 10, -1);
  const __m256i blue = _mm256_setr_epi8(2, -1, -1, -1, 5, -1, -1, -1, 8, -1, -1, -1, 11, -1, -1, -1,  //
                                        2, -1, -1, -1, 5, -1, -1, -1, 8, -1, -1, -1, 11, -1, -1, -1);
  return {_mm256_shuffle_epi8(bytes, redGreen),
          _mm256_or_si256(_mm256_shuffle_epi8(bytes, blue), Pairs(0, 4))};
}

// N + 4 of a component: the factors of R, G and B, and a quarter of what is added.
__m256i Component(const PixelWords& pixels, int r, int g, int b, int quarter) {
  return _mm256_add_epi32(_mm256_madd_epi16(pixels.redGreen, Pairs(r, g)),
                          _mm256_madd_epi16(pixels.blueFour, Pairs(b, quarter)));
}

// The pixels with even numbers of two groups of 4 in each half.
__m256i Even(__m256i a, __m256i b) {
  return _mm256_castps_si256(_mm256_shuffle_ps(_mm256_castsi256_ps(a), _mm256_castsi256_ps(b), 0x88));
}

// Words where the division came out even, but for the multiple `exact` of 250, which rounding never spoils.
__m256i SuspectQuotients(__m256i quotient, __m256i mPlusOne, int exact, const Times250& times250) {
  const __m256i m = _mm256_sub_epi16(mPlusOne, Words(1));
  return _mm256_andnot_si256(_mm256_cmpeq_epi16(m, Words(exact)), _mm256_cmpeq_epi16(times250(quotient), m));
}

// Converts the 16 pixels at `pixels` to 32 bytes at `line`. Returns the words that may be one too high.
RIMAGE_IN_LOOP __m256i ConvertBlock(const unsigned char* pixels, const Times250& times250,
                                    unsigned char* line) {
  const PixelWords a = LoadPixels(pixels, pixels + 24);  // pixels 0-3 and 8-11
  const PixelWords b = LoadPixels(pixels + 12, pixels + 36);
  const PixelWords even = {Even(a.redGreen, b.redGreen), Even(a.blueFour, b.blueFour)};
  const __m256i lumas = _mm256_packus_epi32(_mm256_srli_epi32(Component(a, 257, 504, 98, 4001), 2),
                                            _mm256_srli_epi32(Component(b, 257, 504, 98, 4001), 2));
  const __m256i chroma1 = _mm256_srli_epi32(Component(even, -148, -291, 439, 32001), 2);
  const __m256i chroma2 = _mm256_slli_epi32(Component(even, 439, -368, -71, 32001), 14);
  const __m256i chromas = _mm256_blend_epi16(chroma1, chroma2, 0xAA);
  const __m256i luma = TimesReciprocal(lumas);
  const __m256i chroma = TimesReciprocal(chromas);
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(line), _mm256_or_si256(chroma, _mm256_slli_epi16(luma, 8)));
  return _mm256_or_si256(SuspectQuotients(luma, lumas, 4000, times250),        // black: exactly 16
                         SuspectQuotients(chroma, chromas, 32000, times250));  // any grey: exactly 128
}

void ToLine(const unsigned char* pixels, unsigned char* line) {
  const Times250 times250;
  Suspects suspects;
  // The last loads of a block reach 4 bytes past it, which the last block of the row does not have.
  unsigned char tail[3 * kBlock + 16] = {};
  __builtin_memcpy(tail, pixels + 3 * kBlock * kLast, 3 * kBlock);
  const auto convert = [&](std::size_t block, const unsigned char* from) {
    return ConvertBlock(from, times250, line + 2 * kBlock * block);
  };
  const auto at = [&](std::size_t block) { return pixels + 3 * kBlock * block; };
  for (std::size_t i = 0; i < kLast; i += 2) {
    suspects.Add(i, convert(i, at(i)), convert(i + 1, at(i + 1)));
  }
  suspects.Add(kLast, convert(kLast, tail));
  suspects.ForEach([&](std::size_t block, std::size_t word) {
    const std::size_t first = kBlock * block + (word & ~std::size_t{1});
    YuvFromPixelOf(pixels, first, line);
    YuvFromPixelOf(pixels, first + 1, line);
  });
}

}  // namespace

const YuvLineConverters kYuvAvx2 = {ToPixels, ToLine};

#else

const YuvLineConverters kYuvAvx2 = {nullptr, nullptr};

#endif
