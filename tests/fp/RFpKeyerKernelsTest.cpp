// Tests of the loops of the keyer: every implementation that this machine can run, against formulas in double
// precision and against each other.
#include "fp/RFpKeyerKernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <tuple>
#include <vector>

#include "support/RandomPixels.h"

namespace test {
namespace {

using Bytes = std::vector<unsigned char>;

struct Implementation {
  const char* name;
  const RFpKeyerKernels* kernels;
};

std::vector<Implementation> Implementations() {
  std::vector<Implementation> list = {{"Plain", &kPlainKeyerKernels}};
#if defined(__x86_64__)
  if (__builtin_cpu_supports("avx2")) list.push_back({"Avx2", &kAvx2KeyerKernels});
#endif
  return list;
}

RFpKeyerCoefficients RandomCoefficients(Random& random) {
  RFpKeyerCoefficients k;
  for (float& value : k.weights) value = RandomCoefficient(random, 0.01F);
  k.offset = RandomCoefficient(random, 1);
  k.slope = RandomCoefficient(random, 0.0001F);
  k.base = RandomCoefficient(random, 1);
  for (float& value : k.spill) value = RandomCoefficient(random, 170);
  for (float& value : k.goal) value = RandomCoefficient(random, 400);
  return k;
}

double Saturate(double value) { return value > 0 ? (value < 1 ? value : 1) : 0; }

// One pixel by the coefficients.
class Model {
 public:
  Model(std::size_t program, const RFpKeyerCoefficients& k)
      : mMode(program / 4), mMatte(program / 2 % 2 != 0), mInverted(program % 2 != 0), mK(k) {}

  std::array<double, 4> Key(const unsigned char* a, const unsigned char* b) const {
    if (mMode == 0) return Chroma(a);
    double matte = 0;
    if (mMode == 1) {
      matte = Saturate(static_cast<double>(mK.slope) * Sum(a) * Sum(a));
    } else {
      double distance = 0;
      for (std::size_t i = 0; i < 3; ++i) distance += (a[i] - b[i]) * (a[i] - b[i]);
      matte = Saturate(static_cast<double>(mK.slope) * distance + static_cast<double>(mK.base));
    }
    if (mInverted) matte = 1 - matte;
    if (mMatte) return {255 * matte, 255 * matte, 255 * matte, 255 * matte};
    return {a[0] * matte, a[1] * matte, a[2] * matte, 255 * matte};
  }

 private:
  double Sum(const unsigned char* a) const {
    double sum = static_cast<double>(mK.offset);
    for (std::size_t i = 0; i < 3; ++i) sum += static_cast<double>(mK.weights[i]) * a[i];
    return sum;
  }
  std::array<double, 4> Chroma(const unsigned char* a) const {
    const double m = Saturate(Sum(a));
    const double n = Saturate(m * static_cast<double>(mK.slope) + static_cast<double>(mK.base));
    const double matte = 255 * (mInverted ? n : 1 - n);
    if (mMatte) return {matte, matte, matte, matte};
    std::array<double, 4> result{0, 0, 0, 255 * (1 - n)};
    for (std::size_t i = 0; i < 3; ++i) {
      const double goal = static_cast<double>(mK.goal[i]);
      const double cleaned = a[i] + m * static_cast<double>(mK.spill[i]);
      if (!mInverted)
        result[i] = cleaned - n * ((1 - n) * (goal - cleaned) + cleaned);
      else if (n < 1)
        result[i] = a[i] + n * goal;
    }
    return result;
  }

