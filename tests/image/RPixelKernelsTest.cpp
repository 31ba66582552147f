// Tests of the loops over pixels: every implementation that this machine can run, against formulas of single
// pixels.
#include "image/RPixelKernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <vector>

#include "support/ImageProbe.h"

namespace {

using test::NoisePixels;
using test::Pixels;
using Pixel = std::array<unsigned, 4>;
using Formula = std::function<Pixel(const Pixel&)>;

struct Implementation {
  const char* name;
  const RPixelKernels* kernels;
};

std::vector<Implementation> Implementations() {
  std::vector<Implementation> list = {{"Plain", &kPlainPixelKernels}};
#if defined(__x86_64__)
  if (__builtin_cpu_supports("avx2")) list.push_back({"Avx2", &kAvx2PixelKernels});
  if (RHasAvx512Pixels()) list.push_back({"Avx512", &RGetAvx512PixelKernels()});
#endif
  return list;
}

std::string NameOf(const testing::TestParamInfo<Implementation>& info) { return info.param.name; }

// Applies a formula pixel by pixel.
Pixels Expect(const Pixels& source, std::size_t sourceSize, std::size_t destinationSize,
              const Formula& formula) {
  Pixels result;
  for (std::size_t i = 0; i + sourceSize <= source.size(); i += sourceSize) {
    Pixel in{};
    for (std::size_t k = 0; k < sourceSize; ++k) in[k] = source[i + k];
    const Pixel out = formula(in);
    for (std::size_t k = 0; k < destinationSize; ++k) result.push_back(static_cast<unsigned char>(out[k]));
  }
  return result;
}

// Bytes with room around them, which must not change, at an address of the wanted misalignment.
class GuardedBytes {
 public:
  GuardedBytes(std::size_t count, std::size_t misalignment)
      : mStorage(count + misalignment + 2 * kGuard + kLine, kGuardByte), mCount(count) {
    const auto address = reinterpret_cast<std::uintptr_t>(mStorage.data()) + kGuard;
    mOffset = kGuard + (kLine - address % kLine) % kLine + misalignment;
  }
  GuardedBytes(const Pixels& bytes, std::size_t misalignment) : GuardedBytes(bytes.size(), misalignment) {
    std::copy(bytes.begin(), bytes.end(), Data());
  }

  unsigned char* Data() { return mStorage.data() + mOffset; }
  Pixels Bytes() { return {Data(), Data() + mCount}; }
  bool GuardsAreWhole() const {
    const auto isWhole = [](unsigned char byte) { return byte == kGuardByte; };
    const auto begin = mStorage.begin() + static_cast<std::ptrdiff_t>(mOffset);
    return std::all_of(mStorage.begin(), begin, isWhole) &&
           std::all_of(begin + static_cast<std::ptrdiff_t>(mCount), mStorage.end(), isWhole);
  }

