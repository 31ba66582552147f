#include "fp/RFpCombinerSetup.h"

#include <algorithm>

#include "fp/RFpEntryPoints.h"

namespace {

void ApplyPortion(const RFpCombinerFunctions& functions, GLenum stage, GLenum portion,
                  const RFpCombinerPortion& setup) {
  GLenum variable = GL_VARIABLE_A_NV;
  for (const RFpCombinerInput& input : setup.inputs) {
    functions.input(stage, portion, variable++, input.input, input.mapping, input.usage);
  }
  const GLboolean dots = setup.dots ? GL_TRUE : GL_FALSE;
  const GLboolean mux = setup.mux ? GL_TRUE : GL_FALSE;
  functions.output(stage, portion, setup.productAB, setup.productCD, setup.sum, setup.scale, GL_NONE, dots,
                   dots, mux);
}

}  // namespace

bool RFpCombinerFunctions::Resolve() {
  const RFpEntryPoints& entryPoints = RFpEntryPoints::Get();
  return entryPoints.ResolveTo("glCombinerStageParameterfvNV", stageParameterfv) &&
         entryPoints.ResolveTo("glCombinerParameteriNV", parameteri) &&
         entryPoints.ResolveTo("glCombinerInputNV", input) &&
         entryPoints.ResolveTo("glCombinerOutputNV", output) &&
         entryPoints.ResolveTo("glFinalCombinerInputNV", finalInput);
}

// Deliberate: a count that equals the code of GL_INVALID_ENUM is taken for a failed query.
bool RFpHasEnoughCombiners() {
  GLint count = 0;
  glGetIntegerv(GL_MAX_GENERAL_COMBINERS_NV, &count);
  return count >= kFpCombinerStages && count != GL_INVALID_ENUM;
}

GLenum RFpCombinerScale(int exponent) {
  constexpr GLenum kScales[] = {GL_NONE, GL_SCALE_BY_TWO_NV, GL_SCALE_BY_FOUR_NV};
  return kScales[exponent];
}

// The sum of two equal products doubles.
void RFpAmplify(RFpCombinerPortion& portion, GLenum reg, int exponent, GLenum usage) {
  const RFpCombinerInput value = RFpCombinerSigned(reg, usage);
  const RFpCombinerInput one = RFpCombinerOne(usage);
  const RFpCombinerInput second =
      exponent > 0 ? value : RFpCombinerInput{GL_ZERO, GL_SIGNED_IDENTITY_NV, usage};
  portion.inputs = {value, one, second, one};
  portion.sum = reg;
  portion.scale = RFpCombinerScale(std::max(exponent - 1, 0));
}

void RFpCombinerSetup::Apply(const RFpCombinerFunctions& functions) const {
  functions.parameteri(GL_NUM_GENERAL_COMBINERS_NV, static_cast<GLint>(stages.size()));
  GLenum name = GL_COMBINER0_NV;
  for (const RFpCombinerStage& stage : stages) {
    ApplyPortion(functions, name, GL_RGB, stage.rgb);
    ApplyPortion(functions, name, GL_ALPHA, stage.alpha);
    functions.stageParameterfv(name, GL_CONSTANT_COLOR0_NV, stage.constant0.data());
    functions.stageParameterfv(name, GL_CONSTANT_COLOR1_NV, stage.constant1.data());
    ++name;
  }
  GLenum variable = GL_VARIABLE_A_NV;
  for (const RFpCombinerInput& input : finalInputs) {
    functions.finalInput(variable++, input.input, input.mapping, input.usage);
  }
}
