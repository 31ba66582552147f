// rimage blend: pictures against the formula of the blending, and what the command line makes of its
// settings.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QImage>
#include <array>

#include "TestPictures.h"
#include "ToolRunner.h"
#include "support/BlendFormula.h"
#include "support/CaseName.h"
#include "support/TestData.h"

namespace {

using test::RunTool;
using testing::HasSubstr;
using testing::StartsWith;

// Straight noise; Qt's pictures begin at the top.
QImage ToQt(const test::Picture& picture) {
  QImage image(picture.width, picture.height, QImage::Format_RGBA8888);
  for (int y = 0; y < picture.height; ++y) {
    const auto row =
        static_cast<std::size_t>(picture.height - 1 - y) * static_cast<std::size_t>(picture.width) * 4;
    std::copy_n(picture.bytes.begin() + static_cast<std::ptrdiff_t>(row), picture.width * 4,
                image.scanLine(y));
  }
  return image;
}

// The bytes as a file of premultiplied colours stores them.
test::Picture Premultiplied(const QImage& image) {
  EXPECT_EQ(image.pixelFormat().premultiplied(), QPixelFormat::Premultiplied);
  const QImage rgba = image.convertToFormat(QImage::Format_RGBA8888_Premultiplied);
  test::Picture picture{rgba.width(), rgba.height(), {}};
  for (int y = rgba.height() - 1; y >= 0; --y) {
    picture.bytes.insert(picture.bytes.end(), rgba.constScanLine(y),
                         rgba.constScanLine(y) + 4 * rgba.width());
  }
  return picture;
}

// Colours times alpha, truncated, as the module premultiplies.
test::Picture Premultiply(test::Picture picture) {
  for (std::size_t i = 0; i < picture.bytes.size(); i += 4) {
    for (std::size_t c = i; c < i + 3; ++c)
      picture.bytes[c] = static_cast<unsigned char>(picture.bytes[c] * picture.bytes[i + 3] / 255);
  }
  return picture;
}

// --- Every preset.

struct Preset {
  const char* text;
  test::BlendSettings settings;
  double tolerance;  // the driver keeps constants in 8 bits, and each rounds by up to a half
};

constexpr std::array<double, 4> kConstant = {0.25, 0.5, 1, 0.5};

test::BlendSettings Factors(int a, int aAlpha, int b, int bAlpha) {
  return {0, 0, a, aAlpha, b, bAlpha, kConstant};
}

const std::array kPresets{
    Preset{"blend", Factors(12, 12, 14, 14), 2}, Preset{"dissolve", Factors(13, 13, 12, 12), 2},
    Preset{"clear", Factors(0, 0, 0, 0), 0},     Preset{"A", Factors(1, 1, 0, 0), 0},
    Preset{"B", Factors(0, 0, 1, 1), 0},         Preset{"A over B", Factors(1, 1, 5, 5), 1},
    Preset{"B over A", Factors(9, 9, 1, 1), 1},  Preset{"A in B", Factors(8, 8, 0, 0), 1},
    Preset{"B in A", Factors(0, 0, 4, 4), 1},    Preset{"A out B", Factors(9, 9, 0, 0), 1},
    Preset{"B out A", Factors(0, 0, 5, 5), 1},   Preset{"A atop B", Factors(8, 8, 5, 5), 1},
    Preset{"B atop A", Factors(9, 9, 4, 4), 1},  Preset{"A xor B", Factors(9, 9, 5, 5), 1},
    Preset{"A + B", Factors(1, 1, 1, 1), 1},     Preset{"A * B", Factors(6, 8, 0, 0), 1},
};

class BlendPreset : public testing::TestWithParam<Preset> {};

// The sizes are no powers of two, and B covers A in part.
TEST_P(BlendPreset, EqualsTheFormula) {
  const test::TemporaryFolder folder;
  const test::Picture a = test::NoisePicture(61, 43, 1);
  const test::Picture b = test::NoisePicture(50, 70, 2);
  test::Save(ToQt(a), folder.Path("a.png"));
  test::Save(ToQt(b), folder.Path("b.png"));
  const auto result =
      RunTool({"blend", folder.Path("a.png"), folder.Path("b.png"), folder.Path("out.tif"), "--set",
               std::string("Preset=") + GetParam().text, "--set", "Alpha=50", "--set", "Color=0.25,0.5,1"});
  ASSERT_EQ(result.code, 0) << result.errors;
  EXPECT_EQ(result.output + result.errors, "");
  const test::Picture out = Premultiplied(QImage(QString::fromStdString(folder.Path("out.tif"))));
  ASSERT_EQ(out.width, a.width);
  ASSERT_EQ(out.height, a.height);
  EXPECT_LE(test::LargestBlendError(GetParam().settings, Premultiply(a), Premultiply(b), out),
            GetParam().tolerance + 1e-9);
}

INSTANTIATE_TEST_SUITE_P(All, BlendPreset, testing::ValuesIn(kPresets),
                         [](const auto& row) { return "Preset" + std::to_string(row.index + 1); });

// --- The order and the checks of settings.

class BlendCommand : public testing::Test {
 protected:
  void SetUp() override {
    test::Save(test::MakeTranslucent(9, 5), mA);
    test::Save(test::MakeOpaque(9, 5), mB);
  }

