#include "fp/RFpCC_ATI_fragment_shader.h"

#include <GL/gl.h>
#include <GL/glext.h>

#include <algorithm>
#include <cmath>

#include "fp/RFpATIFragmentShader.h"
#include "fp/RFpUnitMatrix.h"
#include "fp/RFpZoneSum.h"

namespace {

constexpr int kZones = 3;
constexpr std::size_t kOneMatrix = 0;
constexpr std::size_t kMidtones = 2;
constexpr std::size_t kHighlights = 3;

// Constants hold coefficients as (c + 1) / 2; these bits bring them back to -1..1 when they are read.
constexpr GLuint kCoefficient = GL_BIAS_BIT_ATI | GL_2X_BIT_ATI;
constexpr GLuint kFirstColumn = GL_CON_0_ATI;
constexpr GLuint kLuminance = GL_CON_4_ATI;

// Registers: the texel, which is also the result, the sum, the weight.
constexpr GLuint kTexel = GL_REG_0_ATI;
constexpr GLuint kSum = GL_REG_1_ATI;
constexpr GLuint kWeight = GL_REG_2_ATI;
constexpr GLuint kOther = GL_REG_3_ATI;

// One instruction can multiply its result by 8; four are left behind the matrix.
constexpr int kStepExponent = 3;
constexpr int kSteps = 4;

GLuint ScaleBit(int exponent) {
  constexpr GLuint kBits[] = {GL_NONE, GL_2X_BIT_ATI, GL_4X_BIT_ATI, GL_8X_BIT_ATI};
  return kBits[exponent];
}

}  // namespace

RFpCC_ATI_fragment_shader::RFpCC_ATI_fragment_shader() {
  mUsable = RFpResolveATIFragmentShader(*this);
  if (!mUsable) return;
  for (unsigned& shader : mShaders) shader = glGenFragmentShadersATI(1);
}

RFpCC_ATI_fragment_shader::~RFpCC_ATI_fragment_shader() {
  if (!mUsable) return;
  std::for_each(mShaders.rbegin(), mShaders.rend(),
                [this](unsigned shader) { glDeleteFragmentShaderATI(shader); });
}

int RFpCC_ATI_fragment_shader::GetStageCount() const { return UsesZones() ? kZones : 1; }

int RFpCC_ATI_fragment_shader::GetRequirementFlags(int stage) const {
  return RFpCC_default::GetRequirementFlags(stage) | kFormQuadToBuffer;
}

int RFpCC_ATI_fragment_shader::Bind(RFpContext* context, int stage, int form) {
  if (!(form & kFormTextureMask)) return RFpCC_default::Bind(context, stage, form);
  Derive();
  if (!mUsable || stage < 0 || stage >= GetStageCount()) return 0;
  if (mShaderCount != GetChangeCount() && !Rebuild()) return 0;
  const std::size_t shader = UsesZones() ? static_cast<std::size_t>(stage) + 1 : kOneMatrix;
  // Drivers take up the constants when a shader is bound.
  Send(shader);
  glBindFragmentShaderATI(mShaders[shader]);
  glEnable(GL_FRAGMENT_SHADER_ATI);
  return 1;
}

// The constants are the context's, not the shader's, so every bind sends them.
void RFpCC_ATI_fragment_shader::Send(std::size_t shader) const {
  for (std::size_t column = 0; column < 4; ++column) {
    glSetFragmentShaderConstantATI(kFirstColumn + static_cast<GLuint>(column),
                                   mConstants[4 * shader + column].data());
  }
  if (shader != kOneMatrix) glSetFragmentShaderConstantATI(kLuminance, mLuminance.data());
}

bool RFpCC_ATI_fragment_shader::Rebuild() {
  const auto keep = [this](std::size_t shader, const RFpColorMatrix& matrix) {
    const RFpUnitMatrix unit = RFpMakeUnitMatrix(matrix);
    std::copy(unit.columns.begin(), unit.columns.end(),
              mConstants.begin() + static_cast<std::ptrdiff_t>(4 * shader));
    if (shader != kOneMatrix) mScales[shader - 1] = std::ldexp(1.0F, unit.exponent);
    return Define(shader, unit.exponent);
  };
  bool built = true;
  if (UsesZones()) {
    // What multiplies by 4 and clamps afterwards keeps the constant within 1.
    mLuminance = RFpLuminanceOverMidPoint(GetSettings().midPoint);
    for (float& value : mLuminance) value /= 4;
    for (int zone = 0; zone < kZones; ++zone)
      built = keep(static_cast<std::size_t>(zone) + 1, GetZoneMatrix(zone)) && built;
  } else {
    built = keep(kOneMatrix, GetMatrix());
  }
  if (built) mShaderCount = GetChangeCount();
  return built;
}

