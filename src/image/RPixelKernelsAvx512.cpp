// The loops over pixels that gain by AVX-512 with its byte permutations (VBMI). This file alone is compiled
// for such processors, so everything in it is internal.
#include <immintrin.h>

#include <cstdint>

#include "image/RPixelKernels.h"

namespace {

using Vector = __m512i;

constexpr std::size_t kVectorBytes = sizeof(Vector);
constexpr std::size_t kPixels = kVectorBytes / 4;

struct Bytes {
  unsigned char at[kVectorBytes];
};

Vector Load(const void* address) { return _mm512_loadu_si512(address); }
void Store(void* address, Vector value) { _mm512_storeu_si512(address, value); }

struct Table {
  unsigned char at[256];
};

// --- Division by alpha.

// The quotient byte x 255 / alpha is byte x r / 65536, truncated, for r = floor(255 x 65536 / alpha) + 1: r
// is too large by at most one, which adds less than 1 / alpha to the quotient of a byte up to alpha, too
// little to reach the next integer; those of larger bytes are cut to 255 in any case. With alpha 0 bytes
// stay.
constexpr std::uint32_t ReciprocalOf(std::uint32_t alpha) {
  return alpha == 0 ? 65536 : 255 * 65536 / alpha + 1;
}

// The reciprocals' byte `index`, by alpha.
constexpr Table PlaneOfReciprocals(int index) {
  Table plane{};
  for (std::uint32_t alpha = 0; alpha < 256; ++alpha)
    plane.at[alpha] = static_cast<unsigned char>(ReciprocalOf(alpha) >> 8 * index);
  return plane;
}

// A table of 256 bytes in registers.
class ByteTable {
 public:
  explicit ByteTable(const Table& table)
      : mQuarters{Load(table.at), Load(table.at + kVectorBytes), Load(table.at + 2 * kVectorBytes),
                  Load(table.at + 3 * kVectorBytes)} {}

  Vector At(Vector indices) const {
    const Vector low = _mm512_permutex2var_epi8(mQuarters[0], indices, mQuarters[1]);
    const Vector high = _mm512_permutex2var_epi8(mQuarters[2], indices, mQuarters[3]);
    return _mm512_mask_mov_epi8(low, _mm512_movepi8_mask(indices), high);
  }

