#include "fp/RFpKeyer_ATI_fragment_shader.h"

#include <GL/gl.h>
#include <GL/glext.h>

#include "fp/RFpATIFragmentShader.h"

// Slopes go as a 256th, which three instructions bring back. Constants are 0..1; those of -1..1 are kept as
// (c + 1) / 2, which bits of the argument spread. An instruction's alpha never reads the colours that the
// same instruction writes.
namespace {

constexpr double kSteepest = 256;

constexpr GLuint kSpread = GL_BIAS_BIT_ATI | GL_2X_BIT_ATI;

// Registers: the texels, of which the first is also the result, the ramps, and what is on the way.
constexpr GLuint kTexel = GL_REG_0_ATI;
constexpr GLuint kTexelB = GL_REG_1_ATI;
constexpr GLuint kValue = GL_REG_2_ATI;
constexpr GLuint kRamps = GL_REG_3_ATI;
constexpr GLuint kColor = GL_REG_4_ATI;
constexpr GLuint kDistance = GL_REG_5_ATI;

float Spread(double value) { return static_cast<float>((value + 1) / 2); }

// Constant 0: the hue's weights, the slope of m. Constant 1: what cleans, the offset of m. Constant 2: the
// goal, the slope of n of what is not inverted. Constant 3: its offset.
void FillChroma(RFpKeyerParameters& constants, const RFpKeyerParameters& derived,
                const RFpKeyerUniforms& sent, bool inverted) {
  const RFpChromaRamps ramps = RFpGetChromaRamps(derived);
  const double outer = ramps.outer.slope / kSteepest;
  const double key = ramps.key.slope / kSteepest;
  for (std::size_t i = 0; i < 3; ++i) {
    const auto goal = static_cast<double>(-sent.values[3][i]);
    constants[0][i] = Spread(static_cast<double>(derived[1][i]));
    constants[1][i] = Spread(static_cast<double>(sent.values[2][i]));
    constants[2][i] = inverted ? static_cast<float>(goal) : Spread(goal / 2);
  }
  constants[0][3] = static_cast<float>(outer);
  constants[1][3] = Spread(-ramps.outer.start * outer);
  constants[2][3] = static_cast<float>(key);
  constants[3][3] = Spread(-ramps.key.start * key);
}

// Constant 0: the weights of the luminance, where the ramp starts. Constant 1: its slope.
RFpKeyerParameters MakeConstants(const RFpKeyerSettings& settings, const RFpKeyerParameters& derived) {
  RFpKeyerParameters constants{};
  auto slope = static_cast<double>(derived[0][0]);
  auto start = static_cast<double>(settings.threshold);
  if (settings.mode == kFpKeyChroma) {
    const bool inverted = settings.output == kFpKeyedImage && settings.invertMatte;
    FillChroma(constants, derived, RFpGetKeyerUniforms(settings, derived), inverted);
    return constants;
  }
  if (settings.mode == kFpKeyDifference) {
    const RFpKeyerRamp ramp = RFpGetDifferenceRamp(settings);
    slope = ramp.slope;
    start = ramp.start;
  }
  constants[0] = {derived[1][0], derived[1][1], derived[1][2], static_cast<float>(start)};
  constants[1][3] = static_cast<float>(slope / kSteepest);
  return constants;
}

}  // namespace

RFpKeyer_ATI_fragment_shader::RFpKeyer_ATI_fragment_shader() {
  mUsable = RFpResolveATIFragmentShader(*this);
  if (mUsable) mShader = glGenFragmentShadersATI(1);
}

RFpKeyer_ATI_fragment_shader::~RFpKeyer_ATI_fragment_shader() {
  if (mUsable) glDeleteFragmentShaderATI(mShader);
}

int RFpKeyer_ATI_fragment_shader::GetRequirementFlags(int stage) const {
  return RFpKeyer_default::GetRequirementFlags(stage) | kFormQuadToBuffer;
}

