// Tests of the colour correction on fragment programs: the texts, the calls, and what the programs compute.
#include "fp/RFpCC_NV_fragment_program.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/GLTest.h"
#include "support/NVProgramCalls.h"
#include "support/RandomCorrection.h"

namespace test {
namespace {

const std::string kHeader = "!!FP1.0\n";

const std::string kOneMatrix = kHeader +
                               "DECLARE p0;DECLARE p1;DECLARE p2;DECLARE p3;DECLARE p4;"
                               "TEX R0, f[TEX0], TEX0, 2D;"
                               "MAX R0, R0, p4;"
                               "MUL R1, R0.xxxx, p0;"
                               "MAD R1, R0.yyyy, p1, R1;"
                               "MAD R1, R0.zzzz, p2, R1;"
                               "MAD o[COLR], R0.wwww, p3, R1;"
                               "END";

const std::string kThreeZones =
    kHeader +
    "DECLARE p0;DECLARE p1;DECLARE p2;DECLARE p3;DECLARE p4;DECLARE p5;DECLARE p6;DECLARE p7;"
    "DECLARE p8;DECLARE p9;DECLARE pa;DECLARE pb;DECLARE pc;DECLARE pd;"
    "TEX R0, f[TEX0], TEX0, 2D;"
    "MAX R0, R0, pc;"
    "DP3 R2, R0, pd;"
    "SUB_SAT R1, { 1, 1, 1, 1 }, R2;"
    "MAD R0, R0, -1, 1;"
    "DP3 R2, R0, pd;"
    "SUB_SAT R3, { 1, 1, 1, 1 }, R2;"
    "SUB R2, { 1, 1, 1, 1} , R3;"
    "SUB R2, R2, R1;"
    "MAD R0, R0, -1, 1;"
    "MUL R1, R1.xxxx, R0;"
    "MUL R2, R2.xxxx, R0;"
    "MUL R3, R3.xxxx, R0;"
    "MUL R4, R1.xxxx, p0;"
    "MAD R4, R1.yyyy, p1, R4;"
    "MAD R4, R1.zzzz, p2, R4;"
    "MAD R4, R1.wwww, p3, R4;"
    "MAD R4, R2.xxxx, p4, R4;"
    "MAD R4, R2.yyyy, p5, R4;"
    "MAD R4, R2.zzzz, p6, R4;"
    "MAD R4, R2.wwww, p7, R4;"
    "MAD R4, R3.xxxx, p8, R4;"
    "MAD R4, R3.yyyy, p9, R4;"
    "MAD R4, R3.zzzz, pa, R4;"
    "MAD o[COLR], R3.wwww, pb, R4;"
    "END";

class RFpCC_NV_fragment_programTest : public GLTest {
 protected:
  RFpContext context;
};

TEST_F(RFpCC_NV_fragment_programTest, LoadsTheTextsByteForByte) {
  const NVLoads loads;
  const GLRecorder recorder;
  const RFpCC_NV_fragment_program node;
  ASSERT_EQ(loads.Get().size(), 2U);
  EXPECT_EQ(loads.Get()[0].text, kOneMatrix);
  EXPECT_EQ(loads.Get()[0].length, 204);
  EXPECT_EQ(loads.Get()[1].text, kThreeZones);
  EXPECT_EQ(loads.Get()[1].length, 725);
  for (const NVLoad& program : loads.Get()) EXPECT_EQ(program.target, 0x8870U);
  EXPECT_NE(loads.Get()[0].name, loads.Get()[1].name);
  const std::string first = std::to_string(loads.Get()[0].name);
  const std::string second = std::to_string(loads.Get()[1].name);
  EXPECT_EQ(recorder.Text(), "glGenProgramsNV(2, {" + first + ", " + second +
                                 "})\n"
                                 "glGetError() = 0\nglLoadProgramNV(GL_FRAGMENT_PROGRAM_NV, " +
                                 first + ", 204, ptr)\nglGetError() = 0\n" +
                                 "glGetError() = 0\nglLoadProgramNV(GL_FRAGMENT_PROGRAM_NV, " + second +
                                 ", 725, ptr)\nglGetError() = 0\n");
}

TEST_F(RFpCC_NV_fragment_programTest, OwnsTwoPrograms) {
  {
    const RFpCC_NV_fragment_program node;
    EXPECT_EQ(LiveGLObjects(), "ProgramNV: 2\n");
  }
  EXPECT_EQ(LiveGLObjects(), "");
}

TEST_F(RFpCC_NV_fragment_programTest, AnswersOfTheSlots) {
  RFpCC_NV_fragment_program node;
  for (const float gamma : {1.0F, 2.0F}) {
    node.SetGamma(gamma);
    EXPECT_EQ(node.GetRequirementFlags(0), 0xC0140);
    EXPECT_EQ(node.GetStageCount(), 1);
    EXPECT_EQ(node.GetInputCount(), 1);
    EXPECT_EQ(node.GetInputRequirement(0), 1);
    EXPECT_EQ(node.GetNextIndex(0, 0), 1);
    EXPECT_EQ(node.GetReserved(0), 0);
  }
}

TEST_F(RFpCC_NV_fragment_programTest, FormsWithoutATextureBindNothing) {
  RFpCC_NV_fragment_program node;
  const GLRecorder recorder;
  for (const int form : {0x1, 0x10, 0x1000}) EXPECT_EQ(node.Bind(&context, 0, form), 1);
  EXPECT_EQ(recorder.Text(), "");
}

TEST_F(RFpCC_NV_fragment_programTest, SendsOneMatrixAndTheFloor) {
  NVUploads uploads;
  RFpCC_NV_fragment_program node;
  node.SetZoneGain(0, 0, 2);
  node.SetZoneOffset(0, 2, 0.25F);
  for (const int form : {0x40, 0x80, 0x100, 0x200, 0x20000}) {
    uploads.Clear();
    EXPECT_EQ(node.Bind(&context, 0, form), 1);
    EXPECT_TRUE(glIsEnabled(GL_FRAGMENT_PROGRAM_NV)) << form;
    ASSERT_EQ(uploads.Get().size(), 5U) << form;
    const std::array<float, 4> expected[] = {
        {2, 0, 0, 0}, {0, 2, 0, 0}, {0, 0, 2, 0}, {0, 0.25F, 0, 1}, {0, 0, 0, 1}};
    for (std::size_t i = 0; i < 5; ++i) {
      EXPECT_EQ(uploads[i].name, "p" + std::to_string(i));
      for (std::size_t k = 0; k < 4; ++k) EXPECT_NEAR(uploads[i].value[k], expected[i][k], 1e-6) << i;
    }
    node.Unbind(&context, 0, form);
    EXPECT_FALSE(glIsEnabled(GL_FRAGMENT_PROGRAM_NV)) << form;
  }
  node.SetTransparency(true);
  uploads.Clear();
  EXPECT_EQ(node.Bind(&context, 0, 0x40), 1);
  EXPECT_EQ(uploads[4].value, (std::array<float, 4>{0, 0, 0, 0}));
  node.Unbind(&context, 0, 0x40);
}

TEST_F(RFpCC_NV_fragment_programTest, SendsThreeMatricesTheFloorAndTheLuminance) {
  NVUploads uploads;
  RFpCC_NV_fragment_program node;
  node.SetZoneGain(1, 0, 2);
  node.SetZoneGain(2, 0, 3);
  node.SetZoneGain(3, 0, 4);
  node.SetMidPoint(0.9F);
  EXPECT_EQ(node.Bind(&context, 0, 0x40), 1);
  node.Unbind(&context, 0, 0x40);
  const std::vector<std::string> names = {"p0", "p1", "p2", "p3", "p4", "p5", "p6",
                                          "p7", "p8", "p9", "pa", "pb", "pc", "pd"};
  ASSERT_EQ(uploads.Get().size(), names.size());
  for (std::size_t i = 0; i < names.size(); ++i) EXPECT_EQ(uploads[i].name, names[i]);
  for (std::size_t zone = 0; zone < 3; ++zone) {
    for (std::size_t channel = 0; channel < 3; ++channel)
      EXPECT_NEAR(uploads[4 * zone + channel].value[channel], static_cast<double>(zone) + 2, 1e-5);
  }
  EXPECT_EQ(uploads[12].value, (std::array<float, 4>{0, 0, 0, 1}));
  const auto& luminance = uploads[13].value;
  EXPECT_FLOAT_EQ(luminance[0], 0.3086F / 0.75F);
  EXPECT_FLOAT_EQ(luminance[1], 0.6094F / 0.75F);
  EXPECT_FLOAT_EQ(luminance[2], 0.0820F / 0.75F);
  EXPECT_EQ(luminance[3], 0.0F);
}

TEST_F(RFpCC_NV_fragment_programTest, BindsTheProgramThatIsNeeded) {
  const NVLoads loads;
  NVUploads uploads;
  RFpCC_NV_fragment_program node;
  ASSERT_EQ(loads.Get().size(), 2U);
  const auto bound = [&] {
    const GLRecorder recorder;
    EXPECT_EQ(node.Bind(&context, 0, 0x40), 1);
    node.Unbind(&context, 0, 0x40);
    return recorder.Text({"glBindProgramNV", "glEnable", "glDisable"});
  };
  const auto expected = [&](std::size_t program) {
    return "glBindProgramNV(GL_FRAGMENT_PROGRAM_NV, " + std::to_string(loads.Get()[program].name) +
           ")\nglEnable(GL_FRAGMENT_PROGRAM_NV)\nglDisable(GL_FRAGMENT_PROGRAM_NV)\n";
  };
  node.SetZoneGain(0, 0, 3);
  node.SetNegative(true);
  EXPECT_EQ(bound(), expected(0)) << "far from neutral, but for the whole image";
  node.SetZoneSaturation(1, 0.5F);
  EXPECT_EQ(bound(), expected(1));
  node.SetZoneSaturation(1, 1.0F);
  EXPECT_EQ(bound(), expected(0));
  node.SetGamma(2);
  EXPECT_EQ(bound(), expected(1));
}

TEST_F(RFpCC_NV_fragment_programTest, ATextThatTheDriverRefusesLeavesTheNode) {
  GLErrorCapture errors;
  const EntryPointReplacement load(
      "glLoadProgramNV", +[](GLenum, GLuint, GLsizei, const GLubyte*) {
        glEnable(0xFFFFFFFF);  // an error of the load
      });
  const RFpCC_NV_fragment_program node;
  EXPECT_EQ(glGetError(), 0U) << "errors of the load are discarded";
  EXPECT_EQ(LiveGLObjects(), "ProgramNV: 2\n");
}

// --- What the texts compute, by an interpreter of their language.

TEST_F(RFpCC_NV_fragment_programTest, TheTextsComputeTheFormula) {
  NVUploads uploads;
  shim::NVParseError error{};
  const auto one = shim::ParseNVProgram(kOneMatrix, error);
  const auto three = shim::ParseNVProgram(kThreeZones, error);
  ASSERT_TRUE(one && three) << error.message;
  RFpCC_NV_fragment_program node;
  for (const CorrectionFamily family : kCorrectionFamilies) {
    Random random(static_cast<unsigned>(family));
    for (int i = 0; i < 20; ++i) {
      ApplyTo(node, RandomCorrection(family, random));
      uploads.Clear();
      ASSERT_EQ(node.Bind(&context, 0, 0x40), 1);
      node.Unbind(&context, 0, 0x40);
      const CorrectionSettings settings = ReadFrom(node);
      const CorrectionModel model(settings);
      const shim::NVProgram& program = UsesZones(settings) ? *three : *one;
      shim::NVFragment fragment;
      fragment.parameters = uploads.ParametersOf(program);
      for (int pixel = 0; pixel < 50; ++pixel) {
        shim::NVVector texel{};
        for (float& value : texel) value = static_cast<float>(random.Byte()) / 255.0F;
        fragment.sample = [&](int unit, shim::NVVector) {
          EXPECT_EQ(unit, 0);
          return texel;
        };
        const shim::NVVector result = shim::RunNVProgram(program, fragment);
        const Rgba expected = model.Correct({texel[0], texel[1], texel[2], texel[3]});
        for (std::size_t c = 0; c < 4; ++c)
          ASSERT_NEAR(result[c], expected[c], 1e-6 + std::ldexp(model.SumOfCoefficients(), -20))
              << Describe(settings);
      }
    }
  }
}

}  // namespace
}  // namespace test
