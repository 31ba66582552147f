// Tests of the keyer on register combiners, by the calls it makes on a driver shim that has them.
#include "fp/RFpKeyer_NV_register_combiners2.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "support/FakeEntryPoints.h"
#include "support/GLTest.h"
#include "support/KeyerFormula.h"

namespace test {
namespace {

using testing::HasSubstr;

class RFpKeyer_NV_register_combiners2Test : public GLTest {
 protected:
  // Returns the calls of a bind.
  std::string Bind(RFpKeyer& node) {
    const GLRecorder recorder;
    EXPECT_EQ(node.Bind(&context, 0, 0x40), 1);
    node.Unbind(&context, 0, 0x40);
    return recorder.Text();
  }

  RFpContext context;
};

TEST_F(RFpKeyer_NV_register_combiners2Test, OwnsNothing) {
  const RFpKeyer_NV_register_combiners2 node;
  EXPECT_EQ(LiveGLObjects(), "");
}

TEST_F(RFpKeyer_NV_register_combiners2Test, AnswersOfTheSlots) {
  RFpKeyer_NV_register_combiners2 node;
  for (const int mode : {0, 1, 2}) {
    node.SetMode(mode);
    EXPECT_EQ(node.GetRequirementFlags(0), 0xC0040);
    EXPECT_EQ(node.GetStageCount(), 1);
    EXPECT_EQ(node.GetInputCount(), mode == 2 ? 2 : 1);
  }
}

TEST_F(RFpKeyer_NV_register_combiners2Test, FormsWithoutATextureBindNothing) {
  RFpKeyer_NV_register_combiners2 node;
  const GLRecorder recorder;
  for (const int form : {0x1, 0x10, 0x1000, 0x40000}) {
    EXPECT_EQ(node.Bind(&context, 0, form), 1);
    node.Unbind(&context, 0, form);
  }
  EXPECT_EQ(recorder.Text(), "");
}

TEST_F(RFpKeyer_NV_register_combiners2Test, EnablesTheCombinersLastAndDisablesThem) {
  RFpKeyer_NV_register_combiners2 node;
  const std::string calls = Bind(node);
  EXPECT_TRUE(calls.starts_with("glEnable(GL_PER_STAGE_CONSTANTS_NV)\n")) << calls;
  EXPECT_TRUE(calls.ends_with("glEnable(GL_REGISTER_COMBINERS_NV)\nglDisable(GL_REGISTER_COMBINERS_NV)\n"));
}

// Weights, slopes and limits go as constants of 0..1: -1..1 as (c + 1) / 2, a slope of 256 as 1.
TEST_F(RFpKeyer_NV_register_combiners2Test, SendsTheRampsWithinTheRangeOfConstants) {
  RFpKeyer_NV_register_combiners2 node;
  node.SetOutput(1);
  node.SetKey(0, 1);
  node.SetKey(1, 0);
  node.SetKey(2, 0);
  node.SetThreshold(0.5F);
  const std::string calls = Bind(node);
  EXPECT_THAT(calls, HasSubstr("glCombinerStageParameterfvNV(GL_COMBINER0_NV, GL_CONSTANT_COLOR0_NV, "
                               "{1, 0.25, 0.25, 0})"));
  EXPECT_THAT(calls, HasSubstr("glCombinerStageParameterfvNV(GL_COMBINER1_NV, GL_CONSTANT_COLOR0_NV, "
                               "{1, 1, 1, 1})"));
  EXPECT_THAT(calls, HasSubstr("glCombinerStageParameterfvNV(GL_COMBINER1_NV, GL_CONSTANT_COLOR1_NV, "
                               "{0.25, 0.25, 0.25, 0.25})"));
  // 256 is 4 in the ramp, and twice 8.
  EXPECT_THAT(calls, HasSubstr("glCombinerParameteriNV(GL_NUM_GENERAL_COMBINERS_NV, 4)"));
  for (const char* const stage : {"1", "2", "3"})
    EXPECT_THAT(calls, HasSubstr(std::string("glCombinerOutputNV(GL_COMBINER") + stage +
                                 "_NV, GL_ALPHA, GL_DISCARD_NV, GL_DISCARD_NV, GL_SPARE0_NV, "
                                 "GL_SCALE_BY_FOUR_NV, 0x0, 0, 0, 0)"));
}

// The extension's limits: eight stages, constants of 0..1, no mixed-up portions (which are errors of the
// shim's driver, and fail the test).
TEST_F(RFpKeyer_NV_register_combiners2Test, StaysWithinTheLimitsOfTheHardware) {
  RFpKeyer_NV_register_combiners2 node;
  for (int program = 0; program < 12; ++program) {
    Random random(static_cast<unsigned>(program));
    for (int i = 0; i < 50; ++i) {
      ApplyTo(node, RandomKey(program / 4, program / 2 % 2, program % 2 != 0, random));
      std::istringstream calls(Bind(node));
      for (std::string call; std::getline(calls, call);) {
        const std::string count = "glCombinerParameteriNV(GL_NUM_GENERAL_COMBINERS_NV, ";
        if (call.starts_with(count)) {
          ASSERT_LE(std::stoi(call.substr(count.size())), 8);
        }
        if (!call.starts_with("glCombinerStageParameterfvNV")) continue;
        std::istringstream numbers(call.substr(call.find('{') + 1));
        for (std::string number; std::getline(numbers, number, ',');) {
          ASSERT_GE(std::stod(number), -1e-6) << program << ": " << call;
          ASSERT_LE(std::stod(number), 1 + 1e-6) << program << ": " << call;
        }
      }
    }
  }
}

TEST_F(RFpKeyer_NV_register_combiners2Test, SetUpsFollowChanges) {
  RFpKeyer_NV_register_combiners2 node;
  const std::string first = Bind(node);
  EXPECT_EQ(Bind(node), first);
  node.SetThreshold(0.25F);
  const std::string second = Bind(node);
  EXPECT_NE(second, first);
  node.SetInvertMatte(true);
  EXPECT_NE(Bind(node), second);
}

TEST_F(RFpKeyer_NV_register_combiners2Test, WithTooFewCombinersBindFails) {
  static int count = 0;
  const EntryPointReplacement few(
      "glGetIntegerv", +[](GLenum name, GLint* value) {
        static auto* const driver = DriverEntryPoint<void(GLenum, GLint*)>("glGetIntegerv");
        if (name == GL_MAX_GENERAL_COMBINERS_NV)
          *value = count;
        else
          driver(name, value);
      });
  for (const auto& [combiners, bound] :
       {std::pair(0, 0), std::pair(7, 0), std::pair(8, 1), std::pair(1280, 0)}) {
    count = combiners;
    RFpKeyer_NV_register_combiners2 node;
    EXPECT_EQ(node.Bind(&context, 0, 0x40), bound) << combiners;
    node.Unbind(&context, 0, 0x40);
    EXPECT_EQ(node.Bind(&context, 0, 0x1000), 1);
  }
}

TEST_F(RFpKeyer_NV_register_combiners2Test, WithoutOneOfItsFunctionsItFailsToBind) {
  for (const char* const name : {"glCombinerStageParameterfvNV", "glCombinerParameteriNV",
                                 "glCombinerInputNV", "glCombinerOutputNV", "glFinalCombinerInputNV"}) {
    FakeEntryPoints driver;
    driver.missing = {name};
    const GLRecorder recorder;
    RFpKeyer_NV_register_combiners2 node;
    EXPECT_EQ(node.Bind(&context, 0, 0x40), 0) << name;
    EXPECT_EQ(node.Bind(&context, 0, 0x40000), 1) << name;
    EXPECT_EQ(recorder.Count("glEnable"), 0);
  }
}

}  // namespace
}  // namespace test