  std::size_t mMode;
  bool mMatte;
  bool mInverted;
  RFpKeyerCoefficients mK;
};

class RFpKeyerKernelsTest : public testing::TestWithParam<std::tuple<Implementation, std::size_t>> {
 protected:
  static std::size_t Program() { return std::get<1>(GetParam()); }
  static RFpKeyerLoop Loop() { return (*std::get<0>(GetParam()).kernels)[Program()]; }
  static RFpKeyerLoop PlainLoop() { return kPlainKeyerKernels[Program()]; }
};

TEST_P(RFpKeyerKernelsTest, IsTheFormula) {
  Random random(1);
  const Bytes a = RandomBytes(4 * 1000, random);
  const Bytes b = RandomBytes(4 * 1000, random);
  for (int round = 0; round < 20; ++round) {
    RFpKeyerCoefficients k = RandomCoefficients(random);
    if (Program() / 4 == 0) k.slope = RandomCoefficient(random, 3);
    if (Program() / 4 == 1) k.slope = std::abs(RandomCoefficient(random, 2));
    const Model model(Program(), k);
    Bytes result(a.size());
    Loop()(result.data(), a.data(), b.data(), 1000, k);
    for (std::size_t i = 0; i < a.size(); i += 4) {
      const auto expected = model.Key(&a[i], &b[i]);
      for (std::size_t c = 0; c < 4; ++c)
        ASSERT_NEAR(result[i + c], 255 * Saturate(expected[c] / 255), 0.502) << i / 4 << '[' << c << ']';
    }
  }
}

TEST_P(RFpKeyerKernelsTest, RoundsToTheNearestTiesToEven) {
  if (Program() / 4 != 2) return;  // only a difference can be halved exactly
  Bytes a;
  for (int i = 0; i < 256; ++i) a.insert(a.end(), 4, static_cast<unsigned char>(i));
  RFpKeyerCoefficients k;
  k.base = 0.5F;
  Bytes result(a.size());
  Loop()(result.data(), a.data(), a.data(), 256, k);
  const bool matte = Program() / 2 % 2 != 0;
  for (int i = 0; i < 256; ++i) {
    const auto at = static_cast<std::size_t>(4 * i);
    EXPECT_EQ(result[at], static_cast<int>(std::nearbyint(matte ? 127.5 : i / 2.0))) << i;
    EXPECT_EQ(result[at + 3], 128);
  }
}

TEST_P(RFpKeyerKernelsTest, NoPixelsNeedNoMemory) { Loop()(nullptr, nullptr, nullptr, 0, {}); }

// Every count and misalignment, with the bytes around the result as they were.
TEST_P(RFpKeyerKernelsTest, GivesThePlainBytesAndTouchesNoOthers) {
  Random random(4);
  constexpr std::size_t kGuard = 64;
  for (std::size_t count = 0; count < 70; ++count) {
    const std::size_t shift = count % 7;
    const Bytes a = RandomBytes(4 * count + shift, random);
    const Bytes b = RandomBytes(4 * count + shift, random);
    RFpKeyerCoefficients k = RandomCoefficients(random);
    if (count % 3 == 0) k.slope *= 1e6F;
    const auto run = [&](RFpKeyerLoop loop) {
      Bytes result(4 * count + shift + 2 * kGuard, 0xA5);
      loop(result.data() + kGuard + shift, a.data() + shift, b.data() + shift, count, k);
      return result;
    };
    const Bytes result = run(Loop());
    ASSERT_EQ(result, run(PlainLoop())) << count;
    for (std::size_t i = 0; i < kGuard; ++i) {
      ASSERT_EQ(result[i], 0xA5);
      ASSERT_EQ(result[result.size() - 1 - i], 0xA5);
    }
  }
}

// Blocks of which all or nothing is kept take a shorter way, with the same bytes.
TEST_P(RFpKeyerKernelsTest, RunsOfOneColourGiveThePlainBytes) {
  if (Program() / 2 % 2 != 0) return;  // a matte has no such blocks
  Random random(8);
  int cleared = 0;
  int kept = 0;
  for (int round = 0; round < 300; ++round) {
    Bytes a;
    Bytes b;
    while (a.size() < 4 * 200) {
      const Bytes first = RandomBytes(4, random);
      const Bytes second = random.Below(2) == 0 ? first : RandomBytes(4, random);
      for (unsigned i = random.Below(30); i > 0; --i) {
        a.insert(a.end(), first.begin(), first.end());
        b.insert(b.end(), second.begin(), second.end());
      }
    }
    RFpKeyerCoefficients k = RandomCoefficients(random);
    if (Program() / 4 == 0) k.slope = RandomCoefficient(random, 3);
    if (Program() / 4 == 1) k.slope = RandomCoefficient(random, 8);
    if (Program() / 4 == 2) k.base = 0;
    Bytes result(a.size());
    Bytes plain(a.size());
    Loop()(result.data(), a.data(), b.data(), a.size() / 4, k);
    PlainLoop()(plain.data(), a.data(), b.data(), a.size() / 4, k);
    ASSERT_EQ(result, plain) << round;
    const Model model(Program(), k);
    for (std::size_t i = 0; i < a.size(); i += 4) {
      const auto expected = model.Key(&a[i], &b[i]);
      for (std::size_t c = 0; c < 4; ++c)
        ASSERT_NEAR(result[i + c], 255 * Saturate(expected[c] / 255), 0.505);
      const bool same = std::equal(&a[i], &a[i] + 3, &result[i]);
      if (result[i + 3] == 0) ++cleared;
      if (result[i + 3] == 255 && same) ++kept;
    }
  }
  EXPECT_GT(cleared, 1000);
  EXPECT_GT(kept, 100);
}

TEST_P(RFpKeyerKernelsTest, WorksInPlace) {
  Random random(7);
  const Bytes a = RandomBytes(4 * 45, random);
  const Bytes b = RandomBytes(4 * 45, random);
  const RFpKeyerCoefficients k = RandomCoefficients(random);
  Bytes apart(a.size());
  Loop()(apart.data(), a.data(), b.data(), 45, k);
  Bytes same = a;
  Loop()(same.data(), same.data(), b.data(), 45, k);
  EXPECT_EQ(same, apart);
}

INSTANTIATE_TEST_SUITE_P(All, RFpKeyerKernelsTest,
                         testing::Combine(testing::ValuesIn(Implementations()),
                                          testing::Range<std::size_t>(0, kFpKeyerPrograms)),
                         [](const auto& row) {
                           return std::string(std::get<0>(row.param).name) +
                                  std::to_string(std::get<1>(row.param));
                         });

TEST(RFpKeyerKernels, TheFastestIsTaken) {
  EXPECT_EQ(&RFpGetKeyerKernels(), Implementations().back().kernels);
}

// An inverted key lets colours vanish where nothing is kept, and not before.
TEST(RFpKeyerKernels, InvertedColoursStayAsLongAsTheirAlphaIsAboveZero) {
  for (const Implementation& implementation : Implementations()) {
    const Bytes a(4 * 16, 200);
    RFpKeyerCoefficients k;
    for (const auto& [base, byte] : {std::pair(1.0F, 0), std::pair(0.999999F, 200), std::pair(2.0F, 0)}) {
      k.base = base;
      Bytes result(a.size());
      (*implementation.kernels)[1](result.data(), a.data(), a.data(), 16, k);
      for (std::size_t i = 0; i < result.size(); i += 4) {
        EXPECT_EQ(result[i], byte) << implementation.name << base;
        EXPECT_EQ(result[i + 3], 0);
      }
    }
  }
}

TEST(RFpKeyerKernels, CoefficientsAreTheUniformsOverBytes) {
  const RFpKeyerParameters p = {
      {{2, 0.5F, 3, 4}, {5, 6, 7, 8}, {0.25F, 0.5F, 0.75F, 0}, {-0.25F, -0.5F, -0.75F, 1}}};
  const RFpKeyerCoefficients chroma(0, p);
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_FLOAT_EQ(chroma.weights[i], p[1][i] / 255);
    EXPECT_FLOAT_EQ(chroma.spill[i], p[2][i] * 255);
    EXPECT_FLOAT_EQ(chroma.goal[i], p[3][i] * 255);
  }
  EXPECT_EQ(chroma.offset, 8.0F);
  EXPECT_EQ(chroma.slope, 3.0F);
  EXPECT_EQ(chroma.base, 4.0F);
  const RFpKeyerCoefficients luminance(1, p);
  EXPECT_FLOAT_EQ(luminance.weights[2], 7.0F / 255);
  EXPECT_EQ(luminance.offset, 8.0F);
  EXPECT_EQ(luminance.slope, 2.0F);
  const RFpKeyerCoefficients difference(2, p);
  EXPECT_FLOAT_EQ(difference.slope, 2.0F / 65025);
  EXPECT_EQ(difference.base, 0.5F);
}

}  // namespace
}  // namespace test