  test::ToolResult Blend(const test::Arguments& more, const test::ToolSettings& settings = {}) const {
    test::Arguments arguments = {"blend", mA, mB, mOut};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return RunTool(arguments, settings);
  }

  // The line of an explanation that begins with a word.
  std::string Explained(const test::Arguments& more, const std::string& word) const {
    test::Arguments arguments = more;
    arguments.emplace_back("--explain");
    const auto result = Blend(arguments);
    EXPECT_EQ(result.code, 0) << result.errors;
    const std::size_t start = result.output.find("\n  " + word);
    if (start == std::string::npos) return "no such line";
    return result.output.substr(start + 13, result.output.find('\n', start + 1) - start - 13);
  }

  bool HasOutput() const { return !QImage(QString::fromStdString(mOut)).isNull(); }

  test::TemporaryFolder mFolder;
  std::string mA = mFolder.Path("a.png");
  std::string mB = mFolder.Path("b.png");
  std::string mOut = mFolder.Path("out.png");
};

TEST_F(BlendCommand, SettingsApplyInWrittenOrder) {
  EXPECT_EQ(Explained({"--set", "BFactorRGB=14", "--set", "AFactorRGB=0"}, "set"),
            "Preset = custom, AFactorRGB = 0, BFactorRGB = 1 - Alpha(C)*Alpha(A)");
  EXPECT_EQ(Explained({"--set", "AFactorRGB=0", "--set", "BFactorRGB=14"}, "set"),
            "Preset = custom, AFactorRGB = Alpha(C), BFactorRGB = 1 - Alpha(C)*Alpha(A)");
  EXPECT_EQ(Explained({"--set", "FuncRGB=Max", "--set", "Preset=B"}, "set"),
            "Preset = B, AFactorRGB = 0, AFactorAlpha = 0, BFactorRGB = 1, BFactorAlpha = 1");
  EXPECT_EQ(
      Explained({"--set", "Preset=B", "--set", "FuncRGB=Max"}, "set"),
      "Preset = custom, FuncRGB = Max, AFactorRGB = 0, AFactorAlpha = 0, BFactorRGB = 1, BFactorAlpha = 1");
}

TEST_F(BlendCommand, EnumerationsAreTakenByTextInAnyCaseAndByNumber) {
  for (const char* value : {"Preset=A OVER b", "Preset=6", "Preset= a over b "}) {
    EXPECT_THAT(Explained({"--set", value}, "set"), StartsWith("Preset = A over B")) << value;
  }
}

TEST_F(BlendCommand, ExplainsWhatItDid) {
  const auto result = Blend({"--set", "Preset=A over B", "--explain"});
  ASSERT_EQ(result.code, 0) << result.errors;
  EXPECT_THAT(
      result.output,
      testing::MatchesRegex("blend: RImOpBlend\n"
                            "  IN_0      .*a.png: 9 x 5 RGBA, straight, premultiplied before use\n"
                            "  IN_1      .*b.png: 9 x 5 RGBA?,?.*\n"
                            "  set       Preset = A over B, BFactorRGB = 1 - Alpha.A., BFactorAlpha = 1 - "
                            "Alpha.A.\n"
                            "  back end  RFpBlend_default: OpenGL's fixed blending.*\n"
                            "  runs      with OpenGL: .+\n"
                            "  form      0x80: texture over frame buffer, by a rectangle\n"
                            "  result    9 x 5 RGBA, premultiplied, in a texture of 16 x 8\n"));
}

// Only A is read, and nothing lies in the target.
TEST_F(BlendCommand, ExplainsTheFormWithoutFeedback) {
  EXPECT_EQ(Explained({}, "form"), "0x40: texture to frame buffer, by a rectangle");
  EXPECT_EQ(Explained({}, "set"), "nothing");
}

struct Mistake {
  const char* name;
  test::Arguments more;
  int code;
  const char* message;
};

class BlendMistakes : public BlendCommand, public testing::WithParamInterface<Mistake> {};

// The pictures are missing: what is wrong with the settings is told before a picture is looked at.
TEST_P(BlendMistakes, AreToldBeforeAPictureIsRead) {
  test::Arguments arguments = {"blend", "none.png", "nor.png", mOut};
  arguments.insert(arguments.end(), GetParam().more.begin(), GetParam().more.end());
  const auto result = RunTool(arguments);
  EXPECT_EQ(result.code, GetParam().code);
  EXPECT_EQ(result.errors, std::string("rimage: ") + GetParam().message + "\n");
  EXPECT_FALSE(HasOutput());
}

INSTANTIATE_TEST_SUITE_P(
    All, BlendMistakes,
    testing::Values(
        Mistake{"unknownProperty",
                {"--set", "Alhpa=5"},
                2,
                "blend: RImOpBlend has no property 'Alhpa' (did you mean Alpha?)"},
        Mistake{"farProperty",
                {"--set", "Exposure=5"},
                2,
                "blend: RImOpBlend has no property 'Exposure' (rimage properties RImOpBlend lists them)"},
        Mistake{"text",
                {"--set", "Preset=A ovr B"},
                2,
                "blend: wrong value 'A ovr B' for Preset (did you mean A over B?)"},
        Mistake{
            "farText",
            {"--set", "FuncRGB=Multiply"},
            2,
            "blend: wrong value 'Multiply' for FuncRGB (known: Add, Subtract, Reverse Subtract, Min, Max)"},
        Mistake{"numberWithoutText",
                {"--set", "FuncRGB=5"},
                2,
                "blend: wrong value '5' for FuncRGB (known: Add, Subtract, Reverse Subtract, Min, Max)"},
        Mistake{"negativeNumber",
                {"--set", "FuncRGB=-1"},
                2,
                "blend: wrong value '-1' for FuncRGB (known: Add, Subtract, Reverse Subtract, Min, Max)"},
        Mistake{"noNumber", {"--set", "Alpha=half"}, 2, "blend: wrong value 'half' for Alpha (a number)"},
        Mistake{"infinite", {"--set", "Alpha=inf"}, 2, "blend: wrong value 'inf' for Alpha (a number)"},
        Mistake{"empty", {"--set", "Alpha="}, 2, "blend: wrong value '' for Alpha (a number)"},
        Mistake{"colour",
                {"--set", "Color=1,0"},
                2,
                "blend: wrong value '1,0' for Color (three numbers: red, green, blue)"},
        Mistake{"noEquals", {"--set", "Preset"}, 2, "--set: wrong value 'Preset' (Name=Value)"},
        Mistake{"noName", {"--set", "=5"}, 2, "--set: wrong value '=5' (Name=Value)"},
        Mistake{"processor",
                {"--gpu=never"},
                5,
                "blend: RImOpBlend runs with OpenGL only: switched off with --gpu=never"},
        Mistake{
            "gpuMode", {"--gpu=allways"}, 2, "--gpu: wrong value 'allways' (known: auto, never, require)"},
        Mistake{
            "mistypedGpuMode", {"--gpu=requier"}, 2, "--gpu: wrong value 'requier' (did you mean require?)"},
        Mistake{"gpuNumber", {"--gpu=1"}, 2, "--gpu: wrong value '1' (known: auto, never, require)"},
        Mistake{"surplus", {"one-more.png"}, 2, "blend: 4 files are too many (A B OUT)"},
        Mistake{"missingPicture", {}, 3, "none.png: No such file or directory"}),
    [](const auto& row) { return row.param.name; });

TEST_F(BlendCommand, TheHelpNamesTheChoicesAsTheyAreWritten) {
  EXPECT_THAT(RunTool({"blend", "--help"}).output,
              HasSubstr("\n  --gpu auto|never|require    Draw with OpenGL"));
}

TEST_F(BlendCommand, TheNamesOfFilesAreCheckedFirst) {
  auto result = RunTool({"blend", "a.xyz", "b.png", "out.png", "--set", "Nonsense=1"});
  EXPECT_EQ(result.code, 3);
  EXPECT_THAT(result.errors, StartsWith("rimage: a.xyz: no way to read the extension 'xyz'"));
  result = RunTool({"blend", "a.png", "b.png", "out.xyz", "--set", "Nonsense=1"});
  EXPECT_EQ(result.code, 4);
  EXPECT_THAT(result.errors, StartsWith("rimage: out.xyz: no way to write the extension 'xyz'"));
}

TEST_F(BlendCommand, WithoutOpenGLTheReasonIsTold) {
  for (const char* mode : {"--gpu=auto", "--gpu=require"}) {
    const auto result =
        Blend({mode}, {.environment = {{"PATH", "/none-such"}, {"DISPLAY", ""}, {"QT_QPA_PLATFORM", ""}}});
    EXPECT_EQ(result.code, 5);
    EXPECT_THAT(result.errors,
                StartsWith("rimage: blend: RImOpBlend runs with OpenGL only: no display with OpenGL: "));
    EXPECT_THAT(result.errors, HasSubstr("(rimage doctor tells more)\n"));
    EXPECT_FALSE(HasOutput());
  }
}

TEST_F(BlendCommand, AnOldVersionOfOpenGLIsTold) {
  const auto result = Blend({}, {.environment = {{"MESA_GL_VERSION_OVERRIDE", "2.1"}}});
  EXPECT_EQ(result.code, 5);
  EXPECT_EQ(
      result.errors,
      "rimage: blend: RImOpBlend runs with OpenGL only: the driver has no OpenGL 3.0 (rimage doctor tells "
      "more)\n");
}

TEST_F(BlendCommand, AFailureKeepsTheFileThatWasThere) {
  test::Save(test::MakeOpaque(3, 3), mOut);
  EXPECT_EQ(Blend({"--set", "Alpha=x"}).code, 2);
  EXPECT_EQ(RunTool({"blend", mA, "none.png", mOut}).code, 3);
  EXPECT_EQ(test::PixelsOf(test::Load(mOut)), test::PixelsOf(test::MakeOpaque(3, 3)));
}

TEST_F(BlendCommand, TheOutputMayBeAnInput) {
  const auto result = RunTool({"blend", mA, mB, mB, "--set", "Preset=A"});
  EXPECT_EQ(result.code, 0) << result.errors;
  EXPECT_LE(test::SeenDifference(test::Load(mB), test::MakeTranslucent(9, 5)), 1);
}

// --- The states of alpha.

TEST_F(BlendCommand, PremultipliedPicturesAreNotMultipliedAgain) {
  const QImage premultiplied =
      test::MakeTranslucent(20, 10).convertToFormat(QImage::Format_RGBA8888_Premultiplied);
  test::Save(premultiplied, mFolder.Path("in.tif"));
  const auto result = RunTool({"blend", mFolder.Path("in.tif"), mB, mFolder.Path("out.tif")});
  ASSERT_EQ(result.code, 0) << result.errors;
  EXPECT_EQ(Premultiplied(QImage(QString::fromStdString(mFolder.Path("out.tif")))).bytes,
            Premultiplied(premultiplied).bytes);
}

TEST_F(BlendCommand, PicturesWithoutAlphaAreOpaque) {
  const auto result = RunTool({"blend", mB, mA, mOut, "--set", "Preset=B over A"});
  ASSERT_EQ(result.code, 0) << result.errors;
  EXPECT_EQ(test::Load(mOut).pixelColor(4, 2).alpha(), 255);
}

// Red of full strength with no alpha behind it: straight colours cannot say that, and Qt would wrap around.
TEST_F(BlendCommand, ColoursAboveAlphaAreLimitedWhereFilesAreStraight) {
  test::Save(test::MakeImage(1, {0xFFFF8000}), mA);
  const test::Arguments cut = {"--set", "AFactorAlpha=Alpha(C)", "--set", "Alpha=25",
                               "--set", "BFactorRGB=0"};
  ASSERT_EQ(Blend(cut).code, 0);
  EXPECT_EQ(test::Load(mOut).pixel(0, 0), 0x40FFFF00U) << "each colour is as bright as alpha lets it be";
  mOut = mFolder.Path("out.tif");
  ASSERT_EQ(Blend(cut).code, 0);
  EXPECT_EQ(Premultiplied(QImage(QString::fromStdString(mOut))).bytes,
            (std::vector<unsigned char>{255, 128, 0, 64}));
  mOut = mFolder.Path("out.bmp");
  ASSERT_EQ(Blend(cut).code, 0);
  EXPECT_EQ(test::Load(mOut).pixel(0, 0), 0xFFFF8000U) << "over black nothing is lost";
}

// --- Sizes.

TEST_F(BlendCommand, ResultsAreAsLargeAsA) {
  const std::array<QSize, 6> sizes = {QSize(1, 1),  QSize(3, 1),    QSize(64, 64),
                                      QSize(65, 2), QSize(1500, 3), QSize(2, 1100)};
  for (const QSize& size : sizes) {
    test::Save(test::MakeOpaque(size.width(), size.height()), mA);
    ASSERT_EQ(Blend({"--set", "Preset=A over B"}).code, 0);
    EXPECT_EQ(test::SeenDifference(test::Load(mOut), test::MakeOpaque(size.width(), size.height())), 0);
  }
}

TEST_F(BlendCommand, PicturesLargerThanTexturesAreRefused) {
  test::Save(test::MakeOpaque(20000, 2), mA);
  const auto result = Blend({});
  EXPECT_EQ(result.code, 5);
  EXPECT_THAT(result.errors, testing::MatchesRegex(
                                 "rimage: .*a.png: 20000 x 2 pixels are more than the graphics driver takes "
                                 "\\(at most [0-9]+ x [0-9]+\\)\n"));
}

TEST_F(BlendCommand, PicturesAreTurnedAndLimitedAsInConvert) {
  const auto result = Blend({"--max-memory", "1"});
  EXPECT_EQ(result.code, 0) << result.errors;
  test::Save(test::MakeOpaque(1000, 1000), mB);
  EXPECT_EQ(Blend({"--max-memory", "1"}).code, 3);
}

}  // namespace