 private:
  Vector mQuarters[4];
};

// Indices into two vectors of pixels, for the alphas of all of them, twice.
constexpr Bytes AlphaIndices() {
  Bytes indices{};
  for (std::size_t i = 0; i < kVectorBytes; ++i)
    indices.at[i] = static_cast<unsigned char>(i % (2 * kPixels) * 4 + 3);
  return indices;
}

// Indices into two vectors of which each has a byte for every pixel of four blocks: both bytes of pixel i for
// each of the two 16-bit lanes of pixel i of a block.
constexpr Bytes LaneIndices(std::size_t block) {
  Bytes indices{};
  for (std::size_t i = 0; i < kVectorBytes; ++i)
    indices.at[i] = static_cast<unsigned char>(block * kPixels + i / 4 + i % 2 * kVectorBytes);
  return indices;
}

// Bytes of a pixel as 16-bit lanes times its reciprocal, whose low 16 bits and the rest come in lanes, too.
Vector Quotient(Vector bytes, Vector low, Vector high) {
  const Vector product = _mm512_add_epi16(_mm512_mullo_epi16(bytes, high), _mm512_mulhi_epu16(bytes, low));
  return _mm512_min_epu16(product, _mm512_set1_epi16(255));
}

Vector Divide(Vector pixels, Vector low, Vector high) {
  constexpr __mmask64 kAlphas = 0x8888888888888888;
  const Vector even = Quotient(_mm512_and_si512(pixels, _mm512_set1_epi16(255)), low, high);
  const Vector odd = Quotient(_mm512_srli_epi16(pixels, 8), low, high);
  return _mm512_mask_mov_epi8(_mm512_or_si512(even, _mm512_slli_epi16(odd, 8)), kAlphas, pixels);
}

void Unpremultiply(unsigned char* pixels, std::size_t count) {
  static constexpr Table kPlanes[] = {PlaneOfReciprocals(0), PlaneOfReciprocals(1), PlaneOfReciprocals(2)};
  static constexpr Bytes kAlphaIndices = AlphaIndices();
  static constexpr Bytes kLaneIndices[] = {LaneIndices(0), LaneIndices(1), LaneIndices(2), LaneIndices(3)};
  constexpr std::size_t kBlocks = 4;
  constexpr __mmask64 kSecondHalf = 0xFFFFFFFF00000000;
  const ByteTable planes[] = {ByteTable(kPlanes[0]), ByteTable(kPlanes[1]), ByteTable(kPlanes[2])};
  const Vector alphaIndices = Load(&kAlphaIndices);
  const Vector zero = _mm512_setzero_si512();

  std::size_t i = 0;
  for (; i + kBlocks * kPixels <= count; i += kBlocks * kPixels) {
    const auto block = [=](std::size_t number) { return pixels + 4 * i + number * kVectorBytes; };
    const auto alphas = [&](std::size_t number) {
      return _mm512_permutex2var_epi8(Load(block(number)), alphaIndices, Load(block(number + 1)));
    };
    const Vector alpha = _mm512_mask_mov_epi8(alphas(0), kSecondHalf, alphas(2));
    const Vector first = planes[0].At(alpha);
    const Vector second = planes[1].At(alpha);
    const Vector third = planes[2].At(alpha);
    for (std::size_t number = 0; number < kBlocks; ++number) {
      const Vector lanes = Load(&kLaneIndices[number]);
      Store(block(number), Divide(Load(block(number)), _mm512_permutex2var_epi8(first, lanes, second),
                                  _mm512_permutex2var_epi8(third, lanes, zero)));
    }
  }
  kAvx2PixelKernels.unpremultiply(pixels + 4 * i, count - i);
}

// --- Averages of pairs of rows.

// (a + b) / 2, truncated: the instruction rounds up, so the odd bit is taken off again.
Vector Average(Vector a, Vector b) {
  const Vector odd = _mm512_and_si512(_mm512_xor_si512(a, b), _mm512_set1_epi8(1));
  return _mm512_sub_epi8(_mm512_avg_epu8(a, b), odd);
}

void AveragePair(unsigned char* destination, const unsigned char* source, std::size_t rowBytes) {
  std::size_t i = 0;
  for (; i + kVectorBytes <= rowBytes; i += kVectorBytes) {
    const Vector average = Average(Load(source + i), Load(source + rowBytes + i));
    Store(destination + i, average);
    Store(destination + rowBytes + i, average);
  }
  const __mmask64 rest = (__mmask64{1} << (rowBytes - i)) - 1;
  const Vector average = Average(_mm512_maskz_loadu_epi8(rest, source + i),
                                 _mm512_maskz_loadu_epi8(rest, source + rowBytes + i));
  _mm512_mask_storeu_epi8(destination + i, rest, average);
  _mm512_mask_storeu_epi8(destination + rowBytes + i, rest, average);
}

void AveragePairs(unsigned char* destination, const unsigned char* source, std::size_t rowBytes,
                  std::size_t pairs) {
  const std::size_t pairBytes = 2 * rowBytes;
  // What goes past the caches is held up by memory alone, and the narrower vectors do.
  if (pairs * pairBytes >= kStreamingBytes)
    return kAvx2PixelKernels.averagePairs(destination, source, rowBytes, pairs);
  for (std::size_t pair = 0; pair < pairs; ++pair)
    AveragePair(destination + pair * pairBytes, source + pair * pairBytes, rowBytes);
}

}  // namespace

const RPixelKernels& RGetAvx512PixelKernels() {
  static const RPixelKernels kKernels = [] {
    RPixelKernels kernels = kAvx2PixelKernels;
    kernels.unpremultiply = Unpremultiply;
    kernels.averagePairs = AveragePairs;
    return kernels;
  }();
  return kKernels;
}
