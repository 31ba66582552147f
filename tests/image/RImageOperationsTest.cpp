// Tests of the operations on alpha, of the flip and of the translation.
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <limits>
#include <tuple>

#include "support/ImageProbe.h"

namespace {

using test::BytesPerPixel;
using test::FormatName;
using test::ImagePtr;
using test::kAllFormats;
using test::MakeImage;
using test::MakeNoiseImage;
using test::NoisePixels;
using test::Pixels;
using test::PixelsOf;
using test::ProbeImage;
using test::ProbePtr;

// --- Premultiplication.

// A picture with every pair of colour and alpha.
ProbePtr MakeAllPairs() {
  Pixels pixels;
  for (unsigned pair = 0; pair < 65536; ++pair) {
    const auto colour = static_cast<unsigned char>(pair & 0xFF);
    pixels.insert(pixels.end(),
                  {colour, static_cast<unsigned char>(~colour), static_cast<unsigned char>(colour ^ 0x5A),
                   static_cast<unsigned char>(pair >> 8)});
  }
  return MakeImage(kImageFormatRGBA, 256, 256, pixels);
}

TEST(RImageOperationsTest, PremultiplyKnownPixel) {
  const ProbePtr image = MakeImage(kImageFormatRGBA, 1, 1, {200, 100, 50, 128});
  image->Premultiply();
  EXPECT_EQ(PixelsOf(*image), (Pixels{100, 50, 25, 128}));
  image->RemovePremultiply();
  EXPECT_EQ(PixelsOf(*image), (Pixels{199, 99, 49, 128}));
}

TEST(RImageOperationsTest, PremultiplyIsSinglePrecisionTruncatedForAllPairs) {
  const ProbePtr image = MakeAllPairs();
  const Pixels before = PixelsOf(*image);
  const int updates = image->GetUpdateId();
  image->Premultiply();
  const Pixels after = PixelsOf(*image);
  for (std::size_t i = 0; i < before.size(); ++i) {
    const float alpha = static_cast<float>(before[i | 3]) / 255.0F;
    const auto expected =
        (i & 3) == 3 ? before[i] : static_cast<unsigned char>(static_cast<float>(before[i]) * alpha);
    ASSERT_EQ(after[i], expected) << i;
  }
  EXPECT_EQ(image->GetUpdateId(), updates) << "no update is counted";
}

TEST(RImageOperationsTest, RemovePremultiplyIsIntegerDivisionForAllPairs) {
  const ProbePtr image = MakeAllPairs();
  const Pixels before = PixelsOf(*image);
  const int updates = image->GetUpdateId();
  image->RemovePremultiply();
  const Pixels after = PixelsOf(*image);
  for (std::size_t i = 0; i < before.size(); ++i) {
    const unsigned alpha = before[i | 3];
    unsigned expected = before[i];
    if ((i & 3) != 3 && alpha != 0) expected = std::min(255U, expected * 255 / alpha);
    ASSERT_EQ(after[i], expected) << i;
  }
  EXPECT_EQ(image->GetUpdateId(), updates);
}

TEST(RImageOperationsTest, RemovePremultiplyLeavesTransparentPixels) {
  const ProbePtr image = MakeImage(kImageFormatRGBA, 2, 1, {1, 2, 3, 0, 255, 128, 64, 0});
  image->RemovePremultiply();
  EXPECT_EQ(PixelsOf(*image), (Pixels{1, 2, 3, 0, 255, 128, 64, 0}));
}

TEST(RImageOperationsTest, OpaquePixelsAreNotChanged) {
  const ProbePtr image = MakeNoiseImage(kImageFormatBGRA, 16, 16);
  for (std::size_t i = 3; i < 1024; i += 4) image->GetImageBits()[i] = 255;
  const Pixels before = PixelsOf(*image);
  image->Premultiply();
  EXPECT_EQ(PixelsOf(*image), before);
  image->RemovePremultiply();
  EXPECT_EQ(PixelsOf(*image), before);
}

// Dividing loses at most what the truncation of the product lost, so a third step changes nothing any more.
TEST(RImageOperationsTest, PremultiplyAfterRoundTripDoesNotBrighten) {
  const ProbePtr image = MakeAllPairs();
  image->Premultiply();
  const Pixels once = PixelsOf(*image);
  image->RemovePremultiply();
  image->Premultiply();
  const Pixels again = PixelsOf(*image);
  for (std::size_t i = 0; i < once.size(); ++i) {
    ASSERT_LE(again[i], once[i]);
    ASSERT_LE(once[i] - again[i], 1);
  }
}

class RImageEveryFormatTest : public testing::TestWithParam<kImageFormat> {};

INSTANTIATE_TEST_SUITE_P(, RImageEveryFormatTest, testing::ValuesIn(kAllFormats),
                         [](const auto& testCase) { return FormatName(testCase.param); });

TEST_P(RImageEveryFormatTest, PremultiplicationNeedsFourBytesAPixel) {
  const ProbePtr image = MakeNoiseImage(GetParam(), 7, 5);
  const Pixels before = PixelsOf(*image);
  image->Premultiply();
  EXPECT_EQ(PixelsOf(*image) == before, BytesPerPixel(GetParam()) != 4);
  const ProbePtr other = MakeNoiseImage(GetParam(), 7, 5);
  other->RemovePremultiply();
  EXPECT_EQ(PixelsOf(*other) == before, BytesPerPixel(GetParam()) != 4);
}

TEST_P(RImageEveryFormatTest, OnlyTheFirstLayerIsPremultiplied) {
  if (BytesPerPixel(GetParam()) != 4) return;
  const ProbePtr image = MakeImage(GetParam(), 3, 2);
  image->SetDepth(2);
  Pixels layers = NoisePixels(48);
  image->SetImageBits(layers.data());
  image->Premultiply();
  EXPECT_NE(PixelsOf(*image), Pixels(layers.begin(), layers.begin() + 24));
  EXPECT_EQ(std::memcmp(image->GetImageBitsAtDepth(1), &layers[24], 24), 0);
}

TEST(RImageOperationsTest, OperationsWithoutStorageDoNothing) {
  const ProbePtr image = MakeImage(kImageFormatRGBA, 4, 4);
  image->Clear();
  image->Premultiply();
  image->RemovePremultiply();
  EXPECT_TRUE(image->ApplyAlpha(0.5F));
  EXPECT_EQ(image->GetImageBits(), nullptr);
}

// --- Scaling alpha.

TEST(RImageOperationsTest, ApplyAlphaTruncates) {
  const ProbePtr image = MakeImage(kImageFormatRGBA, 3, 1, {1, 2, 3, 255, 4, 5, 6, 100, 7, 8, 9, 1});
  const int updates = image->GetUpdateId();
  EXPECT_TRUE(image->ApplyAlpha(0.5F));
  EXPECT_EQ(PixelsOf(*image), (Pixels{1, 2, 3, 127, 4, 5, 6, 50, 7, 8, 9, 0}));
  EXPECT_EQ(image->GetUpdateId(), updates);
}

TEST(RImageOperationsTest, ApplyAlphaAboveOneWrapsWithoutClamping) {
  const ProbePtr image = MakeImage(kImageFormatRGBA, 1, 1, {1, 2, 3, 200});
  EXPECT_TRUE(image->ApplyAlpha(2.0F));
  EXPECT_EQ(PixelsOf(*image), (Pixels{1, 2, 3, 144}));
}

TEST(RImageOperationsTest, ApplyAlphaOfFactorsThatAreNoNumbersIsDefined) {
  for (const float factor : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
                             -std::numeric_limits<float>::infinity(), 1e30F, -1e30F}) {
    const ProbePtr image = MakeNoiseImage(kImageFormatRGBA, 5, 5);
    Pixels expected = PixelsOf(*image);
    for (std::size_t i = 3; i < expected.size(); i += 4) expected[i] = 0;
    EXPECT_TRUE(image->ApplyAlpha(factor));
    EXPECT_EQ(PixelsOf(*image), expected) << factor;
  }
}

