// Tests of the shim's register combiners: mappings, products, scales and limits, as drawn.
#define GL_GLEXT_PROTOTYPES
#include <GL/gl.h>
#include <GL/glext.h>
#include <gtest/gtest.h>

#include <cmath>

#include "fp/RFpBlend_NV_register_combiners2.h"
#include "fp/RFpCombinerSetup.h"
#include "support/GLTest.h"

namespace test::shim {
namespace {

class CombinerDriverTest : public GLTest {
 protected:
  void SetUp() override {
    GLTest::SetUp();
    ASSERT_TRUE(functions.Resolve());
  }

  // Draws one pixel of a colour with a set-up.
  std::vector<unsigned char> Draw(const RFpCombinerSetup& setup, const std::array<float, 4>& color) {
    GLTarget target(1, 1);
    setup.Apply(functions);
    glEnable(GL_PER_STAGE_CONSTANTS_NV);
    glEnable(GL_REGISTER_COMBINERS_NV);
    glColor4f(color[0], color[1], color[2], color[3]);
    glRecti(-1, -1, 1, 1);
    glDisable(GL_REGISTER_COMBINERS_NV);
    return target.Read().bytes;
  }

  RFpCombinerFunctions functions;
};

constexpr RFpCombinerInput kOne = {GL_ZERO, GL_UNSIGNED_INVERT_NV, GL_RGB};
constexpr RFpCombinerInput kOneAlpha = {GL_ZERO, GL_UNSIGNED_INVERT_NV, GL_ALPHA};

// One stage whose sum is (A x 1 + 1 x 1) / 2, so that -1..1 shows as 0..1.
RFpCombinerSetup Show(const RFpCombinerInput& input) {
  RFpCombinerSetup setup;
  setup.stages.emplace_back();
  RFpCombinerPortion& rgb = setup.stages[0].rgb;
  rgb.inputs = {input, kOne, kOne, kOne};
  rgb.sum = GL_SPARE0_NV;
  rgb.scale = GL_SCALE_BY_ONE_HALF_NV;
  setup.finalInputs[3] = {GL_SPARE0_NV, GL_UNSIGNED_IDENTITY_NV, GL_RGB};
  setup.finalInputs[6] = kOneAlpha;
  return setup;
}

struct MappingRow {
  GLenum mapping;
  double (*map)(double value);
};

TEST_F(CombinerDriverTest, MapsInputs) {
  const MappingRow rows[] = {{GL_UNSIGNED_IDENTITY_NV, [](double v) { return v; }},
                             {GL_UNSIGNED_INVERT_NV, [](double v) { return 1 - v; }},
                             {GL_EXPAND_NORMAL_NV, [](double v) { return 2 * v - 1; }},
                             {GL_EXPAND_NEGATE_NV, [](double v) { return 1 - 2 * v; }},
                             {GL_HALF_BIAS_NORMAL_NV, [](double v) { return v - 0.5; }},
                             {GL_HALF_BIAS_NEGATE_NV, [](double v) { return 0.5 - v; }},
                             {GL_SIGNED_IDENTITY_NV, [](double v) { return v; }},
                             {GL_SIGNED_NEGATE_NV, [](double v) { return -v; }}};
  for (const MappingRow& row : rows) {
    const auto drawn = Draw(Show({GL_PRIMARY_COLOR_NV, row.mapping, GL_RGB}), {0, 0.25F, 1, 0.5F});
    const double values[] = {0, 0.25, 1};
    for (std::size_t i = 0; i < 3; ++i)
      EXPECT_NEAR(drawn[i], (row.map(values[i]) + 1) / 2 * 255, 0.51) << row.mapping << ", " << i;
    const auto spread = Draw(Show({GL_PRIMARY_COLOR_NV, row.mapping, GL_ALPHA}), {0, 0.25F, 1, 0.5F});
    for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(spread[i], (row.map(0.5) + 1) / 2 * 255, 0.51);
  }
}

// Mappings that are for 0..1 take negative values as 0.
TEST_F(CombinerDriverTest, UnsignedMappingsBeginAtZero) {
  for (const auto& [mapping, expected] : {std::pair<GLenum, double>{GL_UNSIGNED_IDENTITY_NV, 0},
                                          {GL_EXPAND_NORMAL_NV, -1},
                                          {GL_UNSIGNED_INVERT_NV, 1},
                                          {GL_HALF_BIAS_NEGATE_NV, 0.5},
                                          {GL_SIGNED_IDENTITY_NV, -0.75}}) {
    RFpCombinerSetup setup = Show({GL_SPARE1_NV, mapping, GL_RGB});
    RFpCombinerStage negative;
    negative.rgb.inputs[0] = {GL_PRIMARY_COLOR_NV, GL_SIGNED_NEGATE_NV, GL_RGB};
    negative.rgb.inputs[1] = kOne;
    negative.rgb.productAB = GL_SPARE1_NV;
    setup.stages.insert(setup.stages.begin(), negative);
    EXPECT_NEAR(Draw(setup, {0.75F, 0.75F, 0.75F, 1})[0], (expected + 1) / 2 * 255, 0.51) << mapping;
  }
}

TEST_F(CombinerDriverTest, OutputsAreScaledAndThenLimited) {
  for (const auto& [scale, factor] : {std::pair<GLenum, double>{GL_NONE, 1},
                                      {GL_SCALE_BY_TWO_NV, 2},
                                      {GL_SCALE_BY_FOUR_NV, 4},
                                      {GL_SCALE_BY_ONE_HALF_NV, 0.5}}) {
    RFpCombinerSetup setup = Show({GL_SPARE1_NV, GL_SIGNED_IDENTITY_NV, GL_RGB});
    RFpCombinerStage scaled;
    scaled.rgb.inputs[0] = {GL_PRIMARY_COLOR_NV, GL_EXPAND_NORMAL_NV, GL_RGB};
    scaled.rgb.inputs[1] = kOne;
    scaled.rgb.productAB = GL_SPARE1_NV;
    scaled.rgb.scale = scale;
    setup.stages.insert(setup.stages.begin(), scaled);
    const auto drawn = Draw(setup, {0.25F, 0.625F, 0.8F, 1});
    const double values[] = {-0.5, 0.25, 0.6};
    for (std::size_t i = 0; i < 3; ++i)
      EXPECT_NEAR(drawn[i], (std::clamp(values[i] * factor, -1.0, 1.0) + 1) / 2 * 255, 0.51) << factor;
  }
}

// What draws before any set-up: the primary colour, and fog over it.
TEST_F(CombinerDriverTest, TheFirstStateIsTheColourUnderFog) {
  constexpr GLfloat kFog[] = {1, 0.25F, 0, 1};
  glFogfv(GL_FOG_COLOR, kFog);
  glFogi(GL_FOG_COORD_SRC, GL_FOG_COORD);
  glFogf(GL_FOG_START, 0.5F);
  glFogf(GL_FOG_END, 2.5F);
  glFogf(GL_FOG_DENSITY, 0.5F);
  glFogCoordf(1);
  for (const auto& [mode, factor] : {std::pair<GLenum, double>{GL_NONE, 1},
                                     {GL_LINEAR, 0.75},
                                     {GL_EXP, std::exp(-0.5)},
                                     {GL_EXP2, std::exp(-0.25)}}) {
    if (mode != GL_NONE) {
      glFogi(GL_FOG_MODE, static_cast<GLint>(mode));
      glEnable(GL_FOG);
    }
    const GLTarget target(1, 1);
    glEnable(GL_REGISTER_COMBINERS_NV);
    glColor4f(0.2F, 0.6F, 1, 0.5F);
    glRecti(-1, -1, 1, 1);
    glDisable(GL_REGISTER_COMBINERS_NV);
    const auto drawn = target.Read().bytes;
    const double values[] = {0.2, 0.6, 1};
    for (std::size_t i = 0; i < 3; ++i)
      EXPECT_NEAR(drawn[i], (factor * values[i] + (1 - factor) * static_cast<double>(kFog[i])) * 255, 0.51)
          << mode;
    EXPECT_NEAR(drawn[3], 127.5, 0.51) << mode;
  }
}

// The sum is formed before the limits, so 0.8 + 0.8 halved is 0.8.
TEST_F(CombinerDriverTest, TheSumIsScaledBeforeItIsLimited) {
  RFpCombinerSetup setup;
  setup.stages.emplace_back();
  const RFpCombinerInput color = {GL_PRIMARY_COLOR_NV, GL_UNSIGNED_IDENTITY_NV, GL_RGB};
  setup.stages[0].rgb.inputs = {color, kOne, color, kOne};
  setup.stages[0].rgb.sum = GL_SPARE0_NV;
  setup.stages[0].rgb.scale = GL_SCALE_BY_ONE_HALF_NV;
  setup.finalInputs[3] = {GL_SPARE0_NV, GL_UNSIGNED_IDENTITY_NV, GL_RGB};
  setup.finalInputs[6] = kOneAlpha;
  EXPECT_NEAR(Draw(setup, {0.8F, 0.1F, 1, 1})[0], 0.8 * 255, 0.51);
}

TEST_F(CombinerDriverTest, DotProductsSpread) {
  RFpCombinerSetup setup;
  setup.stages.emplace_back();
  RFpCombinerStage& stage = setup.stages[0];
  const RFpCombinerInput color = {GL_PRIMARY_COLOR_NV, GL_UNSIGNED_IDENTITY_NV, GL_RGB};
  stage.rgb.inputs = {color,
                      {GL_CONSTANT_COLOR0_NV, GL_UNSIGNED_IDENTITY_NV, GL_RGB},
                      color,
                      {GL_CONSTANT_COLOR1_NV, GL_UNSIGNED_IDENTITY_NV, GL_RGB}};
  stage.rgb.productAB = GL_SPARE0_NV;
  stage.rgb.productCD = GL_SPARE1_NV;
  stage.rgb.dots = true;
  stage.constant0 = {0.5F, 0.25F, 0, 1};
  stage.constant1 = {0, 0, 7, 1};  // clamped to 1
  setup.finalInputs[0] = {GL_SPARE0_NV, GL_UNSIGNED_IDENTITY_NV, GL_RGB};
  setup.finalInputs[1] = {GL_SPARE1_NV, GL_UNSIGNED_IDENTITY_NV, GL_RGB};
  setup.finalInputs[6] = {GL_PRIMARY_COLOR_NV, GL_UNSIGNED_IDENTITY_NV, GL_BLUE};
  const auto drawn = Draw(setup, {1, 0.4F, 0.5F, 0.1F});
  for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(drawn[i], 0.6 * 0.5 * 255, 0.51);
  EXPECT_NEAR(drawn[3], 0.5 * 255, 0.51) << "alpha takes blue";
}

TEST_F(CombinerDriverTest, DotProductsAddUp) {
  RFpCombinerSetup setup;
  setup.stages.emplace_back();
  RFpCombinerStage& stage = setup.stages[0];
  const RFpCombinerInput color = {GL_PRIMARY_COLOR_NV, GL_UNSIGNED_IDENTITY_NV, GL_RGB};
  stage.rgb.inputs = {color,
                      {GL_CONSTANT_COLOR0_NV, GL_UNSIGNED_IDENTITY_NV, GL_RGB},
                      color,
                      {GL_CONSTANT_COLOR1_NV, GL_UNSIGNED_IDENTITY_NV, GL_RGB}};
  stage.rgb.sum = GL_SPARE0_NV;
  stage.rgb.dots = true;
  stage.constant0 = {0.5F, 0, 0, 1};
  stage.constant1 = {0, 0.25F, 0, 1};
  setup.finalInputs[3] = {GL_SPARE0_NV, GL_UNSIGNED_IDENTITY_NV, GL_RGB};
  setup.finalInputs[6] = kOneAlpha;
  const auto drawn = Draw(setup, {0.8F, 0.4F, 0.5F, 1});
  for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(drawn[i], (0.8 * 0.5 + 0.4 * 0.25) * 255, 0.51);
}

// A target of one pixel of floats, bound as long as it lives.
class FloatTarget {
 public:
  FloatTarget() {
    glBindTexture(GL_TEXTURE_2D, mTexture);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA32F, 1, 1, 0, GL_RGBA, GL_FLOAT, nullptr);
    glBindTexture(GL_TEXTURE_2D, 0);
    glGenFramebuffers(1, &mFramebuffer);
    glBindFramebuffer(GL_FRAMEBUFFER, mFramebuffer);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, mTexture, 0);
  }
  ~FloatTarget() {
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    glDeleteFramebuffers(1, &mFramebuffer);
    glDeleteTextures(1, &mTexture);
  }
  FloatTarget(const FloatTarget&) = delete;
  FloatTarget& operator=(const FloatTarget&) = delete;

