// The loops over pixels for processors with AVX2. This file alone is compiled for them, so everything in it
// is internal: an inline function that it shared with other files could end up in them, compiled for the
// wrong processor.
#include <immintrin.h>

#include <cstdint>

#include "image/RPixelKernels.h"

namespace {

using Convert = RPixelKernels::Convert;
using Half = __m128i;    // 16 bytes
using Vector = __m256i;  // 32 bytes

Half LoadHalf(const unsigned char* address) {
  return _mm_loadu_si128(reinterpret_cast<const Half*>(address));
}
Vector Load(const unsigned char* address) {
  return _mm256_loadu_si256(reinterpret_cast<const Vector*>(address));
}

void Store(unsigned char* address, Vector value) {
  _mm256_storeu_si256(reinterpret_cast<Vector*>(address), value);
}

// Ways of writing the output: through the caches, to any address, or past them, to aligned ones.
struct CachedStore {
  static void Write(unsigned char* address, Half value) {
    _mm_storeu_si128(reinterpret_cast<Half*>(address), value);
  }
  static void Write(unsigned char* address, Vector value) { Store(address, value); }
};

struct StreamingStore {
  static void Write(unsigned char* address, Half value) {
    _mm_stream_si128(reinterpret_cast<Half*>(address), value);
  }
  static void Write(unsigned char* address, Vector value) {
    _mm256_stream_si256(reinterpret_cast<Vector*>(address), value);
  }
};

// Returns how many pixels of `pixelBytes` lie before the first one on an aligned address, or -1 when none is.
int PixelsToAlignment(const unsigned char* address, std::size_t pixelBytes) {
  constexpr std::size_t kAlignment = sizeof(Vector);
  for (std::size_t i = 0; i < kAlignment; ++i) {
    if ((reinterpret_cast<std::uintptr_t>(address) + i * pixelBytes) % kAlignment == 0)
      return static_cast<int>(i);
  }
  return -1;
}

// Converts whole blocks of pixels from pixel `i` on and returns the first pixel that is left.
template <class StorePolicy, class Block>
std::size_t RunBlocks(const Block& block, unsigned char* destination, const unsigned char* source,
                      std::size_t i, std::size_t pixels) {
  for (; i + Block::kPixels + Block::kReserve <= pixels; i += Block::kPixels) {
    block.template Run<StorePolicy>(destination + i * Block::kDestinationBytes,
                                    source + i * Block::kSourceBytes);
  }
  return i;
}

// Converts all pixels. A block type says how many bytes its pixels have, how many it converts at a time, and
// how many more must follow in the source because its loads reach beyond.
template <class Block>
void ConvertBlocks(const Block& block, Convert plain, unsigned char* destination, const unsigned char* source,
                   std::size_t pixels) {
  std::size_t done = 0;
  const int head = pixels * Block::kDestinationBytes < kStreamingBytes
                       ? -1
                       : PixelsToAlignment(destination, Block::kDestinationBytes);
  if (head >= 0) {
    plain(destination, source, static_cast<std::size_t>(head));
    done = RunBlocks<StreamingStore>(block, destination, source, static_cast<std::size_t>(head), pixels);
    _mm_sfence();
  } else {
    done = RunBlocks<CachedStore>(block, destination, source, 0, pixels);
  }
  plain(destination + done * Block::kDestinationBytes, source + done * Block::kSourceBytes, pixels - done);
}

// A function of the table: a block type without parameters, and the plain loop for what is left over.
template <class Block, Convert RPixelKernels::*kPlain>
void ConvertWith(unsigned char* destination, const unsigned char* source, std::size_t pixels) {
  ConvertBlocks(Block{}, kPlainPixelKernels.*kPlain, destination, source, pixels);
}

// Repeats the byte order of one 4-byte pixel for four of them; -1 gives zero.
template <int k0, int k1, int k2, int k3>
Half FourPixels() {
  constexpr auto kAt = [](int pixel, int byte) {
    return static_cast<char>(byte < 0 ? -1 : 4 * pixel + byte);
  };
  return _mm_setr_epi8(kAt(0, k0), kAt(0, k1), kAt(0, k2), kAt(0, k3), kAt(1, k0), kAt(1, k1), kAt(1, k2),
                       kAt(1, k3), kAt(2, k0), kAt(2, k1), kAt(2, k2), kAt(2, k3), kAt(3, k0), kAt(3, k1),
                       kAt(3, k2), kAt(3, k3));
}

Vector Both(Half half) { return _mm256_broadcastsi128_si256(half); }
Vector Words(std::uint32_t word) { return _mm256_set1_epi32(static_cast<int>(word)); }

constexpr std::uint32_t kAlphaMask = 0xFF000000;

// --- 4 to 4 bytes.

template <int k0, int k1, int k2, int k3>
struct ShuffleBlock {
  static constexpr std::size_t kDestinationBytes = 4, kSourceBytes = 4, kPixels = 8, kReserve = 0;
  template <class StorePolicy>
  void Run(unsigned char* destination, const unsigned char* source) const {
    StorePolicy::Write(destination, _mm256_shuffle_epi8(Load(source), Both(FourPixels<k0, k1, k2, k3>())));
  }
};

struct OpaqueBlock {
  static constexpr std::size_t kDestinationBytes = 4, kSourceBytes = 4, kPixels = 8, kReserve = 0;
  template <class StorePolicy>
  void Run(unsigned char* destination, const unsigned char* source) const {
    const Vector swapped = _mm256_shuffle_epi8(Load(source), Both(FourPixels<2, 1, 0, -1>()));
    StorePolicy::Write(destination, _mm256_or_si256(swapped, Words(kAlphaMask)));
  }
};

struct GrayBlock {
  static constexpr std::size_t kDestinationBytes = 4, kSourceBytes = 4, kPixels = 8, kReserve = 0;
  Vector order;
  Vector invert;
  template <class StorePolicy>
  void Run(unsigned char* destination, const unsigned char* source) const {
    const Vector gray = _mm256_xor_si256(_mm256_shuffle_epi8(Load(source), order), invert);
    StorePolicy::Write(destination, _mm256_or_si256(gray, Words(kAlphaMask)));
  }
};

void AlphaToGray(unsigned char* destination, const unsigned char* source, std::size_t pixels, int channel,
                 unsigned char invert) {
  const Vector firstBytes = Both(FourPixels<0, 0, 0, 0>());
  const GrayBlock block{_mm256_add_epi8(firstBytes, _mm256_set1_epi8(static_cast<char>(channel))),
                        _mm256_set1_epi8(static_cast<char>(invert))};
  std::size_t done = RunBlocks<CachedStore>(block, destination, source, 0, pixels);
  kPlainPixelKernels.alphaToGray(destination + 4 * done, source + 4 * done, pixels - done, channel, invert);
}

// --- 3 to 4 bytes.

template <bool kSwap>
struct AddAlphaBlock {
  static constexpr std::size_t kDestinationBytes = 4, kSourceBytes = 3, kPixels = 8, kReserve = 2;
  template <class StorePolicy>
  void Run(unsigned char* destination, const unsigned char* source) const {
    constexpr char kFirst = kSwap ? 2 : 0;
    constexpr char kThird = kSwap ? 0 : 2;
    const Half order = _mm_setr_epi8(kFirst, 1, kThird, -1, 3 + kFirst, 4, 3 + kThird, -1, 6 + kFirst, 7,
                                     6 + kThird, -1, 9 + kFirst, 10, 9 + kThird, -1);
    const Vector pixels = _mm256_set_m128i(LoadHalf(source + 12), LoadHalf(source));
    StorePolicy::Write(destination,
                       _mm256_or_si256(_mm256_shuffle_epi8(pixels, Both(order)), Words(kAlphaMask)));
  }
};

// --- 1 to 3 bytes.

struct GrayToRGBBlock {
  static constexpr std::size_t kDestinationBytes = 3, kSourceBytes = 1, kPixels = 16, kReserve = 0;
  template <class StorePolicy>
  void Run(unsigned char* destination, const unsigned char* source) const {
    const Half gray = LoadHalf(source);
    const Half first = _mm_setr_epi8(0, 0, 0, 1, 1, 1, 2, 2, 2, 3, 3, 3, 4, 4, 4, 5);
    const Half second = _mm_setr_epi8(5, 5, 6, 6, 6, 7, 7, 7, 8, 8, 8, 9, 9, 9, 10, 10);
    const Half third = _mm_setr_epi8(10, 11, 11, 11, 12, 12, 12, 13, 13, 13, 14, 14, 14, 15, 15, 15);
    StorePolicy::Write(destination, _mm_shuffle_epi8(gray, first));
    StorePolicy::Write(destination + 16, _mm_shuffle_epi8(gray, second));
    StorePolicy::Write(destination + 32, _mm_shuffle_epi8(gray, third));
  }
};

// --- 4 to 3 bytes.

// Brings the first 12 bytes of each half together, as six double words of which number `kFirst` comes first.
// Where there is no such word, the result is what was behind the 12 bytes.
template <int kFirst>
Vector Pack(Vector halves) {
  constexpr auto kAt = [](int place) {
    const int word = place + kFirst;
    return word >= 0 && word < 6 ? word + word / 3 : 3;
  };
  return _mm256_permutevar8x32_epi32(
      halves, _mm256_setr_epi32(kAt(0), kAt(1), kAt(2), kAt(3), kAt(4), kAt(5), kAt(6), kAt(7)));
}

// Writes 32 pixels, given as four vectors of which each half has its 12 bytes at the start and zeros after
// them.
template <class StorePolicy>
void WritePacked(unsigned char* destination, Vector a, Vector b, Vector c, Vector d) {
  StorePolicy::Write(destination, _mm256_or_si256(Pack<0>(a), Pack<-6>(b)));
  StorePolicy::Write(destination + 32, _mm256_or_si256(Pack<2>(b), Pack<-4>(c)));
  StorePolicy::Write(destination + 64, _mm256_or_si256(Pack<4>(c), Pack<-2>(d)));
}

template <bool kSwap>
Vector DropFourth(Vector pixels) {
  const Half order = kSwap ? _mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1)
                           : _mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1);
  return _mm256_shuffle_epi8(pixels, Both(order));
}