TEST(RImageOperationsTest, ApplyAlphaByANegativeFactorKeepsTheLowBits) {
  const ProbePtr image = MakeImage(kImageFormatRGBA, 1, 1, {1, 2, 3, 200});
  EXPECT_TRUE(image->ApplyAlpha(-1.0F));
  EXPECT_EQ(PixelsOf(*image), (Pixels{1, 2, 3, 56}));
}

TEST(RImageOperationsTest, ApplyAlphaStepsByFourBytesWhateverTheFormat) {
  // 3 x 1 pixels of 3 bytes: two whole steps, one byte left over.
  const ProbePtr image = MakeImage(kImageFormatRGB, 3, 1, {10, 20, 30, 40, 50, 60, 70, 80, 90});
  EXPECT_TRUE(image->ApplyAlpha(0.5F));
  EXPECT_EQ(PixelsOf(*image), (Pixels{10, 20, 30, 20, 50, 60, 70, 40, 90}));
}

// --- Alpha as a picture.

TEST_P(RImageEveryFormatTest, CreateFromAlphaChannelKeepsTheDescription) {
  const ProbePtr image(new ProbeImage);
  ASSERT_TRUE(image->Init(GetParam(), 3, 2, 5, 0, true, kImageTypeField, kInterleaveFieldOne,
                          kInterpolationDouble, RImage::kIncarnationRaw));
  const ImagePtr alpha(image->CreateFromAlphaChannel(false));
  ASSERT_NE(alpha, nullptr);
  EXPECT_EQ(alpha->GetFormat(), GetParam());
  EXPECT_EQ(alpha->GetWidth(), 3);
  EXPECT_EQ(alpha->GetHeight(), 2);
  EXPECT_EQ(alpha->GetPadWidth(), 0);
  EXPECT_EQ(alpha->GetDepth(), 1);
  EXPECT_EQ(alpha->GetImageType(), kImageTypeField);
  EXPECT_EQ(alpha->GetInterleaveType(), kInterleaveFieldOne);
  EXPECT_EQ(alpha->GetInterpolationType(), kInterpolationDouble);
  EXPECT_EQ(alpha->GetIncarnation(), RImage::kIncarnationRaw);
}