  static std::array<float, 4> Read() {
    std::array<float, 4> pixel{};
    glReadPixels(0, 0, 1, 1, GL_RGBA, GL_FLOAT, pixel.data());
    return pixel;
  }

 private:
  static GLuint MakeName() {
    GLuint name = 0;
    glGenTextures(1, &name);
    return name;
  }
  GLuint mTexture = MakeName();
  GLuint mFramebuffer = 0;
};

// Colours that go into floats are limited nowhere within the combiners, unless the context clamps them.
TEST_F(CombinerDriverTest, FloatsAreLimitedOnlyWhereColoursAreClamped) {
  const FloatTarget target;
  RFpCombinerSetup setup;
  setup.stages.resize(2);
  const RFpCombinerInput color = {GL_PRIMARY_COLOR_NV, GL_UNSIGNED_IDENTITY_NV, GL_RGB};
  // SPARE0 = 4 x colour, then SPARE0 = (1 - SPARE0) x 1, which limits to 0 what it takes.
  setup.stages[0].rgb.inputs = {color, kOne, {}, {}};
  setup.stages[0].rgb.sum = GL_SPARE0_NV;
  setup.stages[0].rgb.scale = GL_SCALE_BY_FOUR_NV;
  const RFpCombinerInput inverse = {GL_SPARE0_NV, GL_UNSIGNED_INVERT_NV, GL_RGB};
  setup.stages[1].rgb.inputs = {inverse, kOne, {}, {}};
  setup.stages[1].rgb.sum = GL_SPARE0_NV;
  setup.finalInputs[3] = {GL_SPARE0_NV, GL_UNSIGNED_IDENTITY_NV, GL_RGB};
  setup.finalInputs[6] = kOneAlpha;
  setup.Apply(functions);
  glEnable(GL_PER_STAGE_CONSTANTS_NV);
  glEnable(GL_REGISTER_COMBINERS_NV);
  for (const auto& [clamp, expected] :
       {std::pair<GLenum, float>{GL_TRUE, 0}, {GL_FIXED_ONLY, -2}, {GL_FALSE, -2}}) {
    glClampColor(GL_CLAMP_FRAGMENT_COLOR, clamp);
    glColor4f(0.75F, 0.125F, 0, 1);
    glRecti(-1, -1, 1, 1);
    const auto drawn = FloatTarget::Read();
    EXPECT_FLOAT_EQ(drawn[0], expected) << clamp;
    EXPECT_FLOAT_EQ(drawn[1], 0.5F) << clamp;
    EXPECT_FLOAT_EQ(drawn[2], 1) << clamp;
  }
  glDisable(GL_REGISTER_COMBINERS_NV);
}