template <bool kSwap>
struct DropAlphaBlock {
  static constexpr std::size_t kDestinationBytes = 3, kSourceBytes = 4, kPixels = 32, kReserve = 0;
  template <class StorePolicy>
  void Run(unsigned char* destination, const unsigned char* source) const {
    WritePacked<StorePolicy>(destination, DropFourth<kSwap>(Load(source)),
                             DropFourth<kSwap>(Load(source + 32)), DropFourth<kSwap>(Load(source + 64)),
                             DropFourth<kSwap>(Load(source + 96)));
  }
};

// --- 3 to 3 bytes.

struct Reverse3Block {
  static constexpr std::size_t kDestinationBytes = 3, kSourceBytes = 3, kPixels = 16, kReserve = 0;
  template <class StorePolicy>
  void Run(unsigned char* destination, const unsigned char* source) const {
    const Half a = LoadHalf(source);
    const Half b = LoadHalf(source + 16);
    const Half c = LoadHalf(source + 32);
    // Pixels 5 and 10 lie across two halves each.
    const Half first = _mm_or_si128(
        _mm_shuffle_epi8(a, _mm_setr_epi8(2, 1, 0, 5, 4, 3, 8, 7, 6, 11, 10, 9, 14, 13, 12, -1)),
        _mm_shuffle_epi8(b, _mm_setr_epi8(-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 1)));
    const Half middle = _mm_or_si128(
        _mm_shuffle_epi8(b, _mm_setr_epi8(0, -1, 4, 3, 2, 7, 6, 5, 10, 9, 8, 13, 12, 11, -1, 15)),
        _mm_or_si128(_mm_shuffle_epi8(
                         a, _mm_setr_epi8(-1, 15, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1)),
                     _mm_shuffle_epi8(
                         c, _mm_setr_epi8(-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 0, -1))));
    const Half last = _mm_or_si128(
        _mm_shuffle_epi8(b, _mm_setr_epi8(14, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1)),
        _mm_shuffle_epi8(c, _mm_setr_epi8(-1, 3, 2, 1, 6, 5, 4, 9, 8, 7, 12, 11, 10, 15, 14, 13)));
    StorePolicy::Write(destination, first);
    StorePolicy::Write(destination + 16, middle);
    StorePolicy::Write(destination + 32, last);
  }
};

