// Tests of the keyer on fragment programs: the texts, the calls, and what the programs compute.
#include "fp/RFpKeyer_NV_fragment_program.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "support/FakeEntryPoints.h"
#include "support/GLTest.h"
#include "support/KeyerFormula.h"
#include "support/NVProgramCalls.h"

namespace test {
namespace {

struct Text {
  GLsizei length;
  std::string text;
};

// By mode, output and inversion.
const std::array<Text, 12>& Texts() {
  static const std::string kChroma =
      "!!FP1.0\nDECLARE p0;DECLARE p1;DECLARE p2;DECLARE p3;TEX R1, f[TEX0], TEX0, 2D;DP3 R0, R1, p1;"
      "ADD_SAT R0, R0, p1.wwww;";
  static const std::string kLuminance =
      "!!FP1.0\nDECLARE p0;DECLARE p1;TEX R1, f[TEX0], TEX0, 2D;MOV R1.w(), 1;DP4 R0, R1, p1;MUL R0, R0, R0;";
  static const std::string kDifference =
      "TEX R0, f[TEX0], TEX0, 2D;TEX R1, f[TEX1], TEX1, 2D;SUB R1, R0, R1;DP3 R1, R1, R1;";
  static const std::array<Text, 12> kTexts = {{
      {273, kChroma +
                "MAD R1, R0, p2, R1;ADD R2, p3, -R1;MAD_SAT R0, R0, p0.zzzz, p0.wwww;ADD R3, p3.wwww, -R0;"
                "MAD R2, R3, R2, R1;MAD o[COLR], -R0, R2, R1;MOV o[COLR].w(), R3;END"},
      {228, kChroma + "MAD_SAT R0, R0, p0.zzzz, p0.wwww;MAD R1, R0, p3, R1;ADDC o[COLR], p3.wwww, -R0;"
                      "MOV_SAT o[COLR].xyz (GT), R1;END"},
      {179, kChroma + "MAD_SAT R0, R0, p0.zzzz, p0.wwww;ADD o[COLR], p3.wwww, -R0;END"},
      {158, kChroma + "MAD_SAT o[COLR], R0, p0.zzzz, p0.wwww;END"},
      {147, kLuminance + "MUL_SAT R0, p0.xxxx, R0;MUL o[COLR], R1, R0;END"},
      {165, kLuminance + "MUL_SAT R0, p0.xxxx, R0;MAD R0, R0, -1, 1;MUL o[COLR], R1, R0;END"},
      {132, kLuminance + "MUL_SAT o[COLR], p0.xxxx, R0;END"},
      {150, kLuminance + "MUL_SAT R0, p0.xxxx, R0;MAD o[COLR], R0, -1, 1;END"},
      {187, "!!FP1.0\nDECLARE p0;" + kDifference +
                "MAD_SAT R1, R1, p0.xxxx, p0.yyyy;MUL R0, R0, R1;MOV R0.w(), R1.w();MOV o[COLR], R0;END"},
      {216, "!!FP1.0\nDECLARE p0;DECLARE p1;" + kDifference +
                "MAD_SAT R1, R1, p0.xxxx, p0.yyyy;MAD R1, R1, -1, 1;MUL R0, R0, R1;MOV R0.w(), R1.w();"
                "MOV o[COLR], R0;END"},
      {153, "!!FP1.0\nDECLARE p0;DECLARE p1;" + kDifference + "MAD_SAT o[COLR], R1, p0.xxxx, p0.yyyy;END"},
      {171, "!!FP1.0\nDECLARE p0;DECLARE p1;" + kDifference +
                "MAD_SAT R1, R1, p0.xxxx, p0.yyyy;MAD o[COLR], R1, -1, 1;END"},
  }};
  return kTexts;
}

void SetProgram(RFpKeyer& node, int program) {
  node.SetMode(program / 4);
  node.SetOutput(program / 2 % 2);
  node.SetInvertMatte(program % 2 != 0);
}

class RFpKeyer_NV_fragment_programTest : public GLTest {
 protected:
  // Returns what a bind sends.
  std::vector<NVUpload> Uploads(RFpKeyer& node) {
    const NVUploads uploads;
    EXPECT_EQ(node.Bind(&context, 0, 0x40), 1);
    node.Unbind(&context, 0, 0x40);
    return uploads.Get();
  }

