#include "fp/RFpBlend_default.h"

#include <GL/gl.h>

#include "fp/RFpParameter.h"
#include "rgl/RGLFunctions.h"

namespace {

constexpr std::array<GLenum, 5> kEquations = {GL_FUNC_ADD, GL_FUNC_SUBTRACT, GL_FUNC_REVERSE_SUBTRACT, GL_MIN,
                                              GL_MAX};

// The B factor that multiplies A by the constant alpha beforehand.
constexpr int kModulatedFactor = 14;

constexpr std::array<GLenum, 15> kAFactors = {GL_ZERO,
                                              GL_ONE,
                                              GL_SRC_COLOR,
                                              GL_ONE_MINUS_SRC_COLOR,
                                              GL_SRC_ALPHA,
                                              GL_ONE_MINUS_SRC_ALPHA,
                                              GL_DST_COLOR,
                                              GL_ONE_MINUS_DST_COLOR,
                                              GL_DST_ALPHA,
                                              GL_ONE_MINUS_DST_ALPHA,
                                              GL_CONSTANT_COLOR,
                                              GL_ONE_MINUS_CONSTANT_COLOR,
                                              GL_CONSTANT_ALPHA,
                                              GL_ONE_MINUS_CONSTANT_ALPHA,
                                              GL_SRC_ALPHA_SATURATE};

constexpr std::array<GLenum, 15> MakeBFactors() {
  std::array<GLenum, 15> factors = kAFactors;
  factors[kModulatedFactor] = GL_ONE_MINUS_SRC_ALPHA;
  return factors;
}
constexpr std::array<GLenum, 15> kBFactors = MakeBFactors();

GLenum Equation(int function) {
  const auto index = static_cast<std::size_t>(function);
  return index < kEquations.size() ? kEquations[index] : GL_FUNC_ADD;
}

void DeriveFactor(GLenum& glFactor, int factor, const std::array<GLenum, 15>& table) {
  const auto index = static_cast<std::size_t>(factor);
  if (index < table.size()) glFactor = table[index];
}

bool IsComponent(int component) { return component >= 0 && component < 4; }

}  // namespace

unsigned RFpBlend_default::GetChangeCount() const { return mChangeCount; }

// With these parameters the result is A; the constant colour takes no part.
bool RFpBlend_default::IsIdentity() const {
  return mFuncRGB == 0 && mFuncAlpha == 0 && mAFactorRGB == 1 && mAFactorAlpha == 1 && mBFactorRGB == 0 &&
         mBFactorAlpha == 0;
}

int RFpBlend_default::GetInputCount() const { return IsIdentity() ? 1 : 2; }

int RFpBlend_default::GetStageCount() const { return 1; }

int RFpBlend_default::GetRequirementFlags(int stage) const {
  return stage != 0 || GetInputRequirement(0) == 1 ? kFormRectangleToBuffer : kFormRectangleOverBuffer;
}

int RFpBlend_default::GetInputRequirement(int stage) const { return stage != 0 || IsIdentity() ? 1 : 2; }

int RFpBlend_default::GetNextIndex(int, int index) const { return index + 1; }

void RFpBlend_default::Derive() {
  if (mBuiltCount == mChangeCount) return;
  mGLEquationRGB = Equation(mFuncRGB);
  mGLEquationAlpha = Equation(mFuncAlpha);
  DeriveFactor(mGLSrcRGB, mAFactorRGB, kAFactors);
  DeriveFactor(mGLSrcAlpha, mAFactorAlpha, kAFactors);
  DeriveFactor(mGLDstRGB, mBFactorRGB, kBFactors);
  DeriveFactor(mGLDstAlpha, mBFactorAlpha, kBFactors);
  mBuiltCount = mChangeCount;
}

