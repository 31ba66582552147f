#include "image/RPixelKernels.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace {

using Pixel = std::array<unsigned char, 4>;

// Writes one pixel for each one read. A whole pixel is read before anything is written, so the two may be the
// same.
template <std::size_t kDestinationSize, std::size_t kSourceSize, class Map>
void ForEachPixel(unsigned char* destination, const unsigned char* source, std::size_t pixels, Map map) {
  for (std::size_t i = 0; i < pixels; ++i) {
    Pixel in{};
    std::copy_n(source + i * kSourceSize, kSourceSize, in.begin());
    const Pixel out = map(in);
    std::copy_n(out.begin(), kDestinationSize, destination + i * kDestinationSize);
  }
}

constexpr int kOpaque = -1;

// Moves the bytes of each pixel: byte i of the destination is byte `kFrom`[i] of the source.
template <std::size_t kSourceSize, int... kFrom>
void Shuffle(unsigned char* destination, const unsigned char* source, std::size_t pixels) {
  ForEachPixel<sizeof...(kFrom), kSourceSize>(destination, source, pixels, [](const Pixel& in) {
    return Pixel{
        (kFrom == kOpaque ? static_cast<unsigned char>(255) : in[static_cast<std::size_t>(kFrom & 3)])...};
  });
}

template <std::size_t kDestinationSize>
void ExpandRGB555(unsigned char* destination, const unsigned char* source, std::size_t pixels) {
  ForEachPixel<kDestinationSize, 2>(destination, source, pixels, [](const Pixel& in) {
    const unsigned word = in[0] | unsigned{in[1]} << 8;
    // Deliberate: mask 0xF0, not 0xF8: only the top four of red's five bits survive, as in files of old.
    return Pixel{static_cast<unsigned char>(word >> 7 & 0xF0), static_cast<unsigned char>(word >> 2 & 0xF8),
                 static_cast<unsigned char>(word << 3 & 0xFF), 255};
  });
}

void Premultiply(unsigned char* pixels, std::size_t count) {
  ForEachPixel<4, 4>(pixels, pixels, count, [](Pixel pixel) {
    const float alpha = static_cast<float>(pixel[3]) / 255.0F;
    for (std::size_t i = 0; i < 3; ++i)
      pixel[i] = static_cast<unsigned char>(static_cast<float>(pixel[i]) * alpha);
    return pixel;
  });
}

void Unpremultiply(unsigned char* pixels, std::size_t count) {
  ForEachPixel<4, 4>(pixels, pixels, count, [](Pixel pixel) {
    if (pixel[3] == 0) return pixel;
    for (std::size_t i = 0; i < 3; ++i) {
      pixel[i] = static_cast<unsigned char>(std::min(255U, pixel[i] * 255U / pixel[3]));
    }
    return pixel;
  });
}

void ScaleAlpha(unsigned char* pixels, std::size_t count, float factor) {
  constexpr float kLimit = 2147483648.0F;
  for (std::size_t i = 0; i < count; ++i) {
    const float scaled = static_cast<float>(pixels[4 * i + 3]) * factor;
    // Also false for a scaled value that is no number.
    const bool representable = std::abs(scaled) < kLimit;
    // Deliberate: no clamping; a factor above 1 wraps.
    pixels[4 * i + 3] = static_cast<unsigned char>((representable ? static_cast<int>(scaled) : 0) & 0xFF);
  }
}

void AlphaToGray(unsigned char* destination, const unsigned char* source, std::size_t pixels, int channel,
                 unsigned char invert) {
  ForEachPixel<4, 4>(destination, source, pixels, [channel, invert](const Pixel& in) {
    const auto value = static_cast<unsigned char>(in[static_cast<std::size_t>(channel)] ^ invert);
    return Pixel{value, value, value, 255};
  });
}

void MergeAlpha(unsigned char* destination, const unsigned char* colour, const unsigned char* alpha,
                std::size_t pixels) {
  for (std::size_t i = 0; i < pixels; ++i) {
    std::copy_n(colour + 4 * i, 3, destination + 4 * i);
    destination[4 * i + 3] = alpha[4 * i + 2];
  }
}

void SwapRows(unsigned char* a, unsigned char* b, std::size_t bytes) { std::swap_ranges(a, a + bytes, b); }

void AverageRows(unsigned char* first, unsigned char* second, const unsigned char* a, const unsigned char* b,
                 std::size_t bytes) {
  for (std::size_t i = 0; i < bytes; ++i) {
    const auto average = static_cast<unsigned char>((a[i] + b[i]) / 2);
    first[i] = average;
    if (second) second[i] = average;
  }
}

}  // namespace

const RPixelKernels kPlainPixelKernels = {
    .swap02 = Shuffle<4, 2, 1, 0, 3>,
    .swap13 = Shuffle<4, 0, 3, 2, 1>,
    .rotate = Shuffle<4, 1, 2, 3, 0>,
    .reverse = Shuffle<4, 3, 2, 1, 0>,
    .reverse3 = Shuffle<3, 2, 1, 0>,
    .addAlpha = Shuffle<3, 0, 1, 2, kOpaque>,
    .addAlphaSwap = Shuffle<3, 2, 1, 0, kOpaque>,
    .dropAlpha = Shuffle<4, 0, 1, 2>,
    .dropAlphaSwap = Shuffle<4, 2, 1, 0>,
    .rgb555ToRgb = ExpandRGB555<3>,
    .rgb555ToRgba = ExpandRGB555<4>,
    .premultiply = Premultiply,
    .unpremultiply = Unpremultiply,
    .scaleAlpha = ScaleAlpha,
    .alphaToGray = AlphaToGray,
    .mergeAlpha = MergeAlpha,
    .swapRows = SwapRows,
    .averageRows = AverageRows,
};

const RPixelKernels& RGetPixelKernels() { return kPlainPixelKernels; }