// --- RGB555.

// Expands eight pixels to RGBA.
Vector ExpandRGB555(const unsigned char* source) {
  const Vector words = _mm256_cvtepu16_epi32(LoadHalf(source));
  // Deliberate: red keeps four bits, as in the plain loop.
  const Vector red = _mm256_and_si256(_mm256_srli_epi32(words, 7), Words(0xF0));
  const Vector green = _mm256_and_si256(_mm256_slli_epi32(words, 6), Words(0xF800));
  const Vector blue = _mm256_and_si256(_mm256_slli_epi32(words, 19), Words(0xF80000));
  return _mm256_or_si256(_mm256_or_si256(red, green), _mm256_or_si256(blue, Words(kAlphaMask)));
}

struct RGB555ToRGBABlock {
  static constexpr std::size_t kDestinationBytes = 4, kSourceBytes = 2, kPixels = 8, kReserve = 0;
  template <class StorePolicy>
  void Run(unsigned char* destination, const unsigned char* source) const {
    StorePolicy::Write(destination, ExpandRGB555(source));
  }
};

struct RGB555ToRGBBlock {
  static constexpr std::size_t kDestinationBytes = 3, kSourceBytes = 2, kPixels = 32, kReserve = 0;
  template <class StorePolicy>
  void Run(unsigned char* destination, const unsigned char* source) const {
    const auto eight = [source](int block) {
      return DropFourth<false>(ExpandRGB555(source + std::ptrdiff_t{16} * block));
    };
    WritePacked<StorePolicy>(destination, eight(0), eight(1), eight(2), eight(3));
  }
};

