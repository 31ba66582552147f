// Tests of rimage correct: pictures against the formula of the correction, on every driver that the tests
// play.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QImage>
#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "TestPictures.h"
#include "ToolRunner.h"
#include "fp/RFpCC_default.h"
#include "support/CorrectionFormula.h"
#include "support/TestData.h"

namespace {

using test::RunTool;
using testing::HasSubstr;

// The shim is loaded before the sanitizer's own library.
const test::ToolSettings kSettings{.environment = {{"ASAN_OPTIONS", "verify_asan_link_order=0"}}};

struct Driver {
  const char* name;
  test::Arguments arguments;
  const char* backEnd;
  const char* form;  // of a correction with zones
};

const Driver kDrivers[] = {
    {"NVPrograms", {"--gl-shim", "nv"}, "RFpCC_NV_fragment_program: NVIDIA's fragment programs", "0x40:"},
    {"NVCombiners",
     {"--gl-shim", "rc"},
     "RFpCC_NV_register_combiners2: NVIDIA's register combiners",
     "0x40:"},
    {"ATIShaders", {"--gl-shim", "ati"}, "RFpCC_ATI_fragment_shader: ATI's fragment shaders", "0x100:"},
    {"SGIMatrix", {"--gl-shim", "sgi"}, "RFpCC_SGI_color_matrix: the colour matrix", "0x40000:"},
    {"Plain", {"--gl-shim", "plain"}, "RFpCC_default: the processor", "0x40000:"}};

class CorrectCommand : public testing::Test {
 protected:
  void SetUp() override { test::Save(mInput, In()); }

  std::string In() const { return mFolder.Path("in.png"); }
  std::string Out() const { return mFolder.Path("out.png"); }

  test::ToolResult Correct(test::Arguments before, const test::Arguments& more) const {
    before.insert(before.end(), {"correct", In(), Out()});
    before.insert(before.end(), more.begin(), more.end());
    return RunTool(before, kSettings);
  }

  // The largest difference of a channel from the formula, in 255ths.
  double Difference(const RFpCC& node) const {
    const test::CorrectionModel model(test::ReadFrom(node));
    const QImage result = test::Load(Out());
    EXPECT_EQ(result.size(), mInput.size());
    double largest = 0;
    for (int y = 0; y < result.height(); ++y) {
      for (int x = 0; x < result.width(); ++x) {
        const QRgb from = mInput.pixel(x, y);
        const QRgb to = result.pixel(x, y);
        const test::Rgba expected =
            model.Correct({qRed(from) / 255.0, qGreen(from) / 255.0, qBlue(from) / 255.0, 1});
        const int drawn[] = {qRed(to), qGreen(to), qBlue(to), qAlpha(to)};
        for (std::size_t i = 0; i < 4; ++i)
          largest = std::max(largest, std::abs(drawn[i] - 255 * std::clamp(expected[i], 0.0, 1.0)));
      }
    }
    return largest;
  }