TEST_P(RImageEveryFormatTest, CreateFromAlphaChannelOfEachFormat) {
  const kImageFormat format = GetParam();
  const bool last = format == kImageFormatRGBA || format == kImageFormatBGRA;
  const bool first = format == kImageFormatABGR || format == kImageFormatARGB;
  const ProbePtr image = MakeNoiseImage(format, 13, 3);
  const Pixels source = PixelsOf(*image);
  for (const bool invert : {false, true}) {
    Pixels expected(source.size(), 0);
    for (std::size_t i = 0; (first || last) && i < source.size(); i += 4) {
      const unsigned alpha = source[i + (last ? 3 : 0)];
      const auto gray = static_cast<unsigned char>(last && invert ? 255 - alpha : alpha);
      expected[i] = expected[i + 1] = expected[i + 2] = gray;
      expected[i + 3] = 255;
    }
    const ImagePtr alpha(image->CreateFromAlphaChannel(invert));
    ASSERT_NE(alpha, nullptr);
    EXPECT_EQ(PixelsOf(*alpha), expected) << invert;
  }
  EXPECT_EQ(PixelsOf(*image), source);
}

TEST(RImageOperationsTest, InvertIsIgnoredWhereAlphaIsTheFirstByte) {
  const ProbePtr image = MakeImage(kImageFormatARGB, 1, 1, {40, 1, 2, 3});
  const ImagePtr alpha(image->CreateFromAlphaChannel(true));
  EXPECT_EQ(PixelsOf(*alpha), (Pixels{40, 40, 40, 255}));
}

TEST(RImageOperationsTest, CreateFromAlphaChannelRefusesLayers) {
  const ProbePtr image = MakeImage(kImageFormatRGBA, 2, 2);
  image->SetDepth(2);
  EXPECT_EQ(image->CreateFromAlphaChannel(false), nullptr);
}

