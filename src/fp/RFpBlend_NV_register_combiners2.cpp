#include "fp/RFpBlend_NV_register_combiners2.h"

#include <algorithm>

namespace {

RFpCombinerPortion ReadConstants(GLenum usage) {
  RFpCombinerPortion portion;
  portion.inputs[0] = {GL_CONSTANT_COLOR0_NV, GL_UNSIGNED_IDENTITY_NV, usage};
  portion.inputs[1] = {GL_CONSTANT_COLOR1_NV, GL_UNSIGNED_IDENTITY_NV, usage};
  portion.inputs[2] = {GL_ZERO, GL_UNSIGNED_IDENTITY_NV, usage};
  portion.inputs[3] = {GL_ZERO, GL_UNSIGNED_IDENTITY_NV, usage};
  return portion;
}

RFpCombinerSetup MakeSetup() {
  RFpCombinerSetup setup;
  setup.stages.assign(kFpCombinerStages, {ReadConstants(GL_RGB), ReadConstants(GL_ALPHA)});
  // The final combiner gives A x B + (1 - A) x C + D and G as alpha: the texture as it is.
  setup.finalInputs[3] = {GL_TEXTURE0, GL_UNSIGNED_IDENTITY_NV, GL_RGB};
  setup.finalInputs[6] = {GL_TEXTURE0, GL_UNSIGNED_IDENTITY_NV, GL_ALPHA};
  return setup;
}

}  // namespace

RFpBlend_NV_register_combiners2::RFpBlend_NV_register_combiners2() : mList(1) {
  if (RFpHasEnoughCombiners() && mFunctions.Resolve()) mSetup = MakeSetup();
}

RFpBlend_NV_register_combiners2::~RFpBlend_NV_register_combiners2() = default;

int RFpBlend_NV_register_combiners2::GetRequirementFlags(int) const { return kFormRectangleToBuffer; }

int RFpBlend_NV_register_combiners2::Bind(RFpContext*, int, int form) {
  Derive();
  if (!(form & kFormTextureMask)) return 1;
  if (mListCount != GetChangeCount() && !Rebuild()) return 0;
  glCallList(mList.GetName(0));
  glEnable(GL_REGISTER_COMBINERS_NV);
  return 1;
}

bool RFpBlend_NV_register_combiners2::Rebuild() {
  const GLuint list = mList.GetName(0);
  if (!mSetup || list == 0) return false;
  for (RFpCombinerStage& stage : mSetup->stages) {
    stage.constant0 = Color();
    std::transform(Color().begin(), Color().end(), stage.constant1.begin(),
                   [](float value) { return 1.0F - value; });
  }
  glNewList(list, GL_COMPILE);
  glEnable(GL_PER_STAGE_CONSTANTS_NV);
  mSetup->Apply(mFunctions);
  glEndList();
  mListCount = GetChangeCount();
  return true;
}

void RFpBlend_NV_register_combiners2::Draw(RFpContext* context, int stage, int form, int width, int height) {
  if (form & (kFormRectangleToBuffer | kFormQuadToBuffer))
    glRecti(0, 0, width, height);
  else
    RFpBlend_default::Draw(context, stage, form, width, height);
}

void RFpBlend_NV_register_combiners2::Unbind(RFpContext*, int, int) { glDisable(GL_REGISTER_COMBINERS_NV); }
