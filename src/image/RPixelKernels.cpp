#include "image/RPixelKernels.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace {

// Pixels of 4 bytes are handled as words, which compilers turn into vector code.
static_assert(std::endian::native == std::endian::little, "byte 0 of a pixel is the low byte of its word");

std::uint32_t LoadWord(const unsigned char* address) {
  std::uint32_t word = 0;
  std::memcpy(&word, address, sizeof word);
  return word;
}

void StoreWord(unsigned char* address, std::uint32_t word) { std::memcpy(address, &word, sizeof word); }

constexpr std::uint32_t Byte(std::uint32_t word, int index) { return word >> 8 * index & 0xFF; }

constexpr std::uint32_t MakeWord(std::uint32_t s0, std::uint32_t s1, std::uint32_t s2, std::uint32_t s3) {
  return s0 | s1 << 8 | s2 << 16 | s3 << 24;
}

// Replaces each pixel of 4 bytes by `map` of it.
template <class Map>
void MapWords(unsigned char* destination, const unsigned char* source, std::size_t pixels, Map map) {
  for (std::size_t i = 0; i < pixels; ++i) StoreWord(destination + 4 * i, map(LoadWord(source + 4 * i)));
}

template <int k0, int k1, int k2, int k3>
void ShuffleWords(unsigned char* destination, const unsigned char* source, std::size_t pixels) {
  MapWords(destination, source, pixels, [](std::uint32_t word) {
    return MakeWord(Byte(word, k0), Byte(word, k1), Byte(word, k2), Byte(word, k3));
  });
}

// Moves bytes 0 to 2 of each pixel, or exchanges 0 and 2; a fourth byte is 255.
template <int kDestinationSize, int kSourceSize, bool kSwap>
void MoveColours(unsigned char* destination, const unsigned char* source, std::size_t pixels) {
  for (std::size_t i = 0; i < pixels; ++i, destination += kDestinationSize, source += kSourceSize) {
    const unsigned char first = source[0];
    const unsigned char second = source[1];
    const unsigned char third = source[2];
    destination[0] = kSwap ? third : first;
    destination[1] = second;
    destination[2] = kSwap ? first : third;
    if constexpr (kDestinationSize == 4) destination[3] = 255;
  }
}

void GrayToRGB(unsigned char* destination, const unsigned char* source, std::size_t pixels) {
  for (std::size_t i = 0; i < pixels; ++i) {
    for (std::size_t channel = 0; channel < 3; ++channel) destination[3 * i + channel] = source[i];
  }
}

template <int kDestinationSize>
void ExpandRGB555(unsigned char* destination, const unsigned char* source, std::size_t pixels) {
  for (std::size_t i = 0; i < pixels; ++i, destination += kDestinationSize, source += 2) {
    const unsigned word = source[0] | unsigned{source[1]} << 8;
    // Deliberate: mask 0xF0, not 0xF8: only the top four of red's five bits survive.
    destination[0] = static_cast<unsigned char>(word >> 7 & 0xF0);
    destination[1] = static_cast<unsigned char>(word >> 2 & 0xF8);
    destination[2] = static_cast<unsigned char>(word << 3 & 0xFF);
    if constexpr (kDestinationSize == 4) destination[3] = 255;
  }
}

void Premultiply(unsigned char* pixels, std::size_t count) {
  MapWords(pixels, pixels, count, [](std::uint32_t word) {
    const std::uint32_t alpha = Byte(word, 3);
    return MakeWord(Byte(word, 0) * alpha / 255, Byte(word, 1) * alpha / 255, Byte(word, 2) * alpha / 255,
                    alpha);
  });
}

void Unpremultiply(unsigned char* pixels, std::size_t count) {
  MapWords(pixels, pixels, count, [](std::uint32_t word) {
    const std::uint32_t alpha = Byte(word, 3);
    if (alpha == 0) return word;
    const auto divide = [=](int channel) {
      return std::min<std::uint32_t>(255, Byte(word, channel) * 255 / alpha);
    };
    return MakeWord(divide(0), divide(1), divide(2), alpha);
  });
}

// The low byte of the truncated value; 0 for what is no 32-bit integer, a NaN included.
unsigned char TruncateToByte(float value) {
  constexpr float kLimit = 2147483648.0F;
  return std::abs(value) < kLimit ? static_cast<unsigned char>(static_cast<std::int32_t>(value) & 0xFF) : 0;
}