// --- Merging alpha.

TEST(RImageOperationsTest, MergeAlphaChannelTakesByteTwoOfTheMask) {
  const ProbePtr image = MakeImage(kImageFormatBGRA, 2, 1, {1, 2, 3, 4, 5, 6, 7, 8});
  const ProbePtr mask = MakeImage(kImageFormatRGBA, 2, 1, {11, 12, 13, 14, 15, 16, 17, 18});
  const ImagePtr merged(image->MergeAlphaChannel(mask.get()));
  ASSERT_NE(merged, nullptr);
  EXPECT_EQ(merged->GetFormat(), kImageFormatBGRA);
  EXPECT_EQ(PixelsOf(*merged), (Pixels{1, 2, 3, 13, 5, 6, 7, 17}));
  EXPECT_EQ(PixelsOf(*image), (Pixels{1, 2, 3, 4, 5, 6, 7, 8}));
}

TEST(RImageOperationsTest, MergeAlphaChannelMakesAPlainFrame) {
  const ProbePtr image(new ProbeImage);
  ASSERT_TRUE(image->Init(kImageFormatRGBA, 2, 2, 3, 0, true, kImageTypeField, kInterleaveFieldTwo,
                          kInterpolationDouble, RImage::kIncarnationRaw));
  const ImagePtr merged(image->MergeAlphaChannel(image.get()));
  ASSERT_NE(merged, nullptr);
  EXPECT_EQ(merged->GetImageType(), kImageTypeFrame);
  EXPECT_EQ(merged->GetInterleaveType(), kInterleaveNone);
  EXPECT_EQ(merged->GetInterpolationType(), kInterpolationNone);
  EXPECT_EQ(merged->GetPadWidth(), 0);
}

TEST(RImageOperationsTest, MergeAlphaChannelCountsPixelsNotShapes) {
  const ProbePtr image = MakeNoiseImage(kImageFormatRGBA, 6, 2, 1);
  const ProbePtr mask = MakeNoiseImage(kImageFormatARGB, 3, 4, 2);
  const ImagePtr merged(image->MergeAlphaChannel(mask.get()));
  ASSERT_NE(merged, nullptr);
  for (std::size_t i = 0; i < 12; ++i) {
    EXPECT_EQ(merged->GetImageBits()[4 * i + 3], mask->GetImageBits()[4 * i + 2]);
  }
}

TEST(RImageOperationsTest, MergeAlphaChannelRefusesAMaskThatIsMissingOrTooSmall) {
  const ProbePtr image = MakeNoiseImage(kImageFormatRGBA, 4, 4);
  EXPECT_EQ(image->MergeAlphaChannel(nullptr), nullptr);
  EXPECT_EQ(image->MergeAlphaChannel(MakeImage(kImageFormatRGBA, 4, 3).get()), nullptr);
  EXPECT_EQ(image->MergeAlphaChannel(MakeImage(kImageFormatRGB, 4, 4).get()), nullptr);
  const ProbePtr cleared = MakeImage(kImageFormatRGBA, 4, 4);
  cleared->Clear();
  EXPECT_EQ(image->MergeAlphaChannel(cleared.get()), nullptr);
  EXPECT_NE(ImagePtr(image->MergeAlphaChannel(MakeImage(kImageFormatRGB, 8, 4).get())), nullptr)
      << "bytes enough, whatever they mean";
}

TEST(RImageOperationsTest, MergeAlphaChannelRefusesLayersButTakesALayeredMask) {
  const ProbePtr image = MakeNoiseImage(kImageFormatRGBA, 2, 2);
  const ProbePtr mask = MakeNoiseImage(kImageFormatRGBA, 2, 1);
  mask->SetDepth(2);
  EXPECT_NE(ImagePtr(image->MergeAlphaChannel(mask.get())), nullptr);
  image->SetDepth(2);
  EXPECT_EQ(image->MergeAlphaChannel(mask.get()), nullptr);
}

