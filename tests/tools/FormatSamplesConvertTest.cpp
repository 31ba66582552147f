// rimage convert on the files that the module's own readers and writers handle.
#include <gtest/gtest.h>

#include <QImage>
#include <array>
#include <cstddef>
#include <filesystem>

#include "TestPictures.h"
#include "ToolRunner.h"
#include "support/SampleManifest.h"
#include "support/TestData.h"
#include "support/YuvReference.h"

namespace {

using test::Expect;
using test::RunTool;
using test::Sample;

class FormatSamplesConvertTest : public testing::TestWithParam<Sample> {
 protected:
  test::TemporaryFolder mFolder;
};

TEST_P(FormatSamplesConvertTest, GivesTheExpectedPicture) {
  const Sample& sample = GetParam();
  const std::string output = mFolder.Path("out.png");
  const auto result = RunTool({"convert", sample.path, output});
  if (sample.expect == Expect::kRefuse) {
    EXPECT_EQ(result.code, 3);
    EXPECT_FALSE(std::filesystem::exists(output));
    return;
  }
  ASSERT_EQ(sample.expect, Expect::kPixels);
  ASSERT_EQ(result.code, 0) << result.errors;
  EXPECT_TRUE(test::Matches(test::LoadPicture(output), test::LoadPicture(sample.expected), sample.compare,
                            sample.tolerance));
}

INSTANTIATE_TEST_SUITE_P(Iff, FormatSamplesConvertTest, testing::ValuesIn(test::LoadSamples("iff")),
                         test::SampleName);
INSTANTIATE_TEST_SUITE_P(Pic, FormatSamplesConvertTest, testing::ValuesIn(test::LoadSamples("pic")),
                         test::SampleName);
INSTANTIATE_TEST_SUITE_P(Sgi, FormatSamplesConvertTest, testing::ValuesIn(test::LoadSamples("sgi")),
                         test::SampleName);
INSTANTIATE_TEST_SUITE_P(Yuv, FormatSamplesConvertTest, testing::ValuesIn(test::LoadSamples("yuv")),
                         test::SampleName);

// --- Video frames there and back

constexpr std::size_t kFrameBytes = std::size_t{2} * 720 * 486;

std::array<int, 3> ColoursOf(QRgb pixel) { return {qRed(pixel), qGreen(pixel), qBlue(pixel)}; }

// What a row of a picture becomes when it is written as components and read again: Y of each pixel, the
// chroma of the even ones, and between them the mean.
std::array<int, 3> ThroughComponents(const QImage& picture, int x, int y) {
  const auto components = [&](int column) {
    const auto [r, g, b] = ColoursOf(picture.pixel(column, y));
    return test::ReferenceComponents(r, g, b);
  };
  const int even = x - x % 2;
  const int next = x % 2 != 0 && even + 2 < 720 ? even + 2 : even;
  const auto own = components(even);
  const auto other = components(next);
  return test::ReferencePixel(components(x)[0], (own[1] + other[1]) / 2, (own[2] + other[2]) / 2);
}

TEST(VideoFrameConvertTest, APictureGoesThereAndBack) {
  const test::TemporaryFolder folder;
  QImage picture(720, 486, QImage::Format_RGB32);
  for (int y = 0; y < 486; ++y) {
    for (int x = 0; x < 720; ++x) picture.setPixel(x, y, qRgb(x / 3, y / 2, (x * 5 + y * 3) % 256));
  }
  test::Save(picture, folder.Path("a.png"));
  ASSERT_EQ(RunTool({"convert", folder.Path("a.png"), folder.Path("b.yuv")}).code, 0);
  EXPECT_EQ(std::filesystem::file_size(folder.Path("b.yuv")), kFrameBytes);
  ASSERT_EQ(RunTool({"convert", folder.Path("b.yuv"), folder.Path("c.png")}).code, 0);
  const QImage back = test::Load(folder.Path("c.png"));
  ASSERT_EQ(back.size(), picture.size());
  for (int y = 0; y < 486; ++y) {
    for (int x = 0; x < 720; ++x) {
      ASSERT_EQ(ColoursOf(back.pixel(x, y)), ThroughComponents(picture, x, y)) << x << ' ' << y;
    }
  }
}

TEST(VideoFrameConvertTest, APictureOfAnotherSizeBecomesAFrame) {
  const test::TemporaryFolder folder;
  test::Save(test::MakeOpaque(31, 17), folder.Path("a.png"));
  ASSERT_EQ(RunTool({"convert", folder.Path("a.png"), folder.Path("b.yuv")}).code, 0);
  ASSERT_EQ(RunTool({"convert", folder.Path("b.yuv"), folder.Path("c.png")}).code, 0);
  EXPECT_EQ(test::Load(folder.Path("c.png")).size(), QSize(720, 486));
}

TEST(VideoFrameConvertTest, AFrameOf576LinesIsWrittenBackWith486) {
  const test::TemporaryFolder folder;
  const std::string input = test::DataPath("yuv/gen_bars_720x576.yuv");
  ASSERT_EQ(std::filesystem::file_size(input), std::size_t{2} * 720 * 576);
  ASSERT_EQ(RunTool({"convert", input, folder.Path("b.yuv")}).code, 0);
  EXPECT_EQ(std::filesystem::file_size(folder.Path("b.yuv")), kFrameBytes);
}

}  // namespace
