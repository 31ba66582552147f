// Tests of the operations that change the size. There is no QGuiApplication here.
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <tuple>

#include "image/RResample.h"
#include "support/ImageProbe.h"
#include "support/TestData.h"

namespace {

using test::BytesPerPixel;
using test::FormatName;
using test::kAllFormats;
using test::MakeImage;
using test::MakeNoiseImage;
using test::NoisePixels;
using test::Pixels;
using test::PixelsOf;
using test::ProbeImage;
using test::ProbePtr;

// --- Nearest neighbour.

Pixels ExpectNearest(const Pixels& source, int width, int height, int newWidth, int newHeight, int size) {
  Pixels result;
  for (int y = 0; y < newHeight; ++y) {
    for (int x = 0; x < newWidth; ++x) {
      const int from = ((y * height / newHeight) * width + x * width / newWidth) * size;
      for (int i = 0; i < size; ++i) result.push_back(source[static_cast<std::size_t>(from + i)]);
    }
  }
  return result;
}

struct Sizes {
  int width, height, newWidth, newHeight;
};

class RImageConvertSizeTest : public testing::TestWithParam<std::tuple<Sizes, kImageFormat>> {};

// Halves and doubles have loops of their own for pixels of 4 bytes.
constexpr Sizes kSizes[] = {
    {4, 2, 2, 1},     {1, 1, 5, 7},    {7, 5, 1, 1},     {7, 5, 3, 11},  {64, 48, 32, 24}, {32, 24, 64, 48},
    {33, 3, 66, 3},   {66, 3, 33, 9},  {34, 2, 17, 2},   {35, 5, 17, 3}, {17, 3, 34, 2},   {17, 3, 35, 2},
    {100, 1, 101, 1}, {1, 100, 1, 99}, {255, 2, 256, 2}, {8, 8, 8, 9},   {8, 8, 9, 8}};

INSTANTIATE_TEST_SUITE_P(, RImageConvertSizeTest,
                         testing::Combine(testing::ValuesIn(kSizes),
                                          testing::Values(kImageFormatRGBA, kImageFormatBGR,
                                                          kImageFormatRGB555)),
                         [](const auto& testCase) {
                           const Sizes& s = std::get<0>(testCase.param);
                           return std::to_string(s.width) + "x" + std::to_string(s.height) + "To" +
                                  std::to_string(s.newWidth) + "x" + std::to_string(s.newHeight) +
                                  FormatName(std::get<1>(testCase.param));
                         });

TEST_P(RImageConvertSizeTest, TakesTheNearestPixelBelow) {
  const auto& [sizes, format] = GetParam();
  const auto& [width, height, newWidth, newHeight] = sizes;
  const int size = BytesPerPixel(format);
  const ProbePtr image = MakeNoiseImage(format, width, height);
  const Pixels before = PixelsOf(*image);
  const int updates = image->GetUpdateId();
  EXPECT_TRUE(image->ConvertSize(newWidth, newHeight));
  EXPECT_EQ(image->GetWidth(), newWidth);
  EXPECT_EQ(image->GetHeight(), newHeight);
  EXPECT_EQ(image->GetFormat(), format);
  EXPECT_EQ(image->mAllocatedSize, newWidth * newHeight * size);
  EXPECT_EQ(image->mImageSize, image->mAllocatedSize);
  EXPECT_EQ(image->GetUpdateId(), updates + 2) << "one for the buffer that went, one for the change";
  EXPECT_EQ(PixelsOf(*image), ExpectNearest(before, width, height, newWidth, newHeight, size));
}

TEST(RImageResizeTest, HalfSizeTakesPixelsZeroAndTwo) {
  const ProbePtr image = MakeNoiseImage(kImageFormatRGBA, 4, 2);
  const Pixels before = PixelsOf(*image);
  EXPECT_TRUE(image->ConvertSize(2, 1));
  Pixels expected(before.begin(), before.begin() + 4);
  expected.insert(expected.end(), before.begin() + 8, before.begin() + 12);
  EXPECT_EQ(PixelsOf(*image), expected);
}

TEST(RImageResizeTest, EnlargingAndReducingByTheSameFactorGivesThePictureBack) {
  for (const int factor : {2, 3, 5, 8}) {
    const ProbePtr image = MakeNoiseImage(kImageFormatRGBA, 13, 7);
    const Pixels before = PixelsOf(*image);
    EXPECT_TRUE(image->ConvertSize(13 * factor, 7 * factor));
    EXPECT_TRUE(image->ConvertSize(13, 7));
    EXPECT_EQ(PixelsOf(*image), before) << factor;
  }
}

TEST(RImageResizeTest, TheSizeItHasIsRefused) {
  const ProbePtr image = MakeNoiseImage(kImageFormatRGBA, 4, 2);
  const int updates = image->GetUpdateId();
  EXPECT_FALSE(image->ConvertSize(4, 2));
  EXPECT_EQ(image->GetUpdateId(), updates);
}

TEST(RImageResizeTest, NoStorageIsRefused) {
  const ProbePtr image(new ProbeImage);
  EXPECT_FALSE(image->ConvertSize(4, 4));
  EXPECT_FALSE(MakeImage(kImageFormatEmpty, 4, 4)->ConvertSize(2, 2));
}

TEST(RImageResizeTest, LayersBecomeOneWhenTheSizeChanges) {
  const ProbePtr image = MakeNoiseImage(kImageFormatRGBA, 4, 4);
  image->SetDepth(3);
  Pixels layers = NoisePixels(192);
  image->SetImageBits(layers.data());
  EXPECT_FALSE(image->ConvertSize(4, 4));
  EXPECT_EQ(image->GetDepth(), 3);
  const int updates = image->GetUpdateId();
  EXPECT_TRUE(image->ConvertSize(2, 4));
  EXPECT_EQ(image->GetDepth(), 1);
  EXPECT_EQ(image->GetUpdateId(), updates + 3) << "depth, freed buffer, size";
  EXPECT_EQ(PixelsOf(*image), ExpectNearest(layers, 4, 4, 2, 4, 4));
}

TEST(RImageResizeTest, SizesWithoutPixelsLeaveAnEmptyPicture) {
  for (const auto& [width, height] : {std::pair{4, 0}, {0, 4}, {0, 0}}) {
    const ProbePtr image = MakeNoiseImage(kImageFormatRGBA, 3, 3);
    EXPECT_TRUE(image->ConvertSize(width, height));
    EXPECT_EQ(image->GetWidth(), width);
    EXPECT_EQ(image->GetHeight(), height);
    EXPECT_EQ(image->mAllocatedSize, 0);
  }
}

TEST(RImageResizeTest, NegativeAndHugeSizesAreRefused) {
  const ProbePtr image = MakeNoiseImage(kImageFormatRGBA, 3, 3);
  const int updates = image->GetUpdateId();
  for (const auto& [width, height] :
       {std::pair{-1, 4}, {4, -1}, {-4, -4}, {65535, 65535}, {INT_MAX, INT_MAX}}) {
    EXPECT_FALSE(image->ConvertSize(width, height));
  }
  EXPECT_EQ(image->GetUpdateId(), updates);
  EXPECT_EQ(PixelsOf(*image), NoisePixels(36));
}

TEST(RImageResizeTest, EmptyPictureWithStorageGrowsTransparentBlack) {
  const ProbePtr image = MakeNoiseImage(kImageFormatRGBA, 3, 3);
  image->SetWidth(0);
  EXPECT_TRUE(image->ConvertSize(2, 2));
  EXPECT_EQ(PixelsOf(*image), Pixels(16, 0));
}

TEST(RImageResizeTest, NoLayersAreNoPixels) {
  const ProbePtr image = MakeImage(kImageFormatRGBA, 3, 3);
  image->SetDepth(0);
  image->Clear();
  EXPECT_FALSE(image->ConvertSize(2, 2));
}

TEST(RResampleTest, LargeRatiosDoNotOverflow) {
  // 70,000 x 70,000 is beyond 32 bits.
  const Pixels source = NoisePixels(70000 * 2);
  Pixels destination(69999 * 2);
  ASSERT_TRUE(RResampleNearest(destination.data(), 69999, 1, source.data(), 70000, 1, 2));
  for (std::size_t x = 0; x < 69999; ++x) {
    const std::size_t from = x * 70000 / 69999;
    ASSERT_EQ(std::memcmp(&destination[2 * x], &source[2 * from], 2), 0) << x;
  }
}

// --- Square.

class RImageSquareTest : public testing::TestWithParam<std::tuple<std::pair<int, int>, kImageFormat>> {};

std::string SquareName(const testing::TestParamInfo<RImageSquareTest::ParamType>& testCase) {
  const auto& [size, format] = testCase.param;
  return std::to_string(size.first) + "x" + std::to_string(size.second) + FormatName(format);
}

INSTANTIATE_TEST_SUITE_P(
    , RImageSquareTest,
    testing::Combine(testing::Values(std::pair{4, 2}, std::pair{2, 4}, std::pair{5, 2}, std::pair{2, 5},
                                     std::pair{1, 8}, std::pair{9, 1}, std::pair{3, 4}, std::pair{40, 7}),
                     testing::Values(kImageFormatRGBA, kImageFormatRGB, kImageFormatRGB555)),
    SquareName);

TEST_P(RImageSquareTest, PutsThePictureInTheMiddle) {
  const auto& [shape, format] = GetParam();
  const auto& [width, height] = shape;
  const int size = BytesPerPixel(format);
  const int side = std::max(width, height);
  const ProbePtr image = MakeNoiseImage(format, width, height);
  const Pixels before = PixelsOf(*image);
  const int updates = image->GetUpdateId();
  const unsigned char fill[4] = {201, 202, 203, 204};
  EXPECT_TRUE(image->ConvertToSquare(fill));
  EXPECT_EQ(image->GetWidth(), side);
  EXPECT_EQ(image->GetHeight(), side);
  EXPECT_EQ(image->mAllocatedSize, side * side * size);
  EXPECT_EQ(image->GetUpdateId(), updates + 2);

  // The odd row or column goes to the end.
  const int left = (side - width) / 2;
  const int below = (side - height) / 2;
  Pixels expected;
  for (int y = 0; y < side; ++y) {
    for (int x = 0; x < side; ++x) {
      const bool inside = x >= left && x < left + width && y >= below && y < below + height;
      const unsigned char* pixel =
          inside ? &before[static_cast<std::size_t>(((y - below) * width + x - left) * size)] : fill;
      expected.insert(expected.end(), pixel, pixel + size);
    }
  }
  EXPECT_EQ(PixelsOf(*image), expected);
}

TEST(RImageResizeTest, SquareOfFourByTwoHasOneFillRowOnEachSide) {
  const ProbePtr image = MakeNoiseImage(kImageFormatRGBA, 4, 2);
  const Pixels before = PixelsOf(*image);
  const unsigned char fill[4] = {9, 8, 7, 6};
  EXPECT_TRUE(image->ConvertToSquare(fill));
  const Pixels after = PixelsOf(*image);
  ASSERT_EQ(after.size(), 64U);
  EXPECT_EQ(std::memcmp(after.data(), fill, 4), 0);
  EXPECT_EQ(std::memcmp(&after[16], before.data(), 32), 0);
  EXPECT_EQ(std::memcmp(&after[60], fill, 4), 0);
}

TEST(RImageResizeTest, SquaresAreLeftAsTheyAre) {
  const ProbePtr image = MakeNoiseImage(kImageFormatRGBA, 3, 3);
  const int updates = image->GetUpdateId();
  EXPECT_TRUE(image->ConvertToSquare(nullptr));
  image->SetDepth(2);
  EXPECT_TRUE(image->ConvertToSquare(nullptr));
  EXPECT_EQ(image->GetDepth(), 2);
  EXPECT_EQ(image->GetUpdateId(), updates + 2);
  const ProbePtr none(new ProbeImage);
  EXPECT_TRUE(none->ConvertToSquare(nullptr)) << "0 x 0 is square";
}

TEST(RImageResizeTest, SquareNeedsAFillPixelAndStorage) {
  const ProbePtr image = MakeNoiseImage(kImageFormatRGBA, 3, 2);
  image->SetDepth(2);
  EXPECT_FALSE(image->ConvertToSquare(nullptr));
  EXPECT_EQ(image->GetDepth(), 2);
  const unsigned char fill[4] = {};
  const ProbePtr empty = MakeImage(kImageFormatEmpty, 3, 2);
  EXPECT_FALSE(empty->ConvertToSquare(fill));
  EXPECT_EQ(empty->GetWidth(), 3);
}

TEST(RImageResizeTest, SquareOfLayersKeepsTheFirst) {
  const ProbePtr image = MakeImage(kImageFormatRGBA, 2, 1);
  image->SetDepth(2);
  Pixels layers = NoisePixels(16);
  image->SetImageBits(layers.data());
  const unsigned char fill[4] = {1, 1, 1, 1};
  EXPECT_TRUE(image->ConvertToSquare(fill));
  EXPECT_EQ(image->GetDepth(), 1);
  EXPECT_EQ(Pixels(image->GetImageBits(), image->GetImageBits() + 8),
            Pixels(layers.begin(), layers.begin() + 8));
}

TEST(RImageResizeTest, SquareThatIsTooLargeIsRefused) {
  const ProbePtr image = MakeNoiseImage(kImageFormatRGBA, 40000, 1);
  const unsigned char fill[4] = {};
  EXPECT_FALSE(image->ConvertToSquare(fill)) << "6.4 GB";
  EXPECT_EQ(image->GetWidth(), 40000);
  EXPECT_EQ(image->GetHeight(), 1);
}

TEST(RImageResizeTest, SquareOfAPictureWithoutColumnsIsAllFill) {
  const ProbePtr image = MakeNoiseImage(kImageFormatRGB, 2, 2);
  image->SetWidth(0);
  const unsigned char fill[4] = {5, 6, 7, 8};
  EXPECT_TRUE(image->ConvertToSquare(fill));
  EXPECT_EQ(PixelsOf(*image), (Pixels{5, 6, 7, 5, 6, 7, 5, 6, 7, 5, 6, 7}));
}

// --- Vector sources without a QGuiApplication.

TEST(RImageResizeTest, VectorSourceIsRefusedWithoutAnApplication) {
  const test::TemporaryFolder folder;
  const std::string svg = "<svg xmlns='http://www.w3.org/2000/svg' viewBox='0 0 2 2'><text>x</text></svg>";
  const std::string path = folder.Write("text.svg", {svg.begin(), svg.end()});
  const ProbePtr image = MakeNoiseImage(kImageFormatRGBA, 2, 2);
  image->SetVectorSourcePath(path.c_str());
  const int updates = image->GetUpdateId();
  EXPECT_FALSE(image->ConvertSize(4, 4));
  EXPECT_EQ(image->GetUpdateId(), updates);
  EXPECT_EQ(PixelsOf(*image), NoisePixels(16));
}

}  // namespace
