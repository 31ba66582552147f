// The keyer node: computes a matte from one or two images.
#pragma once

#include "fp/RFpNode.h"

/// What a picture is keyed against.
enum kFpKeyerMode : int {
  kFpKeyChroma = 0,      ///< against the hue of the key colour
  kFpKeyLuminance = 1,   ///< against a luminance
  kFpKeyDifference = 2,  ///< input A against input B
};

/// What becomes of the matte.
enum kFpKeyerOutput : int {
  kFpKeyedImage = 0,  ///< the image, with the matte as alpha
  kFpMatte = 1,       ///< the matte, in all four channels
};

/// The sides of the picture, by which masks are counted.
enum kFpKeyerEdge : int {
  kFpEdgeLeft = 0,
  kFpEdgeRight = 1,
  kFpEdgeBottom = 2,
  kFpEdgeTop = 3,
};

/// Keys an image. It reads input A, and in difference keying input B; alpha of the inputs does not count.
///
/// The setters count a change when the value differs, and return the value now held. Numbers are clamped to
/// 0..1 beforehand, NaN becomes 0. An index out of range changes nothing and returns 0.
class RIMAGE_API RFpKeyer : public RFpNode {
 public:
  void Reset() override;

  ///@{
  /// One of `kFpKeyerMode`; any number is stored, but a stored one above 2 stays for good. With an unknown
  /// mode or output the result is transparent black in memory, and OpenGL's variants fail to bind.
  virtual int SetMode(int mode) = 0;
  virtual int GetMode() const = 0;
  ///@}
  ///@{
  /// One of `kFpKeyerOutput`; any number is stored.
  virtual int SetOutput(int output) = 0;
  virtual int GetOutput() const = 0;
  ///@}
  ///@{
  /// Whether what was kept goes and what went is kept.
  virtual bool SetInvertMatte(bool invertMatte) = 0;
  virtual bool GetInvertMatte() const = 0;
  ///@}
  ///@{
  /// A component, red, green, blue, of the key colour.
  virtual float SetKey(int component, float value) = 0;
  virtual float GetKey(int component) const = 0;
  ///@}
  ///@{
  /// How far along the key's hue a colour must lie to be keyed out; the luminance; or how alike A and B must
  /// be.
  virtual float SetThreshold(float threshold) = 0;
  virtual float GetThreshold() const = 0;
  ///@}
  ///@{
  /// The width of the transition between kept and keyed.
  virtual float SetSoftness(float softness) = 0;
  virtual float GetSoftness() const = 0;
  ///@}
  ///@{
  /// How far beyond the transition the key's hue is taken out of colours.
  virtual float SetSuppression(float suppression) = 0;
  virtual float GetSuppression() const = 0;
  ///@}
  ///@{
  /// The strip along an edge (`kFpKeyerEdge`) that is keyed out, as a fraction of the picture.
  virtual float SetMask(int edge, float fraction) = 0;
  virtual float GetMask(int edge) const = 0;
  ///@}
};

/// Returns a new keyer node, reset, which the caller owns; null when memory runs out. The first call of the
/// process decides by the context that is current which variant all nodes are.
RIMAGE_API RFpKeyer* CreateKeyerNode();
