// rimage info.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "TestPictures.h"
#include "ToolRunner.h"
#include "support/TestData.h"

namespace {

using nlohmann::json;
using test::RunTool;
using testing::HasSubstr;

class Info : public testing::Test {
 protected:
  std::string Put(const std::string& name, const QImage& image) const {
    const std::string path = mFolder.Path(name);
    if (name.ends_with(".tga"))
      test::SaveTga(image, path);
    else
      test::Save(image, path);
    return path;
  }
  static json Of(const std::string& path) {
    const auto result = RunTool({"info", "--json", path});
    EXPECT_EQ(result.code, 0) << result.errors;
    const json list = json::parse(result.output);
    EXPECT_EQ(list.size(), 1U);
    return list[0];
  }

  test::TemporaryFolder mFolder;
};

const QImage kFour = test::MakeImage(2, {0xFF0A141E, 0x80C86432, 0x00FFFFFF, 0x40010203});

TEST_F(Info, TellsSizeLayoutAndClass) {
  const std::string path = Put("a.png", kFour);
  const json info = Of(path);
  EXPECT_EQ(info["file"], path);
  EXPECT_EQ(info["width"], 2);
  EXPECT_EQ(info["height"], 2);
  EXPECT_EQ(info["layers"], 1);
  EXPECT_EQ(info["format"], "RGBA");
  EXPECT_EQ(info["stream"], "RImageStreamQT");
  EXPECT_EQ(info["orientation"], "");
}

TEST_F(Info, MeasuresEveryChannel) {
  const json channels = Of(Put("a.png", kFour))["channels"];
  const json expected = {{"red", {{"min", 1}, {"max", 255}, {"mean", (10 + 200 + 255 + 1) / 4.0}}},
                         {"green", {{"min", 2}, {"max", 255}, {"mean", (20 + 100 + 255 + 2) / 4.0}}},
                         {"blue", {{"min", 3}, {"max", 255}, {"mean", (30 + 50 + 255 + 3) / 4.0}}},
                         {"alpha", {{"min", 0}, {"max", 255}, {"mean", (255 + 128 + 0 + 64) / 4.0}}}};
  EXPECT_EQ(channels, expected);
}

TEST_F(Info, PicturesWithoutAlphaHaveThreeChannels) {
  const json info = Of(Put("a.png", kFour.convertToFormat(QImage::Format_Grayscale8)));
  EXPECT_EQ(info["format"], "RGB");
  EXPECT_EQ(info["alpha"], "none");
  EXPECT_EQ(info["channels"].size(), 3U);
}

TEST_F(Info, TellsTheStateOfAlpha) {
  EXPECT_EQ(Of(Put("straight.png", kFour))["alpha"], "straight");
  EXPECT_EQ(Of(Put("straight.tga", kFour))["alpha"], "straight");
  EXPECT_EQ(Of(Put("premultiplied.tif", kFour))["alpha"], "premultiplied");
  EXPECT_EQ(Of(Put("opaque.jpg", test::MakeOpaque(4, 4)))["alpha"], "opaque");
}

TEST_F(Info, IconsNamedBmpAreKnownToBePremultiplied) {
  const std::string path = mFolder.Path("icon.bmp");
  ASSERT_TRUE(test::MakeTranslucent(16, 16).save(QString::fromStdString(path), "ico"));
  EXPECT_EQ(Of(path)["alpha"], "premultiplied");
}

TEST_F(Info, NamesTheLayoutOfTga) { EXPECT_EQ(Of(Put("a.tga", kFour))["format"], "BGRA"); }

TEST_F(Info, PrintsTextByDefault) {
  const std::string path = Put("a.png", kFour);
  const auto result = RunTool({"info", path});
  EXPECT_EQ(result.code, 0);
  EXPECT_EQ(result.output, path +
                               ": 2 x 2 RGBA, 1 layer, RImageStreamQT\n"
                               "  alpha: straight\n"
                               "  red   min   1  max 255  mean 116.500\n"
                               "  green min   2  max 255  mean  94.250\n"
                               "  blue  min   3  max 255  mean  84.500\n"
                               "  alpha min   0  max 255  mean 111.750\n");
}

TEST_F(Info, OneBadFileOfSeveralGivesExitCodeOne) {
  const std::string good = Put("good.png", kFour);
  const std::string missing = mFolder.Path("missing.png");
  const auto result = RunTool({"info", "--json", missing, good});
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.errors, "rimage: " + missing + ": No such file or directory\n");
  const json list = json::parse(result.output);
  ASSERT_EQ(list.size(), 2U);
  EXPECT_EQ(list[0], json({{"file", missing}, {"error", "No such file or directory"}}));
  EXPECT_EQ(list[1]["file"], good);
}

TEST_F(Info, OnlyBadFilesGiveTheReadingExitCode) {
  const auto result = RunTool({"info", mFolder.Path("a.png"), mFolder.Path("b.png")});
  EXPECT_EQ(result.code, 3);
  EXPECT_THAT(result.errors, HasSubstr("a.png: No such file"));
  EXPECT_THAT(result.errors, HasSubstr("b.png: No such file"));
}

TEST_F(Info, JsonStaysWellFormedWithAnyName) {
  for (const char* name : {"new\nline.png", "qu\"ote.png", "gr\xC3\xBC\xC3\x9F.png", "not-utf8-\xFF.png"}) {
    const auto result = RunTool({"info", "--json", mFolder.Path(name)});
    EXPECT_EQ(result.code, 3);
    EXPECT_TRUE(json::accept(result.output)) << name;
  }
}

}  // namespace
