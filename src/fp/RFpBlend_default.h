// The blend node on OpenGL's fixed blending.
#pragma once

#include <array>

#include "fp/RFpBlend.h"

/// Functions: 0 add, 1 A - B, 2 B - A, 3 minimum, 4 maximum (the last two without factors); any other adds.
/// Factors: 0 zero, 1 one, then pairs of a value and one minus it: 2 colour of A, 4 alpha of A, 6 colour of
/// B, 8 alpha of B, 10 the constant colour, 12 its alpha. 14 is min(alpha of A, 1 - alpha of B) for A (1 for
/// alpha), and for B one minus alpha of A, with A multiplied by the constant alpha beforehand. A factor
/// outside 0 to 14 leaves the OpenGL factor as it last was.
class RIMAGE_API RFpBlend_default : public RFpBlend {
 public:
  unsigned GetChangeCount() const override;
  int GetInputCount() const override;
  int GetStageCount() const override;
  int GetRequirementFlags(int stage) const override;
  int GetInputRequirement(int stage) const override;
  int GetNextIndex(int stage, int index) const override;
  int Bind(RFpContext* context, int stage, int form) override;
  void Draw(RFpContext* context, int stage, int form, int width, int height) override;
  void Unbind(RFpContext* context, int stage, int form) override;

  int SetFuncRGB(int function) override;
  int GetFuncRGB() const override;
  int SetFuncAlpha(int function) override;
  int GetFuncAlpha() const override;
  int SetAFactorRGB(int factor) override;
  int GetAFactorRGB() const override;
  int SetAFactorAlpha(int factor) override;
  int GetAFactorAlpha() const override;
  int SetBFactorRGB(int factor) override;
  int GetBFactorRGB() const override;
  int SetBFactorAlpha(int factor) override;
  int GetBFactorAlpha() const override;
  float SetColor(int component, float value) override;
  float GetColor(int component) const override;

 protected:
  /// Brings the OpenGL values up to date when a parameter has changed since the last time.
  void Derive();
  const std::array<float, 4>& Color() const { return mColor; }  ///< the constant colour

 private:
  bool IsIdentity() const;
  void BindEquations() const;
  void BindFactors() const;
  void BindEnvironment() const;

  int mFuncRGB = 0;
  int mFuncAlpha = 0;
  int mAFactorRGB = 1;
  int mAFactorAlpha = 1;
  int mBFactorRGB = 0;
  int mBFactorAlpha = 0;
  std::array<float, 4> mColor = {1.0F, 1.0F, 1.0F, 1.0F};
  // The OpenGL values of the reset parameters; a factor outside its table keeps what was there.
  unsigned mGLEquationRGB = 0x8006;
  unsigned mGLEquationAlpha = 0x8006;
  unsigned mGLSrcRGB = 1;
  unsigned mGLSrcAlpha = 1;
  unsigned mGLDstRGB = 0;
  unsigned mGLDstAlpha = 0;
  unsigned mChangeCount = 0;
  unsigned mBuiltCount = 0xFFFFFFFF;
};
