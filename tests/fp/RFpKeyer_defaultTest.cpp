// Tests of the keyer on the processor.
#include "fp/RFpKeyer_default.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <string>
#include <tuple>
#include <vector>

#include "support/KeyerFormula.h"
#include "support/PixelMemory.h"

namespace test {
namespace {

using Bytes = std::vector<unsigned char>;
using Memory = PixelMemory;

constexpr int kSets = 50;

struct Size {
  int width;
  int height;
};
constexpr Size kSizes[] = {{1, 1}, {37, 23}, {100, 6}, {2050, 2}};

using Program = std::tuple<int, int, bool>;  // mode, output, inversion

std::string NameOf(const testing::TestParamInfo<Program>& info) {
  constexpr const char* kModes[] = {"Chroma", "Luminance", "Difference"};
  const auto& [mode, output, inverted] = info.param;
  return std::string(kModes[mode]) + (output == 0 ? "Key" : "Matte") + (inverted ? "Inverted" : "");
}

class RFpKeyer_defaultTest : public testing::TestWithParam<Program> {
 protected:
  KeyerSettings Settings(Random& random) const {
    const auto& [mode, output, inverted] = GetParam();
    return RandomKey(mode, output, inverted, random);
  }
};

TEST_P(RFpKeyer_defaultTest, FollowsTheFormulaOverRandomSettings) {
  Random random(5);
  int atTheStep = 0;
  int pixels = 0;
  for (const Size& size : kSizes) {
    Memory a(size.width, size.height, 3);
    Memory b(size.width, size.height, 0);
    Memory target(size.width, size.height, 1);
    FillNoise(a, 1);
    FillNoise(b, 2);
    for (int i = 0; i < kSets; ++i) {
      RFpKeyer_default node;
      ApplyTo(node, Settings(random));
      ASSERT_EQ(DrawInMemory(node, {&a, &b}, target), 1);
      const KeyerSettings settings = ReadFrom(node);
      const KeyerDifference found = CompareWithKey(settings, a.Packed(), b.Packed(), target.Packed());
      ASSERT_LE(found.largest, 1) << Describe(settings) << '\n' << found.where;
      atTheStep += found.atTheStep;
      pixels += size.width * size.height;
    }
  }
  EXPECT_LT(atTheStep, pixels / 1000) << "so few pixels that none hides a mistake";
}

TEST_P(RFpKeyer_defaultTest, LeavesTheGapsBetweenRowsAlone) {
  Memory source(3, 4, 2);
  Memory target(3, 4, 5);
  FillNoise(source, 1);
  Random random(1);
  RFpKeyer_default node;
  ApplyTo(node, Settings(random));
  node.SetMask(1, 0.4F);
  ASSERT_EQ(DrawInMemory(node, {&source, &source}, target), 1);
  for (int y = 0; y < 4; ++y) {
    for (int x = 3; x < 8; ++x) EXPECT_EQ(target.At(x, y)[0], 0xEE);
  }
}

// Every setting at its extremes, and what no number should be.
TEST_P(RFpKeyer_defaultTest, HostileValuesStayWithinTheFormula) {
  const float kValues[] = {0,
                           1,
                           -1,
                           1e30F,
                           1e-30F,
                           1e-45F,
                           0.99999994F,
                           std::numeric_limits<float>::infinity(),
                           -std::numeric_limits<float>::infinity(),
                           std::numeric_limits<float>::quiet_NaN()};
  Memory a(19, 3, 0);
  Memory b(19, 3, 0);
  Memory target(19, 3, 0);
  FillNoise(a, 3);
  FillNoise(b, 4);
  const auto& [mode, output, inverted] = GetParam();
  Random random(9);
  const auto any = [&] { return kValues[random.Below(std::size(kValues))]; };
  for (int i = 0; i < 300; ++i) {
    RFpKeyer_default node;
    node.SetMode(mode);
    node.SetOutput(output);
    node.SetInvertMatte(inverted);
    for (int component = 0; component < 3; ++component) node.SetKey(component, any());
    node.SetThreshold(any());
    node.SetSoftness(any());
    node.SetSuppression(any());
    if (random.Below(4) == 0) node.SetMask(static_cast<int>(random.Below(4)), any());
    ASSERT_EQ(DrawInMemory(node, {&a, &b}, target), 1);
    const KeyerSettings settings = ReadFrom(node);
    const KeyerDifference found = CompareWithKey(settings, a.Packed(), b.Packed(), target.Packed());
    ASSERT_LE(found.largest, 1) << Describe(settings) << '\n' << found.where;
  }
}

INSTANTIATE_TEST_SUITE_P(All, RFpKeyer_defaultTest,
                         testing::Combine(testing::Values(0, 1, 2), testing::Values(0, 1), testing::Bool()),
                         NameOf);

// --- Pixels by hand.

Bytes KeyPixel(RFpKeyer& node, const Bytes& a, const Bytes& b = {0, 0, 0, 0}) {
  Memory first(1, 1, 0);
  Memory second(1, 1, 0);
  Memory target(1, 1, 0);
  std::copy(a.begin(), a.end(), first.bytes.begin());
  std::copy(b.begin(), b.end(), second.bytes.begin());
  EXPECT_EQ(DrawInMemory(node, {&first, &second}, target), 1);
  return target.bytes;
}

// A key of pure green: green lies along the hue by all it has, grey by nothing.
TEST(RFpKeyer_default, ChromaKeysOutTheKeyAndKeepsGrey) {
  RFpKeyer_default node;
  node.SetKey(0, 0);
  node.SetKey(1, 1);
  node.SetKey(2, 0);
  node.SetThreshold(0.5F);
  node.SetSoftness(0.5F);
  EXPECT_EQ(KeyPixel(node, {0, 255, 0, 255}), (Bytes{0, 0, 0, 0}));
  EXPECT_EQ(KeyPixel(node, {100, 100, 100, 7}), (Bytes{100, 100, 100, 255})) << "alpha does not count";
  node.SetOutput(1);
  EXPECT_EQ(KeyPixel(node, {0, 255, 0, 255}), (Bytes{0, 0, 0, 0}));
  EXPECT_EQ(KeyPixel(node, {100, 100, 100, 7}), (Bytes{255, 255, 255, 255}));
  // 96 / 255 along the hue, between 0.25 and 0.5: 1 - 0.5059 of 255 is 126.
  EXPECT_EQ(KeyPixel(node, {0, 96, 0, 255}), (Bytes{126, 126, 126, 126}));
  node.SetInvertMatte(true);
  EXPECT_EQ(KeyPixel(node, {0, 96, 0, 255}), (Bytes{129, 129, 129, 129}));
  node.SetOutput(0);
  EXPECT_EQ(KeyPixel(node, {0, 255, 0, 255}), (Bytes{0, 255, 0, 255})) << "what is kept stays as it is";
  EXPECT_EQ(KeyPixel(node, {100, 200, 100, 7})[3], 145) << "100 / 255 along the hue";
  EXPECT_EQ(KeyPixel(node, {200, 100, 200, 7}), (Bytes{0, 0, 0, 0})) << "and what is not, vanishes whole";
}

TEST(RFpKeyer_default, LuminanceKeysByTheSquareOfTheDistance) {
  RFpKeyer_default node;
  node.SetMode(1);
  node.SetThreshold(0);
  node.SetSoftness(1);
  // (100 / 255)^2 = 0.15379; of 255 that is 39.2, of the colour 15.4.
  EXPECT_EQ(KeyPixel(node, {100, 100, 100, 0}), (Bytes{15, 15, 15, 39}));
  node.SetOutput(1);
  EXPECT_EQ(KeyPixel(node, {100, 100, 100, 0}), (Bytes{39, 39, 39, 39}));
  node.SetInvertMatte(true);
  EXPECT_EQ(KeyPixel(node, {100, 100, 100, 0}), (Bytes{216, 216, 216, 216}));
  node.SetOutput(0);
  EXPECT_EQ(KeyPixel(node, {100, 100, 100, 0}), (Bytes{85, 85, 85, 216}));
  node.SetInvertMatte(false);
  node.SetOutput(1);
  // Green weighs 0.6094: (0.6094)^2 of 255 is 94.7.
  EXPECT_EQ(KeyPixel(node, {0, 255, 0, 0}), (Bytes{95, 95, 95, 95}));
  node.SetSoftness(0);
  EXPECT_EQ(KeyPixel(node, {16, 16, 16, 0})[0], 255) << "the steepest slope, 256, times 1 / 254";
  EXPECT_EQ(KeyPixel(node, {15, 15, 15, 0})[0], 226);
}

TEST(RFpKeyer_default, DifferenceKeepsWhatDiffers) {
  RFpKeyer_default node;
  node.SetMode(2);
  node.SetSoftness(1);
  // 51 / 255 in each colour: 0.12 of 255 is 30.6, of 102 is 12.24.
  EXPECT_EQ(KeyPixel(node, {102, 102, 102, 9}, {51, 51, 51, 200}), (Bytes{12, 12, 12, 31}));
  EXPECT_EQ(KeyPixel(node, {51, 51, 51, 9}, {102, 102, 102, 200}), (Bytes{6, 6, 6, 31}))
      << "it is A that is kept";
  node.SetInvertMatte(true);
  EXPECT_EQ(KeyPixel(node, {102, 102, 102, 9}, {51, 51, 51, 200}), (Bytes{90, 90, 90, 224}));
  node.SetOutput(1);
  EXPECT_EQ(KeyPixel(node, {102, 102, 102, 9}, {51, 51, 51, 200}), (Bytes{224, 224, 224, 224}));
}

// --- Masks.

// Where the matte of a difference from black would be white.
std::string Kept(RFpKeyer& node, int width, int height) {
  Memory white(width, height, 1);
  Memory black(width, height, 2);
  Memory target(width, height, 3);
  std::fill(white.bytes.begin(), white.bytes.end(), 255);
  std::fill(black.bytes.begin(), black.bytes.end(), 0);
  node.SetMode(2);
  EXPECT_EQ(DrawInMemory(node, {&white, &black}, target), 1);
  std::string rows;
  for (int y = height - 1; y >= 0; --y) {
    for (int x = 0; x < width; ++x) {
      const unsigned char* const pixel = target.At(x, y);
      const bool all = std::all_of(pixel, pixel + 4, [](int byte) { return byte == 255; });
      const bool none = std::all_of(pixel, pixel + 4, [](int byte) { return byte == 0; });
      rows += all ? '#' : none ? '.' : '?';
    }
    rows += '\n';
  }
  return rows;
}

TEST(RFpKeyer_default, MasksKeyOutStripsAlongTheirEdges) {
  const struct {
    int edge;
    const char* kept;
  } rows[] = {{0, ".###\n.###\n.###\n.###\n"},
              {1, "###.\n###.\n###.\n###.\n"},
              {2, "####\n####\n####\n....\n"},
              {3, "....\n####\n####\n####\n"}};
  for (const int output : {0, 1}) {
    for (const auto& row : rows) {
      RFpKeyer_default node;
      node.SetOutput(output);
      node.SetMask(row.edge, 0.25F);
      EXPECT_EQ(Kept(node, 4, 4), row.kept) << row.edge;
    }
  }
  RFpKeyer_default node;
  EXPECT_EQ(Kept(node, 4, 2), "####\n####\n");
  for (const int edge : {0, 1, 2, 3}) node.SetMask(edge, 0.25F);
  EXPECT_EQ(Kept(node, 4, 4), "....\n.##.\n.##.\n....\n");
}

TEST(RFpKeyer_default, MasksRoundToTheNearestPixel) {
  const struct {
    float fraction;
    const char* left;
    const char* right;
  } rows[] = {{0.04F, "##########\n", "##########\n"},
              {0.06F, ".#########\n", "#########.\n"},
              {0.14F, ".#########\n", "#########.\n"},
              {0.16F, "..########\n", "########..\n"},
              // As many pixels at either side, also of a half.
              {0.25F, "...#######\n", "#######...\n"},
              {0.94F, ".........#\n", "#.........\n"},
              {0.96F, "..........\n", "..........\n"}};
  for (const auto& row : rows) {
    RFpKeyer_default left;
    left.SetMask(0, row.fraction);
    EXPECT_EQ(Kept(left, 10, 1), row.left) << row.fraction;
    RFpKeyer_default right;
    right.SetMask(1, row.fraction);
    EXPECT_EQ(Kept(right, 10, 1), row.right) << row.fraction;
  }
}

TEST(RFpKeyer_default, MasksThatMeetOrOverlapLeaveNothing) {
  for (const float fraction : {0.5F, 0.7F, 1.0F}) {
    for (const int first : {0, 2}) {
      RFpKeyer_default node;
      node.SetMask(first, fraction);
      node.SetMask(first + 1, fraction);
      EXPECT_EQ(Kept(node, 4, 2), "....\n....\n") << fraction;
    }
  }
}

TEST(RFpKeyer_default, AnInvertedMatteIsMaskedAllTheSame) {
  for (const int mode : {0, 1, 2}) {
    for (const int output : {0, 1}) {
      Memory source(8, 4, 0);
      Memory target(8, 4, 0);
      FillNoise(source, 5);
      RFpKeyer_default node;
      node.SetMode(mode);
      node.SetOutput(output);
      node.SetInvertMatte(true);
      for (const int edge : {0, 1, 2, 3}) node.SetMask(edge, 0.25F);
      ASSERT_EQ(DrawInMemory(node, {&source, &source}, target), 1);
      const Picture result = target.Packed();
      const KeyerDifference found = CompareWithKey(ReadFrom(node), source.Packed(), source.Packed(), result);
      EXPECT_LE(found.largest, 1) << found.where;
      EXPECT_EQ(PixelAt(result, 1, 2), (std::array<unsigned char, 4>{0, 0, 0, 0}));
    }
  }
}

// --- Images that are not what they should be.

TEST(RFpKeyer_default, DifferenceKeysWhatBothImagesCover) {
  Memory wide(6, 2, 0);
  Memory high(3, 4, 0);
  FillNoise(wide, 1);
  FillNoise(high, 2);
  for (const bool swapped : {false, true}) {
    Memory target(6, 4, 0);
    RFpKeyer_default node;
    node.SetMode(2);
    node.SetInvertMatte(true);
    node.SetThreshold(0);
    Memory& a = swapped ? high : wide;
    Memory& b = swapped ? wide : high;
    ASSERT_EQ(DrawInMemory(node, {&a, &b}, target), 1);
    const KeyerDifference found = CompareWithKey(ReadFrom(node), a.Packed(), b.Packed(), target.Packed());
    EXPECT_LE(found.largest, 1) << found.where;
    EXPECT_EQ(target.At(2, 1)[3], 255);
    EXPECT_EQ(target.At(3, 1)[3], 0) << "A alone";
    EXPECT_EQ(target.At(2, 2)[3], 0) << "B alone";
  }
}

TEST(RFpKeyer_default, ASmallerSourceLeavesTheRestEmpty) {
  Memory source(3, 2, 0);
  Memory target(5, 4, 0);
  FillNoise(source, 4);
  RFpKeyer_default node;
  ASSERT_EQ(DrawInMemory(node, {&source}, target), 1);
  EXPECT_EQ(target.At(2, 1)[3], 255);
  for (const auto& [x, y] : {std::pair(3, 0), std::pair(0, 2), std::pair(4, 3)})
    EXPECT_EQ(PixelAt(target.Packed(), x, y), (std::array<unsigned char, 4>{0, 0, 0, 0}));
}

TEST(RFpKeyer_default, ASmallerTargetIsNotWrittenBeyondItsEnd) {
  Memory source(9, 9, 0);
  Memory target(3, 2, 0);
  FillNoise(source, 4);
  RFpContext context;
  context.sources[0] = source.pixels;
  context.target = target.pixels;
  RFpKeyer_default node;
  for (const float mask : {0.0F, 0.3F, 0.6F}) {
    node.SetMask(0, mask);
    ASSERT_EQ(node.Bind(&context, 0, 0x40000), 1);
    node.Draw(&context, 0, 0x40000, 9, 9);
    EXPECT_EQ(target.At(2, 1)[3], mask < 0.2F ? 255 : 0) << "masks are fractions of the picture";
  }
}

void ExpectCleared(const Memory& target) { EXPECT_EQ(target.bytes, Bytes(target.bytes.size(), 0)); }

TEST(RFpKeyer_default, UnknownModesAndOutputsClearTheResult) {
  Memory source(4, 4, 0);
  FillNoise(source, 5);
  for (const auto& [mode, output] :
       {std::pair(3, 0), std::pair(-1, 0), std::pair(0, 2), std::pair(2, -1), std::pair(5, 5)}) {
    Memory target(4, 4, 0);
    RFpKeyer_default node;
    node.SetMode(mode);
    node.SetOutput(output);
    EXPECT_EQ(DrawInMemory(node, {&source, &source}, target), 1);
    ExpectCleared(target);
  }
}

TEST(RFpKeyer_default, WhatCannotBeReadCountsAsEmpty) {
  Memory good(4, 4, 0);
  FillNoise(good, 6);
  Memory noFormat(4, 4, 0, -1);
  Memory wrongSize(4, 4, 0);
  wrongSize.pixels.pixelSize = 2;
  Memory noMemory(4, 4, 0);
  noMemory.pixels.bits = nullptr;
  Memory noWidth(4, 4, 0);
  noWidth.pixels.width = 0;
  for (const Memory* const bad : {&noFormat, &wrongSize, &noMemory, &noWidth}) {
    Memory target(4, 4, 0);
    RFpKeyer_default node;
    EXPECT_EQ(DrawInMemory(node, {bad, &good}, target), 1);
    ExpectCleared(target);
    node.SetMode(2);
    node.SetInvertMatte(true);
    for (const auto& sources : {std::vector{bad, static_cast<const Memory*>(&good)},
                                std::vector{static_cast<const Memory*>(&good), bad}}) {
      std::fill(target.bytes.begin(), target.bytes.end(), 0xEE);
      EXPECT_EQ(DrawInMemory(node, sources, target), 1);
      ExpectCleared(target);
    }
  }
}

TEST(RFpKeyer_default, WithoutATargetNothingIsDrawn) {
  Memory source(4, 4, 0);
  RFpContext context;
  context.sources[0] = source.pixels;
  RFpKeyer_default node;
  EXPECT_EQ(node.Bind(&context, 0, 0x40000), 1);
  node.Draw(&context, 0, 0x40000, 4, 4);
  context.target = source.pixels;
  context.target.bits = nullptr;
  node.Draw(&context, 0, 0x40000, 4, 4);
  EXPECT_EQ(node.Bind(nullptr, 0, 0x40000), 1);
  node.Draw(nullptr, 0, 0x40000, 4, 4);
  node.Unbind(nullptr, 0, 0x40000);
}

TEST(RFpKeyer_default, TheTargetMayBeTheSource) {
  Memory source(33, 3, 0);
  FillNoise(source, 8);
  Memory same = source;
  same.pixels.bits = same.bytes.data();
  Memory target(33, 3, 0);
  RFpKeyer_default node;
  node.SetThreshold(0.3F);
  node.SetSoftness(0.8F);
  ASSERT_EQ(DrawInMemory(node, {&source}, target), 1);
  ASSERT_EQ(DrawInMemory(node, {&same}, same), 1);
  EXPECT_EQ(same.bytes, target.bytes);
}

struct LayoutRow {
  const char* name;
  int glFormat;
  Bytes pixel;
  Bytes rgba;
};

class KeyerLayout : public testing::TestWithParam<LayoutRow> {};

// More pixels than are brought to RGBA at a time, B in another layout than A.
TEST_P(KeyerLayout, IsKeyedLikeRgba) {
  const LayoutRow& row = GetParam();
  const int size = static_cast<int>(row.pixel.size());
  Memory source(2050, 2, 1, row.glFormat, size);
  Memory black(2050, 2, 0);
  Memory target(2050, 2, 0);
  std::fill(black.bytes.begin(), black.bytes.end(), 0);
  for (int y = 0; y < 2; ++y) {
    for (int x = 0; x < 2050; ++x) std::copy(row.pixel.begin(), row.pixel.end(), source.At(x, y));
  }
  RFpKeyer_default node;
  node.SetMode(2);
  ASSERT_EQ(DrawInMemory(node, {&source, &black}, target), 1);
  for (std::size_t i = 0; i < target.bytes.size(); ++i) ASSERT_EQ(target.bytes[i], row.rgba[i % 4]) << i;
  // The other way round everything differs by as much, and what is kept is black.
  ASSERT_EQ(DrawInMemory(node, {&black, &source}, target), 1);
  for (std::size_t i = 0; i < target.bytes.size(); ++i) ASSERT_EQ(target.bytes[i], i % 4 == 3 ? 255 : 0) << i;
}

INSTANTIATE_TEST_SUITE_P(
    All, KeyerLayout,
    testing::Values(LayoutRow{"RGBA", GL_RGBA, {100, 20, 30, 4}, {100, 20, 30, 255}},
                    LayoutRow{"RGB", GL_RGB, {100, 20, 30}, {100, 20, 30, 255}},
                    LayoutRow{"BGRA", GL_BGRA, {100, 20, 30, 4}, {30, 20, 100, 255}},
                    LayoutRow{"BGR", GL_BGR, {100, 20, 30}, {30, 20, 100, 255}},
                    LayoutRow{"ABGR", GL_ABGR_EXT, {1, 20, 30, 40}, {40, 30, 20, 255}},
                    // 5 bits each: red 31, green 0, blue 16, of which the converter keeps 4.
                    LayoutRow{"RGB555", GL_RGB, {0x10, 0x7C}, {240, 0, 128, 255}}),
    [](const auto& row) { return row.param.name; });

// Longer rows than are brought to RGBA at a time, behind a mask.
TEST(RFpKeyer_default, RowsOfOtherLayoutsAreKeyedFromEndToEnd) {
  Memory rgba(3000, 2, 0);
  Memory bgra(3000, 2, 1, GL_BGRA);
  FillNoise(rgba, 5);
  for (int y = 0; y < 2; ++y) {
    for (int x = 0; x < 3000; ++x) {
      const unsigned char* const p = rgba.At(x, y);
      const Bytes swapped = {p[2], p[1], p[0], p[3]};
      std::copy(swapped.begin(), swapped.end(), bgra.At(x, y));
    }
  }
  RFpKeyer_default node;
  node.SetThreshold(0.3F);
  node.SetSoftness(0.8F);
  node.SetMask(0, 0.01F);
  Memory expected(3000, 2, 0);
  Memory target(3000, 2, 0);
  ASSERT_EQ(DrawInMemory(node, {&rgba}, expected), 1);
  ASSERT_EQ(DrawInMemory(node, {&bgra}, target), 1);
  EXPECT_EQ(target.bytes, expected.bytes);
}

TEST(RFpKeyer_default, BothFormsOfTheProcessorKeyMemory) {
  Memory source(5, 3, 0);
  FillNoise(source, 5);
  Memory targets[] = {{5, 3, 0}, {5, 3, 0}};
  const int forms[] = {0x40000, 0x80000};
  RFpKeyer_default node;
  for (const std::size_t i : {0U, 1U}) {
    RFpContext context;
    context.sources[0] = source.pixels;
    context.target = targets[i].pixels;
    ASSERT_EQ(node.Bind(&context, 0, forms[i]), 1);
    node.Draw(&context, 0, forms[i], 5, 3);
  }
  EXPECT_NE(targets[0].bytes, Memory(5, 3, 0).bytes);
  EXPECT_EQ(targets[1].bytes, targets[0].bytes);
}

TEST(RFpKeyer_default, AChangeShowsInTheNextDraw) {
  Memory source(64, 1, 0);
  Memory first(64, 1, 0);
  Memory second(64, 1, 0);
  FillNoise(source, 5);
  RFpKeyer_default node;
  node.SetThreshold(0.3F);
  DrawInMemory(node, {&source}, first);
  node.SetSoftness(0.9F);
  DrawInMemory(node, {&source}, second);
  EXPECT_NE(first.bytes, second.bytes);
  node.SetSoftness(0);
  DrawInMemory(node, {&source}, second);
  EXPECT_EQ(first.bytes, second.bytes);
}

}  // namespace
}  // namespace test
