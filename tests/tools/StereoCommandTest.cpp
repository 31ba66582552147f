// rimage stereo.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

#include "TestPictures.h"
#include "ToolRunner.h"
#include "support/TestData.h"

namespace {

using test::Arguments;
using test::RunTool;
using testing::HasSubstr;
using testing::StartsWith;

constexpr const char* kModes[] = {"color-anaglyph", "gray-anaglyph", "row-interleaved",
                                  "checkerboard",   "side-by-side",  "side-by-side-swapped"};

/// Returns opaque colours that differ from pixel to pixel.
QImage MakeView(int width, int height, unsigned seed) {
  QImage image(width, height, QImage::Format_RGB32);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      seed = seed * 1664525U + 1013904223U;
      image.setPixel(x, y, 0xFF000000U | seed >> 8);
    }
  }
  return image;
}

class Stereo : public testing::Test {
 protected:
  Stereo() { SaveViews(MakeView(21, 13, 1), MakeView(21, 13, 2)); }

  void SaveViews(const QImage& left, const QImage& right) {
    mLeft = left;
    mRight = right;
    test::Save(left, Path("left.png"));
    test::Save(right, Path("right.png"));
  }
  std::string Path(const std::string& name) const { return mFolder.Path(name); }

  test::ToolResult RunStereo(const Arguments& options, const test::ToolSettings& settings = {}) const {
    Arguments arguments = {"stereo", Path("left.png"), Path("right.png"), Path("out.png")};
    arguments.insert(arguments.end(), options.begin(), options.end());
    return RunTool(arguments, settings);
  }
  QImage Compose(const Arguments& options) const {
    const auto result = RunStereo(options);
    EXPECT_EQ(result.code, 0) << result.errors;
    EXPECT_EQ(result.errors + result.output, "");
    return test::Load(Path("out.png"));
  }

  /// The views' pixels mixed as one of the patterns says.
  template <class Mix>
  void ExpectPixels(const QImage& frame, const Mix& mix) const {
    ASSERT_EQ(frame.size(), mLeft.size());
    ASSERT_FALSE(frame.hasAlphaChannel());
    for (int y = 0; y < frame.height(); ++y) {
      for (int x = 0; x < frame.width(); ++x) {
        const QRgb expected = mix(x, y, mLeft.pixel(x, y), mRight.pixel(x, y));
        const QRgb actual = frame.pixel(x, y);
        for (int shift = 0; shift < 24; shift += 8) {
          ASSERT_LE(
              std::abs(static_cast<int>(actual >> shift & 255U) - static_cast<int>(expected >> shift & 255U)),
              1)
              << x << ", " << y;
        }
      }
    }
  }

  test::TemporaryFolder mFolder;
  QImage mLeft;
  QImage mRight;
};

TEST_F(Stereo, ColourAnaglyph) {
  ExpectPixels(Compose({"--mode", "color-anaglyph"}),
               [](int, int, QRgb left, QRgb right) { return qRgb(qRed(left), qGreen(right), qBlue(right)); });
}

TEST_F(Stereo, GreyAnaglyph) {
  const auto grey = [](QRgb colour) {
    return static_cast<int>(0.1140 * qRed(colour) + 0.5870 * qGreen(colour) + 0.2989 * qBlue(colour) + 0.5);
  };
  ExpectPixels(Compose({"--mode", "gray-anaglyph"}),
               [&](int, int, QRgb left, QRgb right) { return qRgb(grey(left), grey(right), grey(right)); });
}

TEST_F(Stereo, HasTheOptionsOfWriters) {
  QImage plain(90, 90, QImage::Format_RGB32);
  plain.fill(0xFF204060);
  SaveViews(MakeView(90, 90, 1), plain);
  const auto size = [&](const char* name, const char* option) {
    const auto result = RunTool(
        {"stereo", Path("left.png"), Path("right.png"), Path(name), "--mode", "color-anaglyph", option});
    EXPECT_EQ(result.code, 0) << result.errors;
    return test::ReadFile(Path(name)).size();
  };
  EXPECT_LT(size("out.jpg", "--quality=0"), size("out.jpg", "--quality=100"));
  EXPECT_NE(size("out.tif", "--compression=1"), size("out.tif", "--compression=0"));
}

TEST_F(Stereo, RowInterleavedWithBases) {
  for (const int base : {0, 1, 767}) {
    const QImage frame = Compose({"--mode=row-interleaved", "--x-base=5", "--y-base", std::to_string(base)});
    ExpectPixels(frame, [&](int, int y, QRgb left, QRgb right) { return (y + base) % 2 ? left : right; });
  }
}

TEST_F(Stereo, CheckerboardWithBases) {
  for (const auto& [xBase, yBase] : {std::pair{0, 0}, {1, 0}, {0, 1}, {1, 1}, {1366, 767}}) {
    const QImage frame = Compose(
        {"--mode", "checkerboard", "--x-base", std::to_string(xBase), "--y-base", std::to_string(yBase)});
    ExpectPixels(frame, [&, x0 = xBase, y0 = yBase](int x, int y, QRgb left, QRgb right) {
      return (x + x0 + y + y0) % 2 ? left : right;
    });
  }
}