TEST(RImageOperationsTest, MergeAlphaChannelOfOtherPixelSizesStepsByFourBytes) {
  const ProbePtr image = MakeImage(kImageFormatRGB, 2, 1, {1, 2, 3, 4, 5, 6});
  const ProbePtr mask = MakeImage(kImageFormatRGB, 2, 1, {11, 12, 13, 14, 15, 16});
  const ImagePtr merged(image->MergeAlphaChannel(mask.get()));
  ASSERT_NE(merged, nullptr);
  EXPECT_EQ(PixelsOf(*merged), (Pixels{1, 2, 3, 13, 5, 6}));
}

TEST(RImageOperationsTest, AlphaComesBackThroughItsPicture) {
  const ProbePtr image = MakeNoiseImage(kImageFormatRGBA, 17, 9, 5);
  const ImagePtr alpha(image->CreateFromAlphaChannel(false));
  const ImagePtr merged(image->MergeAlphaChannel(alpha.get()));
  ASSERT_NE(merged, nullptr);
  EXPECT_EQ(PixelsOf(*merged), PixelsOf(*image));
}

TEST(RImageOperationsTest, EmptyPicturesMergeAndSplit) {
  const ProbePtr image = MakeImage(kImageFormatRGBA, 0, 4);
  EXPECT_NE(ImagePtr(image->CreateFromAlphaChannel(true)), nullptr);
  EXPECT_NE(ImagePtr(image->MergeAlphaChannel(image.get())), nullptr);
}

// --- Flip.

class RImageFlipTest : public testing::TestWithParam<std::tuple<kImageFormat, int>> {};

INSTANTIATE_TEST_SUITE_P(, RImageFlipTest,
                         testing::Combine(testing::ValuesIn(kAllFormats), testing::Values(0, 1, 2, 3, 8, 17)),
                         [](const auto& testCase) {
                           return FormatName(std::get<0>(testCase.param)) +
                                  std::to_string(std::get<1>(testCase.param));
                         });

TEST_P(RImageFlipTest, SwapsRowsOfTheFirstLayer) {
  const auto& [format, height] = GetParam();
  constexpr int kWidth = 11;
  const ProbePtr image = MakeImage(format, kWidth, height);
  image->SetDepth(2);
  const std::size_t rowBytes = kWidth * static_cast<std::size_t>(BytesPerPixel(format));
  const std::size_t layerBytes = rowBytes * static_cast<std::size_t>(height);
  Pixels layers = NoisePixels(2 * layerBytes);
  image->SetImageBits(layers.data());
  const int updates = image->GetUpdateId();
  image->ImageVerticalFlip();
  EXPECT_EQ(image->GetUpdateId(), updates);
  Pixels expected;
  for (std::size_t row = static_cast<std::size_t>(height); row-- > 0;) {
    for (std::size_t i = 0; i < rowBytes; ++i) expected.push_back(layers[row * rowBytes + i]);
  }
  EXPECT_EQ(PixelsOf(*image), expected);
  if (layerBytes > 0) {
    EXPECT_EQ(std::memcmp(image->GetImageBits() + layerBytes, &layers[layerBytes], layerBytes), 0);
  }
  image->ImageVerticalFlip();
  EXPECT_EQ(PixelsOf(*image),
            Pixels(layers.begin(), layers.begin() + static_cast<std::ptrdiff_t>(layerBytes)));
}

TEST(RImageOperationsTest, FlipValidatesTheStorageFirst) {
  const ProbePtr image = MakeNoiseImage(kImageFormatRGBA, 3, 3);
  image->Clear();
  image->ImageVerticalFlip();
  EXPECT_EQ(image->mAllocatedSize, 36);
}

// --- Translation.

struct Shift {
  int dx;
  int dy;
};

class RImageTranslateTest : public testing::TestWithParam<std::tuple<Shift, bool, kImageFormat>> {};

