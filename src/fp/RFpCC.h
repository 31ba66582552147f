// The colour-correction node: corrects the colours of one image.
#pragma once

#include "fp/RFpNode.h"

/// Corrects one image by black and white points, a gamma with a mid point, and six settings that exist four
/// times: for the whole image (zone 0), the shadows (1), the midtones (2) and the highlights (3). Settings of
/// the zones 1 to 3 and a gamma other than 1 take three matrices, blended by luminance; all others one.
///
/// The setters count a change when the value differs, and return the value now held. An index out of range
/// changes nothing and returns 0.
class RIMAGE_API RFpCC : public RFpNode {
 public:
  void Reset() override;

  ///@{
  /// Whether the alpha of the image counts; without it the result is opaque.
  virtual bool SetTransparency(bool transparency) = 0;
  virtual bool GetTransparency() const = 0;
  ///@}
  ///@{
  /// Whether the result is turned into its negative.
  virtual bool SetNegative(bool negative) = 0;
  virtual bool GetNegative() const = 0;
  ///@}
  ///@{
  /// The value of a component, red, green, blue, that becomes 0; clamped to 0..1.
  virtual float SetBlack(int component, float value) = 0;
  virtual float GetBlack(int component) const = 0;
  ///@}
  ///@{
  /// The value that becomes 1; clamped to 0..1.
  virtual float SetWhite(int component, float value) = 0;
  virtual float GetWhite(int component) const = 0;
  ///@}
  ///@{
  /// Whether the black and white points are applied.
  virtual bool SetColorPoints(bool colorPoints) = 0;
  virtual bool GetColorPoints() const = 0;
  ///@}
  ///@{
  /// The luminance that parts shadows and highlights; clamped to 0.25..0.75.
  virtual float SetMidPoint(float midPoint) = 0;
  virtual float GetMidPoint() const = 0;
  ///@}
  ///@{
  /// The tonal curve value^(1 / gamma), as near as three lines come to it; clamped to 0.25..4.
  virtual float SetGamma(float gamma) = 0;
  virtual float GetGamma() const = 0;
  ///@}
  ///@{
  /// The hue rotation in degrees.
  virtual float SetZoneHue(int zone, float degrees) = 0;
  virtual float GetZoneHue(int zone) const = 0;
  ///@}
  ///@{
  /// Component 0 is the brightness, 1 to 3 are the offsets of red, green, blue.
  virtual float SetZoneOffset(int zone, int component, float value) = 0;
  virtual float GetZoneOffset(int zone, int component) const = 0;
  ///@}
  ///@{
  /// Component 0 is the contrast, 1 to 3 are the gains of red, green, blue.
  virtual float SetZoneGain(int zone, int component, float value) = 0;
  virtual float GetZoneGain(int zone, int component) const = 0;
  ///@}
  ///@{
  /// 0 is grey, 1 leaves the colours as they are.
  virtual float SetZoneSaturation(int zone, float saturation) = 0;
  virtual float GetZoneSaturation(int zone) const = 0;
  ///@}
};

/// Returns a new colour-correction node, reset, which the caller owns; null when memory runs out. The first
/// call of the process decides by the context that is current which variant all nodes are.
RIMAGE_API RFpCC* CreateCCNode();
