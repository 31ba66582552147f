// Tests of the colour correction on the processor.
#include "fp/RFpCC_default.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "support/PixelMemory.h"
#include "support/RandomCorrection.h"

namespace test {
namespace {

using Bytes = std::vector<unsigned char>;
using Memory = PixelMemory;

int Draw(RFpCC& node, const Memory& source, const Memory& target) {
  return DrawInMemory(node, {&source}, target);
}

Rgba ColourAt(const unsigned char* rgba) {
  return {rgba[0] / 255.0, rgba[1] / 255.0, rgba[2] / 255.0, rgba[3] / 255.0};
}

void ExpectFormula(const RFpCC& node, Memory& source, Memory& target) {
  const CorrectionSettings settings = ReadFrom(node);
  const double tolerance = CorrectionTolerance(settings);
  for (int y = 0; y < target.pixels.height; ++y) {
    for (int x = 0; x < target.pixels.width; ++x) {
      const Rgba expected = CorrectColour(settings, ColourAt(source.At(x, y)));
      const Rgba result = ColourAt(target.At(x, y));
      for (std::size_t i = 0; i < 4; ++i)
        ASSERT_NEAR(result[i], std::clamp(expected[i], 0.0, 1.0), tolerance)
            << x << ", " << y << " channel " << i << '\n'
            << Describe(settings);
    }
  }
}

TEST(RFpCC_default, FollowsTheFormulaOverRandomSettings) {
  Memory source(67, 5, 3);
  Memory target(67, 5, 1);
  FillNoise(source, 1);
  for (const CorrectionFamily family : kCorrectionFamilies) {
    Random random(static_cast<unsigned>(family) + 10);
    for (int i = 0; i < 40; ++i) {
      RFpCC_default node;
      ApplyTo(node, RandomCorrection(family, random));
      ASSERT_EQ(Draw(node, source, target), 1);
      ExpectFormula(node, source, target);
    }
  }
}

TEST(RFpCC_default, LeavesTheGapsBetweenRowsAlone) {
  Memory source(3, 4, 2);
  Memory target(3, 4, 5);
  FillNoise(source, 1);
  RFpCC_default node;
  ASSERT_EQ(Draw(node, source, target), 1);
  for (int y = 0; y < 4; ++y) {
    for (int x = 3; x < 8; ++x) EXPECT_EQ(target.At(x, y)[0], 0xEE);
  }
}

TEST(RFpCC_default, WithoutTransparencyTheResultIsOpaque) {
  Memory source(1, 1, 0);
  Memory target(1, 1, 0);
  source.bytes = {10, 20, 30, 77};
  source.pixels.bits = source.bytes.data();
  RFpCC_default node;
  for (const float gamma : {1.0F, 2.0F}) {
    node.SetGamma(gamma);
    node.SetTransparency(false);
    ASSERT_EQ(Draw(node, source, target), 1);
    EXPECT_EQ(target.bytes[3], 255);
    node.SetTransparency(true);
    ASSERT_EQ(Draw(node, source, target), 1);
    EXPECT_EQ(target.bytes[3], 77);
  }
}

TEST(RFpCC_default, NeutralSettingsChangeNoByte) {
  Memory source(256, 4, 0);
  Memory target(256, 4, 0);
  FillNoise(source, 3);
  RFpCC_default node;
  node.SetTransparency(true);
  ASSERT_EQ(Draw(node, source, target), 1);
  EXPECT_EQ(target.bytes, source.bytes);
}

TEST(RFpCC_default, OffsetsAreSharesOfAlpha) {
  Memory source(1, 1, 0);
  Memory target(1, 1, 0);
  source.bytes = {0, 0, 0, 100};
  source.pixels.bits = source.bytes.data();
  RFpCC_default node;
  node.SetTransparency(true);
  node.SetZoneOffset(0, 0, 0.5F);
  ASSERT_EQ(Draw(node, source, target), 1);
  EXPECT_EQ(target.bytes, (Bytes{50, 50, 50, 100}));
  node.SetNegative(true);
  ASSERT_EQ(Draw(node, source, target), 1);
  EXPECT_EQ(target.bytes, (Bytes{50, 50, 50, 100}));
}

struct LayoutRow {
  const char* name;
  int glFormat;
  Bytes pixel;
  Bytes rgba;
};

class CCLayout : public testing::TestWithParam<LayoutRow> {};

// More pixels than are brought to RGBA at a time.
TEST_P(CCLayout, ComesOutAsRgba) {
  const LayoutRow& row = GetParam();
  const int size = static_cast<int>(row.pixel.size());
  Memory source(2050, 2, 1, row.glFormat, size);
  Memory target(2050, 2, 0);
  for (int y = 0; y < 2; ++y) {
    for (int x = 0; x < 2050; ++x) std::copy(row.pixel.begin(), row.pixel.end(), source.At(x, y));
  }
  RFpCC_default node;
  node.SetTransparency(true);
  ASSERT_EQ(Draw(node, source, target), 1);
  for (std::size_t i = 0; i < target.bytes.size(); ++i) ASSERT_EQ(target.bytes[i], row.rgba[i % 4]) << i;
}

INSTANTIATE_TEST_SUITE_P(
    All, CCLayout,
    testing::Values(LayoutRow{"RGBA", GL_RGBA, {1, 2, 3, 4}, {1, 2, 3, 4}},
                    LayoutRow{"RGB", GL_RGB, {1, 2, 3}, {1, 2, 3, 255}},
                    LayoutRow{"BGRA", GL_BGRA, {1, 2, 3, 4}, {3, 2, 1, 4}},
                    LayoutRow{"BGR", GL_BGR, {1, 2, 3}, {3, 2, 1, 255}},
                    LayoutRow{"ABGR", GL_ABGR_EXT, {1, 2, 3, 4}, {4, 3, 2, 1}},
                    // 5 bits each: red 31, green 0, blue 16, of which the converter keeps 4.
                    LayoutRow{"RGB555", GL_RGB, {0x10, 0x7C}, {240, 0, 128, 255}}),
    [](const auto& row) { return row.param.name; });

TEST(RFpCC_default, WhatCannotBeReadOrWrittenFailsToBind) {
  RFpCC_default node;
  Memory good(4, 4, 0);
  Memory bad(4, 4, 0, -1);
  EXPECT_EQ(Draw(node, bad, good), 0) << "no format";
  bad.pixels = good.pixels;
  bad.pixels.pixelSize = 2;
  EXPECT_EQ(Draw(node, bad, good), 0) << "a pixel size that is not the format's";
  bad.pixels.bits = nullptr;
  EXPECT_EQ(Draw(node, bad, good), 0) << "no memory to read";
  EXPECT_EQ(Draw(node, good, bad), 0) << "no memory to write";
  EXPECT_EQ(node.Bind(nullptr, 0, 0x40000), 0);
}

TEST(RFpCC_default, ASmallerSourceIsNotReadBeyondItsEnd) {
  Memory source(3, 2, 0);
  Memory target(5, 4, 0);
  FillNoise(source, 4);
  RFpCC_default node;
  ASSERT_EQ(Draw(node, source, target), 1);
  EXPECT_EQ(target.At(2, 1)[3], 255);
  EXPECT_EQ(target.At(3, 0)[0], 0xEE);
  EXPECT_EQ(target.At(0, 2)[0], 0xEE);
}

// Variants draw in stages, of which the processor needs only the first.
TEST(RFpCC_default, LaterStagesLeaveTheResultAsItIs) {
  Memory source(4, 4, 0);
  Memory target(4, 4, 0);
  FillNoise(source, 5);
  RFpContext context;
  context.sources[0] = source.pixels;
  context.target = target.pixels;
  RFpCC_default node;
  for (const int stage : {1, 2}) {
    ASSERT_EQ(node.Bind(&context, stage, 0x40000), 1);
    node.Draw(&context, stage, 0x40000, 4, 4);
  }
  EXPECT_EQ(target.bytes, std::vector<unsigned char>(64, 0xEE));
}

// Shows what a node has derived from its parameters.
class ProbeCC : public RFpCC_default {
 public:
  const RFpColorMatrix& Matrix() {
    Derive();
    return GetMatrix();
  }
};

// With zones the matrix of the whole picture is what their matrices have in common, so the negative is
// theirs.
TEST(RFpCC_default, OnlyWithoutZonesIsTheMatrixNegative) {
  ProbeCC node;
  node.SetZoneGain(0, 0, 2);
  const RFpColorMatrix positive = node.Matrix();
  EXPECT_EQ(positive.columns[0], (std::array<float, 4>{2, 0, 0, 0}));
  node.SetNegative(true);
  EXPECT_EQ(node.Matrix().columns[0], (std::array<float, 4>{-2, 0, 0, 0}));
  EXPECT_EQ(node.Matrix().columns[3], (std::array<float, 4>{1, 1, 1, 1}));
  node.SetColorPoints(true);
  node.SetBlack(0, 0.5F);
  EXPECT_EQ(node.Matrix().columns[0], (std::array<float, 4>{-4, 0, 0, 0})) << "points and all";
  node.SetZoneHue(1, 90);
  EXPECT_EQ(node.Matrix(), positive) << "nor are the points in it";
}

// The picture changes with every setting: none is forgotten by the composition.
TEST(RFpCC_default, AChangeShowsInTheNextDraw) {
  Memory source(64, 1, 0);
  Memory first(64, 1, 0);
  Memory second(64, 1, 0);
  FillNoise(source, 5);
  RFpCC_default node;
  Draw(node, source, first);
  node.SetZoneGain(3, 2, 2);
  Draw(node, source, second);
  EXPECT_NE(first.bytes, second.bytes);
  node.SetZoneGain(3, 2, 1);
  Draw(node, source, second);
  EXPECT_EQ(first.bytes, second.bytes);
}

}  // namespace
}  // namespace test
