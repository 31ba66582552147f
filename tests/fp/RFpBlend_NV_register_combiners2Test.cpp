// Tests of the dormant blend variant by the calls it makes, on combiners made up by the test.
#include "fp/RFpBlend_NV_register_combiners2.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/GLTest.h"

namespace test {
namespace {

int gCombiners = 8;

void GetIntegerv(GLenum name, GLint* value) {
  static auto* const driver = DriverEntryPoint<void(GLenum, GLint*)>("glGetIntegerv");
  if (name == GL_MAX_GENERAL_COMBINERS_NV)
    *value = gCombiners;
  else
    driver(name, value);
}

bool IsCombinerCapability(GLenum capability) {
  return capability == GL_REGISTER_COMBINERS_NV || capability == GL_PER_STAGE_CONSTANTS_NV;
}

void Enable(GLenum capability) {
  static auto* const driver = DriverEntryPoint<void(GLenum)>("glEnable");
  if (!IsCombinerCapability(capability)) driver(capability);
}

void Disable(GLenum capability) {
  static auto* const driver = DriverEntryPoint<void(GLenum)>("glDisable");
  if (!IsCombinerCapability(capability)) driver(capability);
}

void Parameteri(GLenum, GLint) {}
void Input(GLenum, GLenum, GLenum, GLenum, GLenum, GLenum) {}
void Output(GLenum, GLenum, GLenum, GLenum, GLenum, GLenum, GLenum, GLboolean, GLboolean, GLboolean) {}
void FinalInput(GLenum, GLenum, GLenum, GLenum) {}
void StageParameter(GLenum, GLenum, const GLfloat*) {}

class RFpBlend_NV_register_combiners2Test : public GLTest {
 protected:
  void SetUp() override {
    GLTest::SetUp();
    gCombiners = 8;
  }

  RFpContext context;