int RFpBlend_default::Bind(RFpContext*, int, int) {
  auto* const gl = opengl20();
  if (!gl) return 0;
  Derive();
  BindEquations();
  BindFactors();
  BindEnvironment();
  gl->glBlendColor(mColor[0], mColor[1], mColor[2], mColor[3]);
  glEnable(GL_BLEND);
  return 1;
}

void RFpBlend_default::BindEquations() const {
  if (mGLEquationRGB != mGLEquationAlpha)
    opengl20()->glBlendEquationSeparate(mGLEquationRGB, mGLEquationAlpha);
  else if (mGLEquationRGB != GL_FUNC_ADD)
    opengl20()->glBlendEquation(mGLEquationRGB);
}

void RFpBlend_default::BindFactors() const {
  if (mGLSrcRGB == mGLSrcAlpha && mGLDstRGB == mGLDstAlpha)
    glBlendFunc(mGLSrcRGB, mGLDstRGB);
  else
    opengl20()->glBlendFuncSeparate(mGLSrcRGB, mGLDstRGB, mGLSrcAlpha, mGLDstAlpha);
}

void RFpBlend_default::BindEnvironment() const {
  const bool rgb = mBFactorRGB == kModulatedFactor;
  const bool alpha = mBFactorAlpha == kModulatedFactor;
  if (!rgb && !alpha) {
    glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_REPLACE);
    return;
  }
  const float constant = mColor[3];
  const float color = rgb ? constant : 1.0F;
  glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
  glColor4f(color, color, color, alpha ? constant : 1.0F);
}

void RFpBlend_default::Draw(RFpContext*, int, int, int width, int height) { glRecti(0, 0, width, height); }

// Deliberate: GL_REPLACE stays in the texture environment after a draw that has set it.
void RFpBlend_default::Unbind(RFpContext*, int, int) {
  if (GetInputCount() == 1) return;
  glDisable(GL_BLEND);
  if (mBFactorRGB == kModulatedFactor || mBFactorAlpha == kModulatedFactor) {
    glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
  }
  if (mGLEquationRGB != mGLEquationAlpha)
    opengl20()->glBlendEquationSeparate(GL_FUNC_ADD, GL_FUNC_ADD);
  else if (mGLEquationRGB != GL_FUNC_ADD)
    opengl20()->glBlendEquation(GL_FUNC_ADD);
}

int RFpBlend_default::SetFuncRGB(int function) { return RFpAssign(mFuncRGB, function, mChangeCount); }
int RFpBlend_default::GetFuncRGB() const { return mFuncRGB; }
int RFpBlend_default::SetFuncAlpha(int function) { return RFpAssign(mFuncAlpha, function, mChangeCount); }
int RFpBlend_default::GetFuncAlpha() const { return mFuncAlpha; }
int RFpBlend_default::SetAFactorRGB(int factor) { return RFpAssign(mAFactorRGB, factor, mChangeCount); }
int RFpBlend_default::GetAFactorRGB() const { return mAFactorRGB; }
int RFpBlend_default::SetAFactorAlpha(int factor) { return RFpAssign(mAFactorAlpha, factor, mChangeCount); }
int RFpBlend_default::GetAFactorAlpha() const { return mAFactorAlpha; }
int RFpBlend_default::SetBFactorRGB(int factor) { return RFpAssign(mBFactorRGB, factor, mChangeCount); }
int RFpBlend_default::GetBFactorRGB() const { return mBFactorRGB; }
int RFpBlend_default::SetBFactorAlpha(int factor) { return RFpAssign(mBFactorAlpha, factor, mChangeCount); }
int RFpBlend_default::GetBFactorAlpha() const { return mBFactorAlpha; }

float RFpBlend_default::SetColor(int component, float value) {
  return IsComponent(component) ? RFpAssign(mColor[static_cast<std::size_t>(component)], value, mChangeCount)
                                : 0.0F;
}

float RFpBlend_default::GetColor(int component) const {
  return IsComponent(component) ? mColor[static_cast<std::size_t>(component)] : 0.0F;
}
