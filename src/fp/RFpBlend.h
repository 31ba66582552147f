// The blend node: combines two images by OpenGL's blending.
#pragma once

#include "fp/RFpNode.h"

/// Draws image A over image B, which lies in the target. Functions and factors are the numbers of the blend
/// operator's enumerations, separate for the colours and for alpha; any number is held, and a number outside
/// the enumeration draws as `RFpBlend_default` says. The setters count a change when the value differs, and
/// return the value now held.
class RIMAGE_API RFpBlend : public RFpNode {
 public:
  // Deliberate: the alpha factor of B stays as it is; its colour factor is set twice instead.
  void Reset() override;

  ///@{
  /// How the two pictures, each times its factor, become one: colours and alpha.
  virtual int SetFuncRGB(int function) = 0;
  virtual int GetFuncRGB() const = 0;
  virtual int SetFuncAlpha(int function) = 0;
  virtual int GetFuncAlpha() const = 0;
  ///@}
  ///@{
  /// What colours and alpha of A and of B are multiplied by.
  virtual int SetAFactorRGB(int factor) = 0;
  virtual int GetAFactorRGB() const = 0;
  virtual int SetAFactorAlpha(int factor) = 0;
  virtual int GetAFactorAlpha() const = 0;
  virtual int SetBFactorRGB(int factor) = 0;
  virtual int GetBFactorRGB() const = 0;
  virtual int SetBFactorAlpha(int factor) = 0;
  virtual int GetBFactorAlpha() const = 0;
  ///@}
  ///@{
  /// The constant colour: components 0 to 3 are red, green, blue, alpha; any other changes nothing and
  /// returns 0.
  virtual float SetColor(int component, float value) = 0;
  virtual float GetColor(int component) const = 0;
  ///@}
};

/// Returns a new blend node, reset, which the caller owns; null when memory runs out. Whatever extensions the
/// context has, this is an `RFpBlend_default`: the other variant is switched off when the module is built
/// (RIMAGE_BLEND_GPU).
RIMAGE_API RFpBlend* CreateBlendNode();
