// Tests of the colour correction on ATI's fragment shaders, by the calls it makes.
#include "fp/RFpCC_ATI_fragment_shader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "support/GLTest.h"
#include "support/RandomCorrection.h"

namespace test {
namespace {

class RFpCC_ATI_fragment_shaderTest : public GLTest {
 protected:
  RFpContext context;
};

TEST_F(RFpCC_ATI_fragment_shaderTest, OwnsFourShadersDeletedLastFirst) {
  std::vector<std::string> names;
  const GLRecorder recorder;
  {
    const RFpCC_ATI_fragment_shader node;
    EXPECT_EQ(LiveGLObjects(), "FragmentShaderATI: 4\n");
    for (const std::string& call : recorder.Calls()) {
      const std::string prefix = "glGenFragmentShadersATI(1) = ";
      if (call.starts_with(prefix)) names.push_back(call.substr(prefix.size()));
    }
  }
  ASSERT_EQ(names.size(), 4U);
  std::string expected;
  for (std::size_t i = names.size(); i-- > 0;) expected += "glDeleteFragmentShaderATI(" + names[i] + ")\n";
  EXPECT_EQ(recorder.Text({"glDeleteFragmentShaderATI"}), expected);
  EXPECT_EQ(LiveGLObjects(), "");
}

TEST_F(RFpCC_ATI_fragment_shaderTest, HasThreeStagesWhileZonesAreInUse) {
  RFpCC_ATI_fragment_shader node;
  EXPECT_EQ(node.GetStageCount(), 1);
  EXPECT_EQ(node.GetRequirementFlags(0), 0xC0100);
  node.SetGamma(2);
  EXPECT_EQ(node.GetStageCount(), 3);
  EXPECT_EQ(node.GetRequirementFlags(2), 0xC0100);
}

TEST_F(RFpCC_ATI_fragment_shaderTest, FormsWithoutATextureBindNothing) {
  RFpCC_ATI_fragment_shader node;
  const GLRecorder recorder;
  for (const int form : {0x1, 0x10, 0x1000}) EXPECT_EQ(node.Bind(&context, 0, form), 1);
  node.Unbind(&context, 0, 0x1000);
  EXPECT_EQ(recorder.Text(), "");
}

TEST_F(RFpCC_ATI_fragment_shaderTest, StagesOutOfRangeFail) {
  RFpCC_ATI_fragment_shader node;
  for (const int stage : {-1, 1, 3}) EXPECT_EQ(node.Bind(&context, stage, 0x100), 0) << stage;
}

TEST_F(RFpCC_ATI_fragment_shaderTest, DefinesItsShadersOncePerChangeAndSendsConstantsAtEveryBind) {
  RFpCC_ATI_fragment_shader node;
  const auto bind = [&](int stage) {
    const GLRecorder recorder;
    EXPECT_EQ(node.Bind(&context, stage, 0x100), 1);
    node.Unbind(&context, stage, 0x100);
    return std::pair(recorder.Count("glBeginFragmentShaderATI"),
                     recorder.Count("glSetFragmentShaderConstantATI"));
  };
  EXPECT_EQ(bind(0), std::pair(1, 4));
  EXPECT_EQ(bind(0), std::pair(0, 4));
  node.SetZoneHue(0, 20);
  EXPECT_EQ(bind(0), std::pair(1, 4));
  node.SetZoneHue(1, 20);
  EXPECT_EQ(bind(0), std::pair(3, 5));
  EXPECT_EQ(bind(2), std::pair(0, 5));
}

// What the hardware promises: eight colour instructions in a pass, constants of 0..1, one texture.
TEST_F(RFpCC_ATI_fragment_shaderTest, StaysWithinTheLimitsOfTheHardware) {
  RFpCC_ATI_fragment_shader node;
  for (const CorrectionFamily family : kCorrectionFamilies) {
    Random random(static_cast<unsigned>(family));
    for (int i = 0; i < 10; ++i) {
      CorrectionSettings settings = RandomCorrection(family, random);
      ApplyTo(node, settings);
      for (int stage = 0; stage < node.GetStageCount(); ++stage) {
        const GLRecorder recorder;
        ASSERT_EQ(node.Bind(&context, stage, 0x100), 1);
        node.Unbind(&context, stage, 0x100);
        int instructions = 0;
        for (const std::string& call : recorder.Calls()) {
          if (call.starts_with("glBeginFragmentShaderATI")) instructions = 0;
          if (call.starts_with("glColorFragmentOp")) ++instructions;
          ASSERT_LE(instructions, 8);
          if (!call.starts_with("glSetFragmentShaderConstantATI")) continue;
          std::istringstream numbers(call.substr(call.find('{') + 1));
          for (std::string number; std::getline(numbers, number, ',');) {
            ASSERT_GE(std::stod(number), 0) << call;
            ASSERT_LE(std::stod(number), 1) << call;
          }
        }
        EXPECT_EQ(recorder.Count("glPassTexCoordATI"), 0) << "one pass";
      }
    }
  }
}

TEST_F(RFpCC_ATI_fragment_shaderTest, AShaderThatTheDriverRefusesFailsToBind) {
  GLErrorCapture errors;
  RFpCC_ATI_fragment_shader node;
  {
    const EntryPointReplacement refused(
        "glSampleMapATI",
        +[](GLuint, GLuint, GLenum) { DriverEntryPoint<void(GLenum)>("glEnable")(0xFFFFFFFF); });
    EXPECT_EQ(node.Bind(&context, 0, 0x100), 0);
  }
  EXPECT_EQ(node.Bind(&context, 0, 0x100), 1) << "built again";
  node.Unbind(&context, 0, 0x100);
}

}  // namespace
}  // namespace test