constexpr Shift kShifts[] = {{0, 0},
                             {1, 0},
                             {0, 1},
                             {-1, 0},
                             {0, -1},
                             {2, 3},
                             {-3, 2},
                             {5, -4},
                             {7, 5},
                             {-7, -5},
                             {8, 6},
                             {100, -100},
                             {-23, 41},
                             {INT_MAX, INT_MAX},
                             {INT_MIN, INT_MIN},
                             {INT_MIN, INT_MAX}};

std::string Number(int value) {
  return (value < 0 ? "m" : "") + std::to_string(std::abs(static_cast<long long>(value)));
}

std::string TranslateName(const testing::TestParamInfo<RImageTranslateTest::ParamType>& testCase) {
  const auto& [shift, wrap, format] = testCase.param;
  return Number(shift.dx) + "_" + Number(shift.dy) + (wrap ? "Wrapped" : "Clipped") + FormatName(format);
}

INSTANTIATE_TEST_SUITE_P(, RImageTranslateTest,
                         testing::Combine(testing::ValuesIn(kShifts), testing::Bool(),
                                          testing::Values(kImageFormatRGBA, kImageFormatRGB,
                                                          kImageFormatRGB555)),
                         TranslateName);

// The pixel at destination (column, row), by the definition: source row r + dy, source column c - dx.
Pixels ExpectTranslated(const Pixels& source, const Pixels& background, int width, int height, int size,
                        Shift shift, bool wrap) {
  Pixels result = background;
  for (long long row = 0; row < height; ++row) {
    for (long long column = 0; column < width; ++column) {
      long long fromRow = row + shift.dy;
      long long fromColumn = column - shift.dx;
      if (wrap) {
        fromRow = ((fromRow % height) + height) % height;
        fromColumn = ((fromColumn % width) + width) % width;
      }
      if (fromRow < 0 || fromRow >= height || fromColumn < 0 || fromColumn >= width) continue;
      std::memcpy(&result[static_cast<std::size_t>((row * width + column) * size)],
                  &source[static_cast<std::size_t>((fromRow * width + fromColumn) * size)],
                  static_cast<std::size_t>(size));
    }
  }
  return result;
}

TEST_P(RImageTranslateTest, MovesThePicture) {
  const auto& [shift, wrap, format] = GetParam();
  const ProbePtr source = MakeNoiseImage(format, 7, 5, 1);
  const ProbePtr destination = MakeNoiseImage(format, 7, 5, 2);
  const Pixels background = PixelsOf(*destination);
  const int updates = destination->GetUpdateId();
  EXPECT_TRUE(source->ImageTranslate(destination.get(), shift.dx, shift.dy, wrap, false));
  EXPECT_EQ(PixelsOf(*destination),
            ExpectTranslated(PixelsOf(*source), background, 7, 5, BytesPerPixel(format), shift, wrap));
  EXPECT_EQ(destination->GetUpdateId(), updates) << "no update is counted";

  const ProbePtr fresh(new ProbeImage);
  EXPECT_TRUE(source->ImageTranslate(fresh.get(), shift.dx, shift.dy, wrap, true));
  EXPECT_EQ(PixelsOf(*fresh), ExpectTranslated(PixelsOf(*source), Pixels(background.size(), 0), 7, 5,
                                               BytesPerPixel(format), shift, wrap));
}

TEST_P(RImageTranslateTest, WorksOntoItself) {
  const auto& [shift, wrap, format] = GetParam();
  const ProbePtr image = MakeNoiseImage(format, 7, 5, 1);
  const Pixels before = PixelsOf(*image);
  EXPECT_TRUE(image->ImageTranslate(image.get(), shift.dx, shift.dy, wrap, false));
  EXPECT_EQ(PixelsOf(*image), ExpectTranslated(before, before, 7, 5, BytesPerPixel(format), shift, wrap));
}