TEST_F(CombinerDriverTest, TheFinalCombinerInterpolatesAndAdds) {
  RFpCombinerSetup setup;
  setup.stages.emplace_back();
  // A = alpha of the colour, B = E x F, C = 1 - colour, D = 0.
  setup.finalInputs[0] = {GL_PRIMARY_COLOR_NV, GL_UNSIGNED_IDENTITY_NV, GL_ALPHA};
  setup.finalInputs[1] = {GL_E_TIMES_F_NV, GL_UNSIGNED_IDENTITY_NV, GL_RGB};
  setup.finalInputs[2] = {GL_PRIMARY_COLOR_NV, GL_UNSIGNED_INVERT_NV, GL_RGB};
  setup.finalInputs[4] = {GL_PRIMARY_COLOR_NV, GL_UNSIGNED_IDENTITY_NV, GL_RGB};
  setup.finalInputs[5] = {GL_PRIMARY_COLOR_NV, GL_UNSIGNED_IDENTITY_NV, GL_RGB};
  setup.finalInputs[6] = kOneAlpha;
  const auto drawn = Draw(setup, {0.2F, 0.6F, 1, 0.25F});
  const double values[] = {0.2, 0.6, 1};
  for (std::size_t i = 0; i < 3; ++i)
    EXPECT_NEAR(drawn[i], (0.25 * values[i] * values[i] + 0.75 * (1 - values[i])) * 255, 0.51);
}

