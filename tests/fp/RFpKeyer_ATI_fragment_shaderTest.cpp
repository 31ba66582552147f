// Tests of the keyer on ATI's fragment shaders, by the calls it makes.
#include "fp/RFpKeyer_ATI_fragment_shader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "support/FakeEntryPoints.h"
#include "support/GLTest.h"
#include "support/KeyerFormula.h"

namespace test {
namespace {

class RFpKeyer_ATI_fragment_shaderTest : public GLTest {
 protected:
  RFpContext context;
};

TEST_F(RFpKeyer_ATI_fragment_shaderTest, OwnsOneShader) {
  const GLRecorder recorder;
  {
    const RFpKeyer_ATI_fragment_shader node;
    EXPECT_EQ(LiveGLObjects(), "FragmentShaderATI: 1\n");
    EXPECT_EQ(recorder.Count("glGenFragmentShadersATI"), 1);
  }
  EXPECT_EQ(LiveGLObjects(), "");
  EXPECT_EQ(recorder.Count("glDeleteFragmentShaderATI"), 1);
}

TEST_F(RFpKeyer_ATI_fragment_shaderTest, AnswersOfTheSlots) {
  RFpKeyer_ATI_fragment_shader node;
  for (const int mode : {0, 1, 2}) {
    node.SetMode(mode);
    EXPECT_EQ(node.GetRequirementFlags(0), 0xC0100);
    EXPECT_EQ(node.GetStageCount(), 1);
    EXPECT_EQ(node.GetInputCount(), mode == 2 ? 2 : 1);
  }
}

TEST_F(RFpKeyer_ATI_fragment_shaderTest, FormsWithoutATextureBindNothing) {
  RFpKeyer_ATI_fragment_shader node;
  const GLRecorder recorder;
  for (const int form : {0x1, 0x10, 0x1000, 0x40000}) {
    EXPECT_EQ(node.Bind(&context, 0, form), 1);
    node.Unbind(&context, 0, form);
  }
  EXPECT_EQ(recorder.Text(), "");
}

TEST_F(RFpKeyer_ATI_fragment_shaderTest, DefinesItsShaderOncePerProgramAndSendsConstantsAtEveryBind) {
  RFpKeyer_ATI_fragment_shader node;
  const auto bind = [&] {
    const GLRecorder recorder;
    EXPECT_EQ(node.Bind(&context, 0, 0x100), 1);
    node.Unbind(&context, 0, 0x100);
    EXPECT_EQ(recorder.Text({"glEnable", "glDisable"}),
              "glEnable(GL_FRAGMENT_SHADER_ATI)\nglDisable(GL_FRAGMENT_SHADER_ATI)\n");
    return std::pair(recorder.Count("glBeginFragmentShaderATI"),
                     recorder.Count("glSetFragmentShaderConstantATI"));
  };
  EXPECT_EQ(bind(), std::pair(1, 4));
  EXPECT_EQ(bind(), std::pair(0, 4));
  node.SetThreshold(0.25F);
  EXPECT_EQ(bind(), std::pair(0, 4)) << "numbers are constants";
  for (const auto change :
       {+[](RFpKeyer& n) { n.SetInvertMatte(true); }, +[](RFpKeyer& n) { n.SetOutput(1); },
        +[](RFpKeyer& n) { n.SetMode(1); }, +[](RFpKeyer& n) { n.SetMode(2); }}) {
    change(node);
    EXPECT_EQ(bind(), std::pair(1, 4));
    EXPECT_EQ(bind(), std::pair(0, 4));
  }
}

TEST_F(RFpKeyer_ATI_fragment_shaderTest, EveryNodeDrawsWithItsOwnShader) {
  RFpKeyer_ATI_fragment_shader nodes[2];
  nodes[1].SetOutput(1);
  // Returns the last shader that a bind made the current one.
  const auto bound = [&](RFpKeyer& node) {
    const GLRecorder recorder;
    EXPECT_EQ(node.Bind(&context, 0, 0x100), 1);
    node.Unbind(&context, 0, 0x100);
    const std::string calls = recorder.Text({"glBindFragmentShaderATI", "glEnable"});
    EXPECT_TRUE(calls.ends_with(")\nglEnable(GL_FRAGMENT_SHADER_ATI)\n")) << calls;
    return calls.substr(calls.rfind("glBindFragmentShaderATI"));
  };
  const std::string first = bound(nodes[0]);
  const std::string second = bound(nodes[1]);
  EXPECT_NE(first, second);
  EXPECT_EQ(bound(nodes[0]), first) << "which is defined already";
  EXPECT_EQ(bound(nodes[1]), second);
}

// What the hardware promises: eight instructions in a pass, constants of 0..1; and a texture unit for each
// input.
TEST_F(RFpKeyer_ATI_fragment_shaderTest, StaysWithinTheLimitsOfTheHardware) {
  for (int program = 0; program < 12; ++program) {
    RFpKeyer_ATI_fragment_shader node;
    Random random(static_cast<unsigned>(program));
    for (int i = 0; i < 50; ++i) {
      ApplyTo(node, RandomKey(program / 4, program / 2 % 2, program % 2 != 0, random));
      const GLRecorder recorder;
      ASSERT_EQ(node.Bind(&context, 0, 0x100), 1);
      node.Unbind(&context, 0, 0x100);
      int instructions = 0;
      for (const std::string& call : recorder.Calls()) {
        if (call.starts_with("glColorFragmentOp")) ++instructions;
        if (!call.starts_with("glSetFragmentShaderConstantATI")) continue;
        std::istringstream numbers(call.substr(call.find('{') + 1));
        for (std::string number; std::getline(numbers, number, ',');) {
          ASSERT_GE(std::stod(number), -1e-6) << program << ": " << call;
          ASSERT_LE(std::stod(number), 1 + 1e-6) << program << ": " << call;
        }
      }
      ASSERT_LE(instructions, 8) << program;
      EXPECT_EQ(recorder.Count("glPassTexCoordATI"), 0) << "one pass";
      if (i == 0) {
        EXPECT_EQ(recorder.Count("glSampleMapATI"), program >= 8 ? 2 : 1);
      }
    }
  }
}

// Makes the driver refuse every definition while it lives.
class Refusal {
 public:
  Refusal()
      : mSampleMap(
            "glSampleMapATI",
            +[](GLuint, GLuint, GLenum) { DriverEntryPoint<void(GLenum)>("glEnable")(0xFFFFFFFF); }) {}

