// rimage compare.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <nlohmann/json.hpp>

#include "TestPictures.h"
#include "ToolRunner.h"
#include "support/TestData.h"

namespace {

using nlohmann::json;
using test::Arguments;
using test::RunTool;
using testing::HasSubstr;

class CompareTool : public testing::Test {
 protected:
  std::string Put(const std::string& name, const QImage& image) const {
    test::Save(image, mFolder.Path(name));
    return mFolder.Path(name);
  }
  static json Parse(const test::ToolResult& result) { return json::parse(result.output); }

  test::TemporaryFolder mFolder;
};

// Two rows of three pixels.
const QImage kFirst =
    test::MakeImage(3, {0xFF101010, 0xFF202020, 0xFF303030, 0xFF404040, 0xFF505050, 0xFF606060});

QImage Changed(int x, int y, QRgb pixel) {
  QImage image = kFirst;
  image.setPixel(x, y, pixel);
  return image;
}

TEST_F(CompareTool, EqualPicturesAreTheSame) {
  const std::string a = Put("a.png", kFirst);
  const std::string b = Put("b.tif", kFirst);
  const auto result = RunTool({"compare", a, b});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.output, a + " and " + b + " are the same\n");
  EXPECT_EQ(result.errors, "");
}

TEST_F(CompareTool, TellsWhereFromTheTopLeft) {
  const std::string a = Put("a.png", kFirst);
  const std::string b = Put("b.png", Changed(2, 1, 0xFF60606A));
  const auto result = RunTool({"compare", a, b});
  EXPECT_EQ(result.code, 1);
  // One pixel of six differs by 10 in blue: mean square 100 / 6, 10 log10(65025 / (100 / 6)) = 35.91.
  EXPECT_EQ(result.output,
            a + " and " + b +
                " differ: 1 of 6 pixels by more than 0\n"
                "        max      mean      PSNR\n"
                "red       0    0.0000         -\n"
                "green     0    0.0000         -\n"
                "blue     10    1.6667  35.91 dB\n"
                "alpha     0    0.0000         -\n"
                "first difference at (2, 1) from the top left: 96 96 96 255 against 96 96 106 255\n"
                "worst difference at (2, 1) from the top left: 96 96 96 255 against 96 96 106 255\n");
}

TEST_F(CompareTool, FirstAndWorstAreToldApart) {
  QImage changed = Changed(1, 0, 0xFF202120);
  changed.setPixel(0, 1, 0xFF4040C0);
  changed.setPixel(1, 1, 0xFFD05050);
  const json report = Parse(RunTool({"compare", "--json", Put("a.png", kFirst), Put("b.png", changed)}));
  EXPECT_EQ(report["first"], json({{"x", 1},
                                   {"y", 0},
                                   {"layer", 0},
                                   {"a", {0x20, 0x20, 0x20, 0xFF}},
                                   {"b", {0x20, 0x21, 0x20, 0xFF}},
                                   {"difference", 1}}));
  // Two pixels differ by 128: the first of them counts.
  EXPECT_EQ(report["worst"]["x"], 0);
  EXPECT_EQ(report["worst"]["y"], 1);
  EXPECT_EQ(report["worst"]["difference"], 128);
  EXPECT_EQ(report["different"], 3);
  EXPECT_EQ(report["pixels"], 6);
  EXPECT_EQ(report["origin"], "top left");
}

TEST_F(CompareTool, MeasuresEveryChannel) {
  QImage changed = Changed(0, 0, 0xF0131210);
  changed.setPixel(1, 0, 0xFF1D2020);
  const json channels =
      Parse(RunTool({"compare", "--json", Put("a.png", kFirst), Put("b.png", changed)}))["channels"];
  EXPECT_EQ(channels["red"]["max"], 3);
  EXPECT_DOUBLE_EQ(channels["red"]["mean"], 6.0 / 6);
  EXPECT_DOUBLE_EQ(channels["red"]["psnr"], 10 * std::log10(65025.0 / (18.0 / 6)));
  EXPECT_EQ(channels["green"]["max"], 2);
  EXPECT_DOUBLE_EQ(channels["green"]["mean"], 2.0 / 6);
  EXPECT_EQ(channels["blue"], json({{"max", 0}, {"mean", 0.0}, {"psnr", nullptr}}));
  EXPECT_EQ(channels["alpha"]["max"], 15);
}

TEST_F(CompareTool, DifferencesWithinTheToleranceCountAsTheSame) {
  const std::string a = Put("a.png", kFirst);
  const std::string b = Put("b.png", Changed(0, 0, 0xFF10100D));
  EXPECT_EQ(RunTool({"compare", a, b, "--tolerance", "2"}).code, 1);
  const auto result = RunTool({"compare", a, b, "--tolerance", "3"});
  EXPECT_EQ(result.code, 0);
  EXPECT_THAT(result.output, testing::StartsWith(a + " and " + b + " are the same within 3\n"));
  EXPECT_THAT(result.output, HasSubstr("worst difference at (0, 0)"));
  EXPECT_THAT(result.output, testing::Not(HasSubstr("first difference")));
}