  const QImage mInput = test::MakeNoise(61, 43);
  test::TemporaryFolder mFolder;
};

class CorrectOnDriver : public CorrectCommand, public testing::WithParamInterface<Driver> {};

TEST_P(CorrectOnDriver, DrawsTheFormulaAndNamesTheBackEnd) {
  const auto result = Correct(GetParam().arguments, {"--explain", "--set", "Gamma=1.4", "--set",
                                                     "ShadowSaturation=0.5", "--set", "Gain=1.2,1,1.5"});
  ASSERT_EQ(result.code, 0) << result.errors;
  EXPECT_THAT(result.output, HasSubstr(std::string("back end  ") + GetParam().backEnd));
  EXPECT_THAT(result.output, HasSubstr(std::string("form      ") + GetParam().form));
  RFpCC_default node;
  node.SetGamma(1.4F);
  node.SetZoneSaturation(1, 0.5F);
  node.SetZoneGain(0, 1, 1.2F);
  node.SetZoneGain(0, 3, 1.5F);
  EXPECT_LE(Difference(node), 1);
}

TEST_P(CorrectOnDriver, OneMatrix) {
  const auto result = Correct(GetParam().arguments, {"--set", "Hue=120", "--set", "Negative=true"});
  ASSERT_EQ(result.code, 0) << result.errors;
  EXPECT_EQ(result.output + result.errors, "");
  RFpCC_default node;
  node.SetZoneHue(0, 120);
  node.SetNegative(true);
  EXPECT_LE(Difference(node), 1);
}

INSTANTIATE_TEST_SUITE_P(Drivers, CorrectOnDriver, testing::ValuesIn(kDrivers),
                         [](const auto& row) { return row.param.name; });

TEST_F(CorrectCommand, TellsWhatBetterBackEndsLack) {
  const auto result = Correct({"--gl-shim", "sgi"}, {"--explain"});
  ASSERT_EQ(result.code, 0) << result.errors;
  EXPECT_THAT(result.output,
              HasSubstr("not RFpCC_NV_fragment_program: the driver does not offer GL_NV_fragment_program"));
  EXPECT_THAT(result.output,
              HasSubstr("not RFpCC_ATI_fragment_shader: the driver does not offer GL_ATI_fragment_shader"));
  EXPECT_THAT(result.output, HasSubstr("form      0x10: frame buffer to frame buffer"));
}

TEST_F(CorrectCommand, WithoutOpenGLTheProcessorDoesIt) {
  const auto result = Correct({}, {"--gpu=never", "--explain", "--set", "Gamma=2"});
  ASSERT_EQ(result.code, 0) << result.errors;
  EXPECT_THAT(result.output, HasSubstr("not RFpCC_NV_fragment_program: it needs OpenGL"));
  EXPECT_THAT(result.output, HasSubstr("back end  RFpCC_default"));
  RFpCC_default node;
  node.SetGamma(2);
  EXPECT_LE(Difference(node), 1);
}

// Without transparency the result is opaque; with it alpha stays.
TEST_F(CorrectCommand, TransparencyIsAsked) {
  test::Save(test::MakeTranslucent(9, 5), In());
  const auto alphas = [&] {
    std::vector<int> list;
    for (const QRgb pixel : test::PixelsOf(test::Load(Out()))) list.push_back(qAlpha(pixel));
    return list;
  };
  ASSERT_EQ(Correct({}, {"--gpu=never"}).code, 0);
  EXPECT_EQ(alphas(), std::vector<int>(45, 255));
  ASSERT_EQ(Correct({}, {"--gpu=never", "--set", "Transparency=true"}).code, 0);
  std::vector<int> expected;
  for (const QRgb pixel : test::PixelsOf(test::MakeTranslucent(9, 5))) expected.push_back(qAlpha(pixel));
  EXPECT_EQ(alphas(), expected);
}

// The effect would do without OpenGL; who insists on it is told.
TEST_F(CorrectCommand, OpenGLThatIsRequiredAndMissing) {
  test::Save(test::MakeTranslucent(9, 5), In());
  auto settings = kSettings;
  settings.environment.insert(settings.environment.end(),
                              {{"PATH", "/none-such"}, {"DISPLAY", ""}, {"QT_QPA_PLATFORM", ""}});
  const auto result = RunTool({"correct", "--gpu=require", In(), Out()}, settings);
  EXPECT_EQ(result.code, 5);
  EXPECT_THAT(result.errors, HasSubstr("correct: RImOpCC has no OpenGL: "));
}

TEST_F(CorrectCommand, WrongUse) {
  EXPECT_EQ(Correct({}, {"--set", "Gama=2"}).code, 2);
  EXPECT_EQ(Correct({}, {"--set", "Gain=0.5,1,1"}).code, 2) << "below the declared range";
  EXPECT_EQ(RunTool({"correct", In()}, kSettings).code, 2);
}

}  // namespace