  RFpContext context;
};

TEST_F(RFpKeyer_NV_fragment_programTest, LoadsTheTextsByteForByte) {
  const NVLoads loads;
  const GLRecorder recorder;
  const RFpKeyer_NV_fragment_program node;
  ASSERT_EQ(loads.Get().size(), 12U);
  std::string generated = "glGenProgramsNV(12, {";
  std::string loaded;
  for (std::size_t i = 0; i < 12; ++i) {
    const NVLoad& load = loads.Get()[i];
    EXPECT_EQ(load.target, 0x8870U);
    EXPECT_EQ(load.text, Texts()[i].text) << i;
    EXPECT_EQ(load.length, Texts()[i].length) << i;
    generated += (i == 0 ? "" : ", ") + std::to_string(load.name);
    loaded += "glGetError() = 0\nglLoadProgramNV(GL_FRAGMENT_PROGRAM_NV, " + std::to_string(load.name) +
              ", " + std::to_string(Texts()[i].length) + ", ptr)\nglGetError() = 0\n";
  }
  EXPECT_EQ(recorder.Text(), generated + "})\n" + loaded);
}

TEST_F(RFpKeyer_NV_fragment_programTest, OwnsTwelvePrograms) {
  const GLRecorder recorder;
  {
    const RFpKeyer_NV_fragment_program node;
    EXPECT_EQ(LiveGLObjects(), "ProgramNV: 12\n");
  }
  EXPECT_EQ(LiveGLObjects(), "");
  EXPECT_TRUE(recorder.Calls().back().starts_with("glDeleteProgramsNV(12, {")) << recorder.Calls().back();
}

TEST_F(RFpKeyer_NV_fragment_programTest, AnswersOfTheSlots) {
  RFpKeyer_NV_fragment_program node;
  for (const int mode : {0, 1, 2}) {
    node.SetMode(mode);
    EXPECT_EQ(node.GetRequirementFlags(0), 0xC0140);
    EXPECT_EQ(node.GetStageCount(), 1);
    EXPECT_EQ(node.GetInputCount(), mode == 2 ? 2 : 1);
    EXPECT_EQ(node.GetInputRequirement(0), mode == 2 ? 2 : 1);
    EXPECT_EQ(node.GetNextIndex(0, 1), 2);
    EXPECT_EQ(node.GetReserved(0), 0);
  }
}

TEST_F(RFpKeyer_NV_fragment_programTest, FormsWithoutATextureBindNothing) {
  RFpKeyer_NV_fragment_program node;
  const GLRecorder recorder;
  for (const int form : {0x1, 0x10, 0x1000, 0x40000, 0x80000}) {
    EXPECT_EQ(node.Bind(&context, 0, form), 1);
    node.Unbind(&context, 0, form);
  }
  EXPECT_EQ(recorder.Text(), "");
}

TEST_F(RFpKeyer_NV_fragment_programTest, BindsTheProgramOfModeOutputAndInversion) {
  const NVLoads loads;
  NVUploads uploads;
  RFpKeyer_NV_fragment_program node;
  ASSERT_EQ(loads.Get().size(), 12U);
  for (const int form : {0x40, 0x80, 0x100, 0x200, 0x20000}) {
    for (int program = 0; program < 12; ++program) {
      SetProgram(node, program);
      const GLRecorder recorder;
      EXPECT_EQ(node.Bind(&context, 0, form), 1);
      node.Unbind(&context, 0, form);
      const std::string name = std::to_string(loads.Get()[static_cast<std::size_t>(program)].name);
      EXPECT_EQ(recorder.Text({"glBindProgramNV", "glEnable", "glDisable"}),
                "glBindProgramNV(GL_FRAGMENT_PROGRAM_NV, " + name +
                    ")\nglEnable(GL_FRAGMENT_PROGRAM_NV)\nglDisable(GL_FRAGMENT_PROGRAM_NV)\n");
      EXPECT_EQ(recorder.Calls().front().find("glBindProgramNV"), 0U) << "before its parameters";
      for (const NVUpload& upload : uploads.Get()) EXPECT_EQ(std::to_string(upload.program), name);
      uploads.Clear();
    }
  }
}

// What goes to each program, of a key of pure green: hue 120 degrees, cosine -0.5, sine 0.8660254, so that
// the weights along the hue are -0.5, 1, -0.5. Threshold 0.5, softness 0.5, suppression 0.25 give inner 0.25,
// outer -0.0625, the slopes 4 and 1 / 0.5625 = 1.7778, and 2.25 for the ratio.
class KeyerUploads : public RFpKeyer_NV_fragment_programTest {
 protected:
  void Expect(int program, const std::vector<std::array<double, 4>>& expected) {
    RFpKeyer_NV_fragment_program node;
    SetProgram(node, program);
    node.SetKey(0, 0);
    node.SetKey(1, 1);
    node.SetKey(2, 0);
    node.SetThreshold(0.5F);
    node.SetSoftness(0.5F);
    node.SetSuppression(0.25F);
    const std::vector<NVUpload> sent = Uploads(node);
    ASSERT_EQ(sent.size(), expected.size()) << program;
    for (std::size_t i = 0; i < sent.size(); ++i) {
      EXPECT_EQ(sent[i].name, "p" + std::to_string(i));
      for (std::size_t k = 0; k < 4; ++k)
        EXPECT_NEAR(sent[i].value[k], expected[i][k], 2e-6) << program << ": p" << i << '[' << k << ']';
    }
  }