void ScaleAlpha(unsigned char* pixels, std::size_t count, float factor) {
  std::array<unsigned char, 256> scaled{};
  for (std::size_t alpha = 0; alpha < scaled.size(); ++alpha) {
    // Deliberate: no clamping; a factor above 1 wraps.
    scaled[alpha] = TruncateToByte(static_cast<float>(alpha) * factor);
  }
  for (std::size_t i = 0; i < count; ++i) pixels[4 * i + 3] = scaled[pixels[4 * i + 3]];
}

void AlphaToGray(unsigned char* destination, const unsigned char* source, std::size_t pixels, int channel,
                 unsigned char invert) {
  MapWords(destination, source, pixels, [=](std::uint32_t word) {
    const std::uint32_t alpha = Byte(word, channel) ^ invert;
    return MakeWord(alpha, alpha, alpha, 255);
  });
}

void MergeAlpha(unsigned char* destination, const unsigned char* colour, const unsigned char* alpha,
                std::size_t pixels) {
  for (std::size_t i = 0; i < pixels; ++i) {
    const std::uint32_t word = LoadWord(colour + 4 * i);
    const std::uint32_t mask = LoadWord(alpha + 4 * i);
    StoreWord(destination + 4 * i, (word & 0xFFFFFF) | Byte(mask, 2) << 24);
  }
}

void SwapRows(unsigned char* a, unsigned char* b, std::size_t bytes) { std::swap_ranges(a, a + bytes, b); }

void CopyRows(unsigned char* destination, std::size_t destinationStride, const unsigned char* source,
              std::size_t sourceStride, std::size_t rowBytes, std::size_t rows) {
  for (std::size_t row = 0; row < rows; ++row) {
    std::memcpy(destination + row * destinationStride, source + row * sourceStride, rowBytes);
  }
}

void AveragePairs(unsigned char* destination, const unsigned char* source, std::size_t rowBytes,
                  std::size_t pairs) {
  for (std::size_t pair = 0; pair < pairs; ++pair, destination += 2 * rowBytes, source += 2 * rowBytes) {
    for (std::size_t i = 0; i < rowBytes; ++i) {
      destination[i] = static_cast<unsigned char>((source[i] + source[rowBytes + i]) / 2);
    }
    std::memcpy(destination + rowBytes, destination, rowBytes);
  }
}

void EverySecond(unsigned char* destination, const unsigned char* source, std::size_t pixels) {
  for (std::size_t i = 0; i < pixels; ++i) StoreWord(destination + 4 * i, LoadWord(source + 8 * i));
}

void Twice(unsigned char* destination, const unsigned char* source, std::size_t pixels) {
  for (std::size_t i = 0; i < pixels; ++i) StoreWord(destination + 4 * i, LoadWord(source + i / 2 * 4));
}

}  // namespace

const RPixelKernels kPlainPixelKernels = {
    .swap02 = ShuffleWords<2, 1, 0, 3>,
    .swap13 = ShuffleWords<0, 3, 2, 1>,
    .rotate = ShuffleWords<1, 2, 3, 0>,
    .reverse = ShuffleWords<3, 2, 1, 0>,
    .reverse3 = MoveColours<3, 3, true>,
    .addAlpha = MoveColours<4, 3, false>,
    .addAlphaSwap = MoveColours<4, 3, true>,
    .dropAlpha = MoveColours<3, 4, false>,
    .dropAlphaSwap = MoveColours<3, 4, true>,
    .swap02Opaque = MoveColours<4, 4, true>,
    .grayToRgb = GrayToRGB,
    .rgb555ToRgb = ExpandRGB555<3>,
    .rgb555ToRgba = ExpandRGB555<4>,
    .premultiply = Premultiply,
    .unpremultiply = Unpremultiply,
    .scaleAlpha = ScaleAlpha,
    .alphaToGray = AlphaToGray,
    .mergeAlpha = MergeAlpha,
    .swapRows = SwapRows,
    .copyRows = CopyRows,
    .averagePairs = AveragePairs,
    .everySecond = EverySecond,
    .twice = Twice,
};

#if defined(__x86_64__)
bool RHasAvx512Pixels() {
  return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("avx512bw") &&
         __builtin_cpu_supports("avx512vbmi");
}
#endif

const RPixelKernels& RGetPixelKernels() {
  static const RPixelKernels& kChosen = []() -> const RPixelKernels& {
#if defined(__x86_64__)
    if (RHasAvx512Pixels()) return RGetAvx512PixelKernels();
    if (__builtin_cpu_supports("avx2")) return kAvx2PixelKernels;
#endif
    return kPlainPixelKernels;
  }();
  return kChosen;
}