TEST_F(CompareTool, JsonTellsTheVerdict) {
  const std::string a = Put("a.png", kFirst);
  const std::string b = Put("b.png", Changed(0, 0, 0xFF10100D));
  const json same = Parse(RunTool({"compare", a, b, "--json", "--tolerance", "3"}));
  EXPECT_EQ(same["same"], true);
  EXPECT_EQ(same["tolerance"], 3);
  EXPECT_EQ(same["a"], a);
  EXPECT_EQ(same["b"], b);
  EXPECT_EQ(same["first"], nullptr);
  EXPECT_EQ(Parse(RunTool({"compare", a, b, "--json"}))["same"], false);
}

TEST_F(CompareTool, DifferentSizesAreDifferentWithAReason) {
  const std::string a = Put("a.png", kFirst);
  const std::string b = Put("b.png", test::MakeOpaque(4, 2));
  const std::string map = mFolder.Path("map.png");
  const auto result = RunTool({"compare", a, b, "--tolerance", "255", "--diff", map});
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.errors, "rimage: " + b + ": differs from " + a +
                               ": the sizes differ: 3 x 2 pixels in 1 layer and 4 x 2 pixels in 1 layer\n");
  EXPECT_THAT(test::ListFolder(mFolder.Path("")), testing::Not(testing::Contains("map.png")));
  const json report = Parse(RunTool({"compare", a, b, "--json"}));
  EXPECT_EQ(report["same"], false);
  EXPECT_THAT(report["reason"].get<std::string>(), HasSubstr("the sizes differ"));
}

TEST_F(CompareTool, StraightAndPremultipliedMeetWhereTheyLookTheSame) {
  const QImage picture = test::MakeTranslucent(20, 10);
  EXPECT_EQ(RunTool({"compare", Put("a.png", picture), Put("a.tif", picture), "--tolerance", "1"}).code, 0);
}

TEST_F(CompareTool, ColoursUnderNoAlphaCountBetweenStraightPictures) {
  const std::string a = Put("a.png", test::MakeImage(1, {0x00102030}));
  EXPECT_EQ(RunTool({"compare", a, Put("b.png", test::MakeImage(1, {0x00000000}))}).code, 1);
}

TEST_F(CompareTool, PicturesWithoutAlphaCountAsOpaque) {
  const QImage grey = kFirst.convertToFormat(QImage::Format_Grayscale8);
  EXPECT_EQ(RunTool({"compare", Put("a.png", kFirst), Put("b.png", grey)}).code, 0);
}

TEST_F(CompareTool, UnreadableInputsAreReadingFailures) {
  const std::string a = Put("a.png", kFirst);
  EXPECT_EQ(RunTool({"compare", a, mFolder.Path("none.png")}).code, 3);
  EXPECT_EQ(RunTool({"compare", mFolder.Path("none.png"), a}).code, 3);
}

TEST_F(CompareTool, OrientationCanBeTurnedOff) {
  const std::string a = Put("a.png", kFirst);
  EXPECT_EQ(RunTool({"compare", "--no-orient", a, a}).code, 0);
}

// --- The heat map.

TEST_F(CompareTool, TheHeatMapShowsHowMuchDiffers) {
  QImage changed = Changed(0, 0, 0xFF111010);  // by 1: the darkest blue
  changed.setPixel(2, 0, 0xFF30302F);
  changed.setPixel(1, 1, 0xFFCF5050);  // by 127
  const std::string map = mFolder.Path("map.png");
  EXPECT_EQ(RunTool({"compare", Put("a.png", kFirst), Put("b.png", changed), "--diff", map}).code, 1);
  const test::Pixels pixels = test::PixelsOf(test::Load(map));
  ASSERT_EQ(pixels.size(), 6U);
  EXPECT_EQ(pixels[0], 0xFF000080);
  EXPECT_EQ(pixels[1], 0xFF000000);
  EXPECT_EQ(pixels[2], 0xFF000080);
  EXPECT_EQ(pixels[3], 0xFF000000);
  // 126 / 254 of the way of four colours: near the third, red.
  EXPECT_GT(qRed(pixels[4]), 250);
  EXPECT_LT(qGreen(pixels[4]), 5);
  EXPECT_EQ(pixels[5], 0xFF000000);
}

TEST_F(CompareTool, TheLargestDifferenceIsWhite) {
  const std::string map = mFolder.Path("map.bmp");
  const std::string a = Put("a.png", test::MakeImage(1, {0xFF000000}));
  EXPECT_EQ(RunTool({"compare", a, Put("b.png", test::MakeImage(1, {0xFFFF0000})), "--diff", map}).code, 1);
  EXPECT_EQ(test::PixelsOf(test::Load(map)), test::Pixels{0xFFFFFFFF});
}

TEST_F(CompareTool, EqualPicturesGiveABlackMap) {
  const std::string a = Put("a.png", kFirst);
  const std::string map = mFolder.Path("map.png");
  EXPECT_EQ(RunTool({"compare", a, a, "--diff", map}).code, 0);
  EXPECT_EQ(test::PixelsOf(test::Load(map)), test::Pixels(6, 0xFF000000));
}

TEST_F(CompareTool, AMapThatCannotBeWrittenIsAWritingFailure) {
  const std::string a = Put("a.png", kFirst);
  EXPECT_EQ(RunTool({"compare", a, a, "--diff", mFolder.Path("none/map.png")}).code, 4);
  EXPECT_EQ(RunTool({"compare", a, a, "--diff", mFolder.Path("map.gif")}).code, 4);
}

}  // namespace
