#include <gtest/gtest.h>

#include <algorithm>
#include <array>

#include "streams/YuvArithmetic.h"
#include "support/Random.h"
#include "support/YuvReference.h"

namespace {

using Line = std::array<unsigned char, kYuvLineBytes>;
using Row = std::array<unsigned char, kYuvRowBytes>;

// The conversions under test: the exported ones, which use what the processor has, and the plain ones.
struct Converters {
  const char* name;
  Row (*toPixels)(const Line&);
  Line (*toLine)(const Row&);
};

Row FastToPixels(const Line& line) {
  Row row{};
  RYuvToPixels(line, row);
  return row;
}
Line FastToLine(const Row& row) {
  Line line{};
  RPixelsToYuv(row, line);
  return line;
}
Row PlainToPixels(const Line& line) {
  Row row{};
  YuvToPixels(line.data(), row.data());
  return row;
}
Line PlainToLine(const Row& row) {
  Line line{};
  YuvToLine(row.data(), line.data());
  return line;
}

class YuvLines : public testing::TestWithParam<Converters> {
 protected:
  static test::YuvPixel PixelOf(const Row& row, std::size_t x) {
    return {row[3 * x], row[3 * x + 1], row[3 * x + 2]};
  }

  static Line FlatLine(int c1, int y, int c2) {
    Line line{};
    for (std::size_t i = 0; i < line.size(); i += 4) {
      line[i] = static_cast<unsigned char>(c1);
      line[i + 1] = line[i + 3] = static_cast<unsigned char>(y);
      line[i + 2] = static_cast<unsigned char>(c2);
    }
    return line;
  }
  static Row FlatRow(int r, int g, int b) {
    Row row{};
    for (std::size_t i = 0; i < row.size(); i += 3) {
      row[i] = static_cast<unsigned char>(r);
      row[i + 1] = static_cast<unsigned char>(g);
      row[i + 2] = static_cast<unsigned char>(b);
    }
    return row;
  }
};

INSTANTIATE_TEST_SUITE_P(Roads, YuvLines,
                         testing::Values(Converters{"Fast", FastToPixels, FastToLine},
                                         Converters{"Plain", PlainToPixels, PlainToLine}),
                         [](const auto& road) { return road.param.name; });

// --- To pixels

TEST_P(YuvLines, MidGreyIs130) {
  const Row row = GetParam().toPixels(FlatLine(128, 128, 128));
  EXPECT_TRUE(std::all_of(row.begin(), row.end(), [](int byte) { return byte == 130; }));
}

TEST_P(YuvLines, BlackIsZeroAndWhite254) {
  EXPECT_EQ(GetParam().toPixels(FlatLine(128, 16, 128)), Row{});
  EXPECT_EQ(GetParam().toPixels(FlatLine(128, 235, 128)), FlatRow(254, 254, 254));
}

TEST_P(YuvLines, TheFirstChromaByteDrivesTheThirdByteOfThePixel) {
  // y = 65.184; c1 = 50 gives 79.8 in the third byte and -40.65 in the second
  EXPECT_EQ(GetParam().toPixels(FlatLine(178, 72, 128)), FlatRow(65, 24, 144));
}

TEST_P(YuvLines, TheSecondChromaByteDrivesTheFirstByteOfThePixel) {
  // y = 65.184; c2 = 50 gives 100.9 in the first byte and -19.55 in the second
  EXPECT_EQ(GetParam().toPixels(FlatLine(128, 72, 178)), FlatRow(166, 45, 65));
}

TEST_P(YuvLines, ResultsAreClamped) {
  EXPECT_EQ(GetParam().toPixels(FlatLine(255, 255, 255)), FlatRow(255, 125, 255));
  EXPECT_EQ(GetParam().toPixels(FlatLine(0, 0, 0)), FlatRow(0, 135, 0));
  EXPECT_EQ(GetParam().toPixels(FlatLine(255, 0, 255)), FlatRow(237, 0, 184));
  EXPECT_EQ(GetParam().toPixels(FlatLine(0, 255, 0)), FlatRow(19, 255, 73));
}

TEST_P(YuvLines, OddPixelsHaveTheMeanChromaOfTheirPairAndTheNextHalvesCut) {
  Line line = FlatLine(128, 128, 128);
  line[4] = 131;  // the second pair's: means with the first 129, with the third 129
  line[6] = 201;  // 164 and 164
  const Row row = GetParam().toPixels(line);
  EXPECT_EQ(PixelOf(row, 0), test::ReferencePixel(128, 128, 128));
  EXPECT_EQ(PixelOf(row, 1), test::ReferencePixel(128, 129, 164));
  EXPECT_EQ(PixelOf(row, 2), test::ReferencePixel(128, 131, 201));
  EXPECT_EQ(PixelOf(row, 3), test::ReferencePixel(128, 129, 164));
  EXPECT_EQ(PixelOf(row, 4), test::ReferencePixel(128, 128, 128));
}

TEST_P(YuvLines, TheLastPixelHasTheChromaOfItsOwnPair) {
  Line line = FlatLine(128, 128, 128);
  line[1436] = 200;
  line[1438] = 60;
  const Row row = GetParam().toPixels(line);
  EXPECT_EQ(PixelOf(row, 717), test::ReferencePixel(128, 164, 94));
  EXPECT_EQ(PixelOf(row, 718), test::ReferencePixel(128, 200, 60));
  EXPECT_EQ(PixelOf(row, 719), test::ReferencePixel(128, 200, 60));
}

TEST_P(YuvLines, EveryPlaceOfALineHasItsOwnPixel) {
  test::Random random(5);
  for (int i = 0; i < 200; ++i) {
    Line line;
    for (unsigned char& byte : line) byte = random.Byte();
    const Row row = GetParam().toPixels(line);
    for (std::size_t x = 0; x < kYuvWidth; ++x) {
      const std::size_t pair = x / 2 * 4;
      const std::size_t next = std::min<std::size_t>(pair + 4, 1436);
      const bool odd = x % 2 != 0;
      const int c1 = odd ? (line[pair] + line[next]) / 2 : line[pair];
      const int c2 = odd ? (line[pair + 2] + line[next + 2]) / 2 : line[pair + 2];
      ASSERT_EQ(PixelOf(row, x), test::ReferencePixel(line[2 * x + 1], c1, c2)) << i << ' ' << x;
    }
  }
}

// Sums that are whole numbers, some of which rounding puts just below.
TEST_P(YuvLines, WholeResultsAreThoseOfDoublePrecision) {
  EXPECT_EQ(GetParam().toPixels(FlatLine(128, 16 - 9, 128 + 82))[0], 154);   // 155 less a rounding error
  EXPECT_EQ(GetParam().toPixels(FlatLine(128, 16 + 10, 128 + 20))[0], 52);   // 52 exactly
  EXPECT_EQ(GetParam().toPixels(FlatLine(128 - 20, 16 + 30, 128))[2], 2);    // 3 less a rounding error
  EXPECT_EQ(GetParam().toPixels(FlatLine(128 + 76, 16 - 14, 128))[2], 105);  // 105 exactly
}

// --- To components

TEST_P(YuvLines, BlackAndWhiteBecomeStudioRange) {
  EXPECT_EQ(GetParam().toLine(FlatRow(0, 0, 0)), FlatLine(128, 16, 128));
  EXPECT_EQ(GetParam().toLine(FlatRow(255, 255, 255)), FlatLine(128, 235, 128));
}

TEST_P(YuvLines, PrimaryColoursBecomeTheirComponents) {
  EXPECT_EQ(GetParam().toLine(FlatRow(255, 0, 0)), FlatLine(90, 81, 239));
  EXPECT_EQ(GetParam().toLine(FlatRow(0, 255, 0)), FlatLine(53, 144, 34));
  EXPECT_EQ(GetParam().toLine(FlatRow(0, 0, 255)), FlatLine(239, 40, 109));
}

TEST_P(YuvLines, GreysHaveNoChroma) {
  for (int grey = 0; grey < 256; ++grey) {
    const Line line = GetParam().toLine(FlatRow(grey, grey, grey));
    EXPECT_EQ(line, FlatLine(128, line[1], 128)) << grey;
  }
}

TEST_P(YuvLines, OddPixelsDoNotCountInTheChroma) {
  Row row = FlatRow(0, 0, 0);
  row[3] = 255;  // pixel 1 is red
  Line expected = FlatLine(128, 16, 128);
  expected[3] = 81;
  EXPECT_EQ(GetParam().toLine(row), expected);
}

TEST_P(YuvLines, EveryPlaceOfARowHasItsOwnComponents) {
  test::Random random(6);
  for (int i = 0; i < 200; ++i) {
    Row row;
    for (unsigned char& byte : row) byte = random.Byte();
    const Line line = GetParam().toLine(row);
    for (std::size_t x = 0; x < kYuvWidth; ++x) {
      const auto [y, cb, cr] = test::ReferenceComponents(row[3 * x], row[3 * x + 1], row[3 * x + 2]);
      ASSERT_EQ(line[2 * x + 1], y) << i << ' ' << x;
      if (x % 2 != 0) continue;
      ASSERT_EQ(line[2 * x], cb) << i << ' ' << x;
      ASSERT_EQ(line[2 * x + 2], cr) << i << ' ' << x;
    }
  }
}

}  // namespace
