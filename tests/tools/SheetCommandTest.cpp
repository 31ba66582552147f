// rimage sheet.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <filesystem>

#include "TestPictures.h"
#include "ToolRunner.h"
#include "support/TestData.h"

namespace {

using test::Arguments;
using test::RunTool;

// The page: a margin of 12 around tiles, under each tile 36 rows of text.
constexpr int kMargin = 12;
constexpr int kText = 36;
constexpr QRgb kBackground = 0xFF2B2B2E;

class Sheet : public testing::Test {
 protected:
  std::string Put(const std::string& name, const QImage& image) const {
    test::Save(image, mFolder.Path(name));
    return mFolder.Path(name);
  }
  QImage Make(Arguments arguments) const {
    arguments.insert(arguments.begin(), "sheet");
    arguments.insert(arguments.end(), {mFolder.Path("sheet.png"), "--replace"});
    const auto result = RunTool(arguments);
    EXPECT_EQ(result.code, 0) << result.errors;
    return test::Load(mFolder.Path("sheet.png"));
  }
  static QSize PageSize(int columns, int rows, int size) {
    return {kMargin + columns * (size + kMargin), kMargin + rows * (size + kText + kMargin)};
  }

  test::TemporaryFolder mFolder;
};

QImage Plain(int width, int height, QRgb colour) {
  QImage image(width, height, QImage::Format_ARGB32);
  image.fill(colour);
  return image;
}

TEST_F(Sheet, IsAboutAsWideAsHigh) {
  const std::string a = Put("a.png", Plain(10, 10, 0xFF00FF00));
  EXPECT_EQ(Make({a}).size(), PageSize(1, 1, 160));
  EXPECT_EQ(Make({a, a}).size(), PageSize(2, 1, 160));
  EXPECT_EQ(Make({a, a, a}).size(), PageSize(2, 2, 160));
  EXPECT_EQ(Make({a, a, a, a, a, a, a}).size(), PageSize(3, 3, 160));
}

TEST_F(Sheet, ColumnsAndSizeCanBeChosen) {
  const std::string a = Put("a.png", Plain(10, 10, 0xFF00FF00));
  EXPECT_EQ(Make({a, a, a, a, a, "--columns", "3", "--size", "50"}).size(), PageSize(3, 2, 50));
  EXPECT_EQ(Make({a, "--columns", "3", "--size", "50"}).size(), PageSize(1, 1, 50));
}

TEST_F(Sheet, PutsEachPictureInItsPlace) {
  const std::string red = Put("red.png", Plain(50, 50, 0xFFFF0000));
  const std::string green = Put("green.png", Plain(50, 50, 0xFF00FF00));
  const std::string blue = Put("blue.png", Plain(50, 50, 0xFF0000FF));
  const QImage sheet = Make({red, green, blue, "--columns", "2", "--size", "50"});
  EXPECT_EQ(sheet.pixel(kMargin + 25, kMargin + 25), 0xFFFF0000);
  EXPECT_EQ(sheet.pixel(2 * kMargin + 75, kMargin + 25), 0xFF00FF00);
  EXPECT_EQ(sheet.pixel(kMargin + 25, 2 * kMargin + 50 + kText + 25), 0xFF0000FF);
  EXPECT_EQ(sheet.pixel(2, 2), kBackground);
  EXPECT_EQ(sheet.pixel(2 * kMargin + 75, 2 * kMargin + 50 + kText + 25), kBackground);
}

TEST_F(Sheet, KeepsTheSidesInProportion) {
  const QImage sheet = Make({Put("wide.png", Plain(200, 100, 0xFFFF0000)), "--size", "50"});
  EXPECT_EQ(sheet.pixel(kMargin + 25, kMargin + 25), 0xFFFF0000);
  EXPECT_EQ(sheet.pixel(kMargin + 25, kMargin + 5), kBackground);
  EXPECT_EQ(sheet.pixel(kMargin + 25, kMargin + 45), kBackground);
  EXPECT_EQ(sheet.pixel(kMargin + 1, kMargin + 25), 0xFFFF0000);
}

TEST_F(Sheet, EnlargesSmallPicturesByWholePixels) {
  const QImage sheet = Make({Put("small.png", test::MakeImage(2, {0xFFFF0000, 0xFF0000FF})), "--size", "50"});
  EXPECT_EQ(sheet.pixel(kMargin + 24, kMargin + 25), 0xFFFF0000);
  EXPECT_EQ(sheet.pixel(kMargin + 25, kMargin + 25), 0xFF0000FF);
}

TEST_F(Sheet, ThePictureStandsUpright) {
  const QImage sheet = Make({Put("two.png", test::MakeImage(1, {0xFFFF0000, 0xFF0000FF})), "--size", "50"});
  EXPECT_EQ(sheet.pixel(kMargin + 25, kMargin + 5), 0xFFFF0000);
  EXPECT_EQ(sheet.pixel(kMargin + 25, kMargin + 45), 0xFF0000FF);
}

TEST_F(Sheet, ACheckerboardShowsThroughStraightAndPremultipliedAlpha) {
  const QImage half = Plain(48, 48, 0x80FF0000);
  for (const char* name : {"half.png", "half.tif"}) {
    const QImage sheet = Make({Put(name, half), "--size", "48"});
    const QRgb dark = sheet.pixel(kMargin + 4, kMargin + 4);
    const QRgb light = sheet.pixel(kMargin + 12, kMargin + 4);
    // Half of red over 153 and 204.
    EXPECT_NEAR(qRed(dark), 204, 2) << name;
    EXPECT_NEAR(qGreen(dark), 76, 2) << name;
    EXPECT_NEAR(qRed(light), 229, 2) << name;
    EXPECT_NEAR(qGreen(light), 102, 2) << name;
    EXPECT_EQ(sheet.pixel(kMargin + 4, kMargin + 12), light) << name;
  }
}

// Light that was added: more colour than alpha, which would pass 255 where the board shows through.
TEST_F(Sheet, ColoursAboveTheirAlphaDoNotWrapAround) {
  QImage image(50, 50, QImage::Format_RGBA8888_Premultiplied);
  for (int y = 0; y < 50; ++y) {
    for (int x = 0; x < 50; ++x) {
      constexpr unsigned char kPixel[] = {255, 200, 0, 64};
      std::copy_n(kPixel, 4, image.scanLine(y) + 4L * x);
    }
  }
  const QColor pixel = Make({Put("light.tif", image), "--size", "50"}).pixelColor(kMargin + 2, kMargin + 2);
  constexpr double kBoard = 153 * (1 - 64 / 255.0);
  EXPECT_NEAR(pixel.red(), kBoard + 64, 1) << "as bright as alpha lets it be";
  EXPECT_NEAR(pixel.green(), kBoard + 64, 1);
  EXPECT_NEAR(pixel.blue(), kBoard, 1);
}

TEST_F(Sheet, WritesNamesUnderThePictures) {
  const std::string a = Put("name.png", Plain(50, 50, 0xFF00FF00));
  const QImage sheet = Make({a, "--size", "50"});
  const auto bright = [&](int top) {
    int count = 0;
    for (int y = top; y < top + 16; ++y) {
      for (int x = kMargin; x < kMargin + 50; ++x) count += qGray(sheet.pixel(x, y)) > 100;
    }
    return count;
  };
  EXPECT_GT(bright(kMargin + 50 + 4), 20) << "the name";
  EXPECT_GT(bright(kMargin + 50 + 20), 20) << "size and layout";
}

TEST_F(Sheet, LongNamesStayInTheirColumn) {
  const std::string a = Put(std::string(200, 'w') + ".png", Plain(50, 50, 0xFF00FF00));
  const QImage sheet = Make({a, "--size", "50"});
  for (int y = 0; y < sheet.height(); ++y) {
    EXPECT_EQ(sheet.pixel(kMargin - 2, y), kBackground);
    EXPECT_EQ(sheet.pixel(kMargin + 52, y), kBackground);
  }
}

TEST_F(Sheet, UnreadableFilesAreLeftOut) {
  const std::string a = Put("a.png", Plain(10, 10, 0xFF00FF00));
  const auto result =
      RunTool({"sheet", mFolder.Path("none.png"), a, mFolder.Path("nor.png"), mFolder.Path("sheet.png")});
  EXPECT_EQ(result.code, 1);
  EXPECT_EQ(result.errors, "rimage: " + mFolder.Path("none.png") + ": No such file or directory\n" +
                               "rimage: " + mFolder.Path("nor.png") + ": No such file or directory\n");
  EXPECT_EQ(test::Load(mFolder.Path("sheet.png")).size(), PageSize(1, 1, 160));
}

TEST_F(Sheet, NothingReadableMakesNoSheet) {
  const auto result =
      RunTool({"sheet", mFolder.Path("none.png"), mFolder.Path("nor.png"), mFolder.Path("sheet.png")});
  EXPECT_EQ(result.code, 3);
  EXPECT_THAT(result.errors, testing::HasSubstr("none.png"));
  EXPECT_THAT(result.errors, testing::HasSubstr("nor.png"));
  EXPECT_THAT(test::ListFolder(mFolder.Path("")), testing::IsEmpty());
}

// Not for each picture, and no more where there are many processors.
TEST_F(Sheet, ThreadsAreStartedOnceForAllPictures) {
  const std::string count = mFolder.Path("count");
  const auto threads = [&](std::size_t pictures, const char* processors) {
    Arguments arguments = {"sheet"};
    arguments.insert(arguments.end(), pictures, Put("large.png", test::MakeNoise(700, 500)));
    arguments.insert(arguments.end(), {mFolder.Path("sheet.png"), "--replace"});
    const auto result =
        RunTool(arguments, {.environment = {{"LD_PRELOAD", RIMAGE_COUNTED_THREADS},
                                            {"COUNTED_THREADS", count},
                                            {"PROCESSORS", processors},
                                            {"ASAN_OPTIONS", "verify_asan_link_order=0:detect_leaks=0"}}});
    EXPECT_EQ(result.code, 0) << result.errors;
    const auto text = test::ReadFile(count);
    return std::stoi(std::string(text.begin(), text.end()));
  };
  const int few = threads(1, "2");
  EXPECT_GT(few, 0);
  EXPECT_EQ(threads(20, "64"), few);
}

// Where processes are limited.
TEST_F(Sheet, AThreadIsEnough) {
  const std::string a = Put("large.png", test::MakeNoise(700, 500));
  const auto sheet = [&](const char* most) {
    const std::string out = mFolder.Path("sheet.png");
    std::filesystem::remove(out);
    return RunTool({"sheet", a, out},
                   {.environment = {{"LD_PRELOAD", RIMAGE_COUNTED_THREADS},
                                    {"MOST_THREADS", most},
                                    {"ASAN_OPTIONS", "verify_asan_link_order=0:detect_leaks=0"}}});
  };
  ASSERT_EQ(sheet("1000").code, 0);
  const auto expected = test::ReadFile(mFolder.Path("sheet.png"));
  EXPECT_EQ(sheet("2").errors, "");
  EXPECT_EQ(test::ReadFile(mFolder.Path("sheet.png")), expected);
  const auto none = sheet("1");
  EXPECT_EQ(none.code, 4);
  EXPECT_EQ(none.errors, "rimage: " + mFolder.Path("sheet.png") +
                             ": not enough memory, or too many processes, for a thread\n");
}

// Qt waits for ever for threads that cannot be started. The sanitizer takes all of the address space.
#ifndef __SANITIZE_ADDRESS__
TEST_F(Sheet, DoesNotWaitForThreadsWithoutMemory) {
  const std::string a = Put("large.png", test::MakeNoise(700, 500));
  const std::string out = mFolder.Path("sheet.png");
  int code = -1;
  for (long mib = 200; mib < 600; mib += 8) {
    code = RunTool({"20", RIMAGE_TOOL_FOLDER "/rimage", "sheet", a, out, "--replace"},
                   {.environment = {{"LD_PRELOAD", RIMAGE_COUNTED_THREADS}, {"PROCESSORS", "16"}},
                    .mostMemory = mib << 20,
                    .program = "/usr/bin/timeout"})
               .code;
    constexpr int kTimedOut = 124;
    EXPECT_NE(code, kTimedOut) << mib;
  }
  RecordProperty("last_code", code);
}
#endif

TEST_F(Sheet, IsLimitedByTheMemoryLimit) {
  const std::string a = Put("a.png", Plain(10, 10, 0xFF00FF00));
  const auto result =
      RunTool({"sheet", a, mFolder.Path("sheet.png"), "--size", "4000", "--max-memory", "10"});
  EXPECT_EQ(result.code, 2);
  EXPECT_THAT(result.errors, testing::HasSubstr("rimage: sheet: 4024 x 4060 pixels take 62 MiB"));
}

// rimage sheet *.png
TEST_F(Sheet, AForgottenOutputLosesNoFile) {
  const std::string a = Put("a.png", Plain(10, 10, 0xFF00FF00));
  auto cut = test::ReadFile(a);
  cut.pop_back();
  for (const std::string& out : {Put("b.png", Plain(10, 10, kBackground)), mFolder.Write("cut.png", cut)}) {
    const auto before = test::ReadFile(out);
    const auto result = RunTool({"sheet", a, out});
    EXPECT_EQ(result.code, 2);
    EXPECT_EQ(result.errors, "rimage: " + out +
                                 ": there is such a file, which the sheet would replace (OUT comes last; "
                                 "--replace allows it)\n");
    EXPECT_EQ(test::ReadFile(out), before);
  }
  EXPECT_EQ(test::ListFolder(mFolder.Path("")), (std::vector<std::string>{"a.png", "b.png", "cut.png"}));
}

TEST_F(Sheet, IsNoneOfItsPictures) {
  const std::string a = Put("a.png", Plain(10, 10, 0xFF00FF00));
  std::filesystem::create_symlink("a.png", mFolder.Path("link.png"));
  for (const std::string& out : {a, mFolder.Path("./a.png"), mFolder.Path("link.png")}) {
    const auto result = RunTool({"sheet", mFolder.Path("none.png"), a, out, "--replace"});
    EXPECT_EQ(result.code, 2);
    EXPECT_EQ(result.errors,
              "rimage: " + out +
                  ": this is one of the pictures and would be replaced (the sheet needs a file "
                  "of its own)\n");
    EXPECT_EQ(test::Load(a).size(), QSize(10, 10));
  }
}

TEST_F(Sheet, FilesAreReplacedOnDemandAndEmptyOnesAlways) {
  const std::string a = Put("a.png", test::MakeNoise(90, 90));
  for (const char* name : {"s.png", "s.yuv", "s.jpg"}) {
    const std::string out = mFolder.Write(name, {1, 2, 3});
    EXPECT_EQ(RunTool({"sheet", a, out, "--replace"}).code, 0) << name;
    EXPECT_GT(test::ReadFile(out).size(), 3U) << name;
  }
  const std::string empty = mFolder.Write("empty.png", {});
  EXPECT_EQ(RunTool({"sheet", a, empty}).code, 0);
  EXPECT_EQ(test::Load(empty).size(), PageSize(1, 1, 160));
}

TEST_F(Sheet, HasTheOptionsOfWriters) {
  const std::string a = Put("a.png", test::MakeNoise(90, 90));
  const auto size = [&](const char* name, const char* option) {
    EXPECT_EQ(RunTool({"sheet", a, mFolder.Path(name), option, "--replace"}).code, 0) << option;
    return test::ReadFile(mFolder.Path(name)).size();
  };
  EXPECT_LT(size("s.jpg", "--quality=0"), size("s.jpg", "--quality=100"));
  EXPECT_LT(size("s.png", "--compression=100"), size("s.png", "--compression=0"));
}

// The program cannot go on without the platform that the environment asks for.
TEST_F(Sheet, QtTellsOnceWhyItAborts) {
  const std::string a = Put("a.png", Plain(10, 10, 0xFF00FF00));
  const auto result =
      RunTool({"sheet", a, mFolder.Path("sheet.png")}, {.environment = {{"QT_QPA_PLATFORM", "nonsense"}}});
  EXPECT_EQ(result.code, -SIGABRT);
  EXPECT_THAT(result.errors, testing::StartsWith("rimage: Qt: This application failed to start"));
  EXPECT_EQ(std::ranges::count(result.errors, '\n'), 1) << result.errors;
}

TEST_F(Sheet, UnknownExtensionIsAWritingFailure) {
  const std::string a = Put("a.png", Plain(10, 10, 0xFF00FF00));
  EXPECT_EQ(RunTool({"sheet", a, mFolder.Path("sheet.gif")}).code, 4);
}

}  // namespace