TEST_F(CombinerDriverTest, WithoutStageConstantsAllStagesShareTheContexts) {
  RFpCombinerSetup setup = Show({GL_CONSTANT_COLOR0_NV, GL_UNSIGNED_IDENTITY_NV, GL_RGB});
  setup.stages[0].constant0 = {0, 0, 0, 0};
  setup.Apply(functions);
  const GLfloat shared[4] = {1, 0.5F, 0, 0};
  reinterpret_cast<PFNGLCOMBINERPARAMETERFVNVPROC>(QOpenGLContext::currentContext()->getProcAddress(
      "glCombinerParameterfvNV"))(GL_CONSTANT_COLOR0_NV, shared);
  GLTarget target(1, 1);
  glDisable(GL_PER_STAGE_CONSTANTS_NV);
  glEnable(GL_REGISTER_COMBINERS_NV);
  glRecti(-1, -1, 1, 1);
  glDisable(GL_REGISTER_COMBINERS_NV);
  const auto drawn = target.Read().bytes;
  EXPECT_EQ(drawn[0], 255);
  EXPECT_NEAR(drawn[1], 0.75 * 255, 0.51);
  EXPECT_NEAR(drawn[2], 0.5 * 255, 0.51);
}

TEST_F(CombinerDriverTest, ErrorsAreReportedAndReturned) {
  GLErrorCapture errors;
  functions.input(GL_COMBINER0_NV, GL_RGB, GL_VARIABLE_A_NV, GL_TEXTURE0, GL_SIGNED_IDENTITY_NV, GL_BLUE);
  EXPECT_EQ(glGetError(), GLenum{GL_INVALID_OPERATION});
  EXPECT_EQ(errors.Messages().size(), 1U);
  GLint count = 0;
  glGetIntegerv(GL_MAX_GENERAL_COMBINERS_NV, &count);
  EXPECT_EQ(count, 8);
}

