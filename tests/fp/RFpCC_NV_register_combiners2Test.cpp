// Tests of the colour correction on register combiners, by the calls it makes on a driver shim that has them.
#include "fp/RFpCC_NV_register_combiners2.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/GLTest.h"

namespace test {
namespace {

using testing::HasSubstr;

class RFpCC_NV_register_combiners2Test : public GLTest {
 protected:
  RFpContext context;
};

TEST_F(RFpCC_NV_register_combiners2Test, OwnsThreeDisplayLists) {
  {
    const RFpCC_NV_register_combiners2 node;
    EXPECT_EQ(LiveGLObjects(), "List: 3\n");
  }
  EXPECT_EQ(LiveGLObjects(), "");
}

TEST_F(RFpCC_NV_register_combiners2Test, HasThreeStagesWhileZonesAreInUse) {
  RFpCC_NV_register_combiners2 node;
  EXPECT_EQ(node.GetStageCount(), 1);
  EXPECT_EQ(node.GetRequirementFlags(0), 0xC0040);
  node.SetZoneHue(2, 30);
  EXPECT_EQ(node.GetStageCount(), 3);
  for (const int stage : {0, 1, 2}) {
    EXPECT_EQ(node.GetRequirementFlags(stage), 0xC0040);
    EXPECT_EQ(node.GetInputRequirement(stage), 1);
    EXPECT_EQ(node.GetNextIndex(stage, 0), 1);
  }
  node.SetZoneHue(2, 0);
  EXPECT_EQ(node.GetStageCount(), 1);
}

TEST_F(RFpCC_NV_register_combiners2Test, FormsWithoutATextureBindNothing) {
  RFpCC_NV_register_combiners2 node;
  const GLRecorder recorder;
  for (const int form : {0x1, 0x10, 0x1000}) EXPECT_EQ(node.Bind(&context, 0, form), 1);
  node.Unbind(&context, 0, 0x1000);
  EXPECT_EQ(recorder.Text(), "");
}

TEST_F(RFpCC_NV_register_combiners2Test, StagesOutOfRangeFail) {
  RFpCC_NV_register_combiners2 node;
  for (const int stage : {-1, 1, 3}) EXPECT_EQ(node.Bind(&context, stage, 0x40), 0) << stage;
  node.SetGamma(2);
  for (const int stage : {-1, 3}) EXPECT_EQ(node.Bind(&context, stage, 0x40), 0) << stage;
}

TEST_F(RFpCC_NV_register_combiners2Test, CompilesItsListsOncePerChange) {
  RFpCC_NV_register_combiners2 node;
  const auto compiled = [&](int stage) {
    const GLRecorder recorder;
    EXPECT_EQ(node.Bind(&context, stage, 0x40), 1);
    node.Unbind(&context, stage, 0x40);
    EXPECT_EQ(recorder.Count("glCallList"), 1);
    return recorder.Count("glNewList");
  };
  EXPECT_EQ(compiled(0), 1);
  EXPECT_EQ(compiled(0), 0);
  node.SetZoneGain(0, 0, 2);
  EXPECT_EQ(compiled(0), 1);
  node.SetGamma(2);
  EXPECT_EQ(compiled(0), 3) << "a list for each zone";
  EXPECT_EQ(compiled(1), 0);
  EXPECT_EQ(compiled(2), 0);
}

// Coefficients go as (c / 2^n + 1) / 2, with the power of two in the scales of the stages: 2 x 4 here is 8.
TEST_F(RFpCC_NV_register_combiners2Test, SendsTheMatrixWithinTheRangeOfConstants) {
  RFpCC_NV_register_combiners2 node;
  node.SetZoneGain(0, 0, 4);
  node.SetZoneGain(0, 1, 2);
  const GLRecorder recorder;
  EXPECT_EQ(node.Bind(&context, 0, 0x40), 1);
  node.Unbind(&context, 0, 0x40);
  const std::string calls = recorder.Text();
  EXPECT_THAT(calls, HasSubstr("glCombinerParameteriNV(GL_NUM_GENERAL_COMBINERS_NV, 5)"));
  EXPECT_THAT(calls, HasSubstr("glCombinerStageParameterfvNV(GL_COMBINER1_NV, GL_CONSTANT_COLOR0_NV, "
                               "{1, 0.5, 0.5, 0.5})"));
  EXPECT_THAT(calls, HasSubstr("glCombinerStageParameterfvNV(GL_COMBINER1_NV, GL_CONSTANT_COLOR1_NV, "
                               "{0.5, 0.75, 0.5, 0.5})"));
  EXPECT_THAT(calls, HasSubstr("glCombinerOutputNV(GL_COMBINER3_NV, GL_RGB, GL_DISCARD_NV, GL_DISCARD_NV, "
                               "GL_SPARE0_NV, GL_SCALE_BY_FOUR_NV, 0x0, 0, 0, 0)"));
  EXPECT_THAT(calls, HasSubstr("glCombinerOutputNV(GL_COMBINER4_NV, GL_RGB, GL_DISCARD_NV, GL_DISCARD_NV, "
                               "GL_SPARE0_NV, 0x0, 0x0, 0, 0, 0)"));
  EXPECT_THAT(calls, HasSubstr("glCombinerInputNV(GL_COMBINER2_NV, GL_RGB, GL_VARIABLE_C_NV, 0x0, "
                               "GL_UNSIGNED_INVERT_NV, GL_RGB)"))
      << "alpha counts as 1";
}

TEST_F(RFpCC_NV_register_combiners2Test, WithTransparencyAlphaIsTheTextures) {
  RFpCC_NV_register_combiners2 node;
  node.SetTransparency(true);
  const GLRecorder recorder;
  EXPECT_EQ(node.Bind(&context, 0, 0x40), 1);
  node.Unbind(&context, 0, 0x40);
  EXPECT_THAT(recorder.Text(), HasSubstr("glCombinerInputNV(GL_COMBINER2_NV, GL_RGB, GL_VARIABLE_C_NV, "
                                         "GL_TEXTURE0, GL_UNSIGNED_IDENTITY_NV, GL_ALPHA)"));
  EXPECT_THAT(recorder.Text(),
              HasSubstr("glFinalCombinerInputNV(GL_VARIABLE_G_NV, GL_TEXTURE0, GL_UNSIGNED_IDENTITY_NV, "
                        "GL_ALPHA)"));
}

// The largest matrices that the parameters can make stay within the stages and within what a float holds.
TEST_F(RFpCC_NV_register_combiners2Test, NeverTakesMoreThanEightStages) {
  RFpCC_NV_register_combiners2 node;
  node.SetColorPoints(true);
  for (int i = 0; i < 3; ++i) node.SetWhite(i, 1e-6F);
  for (int i = 0; i < 4; ++i) node.SetZoneGain(0, i, 1000);
  const GLRecorder recorder;
  EXPECT_EQ(node.Bind(&context, 0, 0x40), 1);
  node.Unbind(&context, 0, 0x40);
  EXPECT_THAT(recorder.Text(), HasSubstr("glCombinerParameteriNV(GL_NUM_GENERAL_COMBINERS_NV, 8)"));
}

TEST_F(RFpCC_NV_register_combiners2Test, WithTooFewCombinersBindFails) {
  const EntryPointReplacement few(
      "glGetIntegerv", +[](GLenum name, GLint* value) {
        static auto* const driver = DriverEntryPoint<void(GLenum, GLint*)>("glGetIntegerv");
        if (name == GL_MAX_GENERAL_COMBINERS_NV)
          *value = 7;
        else
          driver(name, value);
      });
  RFpCC_NV_register_combiners2 node;
  EXPECT_EQ(node.Bind(&context, 0, 0x40), 0);
  EXPECT_EQ(node.Bind(&context, 0, 0x1000), 1);
}

}  // namespace
}  // namespace test
