// The comparisons that judge every reader must themselves be able to fail.
#include "support/SampleManifest.h"

#include <gtest/gtest-spi.h>

#include "image/RDestroyPtr.h"
#include "image/RImage.h"
#include "support/TestData.h"

namespace test {
namespace {

Picture Grey(int width, int height, unsigned char value) {
  Picture picture{width, height, {}};
  picture.rgba.assign(static_cast<std::size_t>(4 * width * height), value);
  return picture;
}

RDestroyPtr<RImage> MakeImage(kImageFormat format, int width, int height, std::vector<unsigned char> bytes) {
  RDestroyPtr<RImage> image(RImageCreate());
  EXPECT_TRUE(image->Init(format, width, height, 0, 0, true, kImageTypeFrame, kInterleaveNone,
                          kInterpolationNone, RImage::kIncarnationRaw));
  image->SetImageBits(bytes.data());
  return image;
}

TEST(SampleManifestTest, EqualPicturesMatch) { EXPECT_TRUE(Matches(Grey(3, 2, 7), Grey(3, 2, 7))); }

TEST(SampleManifestTest, OtherSizesDoNotMatch) {
  EXPECT_FALSE(Matches(Grey(3, 2, 7), Grey(2, 3, 7)));
  EXPECT_FALSE(Matches(Picture(), Grey(2, 3, 7)));
}

TEST(SampleManifestTest, MessageTellsTheFirstAndTheWorstPixel) {
  Picture actual = Grey(3, 2, 7);
  actual.rgba[4 + 1] = 9;       // x 1, y 0, green
  actual.rgba[4 * 5 + 3] = 70;  // x 2, y 1, alpha
  const auto result = Matches(actual, Grey(3, 2, 7));
  ASSERT_FALSE(result);
  EXPECT_STREQ(
      result.message(),
      "2 of 6 pixels differ by more than 0; first: x 1, y 0 from the top: (7, 9, 7, 7), expected (7, 7, 7, "
      "7); worst: x 2, y 1 from the top: (7, 7, 7, 70), expected (7, 7, 7, 7)");
}

TEST(SampleManifestTest, OnlyNamedChannelsCount) {
  Picture actual = Grey(1, 1, 7);
  actual.rgba[3] = 0;
  EXPECT_FALSE(Matches(actual, Grey(1, 1, 7)));
  EXPECT_TRUE(Matches(actual, Grey(1, 1, 7), "RGB"));
  EXPECT_TRUE(Matches(actual, Grey(1, 1, 7), "float RG"));
}

TEST(SampleManifestTest, ChannelToleranceIsInclusive) {
  Tolerance tolerance;
  tolerance.channel = 2;
  EXPECT_TRUE(Matches(Grey(1, 1, 9), Grey(1, 1, 7), "RGBA", tolerance));
  EXPECT_FALSE(Matches(Grey(1, 1, 10), Grey(1, 1, 7), "RGBA", tolerance));
}

TEST(SampleManifestTest, InteriorToleranceSparesEdgesButNotTheMean) {
  Tolerance tolerance;
  tolerance.interior = true;
  tolerance.mean = 3;
  Picture expected = Grey(9, 9, 7);
  expected.rgba[4 * 40] = 8;  // the centre: its neighbours are an edge
  Picture actual = expected;
  actual.rgba[4 * 40] = 100;
  EXPECT_TRUE(Matches(actual, expected, "RGBA", tolerance));
  actual.rgba[0] = 8;  // a corner far from the edge
  EXPECT_FALSE(Matches(actual, expected, "RGBA", tolerance));
  tolerance.channel = 255;
  EXPECT_FALSE(Matches(Grey(9, 9, 11), Grey(9, 9, 7), "RGBA", tolerance));
}

TEST(SampleManifestTest, FloatsMatchWithinTheirBounds) {
  Tolerance tolerance;
  tolerance.relative = 0.01;
  tolerance.absolute = 0.001;
  EXPECT_TRUE(MatchesFloats({100.5F, 0.0005F}, {100, 0}, tolerance));
  EXPECT_FALSE(MatchesFloats({101.5F, 0}, {100, 0}, tolerance));
  EXPECT_FALSE(MatchesFloats({100, 0.01F}, {100, 0}, tolerance));
  EXPECT_FALSE(MatchesFloats({100}, {100, 0}, tolerance));
  EXPECT_FALSE(MatchesFloats({std::numeric_limits<float>::quiet_NaN()}, {1}, tolerance));
}

TEST(SampleManifestTest, PicturesHaveTheTopRowFirst) {
  const auto image = MakeImage(kImageFormatRGB, 1, 2, {1, 2, 3, 4, 5, 6});
  EXPECT_EQ(ToPicture(image.get()).rgba, (std::vector<unsigned char>{4, 5, 6, 255, 1, 2, 3, 255}));
}

TEST(SampleManifestTest, ChannelOrdersAreTurnedToRgba) {
  struct Case {
    kImageFormat format;
    std::vector<unsigned char> bytes;
  };
  const std::vector<unsigned char> rgba{10, 20, 30, 40};
  const Case cases[] = {{kImageFormatRGBA, {10, 20, 30, 40}},
                        {kImageFormatBGRA, {30, 20, 10, 40}},
                        {kImageFormatABGR, {40, 30, 20, 10}},
                        {kImageFormatARGB, {40, 10, 20, 30}}};
  for (const Case& row : cases) EXPECT_EQ(ToPicture(MakeImage(row.format, 1, 1, row.bytes).get()).rgba, rgba);
  const auto bgr = MakeImage(kImageFormatBGR, 1, 1, {30, 20, 10});
  EXPECT_EQ(ToPicture(bgr.get()).rgba, (std::vector<unsigned char>{10, 20, 30, 255}));
}

TEST(SampleManifestTest, NoPictureFailsTheTest) {
  EXPECT_NONFATAL_FAILURE(ToPicture(nullptr), "no image");
  EXPECT_NONFATAL_FAILURE(LoadPicture("/nowhere.png"), "cannot be read");
}

TEST(SampleManifestTest, CheckJudgesRefusals) {
  Sample sample;
  sample.expect = Expect::kRefuse;
  EXPECT_TRUE(Check(sample, nullptr));
  const auto image = MakeImage(kImageFormatRGB, 1, 1, {1, 2, 3});
  EXPECT_FALSE(Check(sample, image.get()));
  sample.expect = Expect::kPixels;
  EXPECT_FALSE(Check(sample, nullptr));
  sample.expect = Expect::kNoCrash;
  EXPECT_TRUE(Check(sample, nullptr));
  EXPECT_TRUE(Check(sample, image.get()));
}

TEST(SampleManifestTest, ManifestEntriesAreRead) {
  const std::vector<Sample> samples = LoadSamples("svg");
  ASSERT_EQ(samples.size(), 2U);
  EXPECT_EQ(samples[0].path, DataPath("svg/sdl_svg.svg"));
  EXPECT_EQ(samples[0].expected, DataPath("svg/sdl_svg.svg.expected.png"));
  EXPECT_EQ(samples[0].width, 32);
  EXPECT_EQ(samples[0].height, 32);
  EXPECT_TRUE(samples[0].premultiplied);
  EXPECT_TRUE(samples[0].tolerance.interior);
  EXPECT_EQ(samples[0].tolerance.channel, 4);
  EXPECT_EQ(samples[0].tolerance.mean, 3.0);
}

TEST(SampleManifestDeathTest, MissingManifestEndsTheProgram) {
  EXPECT_EXIT(LoadSamples("nowhere"), testing::ExitedWithCode(1), "no entries");
}

}  // namespace
}  // namespace test