TEST(RImageOperationsTest, TranslateMovesRightAndTowardsRowZero) {
  const ProbePtr source = MakeImage(kImageFormatRGB555, 2, 2, {1, 1, 2, 2, 3, 3, 4, 4});
  const ProbePtr destination(new ProbeImage);
  EXPECT_TRUE(source->ImageTranslate(destination.get(), 1, 1, true, true));
  EXPECT_EQ(PixelsOf(*destination), (Pixels{4, 4, 3, 3, 2, 2, 1, 1}));
  EXPECT_TRUE(source->ImageTranslate(destination.get(), 1, 1, false, true));
  EXPECT_EQ(PixelsOf(*destination), (Pixels{0, 0, 3, 3, 0, 0, 0, 0}));
}

TEST(RImageOperationsTest, TranslateInitialisesTheDestinationLikeTheSource) {
  const ProbePtr source(new ProbeImage);
  ASSERT_TRUE(source->Init(kImageFormatRGB, 3, 2, 4, 0, true, kImageTypeField, kInterleaveFieldTwo,
                           kInterpolationDouble, RImage::kIncarnationRaw));
  const ProbePtr destination = MakeNoiseImage(kImageFormatRGBA, 9, 9);
  EXPECT_TRUE(source->ImageTranslate(destination.get(), 0, 0, false, true));
  EXPECT_EQ(destination->GetFormat(), kImageFormatRGB);
  EXPECT_EQ(destination->GetWidth(), 3);
  EXPECT_EQ(destination->GetHeight(), 2);
  EXPECT_EQ(destination->GetPadWidth(), 4);
  EXPECT_EQ(destination->GetImageType(), kImageTypeField);
  EXPECT_EQ(destination->GetInterleaveType(), kInterleaveFieldTwo);
  EXPECT_EQ(destination->GetInterpolationType(), kInterpolationDouble);
  // All of the old capacity is zero.
  EXPECT_EQ(Pixels(destination->mBits, destination->mBits + 324), Pixels(324, 0));
}

TEST(RImageOperationsTest, TranslateRefusesAnUnlikeDestination) {
  const ProbePtr source = MakeNoiseImage(kImageFormatRGBA, 4, 4);
  EXPECT_FALSE(source->ImageTranslate(nullptr, 1, 1, true, true));
  for (const auto& [format, width, height] :
       {std::tuple{kImageFormatRGBA, 5, 4}, {kImageFormatRGBA, 4, 3}, {kImageFormatRGB, 4, 4}}) {
    const ProbePtr destination = MakeNoiseImage(format, width, height, 2);
    const Pixels before = PixelsOf(*destination);
    EXPECT_FALSE(source->ImageTranslate(destination.get(), 1, 1, true, false));
    EXPECT_EQ(PixelsOf(*destination), before);
  }
  EXPECT_TRUE(source->ImageTranslate(MakeImage(kImageFormatARGB, 4, 4).get(), 1, 1, true, false))
      << "only the pixel size counts";
}

TEST(RImageOperationsTest, TranslateOfNothingSucceeds) {
  const ProbePtr source = MakeImage(kImageFormatRGBA, 4, 4);
  const ProbePtr destination = MakeNoiseImage(kImageFormatRGBA, 4, 4);
  source->Clear();
  EXPECT_TRUE(source->ImageTranslate(destination.get(), 1, 1, true, false));
  EXPECT_EQ(PixelsOf(*destination), NoisePixels(64));
  for (const auto& [width, height] : {std::pair{0, 3}, {3, 0}}) {
    const ProbePtr empty = MakeImage(kImageFormatRGBA, width, height);
    const ProbePtr other(new ProbeImage);
    EXPECT_TRUE(empty->ImageTranslate(other.get(), 1, 1, true, true));
  }
}

TEST(RImageOperationsTest, TranslationsComposeModuloTheSize) {
  const ProbePtr source = MakeNoiseImage(kImageFormatRGBA, 13, 9);
  const ProbePtr there(new ProbeImage);
  const ProbePtr back(new ProbeImage);
  EXPECT_TRUE(source->ImageTranslate(there.get(), 31, -25, true, true));
  EXPECT_TRUE(there->ImageTranslate(back.get(), -31, 25, true, true));
  EXPECT_EQ(PixelsOf(*back), PixelsOf(*source));
}

}  // namespace