TEST_F(Stereo, SideBySide) {
  const auto plain = [](QRgb colour) {
    QImage image(80, 40, QImage::Format_RGB32);
    image.fill(colour);
    return image;
  };
  SaveViews(plain(0xFFFF8000), plain(0xFF0080FF));
  for (const bool isSwapped : {false, true}) {
    const QImage frame = Compose({"--mode", isSwapped ? "side-by-side-swapped" : "side-by-side"});
    EXPECT_FALSE(frame.hasAlphaChannel());
    EXPECT_EQ(frame.pixel(20, 20), isSwapped ? 0xFF0080FF : 0xFFFF8000);
    EXPECT_EQ(frame.pixel(60, 20), isSwapped ? 0xFFFF8000 : 0xFF0080FF);
    EXPECT_EQ(frame.pixel(40, 20), 0xFFFFFFFF) << "the divider";
    EXPECT_EQ(frame.pixel(20, 9), 0xFF000000) << "above the views";
    EXPECT_EQ(frame.pixel(20, 30), 0xFF000000) << "below them";
  }
}

TEST_F(Stereo, WhatIsSeenOfTransparentViewsCounts) {
  QImage half(4, 4, QImage::Format_ARGB32);
  half.fill(qRgba(255, 255, 255, 128));
  SaveViews(half, half);
  const QImage frame = Compose({"--mode", "color-anaglyph"});
  EXPECT_NEAR(qRed(frame.pixel(1, 1)), 128, 1);
  EXPECT_NEAR(qBlue(frame.pixel(1, 1)), 128, 1);
}

TEST_F(Stereo, OtherFormatsGoInAndOut) {
  test::SaveTga(mLeft, Path("left.tga"));
  for (const char* name : {"out.png", "out.tga", "out.bmp"}) {
    const auto result =
        RunTool({"stereo", Path("left.tga"), Path("right.png"), Path(name), "--mode", "row-interleaved"});
    ASSERT_EQ(result.code, 0) << result.errors;
    EXPECT_EQ(test::Load(Path(name)).pixel(3, 1) | 0xFF000000U, mLeft.pixel(3, 1)) << name;
    EXPECT_EQ(test::Load(Path(name)).pixel(3, 2) | 0xFF000000U, mRight.pixel(3, 2)) << name;
  }
}

TEST_F(Stereo, VectorPicturesAreViewsToo) {
  const std::string svg =
      "<svg xmlns='http://www.w3.org/2000/svg' width='21' height='13'>"
      "<rect width='21' height='13' fill='#FF8040'/></svg>";
  const std::string vector = mFolder.Write("view.svg", {svg.begin(), svg.end()});
  const auto result =
      RunTool({"stereo", vector, Path("right.png"), Path("out.png"), "--mode", "color-anaglyph"});
  ASSERT_EQ(result.code, 0) << result.errors;
  EXPECT_EQ(qRed(test::Load(Path("out.png")).pixel(2, 2)), 255);
  EXPECT_EQ(qBlue(test::Load(Path("out.png")).pixel(2, 2)), qBlue(mRight.pixel(2, 2)));
}

TEST_F(Stereo, ADisplayIsNotNeeded) {
  const auto result =
      RunStereo({"--mode", "color-anaglyph"}, {.environment = {{"DISPLAY", ""}, {"QT_QPA_PLATFORM", ""}}});
  EXPECT_EQ(result.code, 0) << result.errors;
}

// --- Failures.

TEST_F(Stereo, WithoutOpenGLTheReasonIsTold) {
  const auto result =
      RunStereo({"--mode", "color-anaglyph"},
                {.environment = {{"PATH", "/none-such"}, {"DISPLAY", ""}, {"QT_QPA_PLATFORM", ""}}});
  EXPECT_EQ(result.code, 5);
  EXPECT_THAT(result.errors, StartsWith("rimage: stereo: it needs OpenGL: "));
  EXPECT_THAT(result.errors, HasSubstr("(rimage doctor tells more)\n"));
  EXPECT_THAT(test::ListFolder(Path("")), testing::ElementsAre("left.png", "right.png"));
}

TEST_F(Stereo, ADriverThatRefusesTheProgramsIsTold) {
  const test::ToolSettings settings{
      .environment = {{"LD_PRELOAD", RIMAGE_OLD_GL}, {"ASAN_OPTIONS", "verify_asan_link_order=0"}}};
  const auto result = RunStereo({"--mode", "checkerboard"}, settings);
  EXPECT_EQ(result.code, 5);
  EXPECT_THAT(result.errors, HasSubstr("rimage: stereo: loading program: the driver refuses the program"));
  EXPECT_THAT(test::ListFolder(Path("")), testing::ElementsAre("left.png", "right.png"));
  EXPECT_EQ(RunStereo({"--mode", "side-by-side"}, settings).code, 0) << "which needs no program";
}