 private:
  EntryPointReplacement mGetIntegerv{"glGetIntegerv", GetIntegerv};
  EntryPointReplacement mEnable{"glEnable", Enable};
  EntryPointReplacement mDisable{"glDisable", Disable};
  EntryPointReplacement mParameteri{"glCombinerParameteriNV", Parameteri};
  EntryPointReplacement mInput{"glCombinerInputNV", Input};
  EntryPointReplacement mOutput{"glCombinerOutputNV", Output};
  EntryPointReplacement mFinalInput{"glFinalCombinerInputNV", FinalInput};
  EntryPointReplacement mStageParameter{"glCombinerStageParameterfvNV", StageParameter};
};

TEST_F(RFpBlend_NV_register_combiners2Test, OwnsOneDisplayList) {
  {
    const RFpBlend_NV_register_combiners2 node;
    EXPECT_EQ(LiveGLObjects(), "List: 1\n");
  }
  EXPECT_EQ(LiveGLObjects(), "");
}

TEST_F(RFpBlend_NV_register_combiners2Test, AlwaysAsksForARectangle) {
  RFpBlend_NV_register_combiners2 node;
  EXPECT_EQ(node.GetRequirementFlags(0), 0x40);
  node.SetFuncRGB(1);
  EXPECT_EQ(node.GetRequirementFlags(0), 0x40);
  EXPECT_EQ(node.GetRequirementFlags(1), 0x40);
}

TEST_F(RFpBlend_NV_register_combiners2Test, FormsWithoutATextureBindNothing) {
  RFpBlend_NV_register_combiners2 node;
  const GLRecorder recorder;
  for (const int form : {0x1, 0x10, 0x1000, 0x40000}) EXPECT_EQ(node.Bind(&context, 0, form), 1);
  EXPECT_EQ(recorder.Text(), "");
}

// The calls that build the display list of a node whose constant colour is (1, 1, 1, alpha).
std::string ListOf(const std::string& color0, const std::string& color1) {
  std::string text =
      "glEnable(GL_PER_STAGE_CONSTANTS_NV)\n"
      "glCombinerParameteriNV(GL_NUM_GENERAL_COMBINERS_NV, 8)\n";
  for (int i = 0; i < 8; ++i) {
    const std::string stage = "GL_COMBINER" + std::to_string(i) + "_NV, ";
    for (const std::string usage : {"GL_RGB", "GL_ALPHA"}) {
      const std::string end = ", GL_UNSIGNED_IDENTITY_NV, " + usage + ")\n";
      const std::string input = "glCombinerInputNV(" + stage + usage;
      text += input + ", GL_VARIABLE_A_NV, GL_CONSTANT_COLOR0_NV" + end;
      text += input + ", GL_VARIABLE_B_NV, GL_CONSTANT_COLOR1_NV" + end;
      text += input + ", GL_VARIABLE_C_NV, 0x0" + end;
      text += input + ", GL_VARIABLE_D_NV, 0x0" + end;
      text += "glCombinerOutputNV(" + stage + usage +
              ", GL_DISCARD_NV, GL_DISCARD_NV, GL_DISCARD_NV, 0x0, 0x0, 0, 0, 0)\n";
    }
    text += "glCombinerStageParameterfvNV(" + stage + "GL_CONSTANT_COLOR0_NV, {" + color0 + "})\n";
    text += "glCombinerStageParameterfvNV(" + stage + "GL_CONSTANT_COLOR1_NV, {" + color1 + "})\n";
  }
  for (const char variable : {'A', 'B', 'C', 'D', 'E', 'F', 'G'}) {
    const char* const source = variable == 'D' || variable == 'G' ? "GL_TEXTURE0" : "0x0";
    const char* const usage = variable == 'G' ? "GL_ALPHA" : "GL_RGB";
    text += std::string("glFinalCombinerInputNV(GL_VARIABLE_") + variable + "_NV, " + source +
            ", GL_UNSIGNED_IDENTITY_NV, " + usage + ")\n";
  }
  return text;
}

TEST_F(RFpBlend_NV_register_combiners2Test, CompilesTheListOnceAndCallsItAtEveryBind) {
  RFpBlend_NV_register_combiners2 node;
  const GLRecorder recorder;
  EXPECT_EQ(node.Bind(&context, 0, 0x40), 1);
  ASSERT_FALSE(recorder.Calls().empty());
  const std::string first = recorder.Calls().front();
  ASSERT_TRUE(first.starts_with("glNewList(")) << first;
  const std::string list = first.substr(10, first.find(',') - 10);
  EXPECT_EQ(recorder.Text(), "glNewList(" + list + ", GL_COMPILE)\n" + ListOf("1, 1, 1, 1", "0, 0, 0, 0") +
                                 "glEndList()\nglCallList(" + list +
                                 ")\nglEnable(GL_REGISTER_COMBINERS_NV)\n");
  const GLRecorder again;
  EXPECT_EQ(node.Bind(&context, 0, 0x100), 1);
  EXPECT_EQ(again.Text(), "glCallList(" + list + ")\nglEnable(GL_REGISTER_COMBINERS_NV)\n");
}

TEST_F(RFpBlend_NV_register_combiners2Test, AChangeCompilesTheListAgain) {
  RFpBlend_NV_register_combiners2 node;
  node.Bind(&context, 0, 0x40);
  node.SetColor(3, 0.25F);
  EXPECT_EQ(node.Bind(&context, 0, 0x1000), 1) << "a form without a texture does not lose the change";
  const GLRecorder recorder;
  EXPECT_EQ(node.Bind(&context, 0, 0x40), 1);
  EXPECT_THAT(recorder.Text(), testing::HasSubstr(ListOf("1, 1, 1, 0.25", "0, 0, 0, 0.75")));
}

TEST_F(RFpBlend_NV_register_combiners2Test, DrawsARectangleAndSwitchesTheCombinersOff) {
  RFpBlend_NV_register_combiners2 node;
  const GLRecorder recorder;
  for (const int form : {0x10, 0x40, 0x100}) node.Draw(&context, 0, form, 7, 5);
  node.Unbind(&context, 0, 0x40);
  EXPECT_EQ(recorder.Text(),
            "glRecti(0, 0, 7, 5)\nglRecti(0, 0, 7, 5)\nglRecti(0, 0, 7, 5)\n"
            "glDisable(GL_REGISTER_COMBINERS_NV)\n");
}

struct CombinerRow {
  int count;
  bool works;
};

class CombinerCount : public RFpBlend_NV_register_combiners2Test,
                      public testing::WithParamInterface<CombinerRow> {};

// 1280 is the code of GL_INVALID_ENUM, which is taken for a failed query.
TEST_P(CombinerCount, DecidesWhetherThereIsASetUp) {
  gCombiners = GetParam().count;
  RFpBlend_NV_register_combiners2 node;
  EXPECT_EQ(node.Bind(&context, 0, 0x40), GetParam().works ? 1 : 0);
  EXPECT_EQ(node.Bind(&context, 0, 0x40), GetParam().works ? 1 : 0) << "also the second time";
  EXPECT_EQ(node.Bind(&context, 0, 0x1000), 1);
  EXPECT_EQ(LiveGLObjects(), "List: 1\n");
}

INSTANTIATE_TEST_SUITE_P(Counts, CombinerCount,
                         testing::Values(CombinerRow{0, false}, CombinerRow{7, false}, CombinerRow{8, true},
                                         CombinerRow{1279, true}, CombinerRow{1280, false},
                                         CombinerRow{1281, true}, CombinerRow{-8, false}),
                         [](const auto& row) {
                           return row.param.count < 0 ? "Negative" : std::to_string(row.param.count);
                         });

}  // namespace
}  // namespace test