TEST_F(CombinerDriverTest, TheAttributeStackKeepsTheEnables) {
  glPushAttrib(GL_ENABLE_BIT);
  glEnable(GL_REGISTER_COMBINERS_NV);
  glEnable(GL_PER_STAGE_CONSTANTS_NV);
  glPopAttrib();
  EXPECT_FALSE(glIsEnabled(GL_REGISTER_COMBINERS_NV));
  EXPECT_FALSE(glIsEnabled(GL_PER_STAGE_CONSTANTS_NV));
}

TEST_F(CombinerDriverTest, TheAttributeStackKeepsTheCombinersWithTheTextures) {
  const auto count = [] {
    GLint value = 0;
    glGetIntegerv(GL_NUM_GENERAL_COMBINERS_NV, &value);
    return value;
  };
  functions.parameteri(GL_NUM_GENERAL_COMBINERS_NV, 3);
  glPushAttrib(GL_TEXTURE_BIT);
  glPushAttrib(GL_ENABLE_BIT);
  functions.parameteri(GL_NUM_GENERAL_COMBINERS_NV, 5);
  glEnable(GL_REGISTER_COMBINERS_NV);
  glPopAttrib();
  EXPECT_EQ(count(), 5) << "no enable";
  EXPECT_FALSE(glIsEnabled(GL_REGISTER_COMBINERS_NV));
  glEnable(GL_REGISTER_COMBINERS_NV);
  glPopAttrib();
  EXPECT_EQ(count(), 3);
  EXPECT_FALSE(glIsEnabled(GL_REGISTER_COMBINERS_NV));
}

// The blend variant that is switched off in the module, drawn: the texture comes through as it is, and blends
// over what is there by the functions and factors of its kind.
TEST_F(CombinerDriverTest, TheDormantBlendHandsTheTextureThrough) {
  const std::vector<unsigned char> texels = Noise(4 * 8 * 8);
  unsigned texture = MakeTexture(8, 8, GL_RGBA, texels.data());
  RFpContext context;
  RFpBlend_NV_register_combiners2 node;
  node.SetColor(0, 0.25F);
  GLTarget target(8, 8);
  glViewport(0, 0, 8, 8);
  glMatrixMode(GL_PROJECTION);
  glOrtho(0, 8, 0, 8, -1, 1);
  glBindTexture(GL_TEXTURE_2D, texture);
  glEnable(GL_TEXTURE_2D);
  for (const auto& [coordinate, enable, plane] :
       {std::tuple<GLenum, GLenum, std::array<GLfloat, 4>>{GL_S, GL_TEXTURE_GEN_S, {0.125F, 0, 0, 0}},
        {GL_T, GL_TEXTURE_GEN_T, {0, 0.125F, 0, 0}}}) {
    glTexGeni(coordinate, GL_TEXTURE_GEN_MODE, GL_OBJECT_LINEAR);
    glTexGenfv(coordinate, GL_OBJECT_PLANE, plane.data());
    glEnable(enable);
  }
  for (int round = 0; round < 2; ++round) {
    ASSERT_EQ(node.Bind(&context, 0, 0x40), 1);
    node.Draw(&context, 0, 0x40, 8, 8);
    node.Unbind(&context, 0, 0x40);
    EXPECT_EQ(target.Read().bytes, texels) << round;
  }
  glBindTexture(GL_TEXTURE_2D, 0);
  glDeleteTextures(1, &texture);
}

}  // namespace
}  // namespace test::shim