// The programs meet each other when something is drawn, after the compositor's set-up has gone well.
TEST_F(Stereo, ADriverThatCannotLinkTheProgramsIsTold) {
  const test::ToolSettings settings{.environment = {{"LD_PRELOAD", RIMAGE_OLD_GL},
                                                    {"OLD_GL", "link"},
                                                    {"ASAN_OPTIONS", "verify_asan_link_order=0"}}};
  const auto result = RunStereo({"--mode", "color-anaglyph"}, settings);
  EXPECT_EQ(result.code, 5);
  EXPECT_THAT(result.errors, StartsWith("rimage: stereo: the "));
  EXPECT_THAT(result.errors, HasSubstr("(rimage doctor tells more)\n"));
  EXPECT_THAT(test::ListFolder(Path("")), testing::ElementsAre("left.png", "right.png"));
}

TEST_F(Stereo, AnOldVersionOfOpenGLIsTold) {
  const auto result =
      RunStereo({"--mode", "checkerboard"}, {.environment = {{"MESA_GL_VERSION_OVERRIDE", "2.1"}}});
  EXPECT_EQ(result.code, 5);
  EXPECT_EQ(result.errors, "rimage: stereo: it needs OpenGL 3.0 (rimage doctor tells more)\n");
}

TEST_F(Stereo, ViewsOfDifferentSizesAreRefused) {
  test::Save(MakeView(20, 13, 3), Path("right.png"));
  const auto result = RunStereo({"--mode", "color-anaglyph"});
  EXPECT_EQ(result.code, 3);
  EXPECT_EQ(result.errors, "rimage: " + Path("right.png") + ": is 20 x 13, but " + Path("left.png") +
                               " is 21 x 13 (rimage convert --resize makes them equal)\n");
}

TEST_F(Stereo, ViewsBeyondTheDriversLimitAreRefused) {
  SaveViews(MakeView(40000, 1, 1), MakeView(40000, 1, 2));
  const auto result = RunStereo({"--mode", "color-anaglyph"});
  EXPECT_EQ(result.code, 5);
  EXPECT_THAT(result.errors, HasSubstr("left.png: the graphics driver takes pictures up to "));
}

TEST_F(Stereo, FaultsOfTheCommandLineAreTold) {
  const std::string left = Path("left.png");
  const std::string right = Path("right.png");
  const std::string out = Path("out.png");
  struct Row {
    Arguments arguments;
    int code;
    std::string error;
  };
  for (const Row& row : std::vector<Row>{
           {{"stereo"}, 2, "rimage: stereo: LEFT is missing (rimage stereo --help)\n"},
           {{"stereo", left}, 2, "rimage: stereo: RIGHT is missing (rimage stereo --help)\n"},
           {{"stereo", left, right, "--mode", "checkerboard"},
            2,
            "rimage: stereo: OUT is missing (rimage stereo --help)\n"},
           {{"stereo", left, right, out}, 2, "rimage: stereo: --mode is missing (rimage stereo --help)\n"},
           {{"stereo", left, right, out, "--mod", "checkerboard"},
            2,
            "rimage: stereo: unknown option '--mod' (did you mean --mode?)\n"},
       }) {
    const auto result = RunTool(row.arguments);
    EXPECT_EQ(result.code, row.code);
    EXPECT_EQ(result.errors, row.error);
  }
  for (const Arguments& options :
       std::vector<Arguments>{{"--mode", "anaglyph"},
                              {"--mode", "6"},
                              {"--mode", "checkerboard", "--x-base", "-1"},
                              {"--mode", "checkerboard", "--y-base", "1.5"},
                              {"--mode", "checkerboard", "--y-base", "4294967296"}}) {
    EXPECT_EQ(RunStereo(options).code, 2) << options.back();
  }
  EXPECT_EQ(RunTool({"stereo", left, right, Path("out.xyz"), "--mode", "checkerboard"}).code, 4);
  EXPECT_EQ(RunTool({"stereo", left, Path("none.png"), out, "--mode", "checkerboard"}).code, 3);
  EXPECT_EQ(RunTool({"stereo", Path("none.png"), right, out, "--mode", "checkerboard"}).code, 3);
}

TEST_F(Stereo, HelpNamesEveryMode) {
  const auto result = RunTool({"stereo", "--help"});
  EXPECT_EQ(result.code, 0);
  for (const char* mode : kModes) EXPECT_THAT(result.output, HasSubstr(mode));
}

// The pair among the samples is what the example draws.
TEST_F(Stereo, TheSamplePairIsTheExamples) {
  ASSERT_EQ(std::system(
                (std::string(RIMAGE_STEREO_PAIR) + " " + Path("left.png") + " " + Path("right.png")).c_str()),
            0);
  for (const char* side : {"left", "right"}) {
    const QImage sample = test::Load(std::string(RIMAGE_SAMPLES) + "/stereo-" + side + ".png");
    ASSERT_FALSE(sample.isNull());
    EXPECT_EQ(test::SeenDifference(sample, test::Load(Path(std::string(side) + ".png"))), 0) << side;
  }
}

}  // namespace