// An instruction that the driver refuses is only seen by its error.
bool RFpCC_ATI_fragment_shader::Define(std::size_t shader, int exponent) {
  const RFpATIShaderDefinition definition(*this, mShaders[shader]);
  glSampleMapATI(kTexel, GL_TEXTURE0, GL_SWIZZLE_STR_ATI);
  if (shader == kOneMatrix) {
    Multiply(GetSettings().transparency, ScaleBit(std::min(exponent, kStepExponent)));
    Amplify(exponent - std::min(exponent, kStepExponent));
  } else {
    Weigh(shader);
  }
  // Color and alpha instructions come in pairs; this one goes with the last colour instruction.
  if (GetSettings().transparency)
    glAlphaFragmentOp1ATI(GL_MOV_ATI, kTexel, GL_NONE, kTexel, GL_NONE, GL_NONE);
  else
    glAlphaFragmentOp1ATI(GL_MOV_ATI, kTexel, GL_NONE, GL_ONE, GL_NONE, GL_NONE);
  return definition.End();
}

// The matrix, in four instructions. Without transparency alpha counts as 1.
void RFpCC_ATI_fragment_shader::Multiply(bool transparency, unsigned lastModifier) const {
  glColorFragmentOp2ATI(GL_MUL_ATI, kSum, GL_NONE, GL_NONE, kTexel, GL_RED, GL_NONE, GL_CON_0_ATI, GL_NONE,
                        kCoefficient);
  glColorFragmentOp3ATI(GL_MAD_ATI, kSum, GL_NONE, GL_NONE, kTexel, GL_GREEN, GL_NONE, GL_CON_1_ATI, GL_NONE,
                        kCoefficient, kSum, GL_NONE, GL_NONE);
  glColorFragmentOp3ATI(GL_MAD_ATI, kSum, GL_NONE, GL_NONE, kTexel, GL_BLUE, GL_NONE, GL_CON_2_ATI, GL_NONE,
                        kCoefficient, kSum, GL_NONE, GL_NONE);
  const GLuint alpha = transparency ? kTexel : GLuint{GL_ONE};
  const GLuint channel = transparency ? GL_ALPHA : GL_NONE;
  glColorFragmentOp3ATI(GL_MAD_ATI, kSum, GL_NONE, lastModifier, alpha, channel, GL_NONE, GL_CON_3_ATI,
                        GL_NONE, kCoefficient, kSum, GL_NONE, GL_NONE);
}

// Multiplies the sum, clamping in between, which does not change what is within 0..1 in the end. What lies
// beyond the scale of all instructions, 2^15, is lost: with such coefficients a picture has hardly a value
// between 0 and 1.
void RFpCC_ATI_fragment_shader::Amplify(int exponent) const {
  for (int step = 1; step < kSteps && exponent > kStepExponent; ++step, exponent -= kStepExponent) {
    glColorFragmentOp1ATI(GL_MOV_ATI, kSum, GL_NONE, GL_8X_BIT_ATI | GL_SATURATE_BIT_ATI, kSum, GL_NONE,
                          GL_NONE);
  }
  const GLuint scale = ScaleBit(std::min(exponent, kStepExponent));
  glColorFragmentOp1ATI(GL_MOV_ATI, kTexel, GL_NONE, scale | GL_SATURATE_BIT_ATI, kSum, GL_NONE, GL_NONE);
}

// The matrix times the zone's weight, as (result + 1) / 2. The weight is 1 less a luminance over the mid
// point, of the colour for the shadows, of its inverse for the highlights, and what the two leave for the
// midtones.
void RFpCC_ATI_fragment_shader::Weigh(std::size_t shader) const {
  constexpr GLuint kLimited = GL_4X_BIT_ATI | GL_SATURATE_BIT_ATI;
  const GLuint colour = shader == kHighlights ? GL_COMP_BIT_ATI : GL_NONE;
  glColorFragmentOp2ATI(GL_DOT3_ATI, kWeight, GL_NONE, kLimited, kTexel, GL_NONE, colour, kLuminance, GL_NONE,
                        GL_NONE);
  if (shader == kMidtones) {
    glColorFragmentOp2ATI(GL_DOT3_ATI, kOther, GL_NONE, kLimited, kTexel, GL_NONE, GL_COMP_BIT_ATI,
                          kLuminance, GL_NONE, GL_NONE);
    glColorFragmentOp2ATI(GL_SUB_ATI, kWeight, GL_NONE, GL_NONE, kWeight, GL_NONE, GL_NONE, kOther, GL_NONE,
                          GL_COMP_BIT_ATI);
  }
  Multiply(GetSettings().transparency, GL_NONE);
  const GLuint weight = shader == kMidtones ? GL_NONE : GL_COMP_BIT_ATI;
  glColorFragmentOp3ATI(GL_MAD_ATI, kTexel, GL_NONE, GL_HALF_BIT_ATI | GL_SATURATE_BIT_ATI, kSum, GL_NONE,
                        GL_NONE, kWeight, GL_NONE, weight, GL_ONE, GL_NONE, GL_NONE);
}

void RFpCC_ATI_fragment_shader::Draw(RFpContext* context, int stage, int form, int width, int height) {
  if (!(form & kFormTextureMask) || !UsesZones()) {
    RFpCC_default::Draw(context, stage, form, width, height);
    return;
  }
  const RFpZoneSum sum(stage, mScales);
  RFpCC_default::Draw(context, stage, form, width, height);
}

void RFpCC_ATI_fragment_shader::Unbind(RFpContext*, int, int form) {
  if (form & kFormTextureMask) glDisable(GL_FRAGMENT_SHADER_ATI);
}
