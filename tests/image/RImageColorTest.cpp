// Tests of the hue tables and of the conversion between RGB and hue, saturation, brightness.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "image/RImage.h"

namespace {

using Triple = std::array<double, 3>;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

Triple FromHSB(double hue, double saturation, double brightness) {
  Triple rgb{};
  GetHSBToRGBColor(hue, saturation, brightness, rgb.data());
  return rgb;
}

Triple ToHSB(Triple rgb) {
  Triple hsb{};
  GetRGBToHSBColor(rgb.data(), hsb.data());
  return hsb;
}

void ExpectNear(const Triple& actual, const Triple& expected, double tolerance) {
  for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(actual[i], expected[i], tolerance) << "channel " << i;
}

TEST(RImageColorTest, TablesHoldTheCornersOfTheHueCircle) {
  constexpr int kCorners[7][3] = {{1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0, 1, 1},
                                  {0, 0, 1}, {1, 0, 1}, {1, 0, 0}};
  for (int row = 0; row < 7; ++row) {
    for (int i = 0; i < 3; ++i) {
      EXPECT_EQ(kHueColor[row][i], static_cast<float>(kCorners[row][i]));
      EXPECT_EQ(kDoubleHueColor[row][i], kCorners[row][i]);
    }
    EXPECT_EQ(kHueColor[row][3], 0.0F);
    EXPECT_EQ(kDoubleHueColor[row][3], 0.0);
  }
}

struct HSBCase {
  const char* name;
  Triple hsb;
  Triple rgb;
};

// Worked out by hand from c = (1 - f) T[k] + f T[k + 1] and ((1 - c)(1 - s) + c) b.
const HSBCase kHSBCases[] = {
    {"Red", {0, 1, 1}, {1, 0, 0}},
    {"Yellow", {1.0 / 6, 1, 1}, {1, 1, 0}},
    {"Green", {1.0 / 3, 1, 1}, {0, 1, 0}},
    {"Cyan", {0.5, 1, 1}, {0, 1, 1}},
    {"Blue", {2.0 / 3, 1, 1}, {0, 0, 1}},
    {"Magenta", {5.0 / 6, 1, 1}, {1, 0, 1}},
    {"RedAgain", {1, 1, 1}, {1, 0, 0}},
    {"Orange", {1.0 / 12, 1, 1}, {1, 0.5, 0}},
    {"Spring", {5.0 / 12, 1, 1}, {0, 1, 0.5}},
    {"HalfSaturatedRed", {0, 0.5, 1}, {1, 0.5, 0.5}},
    {"DarkGreen", {1.0 / 3, 1, 0.25}, {0, 0.25, 0}},
    {"PaleDimBlue", {2.0 / 3, 0.25, 0.5}, {0.375, 0.375, 0.5}},
};

class HSBToRGBTest : public testing::TestWithParam<HSBCase> {};

TEST_P(HSBToRGBTest, Converts) {
  const auto& [name, hsb, rgb] = GetParam();
  ExpectNear(FromHSB(hsb[0], hsb[1], hsb[2]), rgb, 1e-12);
  float floats[3];
  GetHSBToRGBColor(static_cast<float>(hsb[0]), static_cast<float>(hsb[1]), static_cast<float>(hsb[2]),
                   floats);
  ExpectNear({floats[0], floats[1], floats[2]}, rgb, 1e-6);
}

INSTANTIATE_TEST_SUITE_P(, HSBToRGBTest, testing::ValuesIn(kHSBCases),
                         [](const auto& testCase) { return testCase.param.name; });

TEST(RImageColorTest, AnyHueWithoutSaturationIsGray) {
  for (int step = 0; step <= 100; ++step) ExpectNear(FromHSB(step / 100.0, 0, 0.7), {0.7, 0.7, 0.7}, 1e-12);
}

TEST(RImageColorTest, HueOutsideTheCircleIsClamped) {
  EXPECT_EQ(FromHSB(-0.5, 1, 1), (Triple{1, 0, 0}));
  EXPECT_EQ(FromHSB(-std::numeric_limits<double>::infinity(), 1, 1), (Triple{1, 0, 0}));
  EXPECT_EQ(FromHSB(1.5, 1, 1), (Triple{1, 0, 0}));
  EXPECT_EQ(FromHSB(1e300, 1, 1), (Triple{1, 0, 0}));
  EXPECT_EQ(FromHSB(kNaN, 1, 1), (Triple{1, 0, 0}));
  float rgb[3];
  GetHSBToRGBColor(std::numeric_limits<float>::max(), 1.0F, 1.0F, rgb);
  EXPECT_EQ(rgb[0], 1.0F);
  EXPECT_EQ(rgb[1], 0.0F);
}

class RGBToHSBTest : public testing::TestWithParam<HSBCase> {};

TEST_P(RGBToHSBTest, Converts) {
  const auto& [name, hsb, rgb] = GetParam();
  Triple expected = hsb;
  if (expected[0] == 1) expected[0] = 0;  // both are red; the first segment that fits counts
  ExpectNear(ToHSB(rgb), expected, 1e-9);
}

INSTANTIATE_TEST_SUITE_P(, RGBToHSBTest, testing::ValuesIn(kHSBCases),
                         [](const auto& testCase) { return testCase.param.name; });

TEST(RImageColorTest, GrayHasHueAndSaturationZero) {
  ExpectNear(ToHSB({0.5, 0.5, 0.5}), {0, 0, 0.5}, 1e-12);
  ExpectNear(ToHSB({1, 1, 1}), {0, 0, 1}, 1e-12);
}

TEST(RImageColorTest, BlackIsFullySaturatedAtTheFloorOfBrightness) {
  EXPECT_EQ(ToHSB({0, 0, 0}), (Triple{0, 1, 1e-12}));
}

TEST(RImageColorTest, FaintColoursHaveTheirHueDownToTheFloorOfSaturation) {
  // Half way from red to yellow, ever fainter; the middle channel is found with an error of about 1e-16.
  for (const double saturation : {1e-2, 1e-4, 1e-6, 1e-8}) {
    ExpectNear(ToHSB({1, 1 - saturation / 2, 1 - saturation}), {1.0 / 12, saturation, 1}, 1e-8);
  }
  // Below it the division is by 1e-9: half of 1e-10 is a twentieth of the segment.
  EXPECT_NEAR(ToHSB({1, 1 - 0.5e-10, 1 - 1e-10})[0], 0.05 / 6, 1e-6);
}

TEST(RImageColorTest, SourceIsNotChangedAndMayBeTheTarget) {
  Triple rgb = {0.2, 0.4, 0.1};
  Triple hsb{};
  GetRGBToHSBColor(rgb.data(), hsb.data());
  EXPECT_EQ(rgb, (Triple{0.2, 0.4, 0.1}));
  GetRGBToHSBColor(rgb.data(), rgb.data());
  EXPECT_EQ(rgb, hsb);
}

TEST(RImageColorTest, ValuesThatAreNoNumbersHaveHueZero) {
  EXPECT_EQ(ToHSB({kNaN, kNaN, kNaN})[0], 0);
  EXPECT_EQ(ToHSB({kNaN, 1, 0.5})[0], 0);
}

// Round trips over a grid: colour to hue, saturation, brightness and back.
TEST(RImageColorTest, RoundTripGivesTheColourBack) {
  for (int r = 0; r <= 16; ++r) {
    for (int g = 0; g <= 16; ++g) {
      for (int b = 0; b <= 16; ++b) {
        const Triple rgb = {r / 16.0, g / 16.0, b / 16.0};
        const Triple hsb = ToHSB(rgb);
        EXPECT_GE(hsb[0], 0);
        EXPECT_LE(hsb[0], 1);
        EXPECT_NEAR(hsb[2], std::max({rgb[0], rgb[1], rgb[2]}), 1e-11);
        ExpectNear(FromHSB(hsb[0], hsb[1], hsb[2]), rgb, 1e-9);
      }
    }
  }
}

TEST(RImageColorTest, BrighterThanOneKeepsHueAndSaturation) {
  const Triple hsb = ToHSB({4, 2, 0});
  ExpectNear(hsb, {1.0 / 12, 1, 4}, 1e-12);
}

}  // namespace