int RFpKeyer_ATI_fragment_shader::Bind(RFpContext*, int, int form) {
  Derive();
  if (!(form & kFormTextureMask)) return 1;
  const auto program = RFpGetKeyerProgram(GetSettings());
  if (!mUsable || !program) return 0;
  if (mProgram != program) {
    // A definition that the driver refuses has replaced the one before all the same.
    mProgram.reset();
    if (!Define()) return 0;
    mProgram = program;
  }
  // The constants are the context's, not the shader's, and drivers take them up when a shader is bound.
  mConstants = MakeConstants(GetSettings(), GetParameters());
  for (std::size_t i = 0; i < mConstants.size(); ++i)
    glSetFragmentShaderConstantATI(GL_CON_0_ATI + static_cast<GLuint>(i), mConstants[i].data());
  glBindFragmentShaderATI(mShader);
  glEnable(GL_FRAGMENT_SHADER_ATI);
  return 1;
}

void RFpKeyer_ATI_fragment_shader::Unbind(RFpContext*, int, int form) {
  if (form & kFormTextureMask) glDisable(GL_FRAGMENT_SHADER_ATI);
}

// An instruction that the driver refuses is only seen by its error.
bool RFpKeyer_ATI_fragment_shader::Define() const {
  const RFpATIShaderDefinition definition(*this, mShader);
  glSampleMapATI(kTexel, GL_TEXTURE0, GL_SWIZZLE_STR_ATI);
  if (GetSettings().mode == kFpKeyDifference) glSampleMapATI(kTexelB, GL_TEXTURE1, GL_SWIZZLE_STR_ATI);
  if (GetSettings().mode == kFpKeyChroma)
    DefineChroma();
  else
    DefineMultiplication();
  return definition.End();
}

// Multiplies a register by 256, clamped to 0..1; a product by 8 stands before. Beyond 8 nothing is lost,
// because it is clamped in the end.
void RFpKeyer_ATI_fragment_shader::Amplify(unsigned reg, bool alpha) const {
  for (const GLuint scale : {GLuint{GL_8X_BIT_ATI}, GLuint{GL_4X_BIT_ATI | GL_SATURATE_BIT_ATI}}) {
    glColorFragmentOp1ATI(GL_MOV_ATI, reg, GL_NONE, scale, reg, GL_NONE, GL_NONE);
    if (alpha) glAlphaFragmentOp1ATI(GL_MOV_ATI, reg, scale, reg, GL_NONE, GL_NONE);
  }
}

// The ramps: m in the colours, n of what is not inverted in the alpha.
void RFpKeyer_ATI_fragment_shader::DefineChroma() const {
  glColorFragmentOp2ATI(GL_DOT3_ATI, kValue, GL_NONE, GL_NONE, kTexel, GL_NONE, GL_NONE, GL_CON_0_ATI,
                        GL_NONE, kSpread);
  glColorFragmentOp3ATI(GL_MAD_ATI, kRamps, GL_NONE, GL_8X_BIT_ATI, kValue, GL_NONE, GL_NONE, GL_CON_0_ATI,
                        GL_ALPHA, GL_NONE, GL_CON_1_ATI, GL_ALPHA, kSpread);
  glAlphaFragmentOp3ATI(GL_MAD_ATI, kRamps, GL_8X_BIT_ATI, kValue, GL_RED, GL_NONE, GL_CON_2_ATI, GL_NONE,
                        GL_NONE, GL_CON_3_ATI, GL_NONE, kSpread);
  Amplify(kRamps, true);
  const bool inverted = GetSettings().invertMatte;
  if (GetSettings().output == kFpMatte) {
    const GLuint modifier = inverted ? GLuint{GL_NONE} : GLuint{GL_COMP_BIT_ATI};
    glColorFragmentOp1ATI(GL_MOV_ATI, kTexel, GL_NONE, GL_NONE, kRamps, GL_ALPHA, modifier);
    glAlphaFragmentOp1ATI(GL_MOV_ATI, kTexel, GL_NONE, kRamps, GL_NONE, modifier);
  } else if (inverted) {
    DefineInvertedChromaKey();
  } else {
    DefineChromaKey();
  }
}

