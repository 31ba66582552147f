// Tests of the state that the blend node puts in place, by the calls it makes.
#include "fp/RFpBlend_default.h"

#include <GL/gl.h>
#include <gtest/gtest.h>

#include "support/GLTest.h"

namespace test {
namespace {

class RFpBlend_defaultTest : public GLTest {
 protected:
  std::string Bind() {
    const GLRecorder recorder;
    EXPECT_EQ(node.Bind(&context, 0, 0x40), 1);
    return recorder.Text();
  }
  std::string Unbind() {
    const GLRecorder recorder;
    node.Unbind(&context, 0, 0x40);
    return recorder.Text();
  }
  // The line of `function` among the calls of a bind, without its name.
  std::string BindCall(std::string_view function) {
    const GLRecorder recorder;
    EXPECT_EQ(node.Bind(&context, 0, 0x40), 1);
    return recorder.Text({function});
  }

  RFpContext context;
  RFpBlend_default node;
};

const char* const kEnvironmentReplace = "glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_REPLACE)\n";
const char* const kEnvironmentModulate = "glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE)\n";

TEST_F(RFpBlend_defaultTest, TheIdentityBindsInOrder) {
  EXPECT_EQ(Bind(), std::string("glBlendFunc(GL_ONE, GL_ZERO)\n") + kEnvironmentReplace +
                        "glBlendColor(1, 1, 1, 1)\n"
                        "glEnable(GL_BLEND)\n");
  EXPECT_EQ(Unbind(), "") << "of the identity nothing is taken away";
}

TEST_F(RFpBlend_defaultTest, EverythingSeparateBindsInOrder) {
  node.SetFuncRGB(1);
  node.SetFuncAlpha(2);
  node.SetAFactorRGB(4);
  node.SetAFactorAlpha(14);
  node.SetBFactorRGB(14);
  node.SetBFactorAlpha(13);
  node.SetColor(0, 0.25F);
  node.SetColor(3, 0.5F);
  EXPECT_EQ(Bind(), std::string("glBlendEquationSeparate(GL_FUNC_SUBTRACT, GL_FUNC_REVERSE_SUBTRACT)\n"
                                "glBlendFuncSeparate(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA, "
                                "GL_SRC_ALPHA_SATURATE, GL_ONE_MINUS_CONSTANT_ALPHA)\n") +
                        kEnvironmentModulate +
                        "glColor4f(0.5, 0.5, 0.5, 1)\n"
                        "glBlendColor(0.25, 1, 1, 0.5)\n"
                        "glEnable(GL_BLEND)\n");
  EXPECT_EQ(Unbind(), std::string("glDisable(GL_BLEND)\n") + kEnvironmentModulate +
                          "glBlendEquationSeparate(GL_FUNC_ADD, GL_FUNC_ADD)\n");
}

struct EquationRow {
  int function;
  const char* equation;
};

class Equations : public RFpBlend_defaultTest, public testing::WithParamInterface<EquationRow> {};

TEST_P(Equations, OfBothGroupsAtOnce) {
  node.SetAFactorRGB(0);  // not the identity, whatever the function
  node.SetFuncRGB(GetParam().function);
  node.SetFuncAlpha(GetParam().function);
  const bool adds = std::string_view(GetParam().equation) == "GL_FUNC_ADD";
  const std::string call = std::string("glBlendEquation(") + GetParam().equation + ")\n";
  EXPECT_EQ(BindCall("glBlendEquation"), adds ? "" : call);
  EXPECT_EQ(BindCall("glBlendEquationSeparate"), "");
  EXPECT_EQ(Unbind(), adds ? "glDisable(GL_BLEND)\n" : "glDisable(GL_BLEND)\nglBlendEquation(GL_FUNC_ADD)\n");
}

TEST_P(Equations, OfEachGroup) {
  const std::string name = GetParam().equation;
  if (name == "GL_FUNC_ADD") return;
  node.SetFuncRGB(GetParam().function);
  EXPECT_EQ(BindCall("glBlendEquationSeparate"), "glBlendEquationSeparate(" + name + ", GL_FUNC_ADD)\n");
  EXPECT_EQ(Unbind(), "glDisable(GL_BLEND)\nglBlendEquationSeparate(GL_FUNC_ADD, GL_FUNC_ADD)\n");
  node.SetFuncRGB(0);
  node.SetFuncAlpha(GetParam().function);
  EXPECT_EQ(BindCall("glBlendEquationSeparate"), "glBlendEquationSeparate(GL_FUNC_ADD, " + name + ")\n");
}

INSTANTIATE_TEST_SUITE_P(Functions, Equations,
                         testing::Values(EquationRow{0, "GL_FUNC_ADD"}, EquationRow{1, "GL_FUNC_SUBTRACT"},
                                         EquationRow{2, "GL_FUNC_REVERSE_SUBTRACT"}, EquationRow{3, "GL_MIN"},
                                         EquationRow{4, "GL_MAX"}, EquationRow{5, "GL_FUNC_ADD"},
                                         EquationRow{-1, "GL_FUNC_ADD"},
                                         EquationRow{0x7FFFFFFF, "GL_FUNC_ADD"}));

struct FactorRow {
  int factor;
  const char* a;
  const char* b;
};

const FactorRow kFactors[] = {
    {0, "GL_ZERO", "GL_ZERO"},
    {1, "GL_ONE", "GL_ONE"},
    {2, "GL_SRC_COLOR", "GL_SRC_COLOR"},
    {3, "GL_ONE_MINUS_SRC_COLOR", "GL_ONE_MINUS_SRC_COLOR"},
    {4, "GL_SRC_ALPHA", "GL_SRC_ALPHA"},
    {5, "GL_ONE_MINUS_SRC_ALPHA", "GL_ONE_MINUS_SRC_ALPHA"},
    {6, "GL_DST_COLOR", "GL_DST_COLOR"},
    {7, "GL_ONE_MINUS_DST_COLOR", "GL_ONE_MINUS_DST_COLOR"},
    {8, "GL_DST_ALPHA", "GL_DST_ALPHA"},
    {9, "GL_ONE_MINUS_DST_ALPHA", "GL_ONE_MINUS_DST_ALPHA"},
    {10, "GL_CONSTANT_COLOR", "GL_CONSTANT_COLOR"},
    {11, "GL_ONE_MINUS_CONSTANT_COLOR", "GL_ONE_MINUS_CONSTANT_COLOR"},
    {12, "GL_CONSTANT_ALPHA", "GL_CONSTANT_ALPHA"},
    {13, "GL_ONE_MINUS_CONSTANT_ALPHA", "GL_ONE_MINUS_CONSTANT_ALPHA"},
    {14, "GL_SRC_ALPHA_SATURATE", "GL_ONE_MINUS_SRC_ALPHA"},
};

class Factors : public RFpBlend_defaultTest, public testing::WithParamInterface<FactorRow> {};

TEST_P(Factors, OfBothGroupsAtOnce) {
  const auto& [factor, a, b] = GetParam();
  node.SetAFactorRGB(factor);
  node.SetAFactorAlpha(factor);
  node.SetBFactorRGB(factor);
  node.SetBFactorAlpha(factor);
  EXPECT_EQ(BindCall("glBlendFunc"), std::string("glBlendFunc(") + a + ", " + b + ")\n");
  EXPECT_EQ(BindCall("glBlendFuncSeparate"), "");
}

TEST_P(Factors, OfEachGroupAlone) {
  const auto& [factor, a, b] = GetParam();
  const std::string onlyA = std::string("glBlendFuncSeparate(") + a + ", GL_ZERO, GL_ONE, GL_ZERO)\n";
  node.SetAFactorRGB(factor);
  EXPECT_EQ(BindCall("glBlendFuncSeparate"), factor == 1 ? "" : onlyA);
  node.Reset();
  node.SetAFactorAlpha(factor);
  const std::string onlyAAlpha = std::string("glBlendFuncSeparate(GL_ONE, GL_ZERO, ") + a + ", GL_ZERO)\n";
  EXPECT_EQ(BindCall("glBlendFuncSeparate"), factor == 1 ? "" : onlyAAlpha);
  node.Reset();
  node.SetBFactorRGB(factor);
  const std::string onlyB = std::string("glBlendFuncSeparate(GL_ONE, ") + b + ", GL_ONE, GL_ZERO)\n";
  EXPECT_EQ(BindCall("glBlendFuncSeparate"), factor == 0 ? "" : onlyB);
  node.Reset();
  node.SetBFactorAlpha(factor);
  const std::string onlyBAlpha = std::string("glBlendFuncSeparate(GL_ONE, GL_ZERO, GL_ONE, ") + b + ")\n";
  EXPECT_EQ(BindCall("glBlendFuncSeparate"), factor == 0 ? "" : onlyBAlpha);
}

INSTANTIATE_TEST_SUITE_P(Values, Factors, testing::ValuesIn(kFactors),
                         [](const auto& row) { return std::to_string(row.param.factor); });

class FactorOutside : public RFpBlend_defaultTest, public testing::WithParamInterface<int> {};

TEST_P(FactorOutside, LeavesTheFactorAsItLastWas) {
  node.SetAFactorRGB(GetParam());
  node.SetAFactorAlpha(GetParam());
  node.SetBFactorRGB(GetParam());
  node.SetBFactorAlpha(GetParam());
  EXPECT_EQ(BindCall("glBlendFunc"), "glBlendFunc(GL_ONE, GL_ZERO)\n") << "of a new node";
  node.SetAFactorRGB(4);
  node.SetAFactorAlpha(6);
  node.SetBFactorRGB(8);
  node.SetBFactorAlpha(10);
  Bind();
  node.SetAFactorRGB(GetParam());
  node.SetAFactorAlpha(GetParam());
  node.SetBFactorRGB(GetParam());
  node.SetBFactorAlpha(GetParam());
  EXPECT_EQ(BindCall("glBlendFuncSeparate"),
            "glBlendFuncSeparate(GL_SRC_ALPHA, GL_DST_ALPHA, GL_DST_COLOR, GL_CONSTANT_COLOR)\n");
}

INSTANTIATE_TEST_SUITE_P(Values, FactorOutside, testing::Values(15, 16, 0x7FFFFFFF, -1, -0x7FFFFFFF));

struct ModulationRow {
  const char* name;
  int bFactorRGB;
  int bFactorAlpha;
  const char* color;
};

class Modulation : public RFpBlend_defaultTest, public testing::WithParamInterface<ModulationRow> {};

TEST_P(Modulation, ScalesTheIncomingColourByTheConstantAlpha) {
  node.SetAFactorRGB(12);
  node.SetBFactorRGB(GetParam().bFactorRGB);
  node.SetBFactorAlpha(GetParam().bFactorAlpha);
  node.SetColor(3, 0.5F);
  EXPECT_EQ(BindCall("glColor4f"), GetParam().color);
  const bool modulates = *GetParam().color != '\0';
  EXPECT_EQ(BindCall("glTexEnvi"), modulates ? kEnvironmentModulate : kEnvironmentReplace);
  const std::string unbound = Unbind();
  EXPECT_EQ(unbound, modulates ? std::string("glDisable(GL_BLEND)\n") + kEnvironmentModulate
                               : "glDisable(GL_BLEND)\n");
  GLint mode = 0;
  glGetTexEnviv(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, &mode);
  EXPECT_EQ(mode, modulates ? GL_MODULATE : GL_REPLACE) << "GL_REPLACE stays";
}

INSTANTIATE_TEST_SUITE_P(Factors, Modulation,
                         testing::Values(ModulationRow{"Neither", 5, 5, ""},
                                         ModulationRow{"Colours", 14, 5, "glColor4f(0.5, 0.5, 0.5, 1)\n"},
                                         ModulationRow{"Alpha", 5, 14, "glColor4f(1, 1, 1, 0.5)\n"},
                                         ModulationRow{"Both", 14, 14, "glColor4f(0.5, 0.5, 0.5, 0.5)\n"}),
                         [](const auto& row) { return row.param.name; });

TEST_F(RFpBlend_defaultTest, ASecondBindMakesTheSameCalls) {
  node.SetAFactorRGB(4);
  node.SetBFactorAlpha(14);
  const std::string first = Bind();
  EXPECT_EQ(Bind(), first);
}

TEST_F(RFpBlend_defaultTest, DrawsOneRectangle) {
  const GLRecorder recorder;
  node.Draw(&context, 0, 0x40, 300, 200);
  EXPECT_EQ(recorder.Text(), "glRecti(0, 0, 300, 200)\n");
}

TEST_F(RFpBlend_defaultTest, WithoutAContextItDoesNotBind) {
  Host().Context().doneCurrent();
  EXPECT_EQ(node.Bind(&context, 0, 0x40), 0);
  ASSERT_TRUE(Host().MakeCurrent());
}

}  // namespace
}  // namespace test