// --- Alpha.

// Multiplies in 16-bit lanes: floor(x / 255) is (x + x / 256 + 1) / 256 for every product x of two bytes, and
// the high half of (byte x 256) x (alpha x 257) is x + x / 256.
Vector Premultiply(Vector pixels) {
  const Vector alpha = _mm256_shuffle_epi8(pixels, Both(FourPixels<3, 3, 3, 3>()));
  // Alpha itself is multiplied by one.
  const Vector alphaAndOne = _mm256_or_si256(alpha, Words(0xFFFF0000));
  const Vector one = _mm256_set1_epi16(1);
  const Vector even = _mm256_add_epi16(_mm256_mulhi_epu16(_mm256_slli_epi16(pixels, 8), alpha), one);
  const Vector odd = _mm256_add_epi16(
      _mm256_mulhi_epu16(_mm256_and_si256(pixels, _mm256_set1_epi16(static_cast<short>(0xFF00))),
                         alphaAndOne),
      one);
  return _mm256_or_si256(_mm256_srli_epi16(even, 8),
                         _mm256_and_si256(odd, _mm256_set1_epi16(static_cast<short>(0xFF00))));
}

// Divides by a reciprocal in 16-bit lanes. With c = min(colour, alpha) the quotient c x 255 / alpha needs no
// clamping, and c x r / 65536 truncates to it for r = floor(255 x 65536 / alpha) + 1: r is too large by at
// most one, which adds less than 1 / alpha to the quotient, too little to reach the next integer. r has 24
// bits, so it is applied in two halves.
Vector Unpremultiply(Vector pixels) {
  const Vector alphaBits = _mm256_and_si256(pixels, Words(kAlphaMask));
  Vector alpha = _mm256_shuffle_epi8(pixels, Both(FourPixels<3, 3, 3, 3>()));
  // Alpha 0 counts as 255, which changes nothing.
  alpha = _mm256_or_si256(alpha, _mm256_cmpeq_epi8(alpha, _mm256_setzero_si256()));
  const Vector colours = _mm256_min_epu8(_mm256_xor_si256(pixels, alphaBits), alpha);

  const __m256 divisor = _mm256_cvtepi32_ps(_mm256_srli_epi32(alpha, 24));
  const Vector quotient = _mm256_cvttps_epi32(_mm256_div_ps(_mm256_set1_ps(255.0F * 65536.0F), divisor));
  const Vector reciprocal = _mm256_add_epi32(quotient, Words(1));
  const Vector low = _mm256_shuffle_epi8(reciprocal, Both(FourPixels<0, 1, 0, 1>()));
  const Vector high = _mm256_shuffle_epi8(reciprocal, Both(FourPixels<2, 3, 2, 3>()));

  const Vector even = _mm256_and_si256(colours, _mm256_set1_epi16(0xFF));
  const Vector odd = _mm256_srli_epi16(colours, 8);
  const Vector evenResult = _mm256_add_epi16(_mm256_mullo_epi16(even, high), _mm256_mulhi_epu16(even, low));
  const Vector oddResult = _mm256_add_epi16(_mm256_mullo_epi16(odd, high), _mm256_mulhi_epu16(odd, low));
  return _mm256_or_si256(_mm256_or_si256(evenResult, _mm256_slli_epi16(oddResult, 8)), alphaBits);
}

Vector ScaleAlpha(Vector pixels, __m256 factor) {
  const __m256 alpha = _mm256_cvtepi32_ps(_mm256_srli_epi32(pixels, 24));
  const Vector scaled = _mm256_slli_epi32(_mm256_cvttps_epi32(_mm256_mul_ps(alpha, factor)), 24);
  return _mm256_or_si256(_mm256_andnot_si256(Words(kAlphaMask), pixels), scaled);
}

