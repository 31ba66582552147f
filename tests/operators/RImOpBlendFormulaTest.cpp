// Tests of what the blend operator draws, against its formula.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>

#include "support/BlendDrawing.h"

namespace test {
namespace {

// A step of 8 bits, and two where a constant takes part, which drivers keep in 8 bits as well; the rest is
// for the arithmetic of this test.
constexpr double kOne = 1 + 1e-9;
constexpr double kTwo = 2 + 1e-9;

bool UsesConstant(int factor) { return factor >= 10; }

double Tolerance(const BlendSettings& s) {
  const bool constant = UsesConstant(s.aFactorRGB) || UsesConstant(s.aFactorAlpha) ||
                        UsesConstant(s.bFactorRGB) || UsesConstant(s.bFactorAlpha);
  return constant ? kTwo : kOne;
}

class RImOpBlendFormulaTest : public GLTest {
 protected:
  // Every function with every pair of factors, numbered.
  static constexpr int kCombinations = 5 * 15 * 15;
  static void Number(int index, int& function, int& aFactor, int& bFactor) {
    function = index % 5;
    aFactor = index / 5 % 15;
    bFactor = index / 75;
  }
};

TEST_F(RImOpBlendFormulaTest, EveryFunctionAndPairOfFactorsForColoursAndAlpha) {
  const Picture a = NoisePicture(16, 16, 1);
  const Picture b = NoisePicture(16, 16, 2);
  const auto op = Make<RImOpBlend>("blend");
  PutImage(*op, 0, ToImage(a));
  PutImage(*op, 1, ToImage(b));
  BlendSettings settings;
  settings.constant = {0.8, 0.25, 0.6, 0.4};
  double withoutConstant = 0;
  double withConstant = 0;
  for (int i = 0; i < kCombinations; ++i) {
    Number(i, settings.funcRGB, settings.aFactorRGB, settings.bFactorRGB);
    // Alpha goes through all combinations as well, in another order.
    Number((7 * i + 3) % kCombinations, settings.funcAlpha, settings.aFactorAlpha, settings.bFactorAlpha);
    Apply(*op, settings);
    const double error = LargestBlendError(settings, a, b, Evaluate(*op));
    EXPECT_LE(error, Tolerance(settings))
        << "colours " << settings.funcRGB << ", " << settings.aFactorRGB << ", " << settings.bFactorRGB
        << "; alpha " << settings.funcAlpha << ", " << settings.aFactorAlpha << ", " << settings.bFactorAlpha;
    double& largest = Tolerance(settings) == kTwo ? withConstant : withoutConstant;
    largest = std::max(largest, error);
  }
  std::printf("largest difference: %.3f/255 without and %.3f/255 with the constant colour\n", withoutConstant,
              withConstant);
}

// With equal settings the state is set by the calls that are not separate.
TEST_F(RImOpBlendFormulaTest, TheSameForColoursAndAlpha) {
  const Picture a = NoisePicture(8, 8, 3);
  const Picture b = NoisePicture(8, 8, 4);
  const auto op = Make<RImOpBlend>("blend");
  PutImage(*op, 0, ToImage(a));
  PutImage(*op, 1, ToImage(b));
  BlendSettings settings;
  settings.constant = {0.1, 0.9, 0.5, 0.7};
  for (int factor = 0; factor < 15; ++factor) {
    for (int function = 0; function < 5; ++function) {
      settings.funcRGB = settings.funcAlpha = function;
      settings.aFactorRGB = settings.aFactorAlpha = factor;
      settings.bFactorRGB = settings.bFactorAlpha = (4 * factor + 1) % 15;
      Apply(*op, settings);
      EXPECT_LE(LargestBlendError(settings, a, b, Evaluate(*op)), Tolerance(settings))
          << function << ", " << factor;
    }
  }
}

// What the presets are for, in words of premultiplied pictures: the share of A and of B in the result.
struct PresetRow {
  int preset;
  double (*shareOfA)(double alphaA, double alphaB, double constantAlpha);
  double (*shareOfB)(double alphaA, double alphaB, double constantAlpha);
};

double None(double, double, double) { return 0; }
double All(double, double, double) { return 1; }
double InsideA(double a, double, double) { return a; }
double InsideB(double, double b, double) { return b; }
double OutsideA(double a, double, double) { return 1 - a; }
double OutsideB(double, double b, double) { return 1 - b; }
double Fade(double, double, double c) { return c; }
double FadeAway(double, double, double c) { return 1 - c; }
// A is faded before it enters, so it is faded twice, and covers B as far as it is left.
double FadeTwice(double, double, double c) { return c * c; }
double OutsideFadedA(double a, double, double c) { return 1 - c * a; }

const PresetRow kPresets[] = {
    {1, FadeTwice, OutsideFadedA},
    {2, FadeAway, Fade},
    {3, None, None},
    {4, All, None},
    {5, None, All},
    {6, All, OutsideA},
    {7, OutsideB, All},
    {8, InsideB, None},
    {9, None, InsideA},
    {10, OutsideB, None},
    {11, None, OutsideA},
    {12, InsideB, OutsideA},
    {13, OutsideB, InsideA},
    {14, OutsideB, OutsideA},
    {15, All, All},
};

// The largest differences of the presets stand in the documentation.
class BlendPreset : public RImOpBlendFormulaTest, public testing::WithParamInterface<PresetRow> {};

TEST_P(BlendPreset, IsWhatItsNameSays) {
  const PresetRow& row = GetParam();
  const Picture a = NoisePicture(16, 16, 5);
  const Picture b = NoisePicture(16, 16, 6);
  const auto op = Make<RImOpBlend>("blend");
  PutImage(*op, 0, ToImage(a));
  PutImage(*op, 1, ToImage(b));
  op->AlphaSet(40);
  op->PresetSet(row.preset);
  const Picture result = Evaluate(*op);
  double largest = 0;
  for (int i = 0; i < 256; ++i) {
    const auto pa = PixelAt(a, i % 16, i / 16);
    const auto pb = PixelAt(b, i % 16, i / 16);
    const auto drawn = PixelAt(result, i % 16, i / 16);
    for (std::size_t c = 0; c < 4; ++c) {
      const double sum = pa[c] * row.shareOfA(pa[3] / 255.0, pb[3] / 255.0, 0.4) +
                         pb[c] * row.shareOfB(pa[3] / 255.0, pb[3] / 255.0, 0.4);
      ASSERT_NEAR(drawn[c], std::min(sum, 255.0), row.preset <= 2 ? kTwo : kOne) << i << " component " << c;
      largest = std::max(largest, std::abs(drawn[c] - std::min(sum, 255.0)));
    }
  }
  std::printf("largest difference: %.3f/255\n", largest);
}

INSTANTIATE_TEST_SUITE_P(All, BlendPreset, testing::ValuesIn(kPresets), [](const auto& row) {
  std::string name = RImOpBlend::PresetAsString(row.param.preset);
  std::replace(name.begin(), name.end(), ' ', '_');
  std::replace(name.begin(), name.end(), '+', 'p');
  return name;
});

TEST_F(RImOpBlendFormulaTest, AMultipliedByB) {
  const Picture a = NoisePicture(16, 16, 5);
  const Picture b = NoisePicture(16, 16, 6);
  const auto op = Make<RImOpBlend>("blend");
  PutImage(*op, 0, ToImage(a));
  PutImage(*op, 1, ToImage(b));
  op->PresetSet(16);
  const Picture result = Evaluate(*op);
  double largest = 0;
  for (std::size_t i = 0; i < result.bytes.size(); ++i) {
    ASSERT_NEAR(result.bytes[i], a.bytes[i] * b.bytes[i] / 255.0, kOne) << i;
    largest = std::max(largest, std::abs(result.bytes[i] - a.bytes[i] * b.bytes[i] / 255.0));
  }
  std::printf("largest difference: %.3f/255\n", largest);
}

TEST_F(RImOpBlendFormulaTest, Factor14OfBWithHalfAlpha) {
  // The incoming colour is scaled by 0.5 and the target weighted by one minus the incoming alpha.
  const Picture a{1, 1, {200, 100, 40, 100}};
  const Picture b{1, 1, {60, 80, 120, 240}};
  const auto op = Make<RImOpBlend>("blend");
  PutImage(*op, 0, ToImage(a));
  PutImage(*op, 1, ToImage(b));
  op->BFactorRGBSet(14);
  op->AFactorRGBSet(1);
  op->AlphaSet(50);
  const Picture result = Evaluate(*op);
  const double rest = 1 - 100 / 255.0;
  EXPECT_NEAR(result.bytes[0], 200 * 0.5 + 60 * rest, kTwo);
  EXPECT_NEAR(result.bytes[1], 100 * 0.5 + 80 * rest, kTwo);
  EXPECT_NEAR(result.bytes[2], 40 * 0.5 + 120 * rest, kTwo);
  EXPECT_EQ(result.bytes[3], 100) << "alpha is the identity";
}

TEST_F(RImOpBlendFormulaTest, TheIdentityIsExact) {
  const Picture a = NoisePicture(100, 37, 7);
  const auto op = Make<RImOpBlend>("blend");
  PutImage(*op, 0, ToImage(a));
  EXPECT_EQ(Evaluate(*op).bytes, a.bytes) << "without a second image, too";
}

TEST_F(RImOpBlendFormulaTest, ASecondImageIsNeededForAnythingElse) {
  const auto op = Make<RImOpBlend>("blend");
  PutImage(*op, 0, ToImage(NoisePicture(4, 4, 7)));
  op->PresetSet(6);
  RFpContext context;
  EXPECT_EQ(op->ReadLock(&context, 0x40), 0);
  PutImage(*op, 1, ToImage(NoisePicture(4, 4, 8)));
  EXPECT_NE(op->ReadLock(&context, 0x40), 0) << "a failed lock is tried again";
}

// --- Sizes.

struct SizeRow {
  const char* name;
  int aWidth, aHeight, bWidth, bHeight;
};

class BlendSizes : public RImOpBlendFormulaTest, public testing::WithParamInterface<SizeRow> {};

TEST_P(BlendSizes, TheResultIsAsLargeAsAAndBEndsInTransparency) {
  const SizeRow& row = GetParam();
  const Picture a = NoisePicture(row.aWidth, row.aHeight, 9);
  const Picture b = NoisePicture(row.bWidth, row.bHeight, 10);
  const auto op = Make<RImOpBlend>("blend");
  // Something else has been drawn before.
  PutImage(*op, 0, ToImage(NoisePicture(600, 500, 11)));
  PutImage(*op, 1, ToImage(NoisePicture(700, 400, 12)));
  op->PresetSet(15);
  Evaluate(*op);
  PutImage(*op, 0, ToImage(a));
  PutImage(*op, 1, ToImage(b));
  BlendSettings settings;
  settings.aFactorRGB = settings.aFactorAlpha = 9;
  settings.bFactorRGB = settings.bFactorAlpha = 5;
  Apply(*op, settings);
  EXPECT_LE(LargestBlendError(settings, a, b, Evaluate(*op)), kOne);
}

INSTANTIATE_TEST_SUITE_P(
    Sizes, BlendSizes,
    testing::Values(SizeRow{"OnePixel", 1, 1, 1, 1}, SizeRow{"OneOverMany", 1, 1, 64, 64},
                    SizeRow{"ManyOverOne", 64, 64, 1, 1}, SizeRow{"Odd", 101, 67, 33, 129},
                    SizeRow{"Wider", 300, 20, 20, 300}, SizeRow{"JustThePowerOfTwo", 256, 128, 256, 128},
                    SizeRow{"JustBeyond", 257, 129, 256, 128},
                    SizeRow{"VideoOverScreen", 720, 486, 1280, 720},
                    SizeRow{"LargerThanTheArea", 1500, 1100, 1300, 1200},
                    SizeRow{"LargerThanTheSecond", 1500, 1200, 90, 80},
                    SizeRow{"SmallerThanALargeSecond", 90, 80, 1500, 1200},
                    SizeRow{"Widest", 16384, 4, 100, 4}, SizeRow{"Tallest", 4, 16384, 4, 100},
                    SizeRow{"WidestOverTallest", 16384, 4, 4, 16384},
                    SizeRow{"TallestOverWidest", 4, 16384, 16384, 4}),
    [](const auto& row) { return row.param.name; });

TEST_F(RImOpBlendFormulaTest, SizesThatTheCardCannotHoldFail) {
  const auto op = Make<RImOpBlend>("blend");
  RFpContext context;
  PutImage(*op, 0, MakeImage(16385, 1));
  EXPECT_EQ(op->ReadLock(&context, 0x40), 0);
  PutImage(*op, 0, MakeImage(1, 16385));
  EXPECT_EQ(op->ReadLock(&context, 0x40), 0);
  PutImage(*op, 0, MakeImage(0, 0));
  EXPECT_EQ(op->ReadLock(&context, 0x40), 0);
  PutImage(*op, 0, MakeImage(5, 0));
  EXPECT_EQ(op->ReadLock(&context, 0x40), 0);
  PutImage(*op, 0, MakeImage(1, 1, {1, 2, 3, 4}));
  EXPECT_EQ(Evaluate(*op).bytes, (std::vector<unsigned char>{1, 2, 3, 4}));
}

// --- Kinds of images.

struct FormatRow {
  const char* name;
  kImageFormat format;
  std::vector<unsigned char> bytes;  // one pixel
  std::array<unsigned char, 4> rgba;
};

class BlendFormats : public RImOpBlendFormulaTest, public testing::WithParamInterface<FormatRow> {};

TEST_P(BlendFormats, ComeOutAsRgba) {
  const FormatRow& row = GetParam();
  std::vector<unsigned char> bytes;
  for (int i = 0; i < 15; ++i) bytes.insert(bytes.end(), row.bytes.begin(), row.bytes.end());
  const auto op = Make<RImOpBlend>("blend");
  for (const int plug : {0, 1}) PutImage(*op, plug, MakeImage(5, 3, bytes, row.format));
  for (const int preset : {4, 5}) {
    op->PresetSet(preset);
    const Picture result = Evaluate(*op);
    EXPECT_EQ(PixelAt(result, 0, 0), row.rgba) << preset;
    EXPECT_EQ(PixelAt(result, 4, 2), row.rgba) << preset;
  }
}

INSTANTIATE_TEST_SUITE_P(
    Formats, BlendFormats,
    testing::Values(FormatRow{"RGBA", kImageFormatRGBA, {1, 2, 3, 4}, {1, 2, 3, 4}},
                    FormatRow{"RGB", kImageFormatRGB, {1, 2, 3}, {1, 2, 3, 255}},
                    FormatRow{"BGRA", kImageFormatBGRA, {1, 2, 3, 4}, {3, 2, 1, 4}},
                    FormatRow{"BGR", kImageFormatBGR, {1, 2, 3}, {3, 2, 1, 255}},
                    FormatRow{"ABGR", kImageFormatABGR, {1, 2, 3, 4}, {4, 3, 2, 1}},
                    FormatRow{"ARGBTakesItsBytesAsTheyStand", kImageFormatARGB, {1, 2, 3, 4}, {1, 2, 3, 4}}),
    [](const auto& row) { return row.param.name; });

TEST_F(RImOpBlendFormulaTest, FormatsWithoutATextureFail) {
  const auto op = Make<RImOpBlend>("blend");
  RFpContext context;
  for (const kImageFormat format : {kImageFormatUndefined, kImageFormatEmpty}) {
    PutImage(*op, 0, MakeImage(4, 4, {}, format));
    EXPECT_EQ(op->ReadLock(&context, 0x40), 0);
  }
}

TEST_F(RImOpBlendFormulaTest, AnRgbImageIsOpaqueAfterAFadedDraw) {
  // An RGB texture takes its alpha from the current colour, which factor 14 sets.
  const auto faded = Make<RImOpBlend>("faded");
  PutImage(*faded, 0, ToImage(NoisePicture(4, 4, 1)));
  PutImage(*faded, 1, ToImage(NoisePicture(4, 4, 2)));
  faded->PresetSet(1);
  faded->AlphaSet(25);
  const auto op = Make<RImOpBlend>("blend");
  op->SetPlugInputOperator(0, RImageOperator::kPlugInput, faded.get());
  PutImage(*op, 1, MakeImage(4, 4, std::vector<unsigned char>(48, 100), kImageFormatRGB));
  op->PresetSet(5);
  const Picture result = Evaluate(*op);
  EXPECT_EQ(PixelAt(result, 3, 3), (std::array<unsigned char, 4>{100, 100, 100, 255}));
}

TEST_F(RImOpBlendFormulaTest, TexturesOfTheHostAreReadByTheirRealSize) {
  // Larger than the smallest power of two, and not a power of two at all.
  for (const auto& [width, height] : {std::pair(256, 128), std::pair(70, 45), std::pair(60, 40)}) {
    const Picture whole = NoisePicture(width, height, 3);
    unsigned texture = MakeTexture(width, height, 0x1908, whole.bytes.data());
    ImagePtr image(RImageCreate());
    image->SetTextureID(texture, false);
    image->SetFormat(kImageFormatRGBA);
    image->SetWidth(60);
    image->SetHeight(40);
    const auto op = Make<RImOpBlend>("blend");
    RImage* const shared = image.get();
    PutImage(*op, 0, std::move(image));
    op->SetPlugImage(1, RImageOperator::kPlugInput, shared);
    for (const int preset : {4, 5}) {
      op->PresetSet(preset);
      const Picture result = Evaluate(*op);
      ASSERT_EQ(result.width, 60);
      ASSERT_EQ(result.height, 40);
      for (int y = 0; y < 40; ++y) {
        for (int x = 0; x < 60; ++x) ASSERT_EQ(PixelAt(result, x, y), PixelAt(whole, x, y)) << x << ", " << y;
      }
    }
    glDeleteTextures(1, &texture);
  }
}

TEST_F(RImOpBlendFormulaTest, OneImageOnBothInputs) {
  const Picture a = NoisePicture(20, 10, 3);
  const auto op = Make<RImOpBlend>("blend");
  RImage* const image = PutImage(*op, 0, ToImage(a));
  op->SetPlugImage(1, RImageOperator::kPlugInput, image);
  op->PresetSet(16);
  const Picture result = Evaluate(*op);
  for (std::size_t i = 0; i < result.bytes.size(); ++i) {
    ASSERT_NEAR(result.bytes[i], a.bytes[i] * a.bytes[i] / 255.0, kOne);
  }
}

}  // namespace
}  // namespace test