 private:
  EntryPointReplacement mSampleMap;
};

TEST_F(RFpKeyer_ATI_fragment_shaderTest, AShaderThatTheDriverRefusesFailsToBind) {
  GLErrorCapture errors;
  RFpKeyer_ATI_fragment_shader node;
  {
    const Refusal refusal;
    EXPECT_EQ(node.Bind(&context, 0, 0x100), 0);
  }
  EXPECT_EQ(node.Bind(&context, 0, 0x100), 1) << "built again";
  node.Unbind(&context, 0, 0x100);
}

// The shader holds the refused definition then, and no longer the one before.
TEST_F(RFpKeyer_ATI_fragment_shaderTest, AfterARefusalTheProgramBeforeIsDefinedAnew) {
  GLErrorCapture errors;
  RFpKeyer_ATI_fragment_shader node;
  ASSERT_EQ(node.Bind(&context, 0, 0x100), 1);
  node.Unbind(&context, 0, 0x100);
  node.SetOutput(1);
  {
    const Refusal refusal;
    EXPECT_EQ(node.Bind(&context, 0, 0x100), 0);
  }
  node.SetOutput(0);
  const GLRecorder recorder;
  EXPECT_EQ(node.Bind(&context, 0, 0x100), 1);
  node.Unbind(&context, 0, 0x100);
  EXPECT_EQ(recorder.Count("glBeginFragmentShaderATI"), 1);
}

TEST_F(RFpKeyer_ATI_fragment_shaderTest, WithoutOneOfItsFunctionsItFailsToBind) {
  for (const char* const name : kFpATIFragmentShaderNames) {
    FakeEntryPoints driver;
    driver.missing = {name};
    const GLRecorder recorder;
    RFpKeyer_ATI_fragment_shader node;
    EXPECT_EQ(node.Bind(&context, 0, 0x100), 0) << name;
    EXPECT_EQ(node.Bind(&context, 0, 0x40000), 1) << name;
    EXPECT_EQ(recorder.Count("glEnable"), 0);
  }
}

}  // namespace
}  // namespace test