template <Vector kOperation(Vector), void (*RPixelKernels::*kPlain)(unsigned char*, std::size_t)>
void InPlace(unsigned char* pixels, std::size_t count) {
  std::size_t i = 0;
  for (; i + 8 <= count; i += 8) Store(pixels + 4 * i, kOperation(Load(pixels + 4 * i)));
  (kPlainPixelKernels.*kPlain)(pixels + 4 * i, count - i);
}

void ScaleAllAlpha(unsigned char* pixels, std::size_t count, float factor) {
  // The conversion instruction gives 0x80000000 for what is no 32-bit integer: a low byte of 0, as it should
  // be.
  const __m256 factors = _mm256_set1_ps(factor);
  std::size_t i = 0;
  for (; i + 8 <= count; i += 8) Store(pixels + 4 * i, ScaleAlpha(Load(pixels + 4 * i), factors));
  kPlainPixelKernels.scaleAlpha(pixels + 4 * i, count - i, factor);
}

void MergeAlpha(unsigned char* destination, const unsigned char* colour, const unsigned char* alpha,
                std::size_t pixels) {
  std::size_t i = 0;
  for (; i + 8 <= pixels; i += 8) {
    const Vector colours = _mm256_andnot_si256(Words(kAlphaMask), Load(colour + 4 * i));
    const Vector merged = _mm256_and_si256(_mm256_slli_epi32(Load(alpha + 4 * i), 8), Words(kAlphaMask));
    Store(destination + 4 * i, _mm256_or_si256(colours, merged));
  }
  kPlainPixelKernels.mergeAlpha(destination + 4 * i, colour + 4 * i, alpha + 4 * i, pixels - i);
}

// --- Rows.

void SwapRows(unsigned char* a, unsigned char* b, std::size_t bytes) {
  std::size_t i = 0;
  for (; i + sizeof(Vector) <= bytes; i += sizeof(Vector)) {
    const Vector fromA = Load(a + i);
    Store(a + i, Load(b + i));
    Store(b + i, fromA);
  }
  kPlainPixelKernels.swapRows(a + i, b + i, bytes - i);
}

// Bytes as pixels of one byte.
struct CopyBlock {
  static constexpr std::size_t kDestinationBytes = 1, kSourceBytes = 1, kPixels = sizeof(Vector),
                               kReserve = 0;
  template <class StorePolicy>
  void Run(unsigned char* destination, const unsigned char* source) const {
    StorePolicy::Write(destination, Load(source));
  }
};

void CopyRows(unsigned char* destination, std::size_t destinationStride, const unsigned char* source,
              std::size_t sourceStride, std::size_t rowBytes, std::size_t rows) {
  const auto copy = [](unsigned char* to, const unsigned char* from, std::size_t bytes) {
    kPlainPixelKernels.copyRows(to, 0, from, 0, bytes, 1);
  };
  if (rowBytes * rows < kStreamingBytes) {
    kPlainPixelKernels.copyRows(destination, destinationStride, source, sourceStride, rowBytes, rows);
    return;
  }
  for (std::size_t row = 0; row < rows; ++row, destination += destinationStride, source += sourceStride) {
    const auto aligned = static_cast<std::size_t>(PixelsToAlignment(destination, 1));
    const std::size_t head = aligned < rowBytes ? aligned : rowBytes;
    copy(destination, source, head);
    const std::size_t done = RunBlocks<StreamingStore>(CopyBlock{}, destination, source, head, rowBytes);
    copy(destination + done, source + done, rowBytes - done);
  }
  _mm_sfence();
}

// (a + b) / 2, truncated: the instruction rounds up, so the odd bit is taken off again.
Vector Average(Vector a, Vector b) {
  const Vector odd = _mm256_and_si256(_mm256_xor_si256(a, b), _mm256_set1_epi8(1));
  return _mm256_sub_epi8(_mm256_avg_epu8(a, b), odd);
}

template <class StorePolicy>
void AveragePair(unsigned char* destination, const unsigned char* source, std::size_t rowBytes) {
  std::size_t i = 0;
  for (; i + sizeof(Vector) <= rowBytes; i += sizeof(Vector)) {
    const Vector average = Average(Load(source + i), Load(source + rowBytes + i));
    StorePolicy::Write(destination + i, average);
    StorePolicy::Write(destination + rowBytes + i, average);
  }
  for (; i < rowBytes; ++i) {
    destination[i] = static_cast<unsigned char>((source[i] + source[rowBytes + i]) / 2);
    destination[rowBytes + i] = destination[i];
  }
}

