// rimage convert: each operation, its values, and the order.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QImageReader>
#include <tuple>

#include "TestPictures.h"
#include "ToolRunner.h"
#include "support/TestData.h"

namespace {

using test::Arguments;
using test::Pixels;
using test::RunTool;

constexpr QRgb kNone = 0x00000000;
constexpr QRgb kRed = 0xFFFF0000;

// Four pixels a row, straight, all different.
const Pixels kUpper = {0xFF010203, 0xFF040506, 0xFF070809, 0xFF0A0B0C};
const Pixels kLower = {0xFF111213, 0xFF141516, 0xFF171819, 0xFF1A1B1C};

Pixels Join(const std::vector<Pixels>& rows) {
  Pixels all;
  for (const Pixels& row : rows) all.insert(all.end(), row.begin(), row.end());
  return all;
}

class Operations : public testing::Test {
 protected:
  // Converts a picture to `output` (PNG keeps straight pixels as they are) and returns what came out.
  QImage Apply(const QImage& input, const Arguments& operations, const char* output = "out.png") const {
    test::Save(input, mFolder.Path("in.png"));
    Arguments arguments = {"convert", mFolder.Path("in.png")};
    arguments.insert(arguments.end(), operations.begin(), operations.end());
    arguments.push_back(mFolder.Path(output));
    const auto result = RunTool(arguments);
    EXPECT_EQ(result.code, 0) << result.errors;
    EXPECT_EQ(result.errors, "");
    return test::Load(mFolder.Path(output));
  }

  // Runs operations that must fail as a wrong use.
  std::string Refuse(const QImage& input, const Arguments& operations) const {
    test::Save(input, mFolder.Path("in.png"));
    Arguments arguments = {"convert", mFolder.Path("in.png")};
    arguments.insert(arguments.end(), operations.begin(), operations.end());
    arguments.push_back(mFolder.Path("refused.png"));
    const auto result = RunTool(arguments);
    EXPECT_EQ(result.code, 2);
    EXPECT_THAT(test::ListFolder(mFolder.Path("")), testing::Not(testing::Contains("refused.png")));
    return result.errors;
  }