  static constexpr double kOuterSlope = 1 / 0.5625;
  const std::array<double, 4> mHue = {-0.5 * kOuterSlope, kOuterSlope, -0.5 * kOuterSlope,
                                      0.0625 * kOuterSlope};
  // 0.6667 and 0.3333 are not quite two thirds and one: green's is 0.3333 x 0.5 x -2.
  const std::array<double, 4> mCleaner = {0.166675, -0.3333, 0.16665, 0};
};

TEST_F(KeyerUploads, ChromaKeysGetTheGoal) {
  Expect(0, {{kOuterSlope, 0, 2.25, -1.25}, mHue, mCleaner, {0.166675, 0.6667, 0.16665, 1}});
}

TEST_F(KeyerUploads, InvertedChromaKeysGetAFallingRampAndTheKey) {
  Expect(1, {{kOuterSlope, 0, -2.25, 2.25}, mHue, mCleaner, {0, -1, 0, 1}});
}

TEST_F(KeyerUploads, ChromaMattesGetTheParametersAsDerived) {
  for (const int program : {2, 3})
    Expect(program, {{kOuterSlope, 0, 2.25, -1.25}, mHue, mCleaner, {-0.166675, -0.6667, -0.16665, 1}});
}

TEST_F(KeyerUploads, LuminanceGetsTwo) {
  for (const int program : {4, 5, 6, 7}) Expect(program, {{2, 0, 0, 0}, {0.3086, 0.6094, 0.0820, -0.5}});
}

// Threshold 0.5: from 0.5 to 1 - 0.5 x 0.5.
TEST_F(KeyerUploads, DifferenceGetsOne) {
  for (const int program : {8, 9, 10, 11}) Expect(program, {{4, -2, 0, 0}});
}

TEST_F(RFpKeyer_NV_fragment_programTest, ParametersAreSentAtEveryBindAndFollowChanges) {
  RFpKeyer_NV_fragment_program node;
  node.SetMode(1);
  node.SetSoftness(0.5F);
  EXPECT_FLOAT_EQ(Uploads(node).at(0).value[0], 2);
  EXPECT_FLOAT_EQ(Uploads(node).at(0).value[0], 2);
  node.SetSoftness(0.25F);
  EXPECT_FLOAT_EQ(Uploads(node).at(0).value[0], 4);
  node.SetMode(2);
  node.SetThreshold(1);
  node.SetSoftness(0);
  EXPECT_EQ(Uploads(node).at(0).value, (std::array<float, 4>{256, 0, 0, 0}))
      << "nothing is left of other modes";
}

// Raw forms derive as well, so that a texture drawn afterwards is keyed by what is set.
TEST_F(RFpKeyer_NV_fragment_programTest, ABindForMemoryDerives) {
  RFpKeyer_NV_fragment_program node;
  node.SetMode(1);
  node.SetSoftness(0.5F);
  EXPECT_EQ(node.Bind(&context, 0, 0x40000), 1);
  EXPECT_FLOAT_EQ(Uploads(node).at(0).value[0], 2);
}

TEST_F(RFpKeyer_NV_fragment_programTest, DrawsOneRectangleOrWhatMasksLeaveOfIt) {
  RFpKeyer_NV_fragment_program node;
  const auto drawn = [&](int form) {
    const GLTarget target(40, 20);
    const GLRecorder recorder;
    node.Draw(&context, 0, form, 40, 20);
    return recorder.Text();
  };
  EXPECT_EQ(drawn(0x40), "glRecti(0, 0, 40, 20)\n");
  context.sources[0].width = 40;
  context.sources[0].height = 20;
  EXPECT_EQ(drawn(0x40), "glRecti(0, 0, 40, 20)\n");
  node.SetMask(0, 0.25F);
  node.SetMask(3, 0.25F);
  const std::string masked = drawn(0x40);
  EXPECT_THAT(masked, testing::HasSubstr("glScissor(0, 0, 40, 20)\nglClearColor(0, 0, 0, 0)\n"));
  EXPECT_TRUE(masked.ends_with("glPopAttrib()\nglRecti(10, 0, 40, 15)\n")) << masked;
}

TEST_F(RFpKeyer_NV_fragment_programTest, ATextThatTheDriverRefusesLeavesTheNode) {
  GLErrorCapture errors;
  const EntryPointReplacement load(
      "glLoadProgramNV", +[](GLenum, GLuint, GLsizei, const GLubyte*) {
        glEnable(0xFFFFFFFF);  // an error of the load
      });
  const RFpKeyer_NV_fragment_program node;
  EXPECT_EQ(glGetError(), 0U) << "errors of the load are discarded";
  EXPECT_EQ(LiveGLObjects(), "ProgramNV: 12\n");
}

TEST_F(RFpKeyer_NV_fragment_programTest, WithoutOneOfItsFunctionsItFailsToBind) {
  for (const char* const name : {"glLoadProgramNV", "glGenProgramsNV", "glDeleteProgramsNV",
                                 "glBindProgramNV", "glProgramNamedParameter4fNV"}) {
    FakeEntryPoints driver;
    driver.missing = {name};
    const GLRecorder recorder;
    RFpKeyer_NV_fragment_program node;
    EXPECT_EQ(node.Bind(&context, 0, 0x40), 0) << name;
    EXPECT_EQ(node.Bind(&context, 0, 0x40000), 1) << name;
    EXPECT_EQ(recorder.Count("glEnable"), 0);
  }
}

// --- What the texts compute, by an interpreter of their language.

TEST_F(RFpKeyer_NV_fragment_programTest, TheTextsComputeTheFormula) {
  RFpKeyer_NV_fragment_program node;
  for (int index = 0; index < 12; ++index) {
    shim::NVParseError error{};
    const auto program = shim::ParseNVProgram(Texts()[static_cast<std::size_t>(index)].text, error);
    ASSERT_TRUE(program) << index << ": " << error.message;
    Random random(static_cast<unsigned>(index));
    for (int i = 0; i < 50; ++i) {
      ApplyTo(node, RandomKey(index / 4, index / 2 % 2, index % 2 != 0, random));
      const NVUploads uploads;
      ASSERT_EQ(node.Bind(&context, 0, 0x40), 1);
      node.Unbind(&context, 0, 0x40);
      const KeyerSettings settings = ReadFrom(node);
      const KeyerModel model(settings);
      shim::NVFragment fragment;
      fragment.parameters = uploads.ParametersOf(*program);
      for (int pixel = 0; pixel < 50; ++pixel) {
        std::array<shim::NVVector, 2> texels{};
        for (auto& texel : texels) {
          for (float& value : texel) value = static_cast<float>(random.Byte()) / 255.0F;
        }
        fragment.sample = [&](int unit, shim::NVVector) {
          EXPECT_TRUE(unit == 0 || (unit == 1 && index >= 8)) << unit;
          return texels.at(static_cast<std::size_t>(unit));
        };
        const KeyerModel::Colour a = {texels[0][0], texels[0][1], texels[0][2]};
        const KeyerModel::Colour b = {texels[1][0], texels[1][1], texels[1][2]};
        if (model.IsAtTheStep(a)) continue;
        const shim::NVVector result = shim::RunNVProgram(*program, fragment);
        const KeyerModel::Result expected = model.Key(a, b);
        for (std::size_t c = 0; c < 4; ++c)
          ASSERT_NEAR(result[c], expected[c], 2e-4) << index << '[' << c << "] " << Describe(settings);
      }
    }
  }
}

// Where nothing is kept the first write stays, which is 0.
TEST_F(RFpKeyer_NV_fragment_programTest, ColoursThatVanishAreNotWritten) {
  RFpKeyer_NV_fragment_program node;
  node.SetInvertMatte(true);
  const NVUploads uploads;
  ASSERT_EQ(node.Bind(&context, 0, 0x40), 1);
  node.Unbind(&context, 0, 0x40);
  shim::NVParseError error{};
  const auto program = shim::ParseNVProgram(Texts()[1].text, error);
  ASSERT_TRUE(program);
  shim::NVFragment fragment;
  fragment.parameters = uploads.ParametersOf(*program);
  fragment.sample = [](int, shim::NVVector) { return shim::NVVector{1, 1, 0, 1}; };
  fragment.color = {0.5F, 0.5F, 0.5F, 0.5F};
  EXPECT_EQ(shim::RunNVProgram(*program, fragment), (shim::NVVector{0, 0, 0, 0}));
}

}  // namespace
}  // namespace test