 private:
  static constexpr std::size_t kGuard = 64;
  static constexpr std::size_t kLine = 64;
  static constexpr unsigned char kGuardByte = 0x5A;
  Pixels mStorage;
  std::size_t mCount;
  std::size_t mOffset = 0;
};

constexpr std::size_t kSizes[] = {0,  1,  2,  3,  4,  5,  7,  8,  9,  11, 12,  15,  16,  17,
                                  18, 23, 31, 32, 33, 47, 48, 63, 64, 65, 100, 127, 128, 193};
constexpr std::size_t kMisalignments[] = {0, 1, 3, 4, 16};

struct ConvertCase {
  const char* name;
  RPixelKernels::Convert RPixelKernels::*kernel;
  std::size_t sourceSize;
  std::size_t destinationSize;
  Formula formula;
};

unsigned Word(const Pixel& s) { return s[0] + 256 * s[1]; }

Pixel FromRGB555(const Pixel& s) {
  // Red in bits 10 to 14, of which the lowest is dropped; green in bits 5 to 9; blue in bits 0 to 4.
  return {Word(s) / 2048 % 16 * 16, Word(s) / 32 % 32 * 8, Word(s) % 32 * 8, 255};
}

const ConvertCase kConvertCases[] = {
    {"swap02", &RPixelKernels::swap02, 4, 4,
     [](const Pixel& s) {
       return Pixel{s[2], s[1], s[0], s[3]};
     }},
    {"swap13", &RPixelKernels::swap13, 4, 4,
     [](const Pixel& s) {
       return Pixel{s[0], s[3], s[2], s[1]};
     }},
    {"rotate", &RPixelKernels::rotate, 4, 4,
     [](const Pixel& s) {
       return Pixel{s[1], s[2], s[3], s[0]};
     }},
    {"reverse", &RPixelKernels::reverse, 4, 4,
     [](const Pixel& s) {
       return Pixel{s[3], s[2], s[1], s[0]};
     }},
    {"reverse3", &RPixelKernels::reverse3, 3, 3,
     [](const Pixel& s) {
       return Pixel{s[2], s[1], s[0]};
     }},
    {"addAlpha", &RPixelKernels::addAlpha, 3, 4,
     [](const Pixel& s) {
       return Pixel{s[0], s[1], s[2], 255};
     }},
    {"addAlphaSwap", &RPixelKernels::addAlphaSwap, 3, 4,
     [](const Pixel& s) {
       return Pixel{s[2], s[1], s[0], 255};
     }},
    {"dropAlpha", &RPixelKernels::dropAlpha, 4, 3, [](const Pixel& s) { return s; }},
    {"dropAlphaSwap", &RPixelKernels::dropAlphaSwap, 4, 3,
     [](const Pixel& s) {
       return Pixel{s[2], s[1], s[0]};
     }},
    {"swap02Opaque", &RPixelKernels::swap02Opaque, 4, 4,
     [](const Pixel& s) {
       return Pixel{s[2], s[1], s[0], 255};
     }},
    {"grayToRgb", &RPixelKernels::grayToRgb, 1, 3,
     [](const Pixel& s) {
       return Pixel{s[0], s[0], s[0]};
     }},
    {"rgb555ToRgb", &RPixelKernels::rgb555ToRgb, 2, 3, FromRGB555},
    {"rgb555ToRgba", &RPixelKernels::rgb555ToRgba, 2, 4, FromRGB555},
    {"everySecond", &RPixelKernels::everySecond, 8, 4, [](const Pixel& s) { return s; }},
};

class RPixelKernelsTest : public testing::TestWithParam<Implementation> {
 protected:
  const RPixelKernels& Kernels() const { return *GetParam().kernels; }
};

INSTANTIATE_TEST_SUITE_P(, RPixelKernelsTest, testing::ValuesIn(Implementations()), NameOf);

// Reads the first four bytes of each pixel only: the source of `everySecond` has two pixels for each one.
Pixels ExpectConverted(const ConvertCase& row, const Pixels& source) {
  if (row.sourceSize <= 4) return Expect(source, row.sourceSize, row.destinationSize, row.formula);
  Pixels firsts;
  for (std::size_t i = 0; i < source.size(); i += row.sourceSize) {
    firsts.insert(firsts.end(), source.begin() + static_cast<std::ptrdiff_t>(i),
                  source.begin() + static_cast<std::ptrdiff_t>(i + 4));
  }
  return firsts;
}

TEST_P(RPixelKernelsTest, ConversionsMatchTheFormulaAtEverySizeAndAddress) {
  for (const ConvertCase& row : kConvertCases) {
    for (const std::size_t count : kSizes) {
      const Pixels noise = NoisePixels(count * row.sourceSize, static_cast<std::uint32_t>(count));
      const Pixels expected = ExpectConverted(row, noise);
      for (const std::size_t misalignment : kMisalignments) {
        GuardedBytes source(noise, misalignment * 3 % 17);
        GuardedBytes destination(count * row.destinationSize, misalignment);
        (Kernels().*row.kernel)(destination.Data(), source.Data(), count);
        EXPECT_EQ(destination.Bytes(), expected) << row.name << " of " << count;
        EXPECT_TRUE(destination.GuardsAreWhole()) << row.name << " of " << count;
        EXPECT_EQ(source.Bytes(), noise);
      }
    }
  }
}

TEST_P(RPixelKernelsTest, ConversionsOfOneSizeWorkInPlace) {
  for (const ConvertCase& row : kConvertCases) {
    if (row.sourceSize != row.destinationSize) continue;
    for (const std::size_t count : kSizes) {
      const Pixels noise = NoisePixels(count * row.sourceSize);
      GuardedBytes pixels(noise, 4);
      (Kernels().*row.kernel)(pixels.Data(), pixels.Data(), count);
      EXPECT_EQ(pixels.Bytes(), ExpectConverted(row, noise)) << row.name << " of " << count;
      EXPECT_TRUE(pixels.GuardsAreWhole());
    }
  }
}

// Large outputs may be written differently: past the caches, from the first aligned address on.
TEST_P(RPixelKernelsTest, LargeConversionsMatchThePlainLoop) {
  constexpr std::size_t kCount = (std::size_t{24} << 20) / 3 + 7;
  const Pixels source = NoisePixels(kCount * 4);
  Pixels expected(kCount * 4);
  for (const ConvertCase& row : kConvertCases) {
    if (row.sourceSize > 4) continue;
    const std::size_t bytes = kCount * row.destinationSize;
    (kPlainPixelKernels.*row.kernel)(expected.data(), source.data(), kCount);
    for (const std::size_t misalignment : {4, 7}) {
      GuardedBytes destination(bytes, misalignment);
      (Kernels().*row.kernel)(destination.Data(), source.data(), kCount);
      EXPECT_EQ(std::memcmp(destination.Data(), expected.data(), bytes), 0)
          << row.name << " at " << misalignment;
      EXPECT_TRUE(destination.GuardsAreWhole());
    }
  }
}

TEST_P(RPixelKernelsTest, TwiceDoublesEachPixel) {
  for (const std::size_t count : kSizes) {
    const std::size_t sourceCount = (count + 1) / 2;
    GuardedBytes source(NoisePixels(4 * sourceCount), 0);
    GuardedBytes destination(4 * count, 4);
    Kernels().twice(destination.Data(), source.Data(), count);
    for (std::size_t i = 0; i < count; ++i) {
      EXPECT_EQ(std::memcmp(destination.Data() + 4 * i, source.Data() + i / 2 * 4, 4), 0)
          << i << " of " << count;
    }
    EXPECT_TRUE(destination.GuardsAreWhole());
  }
}

// --- Alpha.

// One pixel for every pair of colour and alpha; the three channels get three different colours.
Pixels AllPairs() {
  Pixels pixels;
  for (unsigned alpha = 0; alpha < 256; ++alpha) {
    for (unsigned colour = 0; colour < 256; ++colour) {
      for (const unsigned byte : {colour, 255 - colour, (colour * 77 + 13) % 256, alpha}) {
        pixels.push_back(static_cast<unsigned char>(byte));
      }
    }
  }
  return pixels;
}

Pixel PremultiplyInSinglePrecision(const Pixel& s) {
  const float alpha = static_cast<float>(s[3]) / 255.0F;
  Pixel out = s;
  for (std::size_t i = 0; i < 3; ++i) out[i] = static_cast<unsigned>(static_cast<float>(s[i]) * alpha);
  return out;
}

Pixel Unpremultiply(const Pixel& s) {
  Pixel out = s;
  for (std::size_t i = 0; i < 3 && s[3] != 0; ++i) out[i] = std::min(255U, s[i] * 255U / s[3]);
  return out;
}

void ExpectInPlace(void (*kernel)(unsigned char*, std::size_t), const Formula& formula) {
  const Pixels pairs = AllPairs();
  for (const std::size_t misalignment : kMisalignments) {
    GuardedBytes pixels(pairs, misalignment);
    kernel(pixels.Data(), pairs.size() / 4);
    EXPECT_EQ(pixels.Bytes(), Expect(pairs, 4, 4, formula));
  }
  for (const std::size_t count : kSizes) {
    const Pixels noise = NoisePixels(4 * count);
    GuardedBytes part(noise, count % 7);
    kernel(part.Data(), count);
    EXPECT_EQ(part.Bytes(), Expect(noise, 4, 4, formula)) << count;
    EXPECT_TRUE(part.GuardsAreWhole());
  }
}

TEST_P(RPixelKernelsTest, PremultiplyIsExactForAllPairs) {
  ExpectInPlace(Kernels().premultiply, PremultiplyInSinglePrecision);
}

TEST_P(RPixelKernelsTest, UnpremultiplyIsExactForAllPairs) {
  ExpectInPlace(Kernels().unpremultiply, Unpremultiply);
}

TEST_P(RPixelKernelsTest, ScaleAlphaKeepsTheLowBitsOfTheTruncatedProduct) {
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  const Pixels pairs = AllPairs();
  for (const float factor : {0.0F,
                             0.5F,
                             0.75F,
                             1.0F,
                             1.5F,
                             2.0F,
                             3.7F,
                             -0.5F,
                             -1.0F,
                             -2.25F,
                             1000.0F,
                             8388607.0F,
                             8421504.0F,
                             8421505.0F,
                             1e10F,
                             -1e10F,
                             1e38F,
                             kInfinity,
                             -kInfinity,
                             std::numeric_limits<float>::quiet_NaN(),
                             std::numeric_limits<float>::denorm_min()}) {
    GuardedBytes pixels(pairs, 1);
    Kernels().scaleAlpha(pixels.Data(), pairs.size() / 4, factor);
    EXPECT_EQ(pixels.Bytes(),
              Expect(pairs, 4, 4,
                     [=](const Pixel& s) {
                       const double scaled =
                           std::trunc(static_cast<double>(static_cast<float>(s[3]) * factor));
                       const bool fits = scaled >= -2147483648.0 && scaled <= 2147483647.0;
                       const auto whole = static_cast<long long>(fits ? scaled : 0.0);
                       return Pixel{s[0], s[1], s[2], static_cast<unsigned>(((whole % 256) + 256) % 256)};
                     }))
        << factor;
  }
}

TEST_P(RPixelKernelsTest, AlphaToGrayReadsTheChannel) {
  for (const std::size_t count : kSizes) {
    for (const int channel : {0, 3}) {
      for (const unsigned invert : {0U, 255U}) {
        GuardedBytes source(NoisePixels(4 * count), 3);
        GuardedBytes destination(4 * count, 1);
        Kernels().alphaToGray(destination.Data(), source.Data(), count, channel,
                              static_cast<unsigned char>(invert));
        EXPECT_EQ(destination.Bytes(), Expect(source.Bytes(), 4, 4, [=](const Pixel& s) {
                    const unsigned alpha = invert ? 255 - s[static_cast<std::size_t>(channel)]
                                                  : s[static_cast<std::size_t>(channel)];
                    return Pixel{alpha, alpha, alpha, 255};
                  }));
        EXPECT_TRUE(destination.GuardsAreWhole());
      }
    }
  }
}

TEST_P(RPixelKernelsTest, MergeAlphaTakesByteTwoOfTheMask) {
  for (const std::size_t count : kSizes) {
    GuardedBytes colour(NoisePixels(4 * count, 1), 3);
    GuardedBytes mask(NoisePixels(4 * count, 2), 5);
    GuardedBytes destination(4 * count, 2);
    Kernels().mergeAlpha(destination.Data(), colour.Data(), mask.Data(), count);
    Pixels expected = colour.Bytes();
    for (std::size_t i = 0; i < count; ++i) expected[4 * i + 3] = mask.Bytes()[4 * i + 2];
    EXPECT_EQ(destination.Bytes(), expected);
    EXPECT_TRUE(destination.GuardsAreWhole());
  }
}

// --- Rows.

TEST_P(RPixelKernelsTest, SwapRowsExchanges) {
  for (const std::size_t bytes : kSizes) {
    GuardedBytes a(NoisePixels(bytes, 1), 1);
    GuardedBytes b(NoisePixels(bytes, 2), 2);
    Kernels().swapRows(a.Data(), b.Data(), bytes);
    EXPECT_EQ(a.Bytes(), NoisePixels(bytes, 2));
    EXPECT_EQ(b.Bytes(), NoisePixels(bytes, 1));
    EXPECT_TRUE(a.GuardsAreWhole() && b.GuardsAreWhole());
  }
}

TEST_P(RPixelKernelsTest, CopyRowsCopiesTheRectangleOnly) {
  constexpr std::size_t kStride = 200;
  constexpr std::size_t kRows = 5;
  for (const std::size_t rowBytes : kSizes) {
    const Pixels source = NoisePixels(2 * kStride * kRows);
    Pixels destination(kStride * kRows, 0x11);
    Pixels expected = destination;
    for (std::size_t row = 0; row < kRows; ++row) {
      for (std::size_t i = 0; i < rowBytes; ++i) expected[row * kStride + i] = source[row * 2 * kStride + i];
    }
    Kernels().copyRows(destination.data(), kStride, source.data(), 2 * kStride, rowBytes, kRows);
    EXPECT_EQ(destination, expected) << rowBytes;
  }
}

TEST_P(RPixelKernelsTest, LargeCopyRowsCopiesTheRectangleOnly) {
  constexpr std::size_t kRows = 2048;
  for (const std::size_t rowBytes : {std::size_t{13000}, std::size_t{13001}}) {
    const std::size_t stride = rowBytes + 37;
    const Pixels source = NoisePixels(rowBytes * kRows);
    Pixels destination(stride * kRows, 0x11);
    Kernels().copyRows(destination.data(), stride, source.data(), rowBytes, rowBytes, kRows);
    for (std::size_t row = 0; row < kRows; ++row) {
      ASSERT_EQ(std::memcmp(&destination[row * stride], &source[row * rowBytes], rowBytes), 0) << row;
      ASSERT_EQ(destination[row * stride + rowBytes], 0x11);
      ASSERT_EQ(destination[row * stride + stride - 1], 0x11);
    }
  }
}

TEST_P(RPixelKernelsTest, AveragePairsTruncates) {
  // Every pair of bytes occurs.
  Pixels rows(2 * 65536);
  for (std::size_t i = 0; i < 65536; ++i) {
    rows[i] = static_cast<unsigned char>(i & 0xFF);
    rows[65536 + i] = static_cast<unsigned char>(i >> 8);
  }
  Pixels averaged(rows.size());
  Kernels().averagePairs(averaged.data(), rows.data(), 65536, 1);
  for (std::size_t i = 0; i < 65536; ++i) {
    ASSERT_EQ(averaged[i], ((i & 0xFF) + (i >> 8)) / 2);
    ASSERT_EQ(averaged[65536 + i], averaged[i]);
  }
}

TEST_P(RPixelKernelsTest, AveragePairsOfEverySize) {
  for (const std::size_t rowBytes : kSizes) {
    GuardedBytes source(NoisePixels(6 * rowBytes), 1);
    GuardedBytes destination(6 * rowBytes, 3);
    Kernels().averagePairs(destination.Data(), source.Data(), rowBytes, 3);
    Pixels expected;
    for (std::size_t row = 0; row < 6; ++row) {
      for (std::size_t i = 0; i < rowBytes; ++i) {
        const std::size_t first = row / 2 * 2 * rowBytes + i;
        expected.push_back(
            static_cast<unsigned char>((source.Data()[first] + source.Data()[first + rowBytes]) / 2));
      }
    }
    EXPECT_EQ(destination.Bytes(), expected) << rowBytes;
    EXPECT_TRUE(destination.GuardsAreWhole());
  }
}

TEST_P(RPixelKernelsTest, LargeAveragePairsMatchThePlainLoop) {
  for (const std::size_t rowBytes : {std::size_t{16384}, std::size_t{16387}}) {
    constexpr std::size_t kPairs = 800;
    const Pixels source = NoisePixels(rowBytes * 2 * kPairs);
    Pixels expected(source.size());
    kPlainPixelKernels.averagePairs(expected.data(), source.data(), rowBytes, kPairs);
    for (const std::size_t misalignment : {0, 8}) {
      GuardedBytes destination(source.size(), misalignment);
      Kernels().averagePairs(destination.Data(), source.data(), rowBytes, kPairs);
      EXPECT_EQ(std::memcmp(destination.Data(), expected.data(), expected.size()), 0);
      EXPECT_TRUE(destination.GuardsAreWhole());
    }
  }
}

// --- Choice.

TEST(RPixelKernelsChoiceTest, ChoosesTheLastThatRunsHere) {
  EXPECT_EQ(&RGetPixelKernels(), Implementations().back().kernels);
}

}  // namespace