void AveragePairs(unsigned char* destination, const unsigned char* source, std::size_t rowBytes,
                  std::size_t pairs) {
  const std::size_t pairBytes = 2 * rowBytes;
  const bool aligned = PixelsToAlignment(destination, 1) == 0 && rowBytes % sizeof(Vector) == 0;
  const bool streaming = aligned && pairs * pairBytes >= kStreamingBytes;
  const auto average = streaming ? AveragePair<StreamingStore> : AveragePair<CachedStore>;
  for (std::size_t pair = 0; pair < pairs; ++pair) {
    average(destination + pair * pairBytes, source + pair * pairBytes, rowBytes);
  }
  if (streaming) _mm_sfence();
}

// --- Resampling by 2.

struct EverySecondBlock {
  static constexpr std::size_t kDestinationBytes = 4, kSourceBytes = 8, kPixels = 8, kReserve = 0;
  template <class StorePolicy>
  void Run(unsigned char* destination, const unsigned char* source) const {
    const __m256 low = _mm256_castsi256_ps(Load(source));
    const __m256 high = _mm256_castsi256_ps(Load(source + sizeof(Vector)));
    const Vector chosen = _mm256_castps_si256(_mm256_shuffle_ps(low, high, _MM_SHUFFLE(2, 0, 2, 0)));
    StorePolicy::Write(destination, _mm256_permute4x64_epi64(chosen, _MM_SHUFFLE(3, 1, 2, 0)));
  }
};

void Twice(unsigned char* destination, const unsigned char* source, std::size_t pixels) {
  const Vector order = _mm256_setr_epi32(0, 0, 1, 1, 2, 2, 3, 3);
  std::size_t i = 0;
  for (; i + 8 <= pixels; i += 8) {
    const Vector half = _mm256_castsi128_si256(LoadHalf(source + i / 2 * 4));
    Store(destination + 4 * i, _mm256_permutevar8x32_epi32(half, order));
  }
  kPlainPixelKernels.twice(destination + 4 * i, source + i / 2 * 4, pixels - i);
}

}  // namespace

const RPixelKernels kAvx2PixelKernels = {
    .swap02 = ConvertWith<ShuffleBlock<2, 1, 0, 3>, &RPixelKernels::swap02>,
    .swap13 = ConvertWith<ShuffleBlock<0, 3, 2, 1>, &RPixelKernels::swap13>,
    .rotate = ConvertWith<ShuffleBlock<1, 2, 3, 0>, &RPixelKernels::rotate>,
    .reverse = ConvertWith<ShuffleBlock<3, 2, 1, 0>, &RPixelKernels::reverse>,
    .reverse3 = ConvertWith<Reverse3Block, &RPixelKernels::reverse3>,
    .addAlpha = ConvertWith<AddAlphaBlock<false>, &RPixelKernels::addAlpha>,
    .addAlphaSwap = ConvertWith<AddAlphaBlock<true>, &RPixelKernels::addAlphaSwap>,
    .dropAlpha = ConvertWith<DropAlphaBlock<false>, &RPixelKernels::dropAlpha>,
    .dropAlphaSwap = ConvertWith<DropAlphaBlock<true>, &RPixelKernels::dropAlphaSwap>,
    .swap02Opaque = ConvertWith<OpaqueBlock, &RPixelKernels::swap02Opaque>,
    .grayToRgb = ConvertWith<GrayToRGBBlock, &RPixelKernels::grayToRgb>,
    .rgb555ToRgb = ConvertWith<RGB555ToRGBBlock, &RPixelKernels::rgb555ToRgb>,
    .rgb555ToRgba = ConvertWith<RGB555ToRGBABlock, &RPixelKernels::rgb555ToRgba>,
    .premultiply = InPlace<Premultiply, &RPixelKernels::premultiply>,
    .unpremultiply = InPlace<Unpremultiply, &RPixelKernels::unpremultiply>,
    .scaleAlpha = ScaleAllAlpha,
    .alphaToGray = AlphaToGray,
    .mergeAlpha = MergeAlpha,
    .swapRows = SwapRows,
    .copyRows = CopyRows,
    .averagePairs = AveragePairs,
    .everySecond = ConvertWith<EverySecondBlock, &RPixelKernels::everySecond>,
    .twice = Twice,
};
