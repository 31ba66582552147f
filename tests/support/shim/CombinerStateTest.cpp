// Tests of the state of register combiners: what is refused with which error, and the limits of values.
#include "support/shim/CombinerState.h"

#include <gtest/gtest.h>

namespace test::shim {
namespace {

constexpr GLenum kStage = GL_COMBINER0_NV;
constexpr CombinerInput kTexture = {GL_TEXTURE0, GL_SIGNED_IDENTITY_NV, GL_RGB};

CombinerPortion Outputs(GLenum ab, GLenum cd, GLenum sum) {
  CombinerPortion portion;
  portion.ab = ab;
  portion.cd = cd;
  portion.sum = sum;
  return portion;
}

TEST(CombinerState, InputsOfGeneralStages) {
  CombinerState state;
  EXPECT_EQ(state.SetInput(kStage, GL_RGB, GL_VARIABLE_A_NV, kTexture), 0U);
  EXPECT_EQ(state.stages[0].rgb.inputs[0].reg, GLenum{GL_TEXTURE0});
  EXPECT_EQ(state.SetInput(GL_COMBINER0_NV + 8, GL_RGB, GL_VARIABLE_A_NV, kTexture), 0x500U);
  EXPECT_EQ(state.SetInput(kStage, GL_BLUE, GL_VARIABLE_A_NV, kTexture), 0x500U);
  EXPECT_EQ(state.SetInput(kStage, GL_RGB, GL_VARIABLE_E_NV, kTexture), 0x500U);
  EXPECT_EQ(
      state.SetInput(kStage, GL_RGB, GL_VARIABLE_A_NV, {GL_E_TIMES_F_NV, GL_SIGNED_IDENTITY_NV, GL_RGB}),
      0x500U);
  EXPECT_EQ(state.SetInput(kStage, GL_RGB, GL_VARIABLE_A_NV, {GL_TEXTURE0, GL_NONE, GL_RGB}), 0x500U);
  EXPECT_EQ(state.SetInput(kStage, GL_RGB, GL_VARIABLE_A_NV, {GL_TEXTURE0, GL_SIGNED_IDENTITY_NV, GL_RED}),
            0x500U);
  EXPECT_EQ(state.SetInput(kStage, GL_RGB, GL_VARIABLE_A_NV, {GL_TEXTURE0, GL_SIGNED_IDENTITY_NV, GL_BLUE}),
            0x502U)
      << "colours cannot read blue by itself";
  EXPECT_EQ(state.SetInput(kStage, GL_ALPHA, GL_VARIABLE_A_NV, kTexture), 0x502U)
      << "alpha cannot read a colour";
  EXPECT_EQ(state.SetInput(kStage, GL_ALPHA, GL_VARIABLE_A_NV, {GL_TEXTURE0, GL_SIGNED_IDENTITY_NV, GL_BLUE}),
            0U);
  EXPECT_EQ(state.SetInput(kStage, GL_RGB, GL_VARIABLE_A_NV, {GL_FOG, GL_SIGNED_IDENTITY_NV, GL_ALPHA}),
            0x502U);
}

TEST(CombinerState, OutputsOfGeneralStages) {
  CombinerState state;
  const auto set = [&](GLenum portion, const CombinerPortion& outputs) {
    return state.SetOutput(kStage, portion, outputs);
  };
  EXPECT_EQ(set(GL_RGB, Outputs(GL_SPARE0_NV, GL_SPARE1_NV, GL_TEXTURE0)), 0U);
  EXPECT_EQ(set(GL_RGB, Outputs(GL_ZERO, GL_DISCARD_NV, GL_DISCARD_NV)), 0x500U);
  EXPECT_EQ(set(GL_RGB, Outputs(GL_CONSTANT_COLOR0_NV, GL_DISCARD_NV, GL_DISCARD_NV)), 0x500U);
  EXPECT_EQ(set(GL_RGB, Outputs(GL_SPARE0_NV, GL_SPARE0_NV, GL_DISCARD_NV)), 0x502U);
  EXPECT_EQ(set(GL_RGB, Outputs(GL_DISCARD_NV, GL_SPARE0_NV, GL_SPARE0_NV)), 0x502U);
  CombinerPortion dots = Outputs(GL_SPARE0_NV, GL_DISCARD_NV, GL_DISCARD_NV);
  dots.abDot = true;
  EXPECT_EQ(set(GL_RGB, dots), 0U);
  EXPECT_EQ(set(GL_ALPHA, dots), 0x501U) << "alpha has no dot products";
  dots.sum = GL_SPARE1_NV;
  EXPECT_EQ(set(GL_RGB, dots), 0U) << "dot products add up as well";
  CombinerPortion scaled = Outputs(GL_SPARE0_NV, GL_DISCARD_NV, GL_DISCARD_NV);
  scaled.bias = GL_BIAS_BY_NEGATIVE_ONE_HALF_NV;
  EXPECT_EQ(set(GL_RGB, scaled), 0U);
  scaled.scale = GL_SCALE_BY_TWO_NV;
  EXPECT_EQ(set(GL_RGB, scaled), 0U);
  for (const GLenum scale : {GL_SCALE_BY_FOUR_NV, GL_SCALE_BY_ONE_HALF_NV}) {
    scaled.scale = scale;
    EXPECT_EQ(set(GL_RGB, scaled), 0x502U);
  }
}

TEST(CombinerState, StartsWithThePrimaryColourTimesOne) {
  const CombinerState state;
  EXPECT_EQ(state.count, 1);
  EXPECT_TRUE(state.sumClamp);
  EXPECT_FALSE(state.perStage);
  for (const CombinerStage& stage : state.stages) {
    GLenum usage = GL_RGB;
    for (const CombinerPortion* const portion : {&stage.rgb, &stage.alpha}) {
      for (std::size_t i = 0; i < 4; ++i) {
        const CombinerInput& input = portion->inputs[i];
        EXPECT_EQ(input.reg, i == 0 ? GLenum{GL_PRIMARY_COLOR_NV} : GLenum{GL_ZERO}) << i;
        EXPECT_EQ(input.mapping, i == 1 ? GLenum{GL_UNSIGNED_INVERT_NV} : GLenum{GL_UNSIGNED_IDENTITY_NV});
        EXPECT_EQ(input.usage, usage);
      }
      EXPECT_EQ(portion->ab, GLenum{GL_DISCARD_NV});
      EXPECT_EQ(portion->cd, GLenum{GL_DISCARD_NV});
      EXPECT_EQ(portion->sum, GLenum{GL_SPARE0_NV});
      usage = GL_ALPHA;
    }
    EXPECT_EQ(stage.constants[0], CombinerColor{});
    EXPECT_EQ(stage.constants[1], CombinerColor{});
  }
}

TEST(CombinerState, ARefusedCallLeavesTheState) {
  CombinerState state;
  state.SetOutput(kStage, GL_RGB, Outputs(GL_SPARE0_NV, GL_DISCARD_NV, GL_DISCARD_NV));
  state.SetOutput(kStage, GL_RGB, Outputs(GL_SPARE1_NV, GL_SPARE1_NV, GL_DISCARD_NV));
  EXPECT_EQ(state.stages[0].rgb.ab, GLenum{GL_SPARE0_NV});
}

TEST(CombinerState, InputsOfTheFinalCombiner) {
  CombinerState state;
  const auto set = [&](GLenum variable, GLenum reg, GLenum usage, GLenum mapping = GL_UNSIGNED_IDENTITY_NV) {
    return state.SetFinalInput(variable, {reg, mapping, usage});
  };
  EXPECT_EQ(set(GL_VARIABLE_D_NV, GL_SPARE0_NV, GL_RGB), 0U);
  EXPECT_EQ(set(GL_VARIABLE_D_NV, GL_SPARE0_NV, GL_RGB, GL_SIGNED_IDENTITY_NV), 0x500U);
  EXPECT_EQ(set(GL_VARIABLE_B_NV, GL_SPARE0_PLUS_SECONDARY_COLOR_NV, GL_RGB), 0U);
  EXPECT_EQ(set(GL_VARIABLE_A_NV, GL_SPARE0_PLUS_SECONDARY_COLOR_NV, GL_RGB), 0x502U);
  EXPECT_EQ(set(GL_VARIABLE_A_NV, GL_E_TIMES_F_NV, GL_RGB), 0U);
  for (const GLenum computed : {GL_E_TIMES_F_NV, GL_SPARE0_PLUS_SECONDARY_COLOR_NV}) {
    EXPECT_EQ(set(GL_VARIABLE_E_NV, computed, GL_RGB), 0x502U);
    EXPECT_EQ(set(GL_VARIABLE_F_NV, computed, GL_RGB), 0x502U);
    EXPECT_EQ(set(GL_VARIABLE_G_NV, computed, GL_BLUE), 0x502U);
    EXPECT_EQ(set(GL_VARIABLE_B_NV, computed, GL_ALPHA), 0x502U);
    EXPECT_EQ(set(GL_VARIABLE_B_NV, computed, GL_BLUE), 0x502U);
  }
  EXPECT_EQ(set(GL_VARIABLE_A_NV, GL_FOG, GL_ALPHA), 0U) << "the fog factor is for the final combiner";
  EXPECT_EQ(set(GL_VARIABLE_A_NV, GL_DISCARD_NV, GL_RGB), 0x500U);
  EXPECT_EQ(set(GL_VARIABLE_A_NV, GL_SPARE0_NV, GL_RED), 0x500U);
  EXPECT_EQ(set(GL_COMBINER0_NV, GL_SPARE0_NV, GL_RGB), 0x500U);
  EXPECT_EQ(set(GL_VARIABLE_G_NV, GL_SPARE0_NV, GL_RGB), 0x502U);
  EXPECT_EQ(set(GL_VARIABLE_G_NV, GL_SPARE0_NV, GL_BLUE), 0U);
  EXPECT_EQ(set(GL_VARIABLE_D_NV, GL_SPARE0_NV, GL_BLUE), 0x502U);
}

TEST(CombinerState, ParametersAndConstants) {
  CombinerState state;
  const GLfloat wide[4] = {-1, 0.25F, 2, 1};
  EXPECT_EQ(state.SetParameter(GL_CONSTANT_COLOR1_NV, wide), 0U);
  EXPECT_EQ(state.constants[1], (CombinerColor{0, 0.25F, 1, 1})) << "constants are clamped";
  EXPECT_EQ(state.SetStageConstant(GL_COMBINER7_NV, GL_CONSTANT_COLOR0_NV, wide), 0U);
  CombinerColor read{};
  EXPECT_EQ(state.GetStageConstant(GL_COMBINER7_NV, GL_CONSTANT_COLOR0_NV, read.data()), 0U);
  EXPECT_EQ(read, (CombinerColor{0, 0.25F, 1, 1}));
  EXPECT_EQ(state.SetStageConstant(GL_COMBINER0_NV + 8, GL_CONSTANT_COLOR0_NV, wide), 0x500U);
  EXPECT_EQ(state.SetStageConstant(kStage, GL_SPARE0_NV, wide), 0x500U);
  for (const float count : {0.0F, 9.0F, -1.0F})
    EXPECT_EQ(state.SetParameter(GL_NUM_GENERAL_COMBINERS_NV, &count), 0x501U);
  const float eight = 8;
  EXPECT_EQ(state.SetParameter(GL_NUM_GENERAL_COMBINERS_NV, &eight), 0U);
  EXPECT_EQ(state.count, 8);
  EXPECT_EQ(state.SetParameter(GL_TEXTURE0, &eight), 0x500U);
}

}  // namespace
}  // namespace test::shim
