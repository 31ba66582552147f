// Tests of the numbers that the keyer derives from its settings, against formulas in double precision.
#include "fp/RFpKeyerParameters.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>
#include <vector>

#include "support/Random.h"

namespace test {
namespace {

using Rows = std::array<std::array<double, 4>, 4>;

void ExpectNear(const RFpKeyerParameters& actual, const Rows& expected, std::size_t rows = 4) {
  for (std::size_t i = 0; i < rows; ++i) {
    for (std::size_t k = 0; k < 4; ++k) {
      const double tolerance = 2e-6 * std::max(1.0, std::abs(expected[i][k]));
      EXPECT_NEAR(static_cast<double>(actual[i][k]), expected[i][k], tolerance)
          << 'p' << i << '[' << k << ']';
    }
  }
}

RFpKeyerParameters Derive(const RFpKeyerSettings& settings) {
  RFpKeyerParameters parameters{};
  RFpDeriveKeyerParameters(settings, parameters);
  return parameters;
}

float Number(Random& random) {
  constexpr float kSpecial[] = {0, 1, 0.001F, 0.999F};
  return random.Below(3) == 0 ? kSpecial[random.Below(4)]
                              : static_cast<float>(random.Below(100001)) / 100000.0F;
}

RFpKeyerSettings RandomSettings(Random& random, int mode) {
  RFpKeyerSettings settings;
  for (float& value : settings.key) value = Number(random);
  settings.threshold = Number(random);
  settings.softness = Number(random);
  settings.suppression = Number(random);
  settings.mode = mode;
  return settings;
}

double Clamped(double start, double end) {
  if (start == end) return 256;
  return std::min(std::max(1 / (end - start), 0.0), 256.0);
}

// The numbers one by one, as they are written down for chroma keying.
Rows ChromaRows(const RFpKeyerSettings& s) {
  const double r = s.key[0], g = s.key[1], b = s.key[2];
  const double t = s.threshold, u = s.suppression;
  const double h =
      std::atan2((g - b) / std::sqrt(2.0), r * std::sqrt(6.0) / 3 - (g + b) * std::sqrt(6.0) / 6);
  const double c = std::cos(h), sine = std::sin(h);
  const double inner = (1 - static_cast<double>(s.softness)) * t;
  const double scale1 = Clamped(inner, t);
  const double outer = (1 - u) * inner - u;
  const double scale2 = Clamped(outer, t);
  Rows p;
  p[0] = {scale2, 0, scale1 / scale2, 1 - scale1 / scale2};
  p[1] = {c, -0.5 * (c - 1.7320508 * sine), -0.5 * (c + 1.7320508 * sine), -outer};
  p[2] = {-0.6667 * t * c, 0.3333 * t * (c - 1.7320508 * sine), 0.3333 * t * (c + 1.7320508 * sine), 0};
  p[3] = {-r - p[2][0], -g - p[2][1], -b - p[2][2], 1};
  return p;
}

TEST(RFpKeyerParameters, ChromaFollowsTheFormulas) {
  Random random(1);
  for (int i = 0; i < 2000; ++i) {
    const RFpKeyerSettings settings = RandomSettings(random, 0);
    ExpectNear(Derive(settings), ChromaRows(settings));
    if (HasFailure()) FAIL() << i;
  }
}

TEST(RFpKeyerParameters, ChromaOfTheDefaults) {
  // Blue lies at 240 degrees, and so nearly does the key: 2 x 0.2 - 0.28 - 0.68 is -0.56, 0.28 - 0.68 -0.4.
  const double x = -0.56 / std::sqrt(6.0), y = -0.4 / std::sqrt(2.0);
  const double c = x / std::hypot(x, y), s = y / std::hypot(x, y);
  const RFpKeyerParameters p = Derive({});
  EXPECT_EQ(p[0], (std::array<float, 4>{256, 0, 1, 0})) << "softness 0 is a hard edge";
  EXPECT_NEAR(p[1][0], c, 1e-6);
  EXPECT_NEAR(p[1][1], -0.5 * c + 0.8660254 * s, 1e-6);
  EXPECT_NEAR(p[1][2], -0.5 * c - 0.8660254 * s, 1e-6);
  EXPECT_EQ(p[1][3], -1.0F) << "inner is the threshold";
}

TEST(RFpKeyerParameters, AKeyWithEqualGreenAndBlueBelowRedHasTheHueZero) {
  RFpKeyerSettings settings;
  settings.key = {0.9F, 0.3F, 0.3F};
  settings.threshold = 0.5F;
  const RFpKeyerParameters p = Derive(settings);
  EXPECT_EQ(p[1][0], 1.0F);
  EXPECT_EQ(p[1][1], -0.5F);
  EXPECT_EQ(p[1][2], -0.5F);
  ExpectNear(p, {{{256, 0, 1, 0},
                  {1, -0.5, -0.5, -0.5},
                  {-0.33335, 0.16665, 0.16665, 0},
                  {-0.56665, -0.46665, -0.46665, 1}}});
}

// The angle of no direction is 0, so every grey keys like red.
TEST(RFpKeyerParameters, GreyKeysHaveTheHueZero) {
  for (const float grey : {0.0F, 0.1F, 0.2F, 0.3F, 0.7F, 1.0F, 1e-30F}) {
    RFpKeyerSettings settings;
    settings.key = {grey, grey, grey};
    EXPECT_EQ(Derive(settings)[1][0], 1.0F) << grey;
  }
}

TEST(RFpKeyerParameters, AHalfSofteningHasItsRampBelowTheThreshold) {
  RFpKeyerSettings settings;
  settings.threshold = 0.5F;
  settings.softness = 0.5F;
  EXPECT_EQ(Derive(settings)[0], (std::array<float, 4>{4, 0, 1, 0}));
  settings.suppression = 1;
  // The outer limit is -1: 1 / 1.5, and 4 to that.
  ExpectNear(Derive(settings), {{{1 / 1.5, 0, 6, -5}}}, 1);
  EXPECT_EQ(Derive(settings)[1][3], 1.0F);
}

TEST(RFpKeyerParameters, LuminanceFollowsTheFormulas) {
  Random random(2);
  for (int i = 0; i < 500; ++i) {
    const RFpKeyerSettings settings = RandomSettings(random, 1);
    const double slope =
        settings.softness == 0 ? 256 : std::min(1 / static_cast<double>(settings.softness), 256.0);
    ExpectNear(Derive(settings),
               {{{slope, 0, 0, 0}, {0.3086, 0.6094, 0.0820, -static_cast<double>(settings.threshold)}}}, 2);
  }
  const RFpKeyerParameters p = Derive(RandomSettings(random, 1));
  EXPECT_NEAR(p[1][0] + p[1][1] + p[1][2], 1, 1e-7) << "the weights sum up to 1";
}

TEST(RFpKeyerParameters, SoftnessZeroIsTheSteepestLuminance) {
  RFpKeyerSettings settings;
  settings.mode = 1;
  EXPECT_EQ(Derive(settings)[0], (std::array<float, 4>{256, 0, 0, 0}));
  settings.softness = 1.0F / 512;
  EXPECT_EQ(Derive(settings)[0][0], 256.0F) << "clamped";
  settings.softness = 0.25F;
  EXPECT_EQ(Derive(settings)[0][0], 4.0F);
}

TEST(RFpKeyerParameters, OtherModesDeriveNothing) {
  for (const int mode : {2, 3, -1}) {
    RFpKeyerSettings settings;
    settings.mode = mode;
    RFpKeyerParameters parameters;
    for (auto& row : parameters) row.fill(7);
    RFpDeriveKeyerParameters(settings, parameters);
    for (const auto& row : parameters) EXPECT_EQ(row, (std::array<float, 4>{7, 7, 7, 7}));
  }
}

TEST(RFpKeyerParameters, DifferenceFollowsTheFormulas) {
  Random random(3);
  for (int i = 0; i < 500; ++i) {
    const RFpKeyerSettings settings = RandomSettings(random, 2);
    const double a = 1 - static_cast<double>(settings.threshold);
    const double b = 1 - (1 - static_cast<double>(settings.softness)) * (1 - a);
    const double scale = Clamped(a, b);
    const RFpKeyerUniforms sent = RFpGetKeyerUniforms(settings, {});
    EXPECT_EQ(sent.count, 1U);
    ExpectNear(sent.values, {{{scale, -scale * a, 0, 0}}}, 1);
  }
}

TEST(RFpKeyerParameters, AFullThresholdAndNoSoftnessAreTheSteepestDifferenceFromZero) {
  RFpKeyerSettings settings;
  settings.mode = 2;
  EXPECT_EQ(RFpGetKeyerUniforms(settings, {}).values[0], (std::array<float, 4>{256, 0, 0, 0}));
}

// Softness 0 is a hard edge at every threshold, whatever the rounding of 1 - (1 - threshold).
TEST(RFpKeyerParameters, NoSoftnessIsTheSteepestAtEveryThreshold) {
  Random random(4);
  for (int i = 0; i < 5000; ++i) {
    RFpKeyerSettings settings;
    settings.threshold = std::ldexp(static_cast<float>(random.Below(1 << 24)) / (1 << 24),
                                    -static_cast<int>(random.Below(40)));
    settings.mode = 2;
    EXPECT_EQ(RFpGetKeyerUniforms(settings, {}).values[0][0], 256.0F) << settings.threshold;
    settings.mode = 0;
    EXPECT_EQ(Derive(settings)[0], (std::array<float, 4>{256, 0, 1, 0})) << settings.threshold;
  }
}

TEST(RFpKeyerParameters, ProgramsAreNumberedByModeOutputAndInversion) {
  std::size_t expected = 0;
  for (const int mode : {0, 1, 2}) {
    for (const int output : {0, 1}) {
      for (const bool inverted : {false, true}) {
        RFpKeyerSettings settings;
        settings.mode = mode;
        settings.output = output;
        settings.invertMatte = inverted;
        EXPECT_EQ(RFpGetKeyerProgram(settings), expected++);
      }
    }
  }
  EXPECT_EQ(expected, kFpKeyerPrograms);
  for (const auto& [mode, output] :
       {std::pair(3, 0), std::pair(-1, 0), std::pair(0, 2), std::pair(0, -1),
        std::pair(std::numeric_limits<int>::min(), 0), std::pair(0, std::numeric_limits<int>::max())}) {
    RFpKeyerSettings settings;
    settings.mode = mode;
    settings.output = output;
    EXPECT_EQ(RFpGetKeyerProgram(settings), std::nullopt) << mode << ", " << output;
  }
}

// --- What each program is sent.

RFpKeyerParameters Marked() {
  return {{{2, 0, 3, -2}, {10, 11, 12, 13}, {20, 21, 22, 0}, {-30, -31, -32, 1}}};
}

RFpKeyerUniforms Sent(int mode, int output, bool inverted) {
  RFpKeyerSettings settings;
  settings.mode = mode;
  settings.output = output;
  settings.invertMatte = inverted;
  return RFpGetKeyerUniforms(settings, Marked());
}

TEST(RFpKeyerParameters, ChromaProgramsAreSentTheOuterSlopeWithTheHue) {
  for (const int output : {0, 1}) {
    for (const bool inverted : {false, true}) {
      const RFpKeyerUniforms sent = Sent(0, output, inverted);
      EXPECT_EQ(sent.count, 4U);
      EXPECT_EQ(sent.values[1], (std::array<float, 4>{20, 22, 24, 26}));
      EXPECT_EQ(sent.values[2], Marked()[2]);
    }
  }
}

TEST(RFpKeyerParameters, WhatDiffersAmongChromaPrograms) {
  EXPECT_EQ(Sent(0, 0, false).values[0], Marked()[0]);
  EXPECT_EQ(Sent(0, 0, false).values[3], (std::array<float, 4>{30, 31, 32, 1}));
  EXPECT_EQ(Sent(0, 0, true).values[0], (std::array<float, 4>{2, 0, -3, 3}));
  EXPECT_EQ(Sent(0, 0, true).values[3], (std::array<float, 4>{-10, -10, -10, 1}));
  for (const bool inverted : {false, true}) {
    EXPECT_EQ(Sent(0, 1, inverted).values[0], Marked()[0]);
    EXPECT_EQ(Sent(0, 1, inverted).values[3], Marked()[3]);
  }
}

TEST(RFpKeyerParameters, LuminanceProgramsAreSentTheParametersAsTheyAre) {
  for (const int output : {0, 1}) {
    for (const bool inverted : {false, true}) {
      const RFpKeyerUniforms sent = Sent(1, output, inverted);
      EXPECT_EQ(sent.count, 2U);
      EXPECT_EQ(sent.values, Marked());
    }
  }
}

// --- The ramps, for hardware with narrow ranges.

double Saturate(double value) { return std::min(std::max(value, 0.0), 1.0); }

TEST(RFpKeyerParameters, ChromaRampsAreTheTwoSaturations) {
  Random random(5);
  for (int i = 0; i < 2000; ++i) {
    const RFpKeyerSettings settings = RandomSettings(random, 0);
    const RFpKeyerParameters p = Derive(settings);
    const RFpChromaRamps ramps = RFpGetChromaRamps(p);
    EXPECT_GT(ramps.outer.slope, 0.49);
    EXPECT_LE(ramps.outer.slope, 256);
    EXPECT_GT(ramps.key.slope, 0.99);
    EXPECT_LE(ramps.key.slope, 256);
    EXPECT_LE(std::abs(ramps.outer.start), 1);
    EXPECT_GE(ramps.key.start, -1.0 / 256 - 1e-6);
    EXPECT_LE(ramps.key.start, 1 + 1e-6);
    for (int k = -20; k <= 20; ++k) {
      const double x = k / 20.0;
      const double m = Saturate(static_cast<double>(p[0][0]) * (x + static_cast<double>(p[1][3])));
      const double n = Saturate(m * static_cast<double>(p[0][2]) + static_cast<double>(p[0][3]));
      EXPECT_NEAR(Saturate(ramps.outer.slope * (x - ramps.outer.start)), m, 1e-5);
      EXPECT_NEAR(Saturate(ramps.key.slope * (x - ramps.key.start)), n, 5e-4);
    }
    if (HasFailure()) FAIL() << i;
  }
}

TEST(RFpKeyerParameters, TheDifferenceRampIsWhatIsSent) {
  RFpKeyerSettings settings;
  settings.mode = 2;
  settings.threshold = 0.75F;
  settings.softness = 0.5F;
  const RFpKeyerRamp ramp = RFpGetDifferenceRamp(settings);
  EXPECT_DOUBLE_EQ(ramp.start, 0.25);
  EXPECT_DOUBLE_EQ(ramp.slope, 1 / 0.375);
}

// Whatever is stored, no parameter leaves the numbers that the hardware takes.
TEST(RFpKeyerParameters, EverySettingWithinItsRangeGivesFiniteNumbers) {
  constexpr float kTiny = std::numeric_limits<float>::denorm_min();
  const std::vector<float> values = {0, 1, kTiny, 1e-30F, 1e-8F, 0.5F, std::nextafter(1.0F, 0.0F)};
  Random random(6);
  const auto any = [&] { return values[random.Below(static_cast<unsigned>(values.size()))]; };
  for (int i = 0; i < 5000; ++i) {
    RFpKeyerSettings settings;
    for (float& value : settings.key) value = any();
    settings.threshold = any();
    settings.softness = any();
    settings.suppression = any();
    for (const int mode : {0, 1, 2}) {
      settings.mode = mode;
      for (const auto& row : RFpGetKeyerUniforms(settings, Derive(settings)).values) {
        for (const float value : row) {
          ASSERT_TRUE(std::isfinite(value));
          ASSERT_LE(std::abs(value), 512.0F);
        }
      }
    }
  }
}

}  // namespace
}  // namespace test