  test::TemporaryFolder mFolder;
};

const QImage kPicture = test::MakeImage(4, Join({kUpper, kLower}));

TEST_F(Operations, NoOperationKeepsThePicture) {
  EXPECT_EQ(test::PixelsOf(Apply(kPicture, {})), test::PixelsOf(kPicture));
}

TEST_F(Operations, FlipExchangesTopAndBottom) {
  EXPECT_EQ(test::PixelsOf(Apply(kPicture, {"--flip"})), Join({kLower, kUpper}));
}

TEST_F(Operations, ResizeTakesTheNearestPixelFromTheBottomLeft) {
  EXPECT_EQ(test::PixelsOf(Apply(kPicture, {"--resize", "2x1"})), (Pixels{kLower[0], kLower[2]}));
}

TEST_F(Operations, ResizeDoublesPixels) {
  const QImage large = Apply(test::MakeImage(2, {kRed, 0xFF00FF00}), {"--resize", "4x2"});
  EXPECT_EQ(test::PixelsOf(large),
            Join({{kRed, kRed, 0xFF00FF00, 0xFF00FF00}, {kRed, kRed, 0xFF00FF00, 0xFF00FF00}}));
}

TEST_F(Operations, ResizeToTheSameSizeKeepsThePicture) {
  EXPECT_EQ(test::PixelsOf(Apply(kPicture, {"--resize", "4x2"})), test::PixelsOf(kPicture));
}

TEST_F(Operations, ResizeIsLimitedByTheMemoryLimit) {
  EXPECT_EQ(Refuse(kPicture, {"--resize", "1000x1000", "--max-memory", "2"}),
            "rimage: --resize: 1000 x 1000 pixels take 4 MiB, more than the limit of 2 MiB (--max-memory "
            "raises it)\n");
  EXPECT_THAT(Refuse(kPicture, {"--resize", "2147483647x2147483647"}),
              testing::HasSubstr("more than the limit"));
}

#if !defined(__SANITIZE_ADDRESS__)  // which takes more address space by itself
TEST_F(Operations, MemoryThatRunsOutIsAFailureOfTheInput) {
  const std::string input = mFolder.Path("in.png");
  test::Save(kPicture, input);
  const auto result = RunTool({"convert", input, "--resize", "15000x15000", mFolder.Path("out.png")},
                              {.mostMemory = 600L * 1024 * 1024});
  EXPECT_EQ(result.code, 3);
  EXPECT_EQ(result.errors,
            "rimage: " + input + ": not enough memory (no picture can take more than 2 GiB)\n");
}
#endif

TEST_F(Operations, SquarePadsAtTheTopAndBottom) {
  const Pixels fill(4, 0xFF0000FF);
  EXPECT_EQ(test::PixelsOf(Apply(kPicture, {"--square", "blue"})), Join({fill, kUpper, kLower, fill}));
}

TEST_F(Operations, SquarePutsTheOddRowOnTop) {
  const Pixels fill(4, 0x80123456);
  EXPECT_EQ(test::PixelsOf(Apply(test::MakeImage(4, kUpper), {"--square", "#12345680"})),
            Join({fill, fill, kUpper, fill}));
}

TEST_F(Operations, SquarePutsTheOddColumnOnTheRight) {
  EXPECT_EQ(test::PixelsOf(Apply(test::MakeImage(1, kUpper), {"--square", "transparent"})),
            Join({{kNone, kUpper[0], kNone, kNone},
                  {kNone, kUpper[1], kNone, kNone},
                  {kNone, kUpper[2], kNone, kNone},
                  {kNone, kUpper[3], kNone, kNone}}));
}

TEST_F(Operations, SquareOfAPictureWithoutAlphaPutsTheColourOverBlack) {
  const QImage opaque =
      test::MakeImage(2, {0xFF808080, 0xFF404040}).convertToFormat(QImage::Format_Grayscale8);
  const Pixels fill(2, 0xFF800000);
  EXPECT_EQ(test::PixelsOf(Apply(opaque, {"--square", "#FF000080"})), Join({fill, {0xFF808080, 0xFF404040}}));
}

TEST_F(Operations, TranslateMovesRightAndDown) {
  EXPECT_EQ(test::PixelsOf(Apply(kPicture, {"--translate", "1,1"})),
            Join({{kNone, kNone, kNone, kNone}, {kNone, kUpper[0], kUpper[1], kUpper[2]}}));
}

TEST_F(Operations, TranslateMovesLeftAndUp) {
  EXPECT_EQ(test::PixelsOf(Apply(kPicture, {"--translate", "-1,-1"})),
            Join({{kLower[1], kLower[2], kLower[3], kNone}, {kNone, kNone, kNone, kNone}}));
}

TEST_F(Operations, TranslateWraps) {
  EXPECT_EQ(
      test::PixelsOf(Apply(kPicture, {"--translate", "1,1,wrap"})),
      Join({{kLower[3], kLower[0], kLower[1], kLower[2]}, {kUpper[3], kUpper[0], kUpper[1], kUpper[2]}}));
}

TEST_F(Operations, TranslateTakesAnyOffset) {
  EXPECT_EQ(test::PixelsOf(Apply(kPicture, {"--translate", "2147483647,-2147483648"})), Pixels(8, kNone));
  EXPECT_EQ(test::PixelsOf(Apply(kPicture, {"--translate", "-2147483648,-2147483648,wrap"})),
            test::PixelsOf(kPicture));
}

TEST_F(Operations, PremultiplyAndBackLosesWhatTheModuleTruncates) {
  const QImage picture = test::MakeImage(2, {0x80C86432, 0x00C86432});
  // 200, 100, 50 times 128 / 255 truncate to 100, 50, 25; those times 255 / 128 to 199, 99, 49.
  EXPECT_EQ(test::PixelsOf(Apply(picture, {"--premultiply", "--unpremultiply"})),
            (Pixels{0x80C76331, kNone}));
}

TEST_F(Operations, PremultiplyingTwiceChangesNothingMore) {
  const QImage picture = test::MakeTranslucent(7, 5);
  EXPECT_EQ(test::PixelsOf(Apply(picture, {"--premultiply"})),
            test::PixelsOf(Apply(picture, {"--premultiply", "--premultiply"})));
  EXPECT_EQ(test::PixelsOf(Apply(picture, {"--unpremultiply"})), test::PixelsOf(picture));
}

TEST_F(Operations, PremultiplyKeepsWhatIsSeen) {
  const QImage picture = test::MakeTranslucent(20, 10);
  EXPECT_LE(test::SeenDifference(Apply(picture, {"--premultiply"}), picture), 1);
}

TEST_F(Operations, PremultiplyOfAPictureWithoutAlphaChangesNothing) {
  const QImage grey = test::MakeOpaque(3, 3).convertToFormat(QImage::Format_Grayscale8);
  EXPECT_EQ(test::PixelsOf(Apply(grey, {"--premultiply", "--unpremultiply"})), test::PixelsOf(grey));
}

TEST_F(Operations, ApplyAlphaScalesOpacity) {
  const QImage picture = test::MakeImage(3, {0xFFC86432, 0x65010203, 0x00040506});
  EXPECT_EQ(test::PixelsOf(Apply(picture, {"--apply-alpha", "0.5"})),
            (Pixels{0x7FC86432, 0x32010203, 0x00040506}));
}

TEST_F(Operations, ApplyAlphaMakesOpaquePicturesTranslucent) {
  const QImage grey = test::MakeImage(1, {0xFF404040}).convertToFormat(QImage::Format_Grayscale8);
  EXPECT_EQ(test::PixelsOf(Apply(grey, {"--apply-alpha", ".25"})), Pixels{0x3F404040});
}

TEST_F(Operations, ApplyAlphaAfterPremultiplyScalesOpacityOnly) {
  const QImage picture = test::MakeImage(1, {0x80C86432});
  EXPECT_EQ(test::PixelsOf(Apply(picture, {"--premultiply", "--apply-alpha", "0.5"})), Pixels{0x40C76331});
}

TEST_F(Operations, AlphaMakesAPictureOfAlpha) {
  const QImage picture = test::MakeImage(3, {0xFFC86432, 0x65010203, 0x00040506});
  EXPECT_EQ(test::PixelsOf(Apply(picture, {"--alpha"})), (Pixels{0xFFFFFFFF, 0xFF656565, 0xFF000000}));
  EXPECT_EQ(test::PixelsOf(Apply(picture, {"--alpha=invert"})), (Pixels{0xFF000000, 0xFF9A9A9A, 0xFFFFFFFF}));
}

TEST_F(Operations, AlphaOfAPictureWithoutAlphaIsWhite) {
  const QImage grey = test::MakeOpaque(2, 1).convertToFormat(QImage::Format_Grayscale8);
  EXPECT_EQ(test::PixelsOf(Apply(grey, {"--alpha"})), Pixels(2, 0xFFFFFFFF));
}

TEST_F(Operations, MergeAlphaTakesAGreyPicture) {
  const std::string mask = mFolder.Path("mask.png");
  test::Save(test::MakeImage(2, {0xFF000000, 0xFF808080}).convertToFormat(QImage::Format_Grayscale8), mask);
  const QImage picture = test::MakeImage(2, {0xFF112233, 0x40445566});
  EXPECT_EQ(test::PixelsOf(Apply(picture, {"--merge-alpha", mask})), (Pixels{0x00112233, 0x80445566}));
}

TEST_F(Operations, MergeAlphaTakesTheBlueOfAColouredPicture) {
  const std::string mask = mFolder.Path("mask.tga");
  test::SaveTga(test::MakeImage(1, {0xFF102030}), mask);
  EXPECT_EQ(test::PixelsOf(Apply(test::MakeImage(1, {0xFF112233}), {"--merge-alpha", mask})),
            Pixels{0x30112233});
}

TEST_F(Operations, MergeAlphaSeesTheMaskOverBlack) {
  const std::string mask = mFolder.Path("mask.png");
  test::Save(test::MakeImage(2, {0x00FFFFFF, 0x80FFFFFF}), mask);
  const QImage picture = test::MakeImage(2, {0xFF112233, 0xFF445566});
  EXPECT_EQ(test::PixelsOf(Apply(picture, {"--merge-alpha", mask})), (Pixels{0x00112233, 0x80445566}));
}

TEST_F(Operations, MergeAlphaNeedsTheSameSize) {
  const std::string mask = mFolder.Path("mask.png");
  test::Save(test::MakeOpaque(3, 1), mask);
  EXPECT_EQ(Refuse(kPicture, {"--merge-alpha", mask}),
            "rimage: " + mask + ": the alpha picture has 3 x 1 pixels, the picture 4 x 2\n");
}

TEST_F(Operations, MergeAlphaOfAMissingFileIsAReadingFailure) {
  test::Save(kPicture, mFolder.Path("in.png"));
  const std::string mask = mFolder.Path("none.png");
  const auto result =
      RunTool({"convert", mFolder.Path("in.png"), "--merge-alpha", mask, mFolder.Path("out.png")});
  EXPECT_EQ(result.code, 3);
  EXPECT_EQ(result.errors, "rimage: " + mask + ": No such file or directory\n");
}

// --- Fields: rows are counted from the bottom.

const Pixels kRows = {0xFF000030, 0xFF000020, 0xFF000010, 0xFF000000};
const QImage kFourRows = test::MakeImage(1, kRows);

TEST_F(Operations, FieldOneTakesEveryOtherRowFromTheBottomOne) {
  EXPECT_EQ(test::PixelsOf(Apply(kFourRows, {"--field", "one"})), (Pixels{kRows[1], kRows[3]}));
}

TEST_F(Operations, FieldTwoTakesTheOtherRows) {
  EXPECT_EQ(test::PixelsOf(Apply(kFourRows, {"--field", "two"})), (Pixels{kRows[0], kRows[2]}));
}

TEST_F(Operations, FieldsOf576RowsAreExchanged) {
  Pixels rows;
  for (QRgb row = 0; row < 576; ++row) rows.push_back(0xFF000000 | row);
  const Pixels one = test::PixelsOf(Apply(test::MakeImage(1, rows), {"--field", "one"}));
  ASSERT_EQ(one.size(), 288U);
  EXPECT_EQ(one.back(), rows[574]);
}

TEST_F(Operations, FieldAverageBlendsPairsOfRows) {
  EXPECT_EQ(test::PixelsOf(Apply(kFourRows, {"--field", "average"})),
            (Pixels{0xFF000028, 0xFF000028, 0xFF000008, 0xFF000008}));
}

TEST_F(Operations, FrameDoublesTheRowsOfAField) {
  EXPECT_EQ(test::PixelsOf(Apply(kFourRows, {"--field", "one", "--frame"})),
            (Pixels{kRows[1], kRows[1], kRows[3], kRows[3]}));
}

TEST_F(Operations, AFieldStaysAFieldThroughOtherOperations) {
  const std::string mask = mFolder.Path("mask.png");
  test::Save(test::MakeImage(1, {0xFFFFFFFF, 0xFF808080}), mask);
  const Arguments operations = {"--field",       "one", "--flip",   "--translate", "0,0",
                                "--merge-alpha", mask,  "--format", "BGRA",        "--frame"};
  EXPECT_EQ(test::PixelsOf(Apply(kFourRows, operations)),
            (Pixels{0xFF000000, 0xFF000000, 0x80000020, 0x80000020}));
}

TEST_F(Operations, FieldAndFrameNeedTheirKindOfPicture) {
  EXPECT_EQ(
      Refuse(kPicture, {"--frame"}),
      "rimage: --frame: the picture is a frame already (--field one or --field two makes a field of it)\n");
  EXPECT_EQ(Refuse(kPicture, {"--field", "one", "--field", "two"}),
            "rimage: --field: the picture is a field already (--frame makes a frame of it)\n");
  EXPECT_EQ(Refuse(test::MakeImage(4, kUpper), {"--field", "one"}),
            "rimage: --field: the picture has a single row\n");
}

// --- Layouts.

TEST_F(Operations, FormatKeepsWhatIsSeen) {
  const QImage picture = test::MakeTranslucent(9, 7);
  EXPECT_EQ(test::PixelsOf(Apply(picture, {"--format", "BGRA"})), test::PixelsOf(picture));
  EXPECT_EQ(test::PixelsOf(Apply(picture, {"--format", "BGRA", "--format", "RGBA"})),
            test::PixelsOf(picture));
  for (const char* format : {"RGB", "BGR"}) {
    EXPECT_LE(test::DifferenceOverBlack(picture, Apply(picture, {"--format", format})), 1) << format;
  }
}

TEST_F(Operations, FormatGoesThroughRgbaWhereThereIsNoDirectWay) {
  const QImage grey = test::MakeOpaque(4, 3).convertToFormat(QImage::Format_Grayscale8);
  EXPECT_EQ(test::PixelsOf(Apply(grey, {"--format", "BGRA"})), test::PixelsOf(grey));
}

TEST_F(Operations, FormatShowsInTheBytesOfTga) {
  (void)Apply(kPicture, {"--format", "BGR"}, "bgr.tga");
  EXPECT_EQ(test::ReadFile(mFolder.Path("bgr.tga")).at(16), 24);
  (void)Apply(kPicture, {"--format", "BGRA"}, "bgra.tga");
  EXPECT_EQ(test::ReadFile(mFolder.Path("bgra.tga")).at(16), 32);
}

TEST_F(Operations, FormatThatCannotBeReachedIsRefused) {
  for (const char* format : {"ABGR", "ARGB", "RGB555"}) {
    EXPECT_EQ(Refuse(kPicture, {"--format", format}),
              "rimage: --format: RGBA pixels cannot be converted to " + std::string(format) +
                  " (RGBA, RGB, BGRA and BGR can be reached)\n");
  }
}

// --- Order.

TEST_F(Operations, RunFromLeftToRight) {
  const Pixels fill(2, kRed);
  const QImage picture = test::MakeImage(2, {0xFF000001, 0xFF000002});
  EXPECT_EQ(Apply(picture, {"--square", "red", "--resize", "4x2"}).size(), QSize(4, 2));
  EXPECT_EQ(Apply(picture, {"--resize", "4x2", "--square", "red"}).size(), QSize(4, 4));
  EXPECT_EQ(test::PixelsOf(Apply(picture, {"--square", "red", "--flip"})),
            Join({{0xFF000001, 0xFF000002}, fill}));
  EXPECT_EQ(test::PixelsOf(Apply(picture, {"--flip", "--square", "red"})),
            Join({fill, {0xFF000001, 0xFF000002}}));
}

TEST_F(Operations, EachUseOfAnOptionHasItsOwnPlaceAndValue) {
  const QImage moved = Apply(kPicture, {"--translate", "1,0", "--flip", "--translate", "0,1", "--flip"});
  EXPECT_EQ(test::PixelsOf(moved), Join({{kNone, kLower[0], kLower[1], kLower[2]}, Pixels(4, kNone)}));
}

TEST_F(Operations, StandBeforeBetweenAndAfterTheFileNames) {
  test::Save(kPicture, mFolder.Path("in.png"));
  const std::string in = mFolder.Path("in.png");
  const std::string out = mFolder.Path("out.png");
  for (const Arguments& arguments :
       {Arguments{"convert", "--flip", in, out}, Arguments{"convert", in, "--flip", out},
        Arguments{"convert", in, out, "--flip"}}) {
    EXPECT_EQ(RunTool(arguments).code, 0);
    EXPECT_EQ(test::PixelsOf(test::Load(out)), Join({kLower, kUpper}));
  }
}

// --- Vector pictures.

const std::string kTriangle =
    "<svg xmlns='http://www.w3.org/2000/svg' width='10' height='10'>"
    "<path d='M0 0 L10 0 L0 10 Z' fill='red' fill-opacity='0.5'/></svg>";

class VectorOperations : public Operations {
 protected:
  QImage ApplyToSvg(const Arguments& operations) const {
    const std::string svg = mFolder.Write("in.svg", {kTriangle.begin(), kTriangle.end()});
    Arguments arguments = {"convert", svg};
    arguments.insert(arguments.end(), operations.begin(), operations.end());
    arguments.push_back(mFolder.Path("out.png"));
    const auto result = RunTool(arguments);
    EXPECT_EQ(result.code, 0) << result.errors;
    return test::Load(mFolder.Path("out.png"));
  }
  QImage Render(int width, int height) const {
    QImageReader reader(
        QString::fromStdString(mFolder.Write("in.svg", {kTriangle.begin(), kTriangle.end()})));
    reader.setScaledSize({width, height});
    return reader.read();
  }
};

TEST_F(VectorOperations, ResizeDrawsThePictureAnew) {
  const QImage large = ApplyToSvg({"--resize", "100x100"});
  EXPECT_LE(test::SeenDifference(large, Render(100, 100)), 2);
  EXPECT_GT(test::SeenDifference(large, Render(10, 10).scaled(100, 100)), 50);
}

TEST_F(VectorOperations, ResizeAfterAnotherOperationKeepsThatOperation) {
  const QImage large = ApplyToSvg({"--flip", "--resize", "20x20"});
  EXPECT_LE(test::SeenDifference(large, Render(10, 10).mirrored().scaled(20, 20)), 2);
}

TEST_F(VectorOperations, TwoResizesAreLikeTheLast) {
  EXPECT_LE(test::SeenDifference(ApplyToSvg({"--resize", "3x3", "--resize", "50x50"}), Render(50, 50)), 2);
}

// --- Wrong values.

struct WrongValue {
  const char* name;
  const char* option;
  const char* value;
  const char* hint;
};

class WrongValues : public testing::TestWithParam<WrongValue> {};

TEST_P(WrongValues, AreToldBeforeAnythingIsRead) {
  const auto& [name, option, value, hint] = GetParam();
  const auto result = RunTool({"convert", "/nowhere/in.png", option, value, "/nowhere/out.png"});
  EXPECT_EQ(result.code, 2);
  EXPECT_EQ(result.errors,
            std::string("rimage: ") + option + ": wrong value '" + value + "' (" + hint + ")\n");
}

constexpr const char* kSizes = "WxH in pixels, such as 640x480";
constexpr const char* kOffsets = "X,Y or X,Y,wrap in pixels, such as 10,-4";
constexpr const char* kColours = "#RRGGBB, #RRGGBBAA or a colour name";
constexpr const char* kFraction = "a number from 0 to 1";

INSTANTIATE_TEST_SUITE_P(
    All, WrongValues,
    testing::Values(WrongValue{"sizeWithoutHeight", "--resize", "640", kSizes},
                    WrongValue{"sizeWithZero", "--resize", "0x5", kSizes},
                    WrongValue{"negativeSize", "--resize", "5x-5", kSizes},
                    WrongValue{"sizeWithRest", "--resize", "5x5x5", kSizes},
                    WrongValue{"hugeSize", "--resize", "99999999999x1", kSizes},
                    WrongValue{"emptySize", "--resize", "", kSizes},
                    WrongValue{"offsetWithoutY", "--translate", "5", kOffsets},
                    WrongValue{"offsetWithRest", "--translate", "5,5,warp", kOffsets},
                    WrongValue{"offsetWithBlank", "--translate", "5, 5", kOffsets},
                    WrongValue{"shortColour", "--square", "#123", kColours},
                    WrongValue{"colourWithSign", "--square", "#-12345", kColours},
                    WrongValue{"longColour", "--square", "#1234567890", kColours},
                    WrongValue{"colourName", "--square", "reddish", kColours},
                    WrongValue{"fractionAbove", "--apply-alpha", "1.01", kFraction},
                    WrongValue{"fractionBelow", "--apply-alpha", "-0.1", kFraction},
                    WrongValue{"fractionOfNothing", "--apply-alpha", "nan", kFraction},
                    WrongValue{"fractionWithRest", "--apply-alpha", "0.5%", kFraction},
                    WrongValue{"field", "--field", "three", "known: one, two, average"},
                    WrongValue{"format", "--format", "CMYK",
                               "known: RGBA, RGB, BGRA, BGR, ABGR, ARGB, RGB555"},
                    WrongValue{"closeField", "--field", "avrage", "did you mean average?"},
                    WrongValue{"smallLetters", "--format", "bgra", "did you mean BGRA?"}),
    [](const auto& row) { return row.param.name; });

TEST(WrongFlagValues, AreTold) {
  const auto alpha = RunTool({"convert", "a.png", "--alpha=upside", "b.png"});
  EXPECT_EQ(alpha.code, 2);
  EXPECT_EQ(alpha.errors, "rimage: --alpha: wrong value 'upside' (--alpha or --alpha=invert)\n");
  const auto flip = RunTool({"convert", "a.png", "--flip=twice", "b.png"});
  EXPECT_EQ(flip.code, 2);
  EXPECT_EQ(flip.errors, "rimage: --flip: takes no value\n");
}

}  // namespace