// c = colour + m x p2, result (1 - n) x (c + n x (c - p3)), all but the last as a half.
void RFpKeyer_ATI_fragment_shader::DefineChromaKey() const {
  glColorFragmentOp3ATI(GL_MAD_ATI, kColor, GL_NONE, GL_HALF_BIT_ATI, kRamps, GL_NONE, GL_NONE, GL_CON_1_ATI,
                        GL_NONE, kSpread, kTexel, GL_NONE, GL_NONE);
  glColorFragmentOp2ATI(GL_ADD_ATI, kDistance, GL_NONE, GL_NONE, kColor, GL_NONE, GL_NONE, GL_CON_2_ATI,
                        GL_NONE, kSpread);
  glColorFragmentOp3ATI(GL_MAD_ATI, kColor, GL_NONE, GL_NONE, kDistance, GL_NONE, GL_NONE, kRamps, GL_ALPHA,
                        GL_NONE, kColor, GL_NONE, GL_NONE);
  glColorFragmentOp2ATI(GL_MUL_ATI, kTexel, GL_NONE, GL_2X_BIT_ATI | GL_SATURATE_BIT_ATI, kColor, GL_NONE,
                        GL_NONE, kRamps, GL_ALPHA, GL_COMP_BIT_ATI);
  glAlphaFragmentOp1ATI(GL_MOV_ATI, kTexel, GL_NONE, kRamps, GL_NONE, GL_COMP_BIT_ATI);
}

// colour - (1 - n) x key where n is above 0, otherwise 0.
void RFpKeyer_ATI_fragment_shader::DefineInvertedChromaKey() const {
  glColorFragmentOp3ATI(GL_MAD_ATI, kColor, GL_NONE, GL_NONE, kRamps, GL_ALPHA, GL_COMP_BIT_ATI, GL_CON_2_ATI,
                        GL_NONE, GL_NEGATE_BIT_ATI, kTexel, GL_NONE, GL_NONE);
  // Gives the first where the third is not negative, else the second.
  glColorFragmentOp3ATI(GL_CND0_ATI, kTexel, GL_NONE, GL_SATURATE_BIT_ATI, GL_ZERO, GL_NONE, GL_NONE, kColor,
                        GL_NONE, GL_NONE, kRamps, GL_ALPHA, GL_NEGATE_BIT_ATI);
  glAlphaFragmentOp1ATI(GL_MOV_ATI, kTexel, GL_NONE, kRamps, GL_NONE, GL_NONE);
}

// Luminance and difference.
void RFpKeyer_ATI_fragment_shader::DefineMultiplication() const {
  const auto subtractStart = [this] {
    glColorFragmentOp2ATI(GL_SUB_ATI, kValue, GL_NONE, GL_NONE, kValue, GL_NONE, GL_NONE, GL_CON_0_ATI,
                          GL_ALPHA, GL_NONE);
  };
  if (GetSettings().mode == kFpKeyLuminance) {
    glColorFragmentOp2ATI(GL_DOT3_ATI, kValue, GL_NONE, GL_NONE, kTexel, GL_NONE, GL_NONE, GL_CON_0_ATI,
                          GL_NONE, GL_NONE);
    subtractStart();
    glColorFragmentOp2ATI(GL_MUL_ATI, kValue, GL_NONE, GL_NONE, kValue, GL_NONE, GL_NONE, kValue, GL_NONE,
                          GL_NONE);
  } else {
    glColorFragmentOp2ATI(GL_SUB_ATI, kValue, GL_NONE, GL_NONE, kTexel, GL_NONE, GL_NONE, kTexelB, GL_NONE,
                          GL_NONE);
    glColorFragmentOp2ATI(GL_DOT3_ATI, kValue, GL_NONE, GL_NONE, kValue, GL_NONE, GL_NONE, kValue, GL_NONE,
                          GL_NONE);
    subtractStart();
  }
  glColorFragmentOp2ATI(GL_MUL_ATI, kRamps, GL_NONE, GL_8X_BIT_ATI, kValue, GL_NONE, GL_NONE, GL_CON_1_ATI,
                        GL_ALPHA, GL_NONE);
  Amplify(kRamps, false);
  const GLuint modifier = GetSettings().invertMatte ? GLuint{GL_COMP_BIT_ATI} : GLuint{GL_NONE};
  if (GetSettings().output == kFpMatte)
    glColorFragmentOp1ATI(GL_MOV_ATI, kTexel, GL_NONE, GL_NONE, kRamps, GL_NONE, modifier);
  else
    glColorFragmentOp2ATI(GL_MUL_ATI, kTexel, GL_NONE, GL_NONE, kTexel, GL_NONE, GL_NONE, kRamps, GL_NONE,
                          modifier);
  glAlphaFragmentOp1ATI(GL_MOV_ATI, kTexel, GL_NONE, kRamps, GL_RED, modifier);
}
