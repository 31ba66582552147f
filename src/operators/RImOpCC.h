// The colour-correction effect: corrects the colours of one image.
#pragma once

#include <array>

#include "fp/RFpCC.h"
#include "operators/RImageOperator.h"
#include "operators/ROperatorProperty.h"

/// Corrects the image of plug "IN_0": black and white points, a gamma with a mid point, the negative, and
/// hue, contrast, brightness, saturation, gain and offset, each for the whole image and for each of three
/// tonal ranges. A new operator changes nothing but alpha: without transparency the result is opaque.
class RIMAGE_API RImOpCC : public RImageOperator {
  R_CLASS(RImOpCC, RImageOperator)

  /// Makes an operator with all properties at their defaults and a node of its own.
  explicit RImOpCC(const RString& name);
  ~RImOpCC() override;

  /// Releases node, plugs and images.
  void Destruct() override;
  ROperatorType OperatorType() override;
  RImageOperator* Clone() override;
  bool IsAnimatableProperty(RProperty* property) override;
  /// Returns the class's name in archives, static.
  const char* ArcGetObjectSubType() override;

  // --- Setters of the properties. Each stores what the node makes of the value, and touches no other.

  ///@{
  /// Sets a property; `kProperties` has the ranges. Hue is in degrees.
  virtual void TransparencySet(bool transparency);
  virtual void BlackSet(RgeRGBVector black);
  virtual void WhiteSet(RgeRGBVector white);
  virtual void ColorPointsSet(bool colorPoints);
  virtual void GammaSet(double gamma);
  virtual void MidPointSet(double midPoint);
  virtual void NegativeSet(bool negative);
  virtual void HueSet(double degrees);
  virtual void ContrastSet(double contrast);
  virtual void BrightnessSet(double brightness);
  virtual void SaturationSet(double saturation);
  virtual void GainSet(RgeRGBVector gain);
  virtual void OffsetSet(RgeRGBVector offset);
  virtual void ShadowHueSet(double degrees);
  virtual void ShadowContrastSet(double contrast);
  virtual void ShadowBrightnessSet(double brightness);
  virtual void ShadowSaturationSet(double saturation);
  virtual void ShadowGainSet(RgeRGBVector gain);
  virtual void ShadowOffsetSet(RgeRGBVector offset);
  virtual void MidHueSet(double degrees);
  virtual void MidContrastSet(double contrast);
  virtual void MidBrightnessSet(double brightness);
  virtual void MidSaturationSet(double saturation);
  virtual void MidGainSet(RgeRGBVector gain);
  virtual void MidOffsetSet(RgeRGBVector offset);
  virtual void HighlightHueSet(double degrees);
  virtual void HighlightContrastSet(double contrast);
  virtual void HighlightBrightnessSet(double brightness);
  virtual void HighlightSaturationSet(double saturation);
  virtual void HighlightGainSet(RgeRGBVector gain);
  virtual void HighlightOffsetSet(RgeRGBVector offset);
  ///@}

  /// Makes an operator named "CC" for the host's factory registry; the arguments are ignored.
  static IObject* Genesis(IObject* parent, const char* name, void* data);

  /// All properties, in the order of their setters.
  using PropertyTable = std::array<ROperatorProperty<RImOpCC>, 31>;
  /// Returns the table, static.
  static const PropertyTable& GetPropertyTable() { return kProperties; }

 private:
  static const PropertyTable kProperties;

  RFpCC* GetNode() const;

  // A property, its getter and setter in the node, and where the values lie there.
  using Number = RPropertyTemplate<double>;
  using Switch = RPropertyTemplate<bool>;
  using Color = RPropertyTemplate<RgeRGBVector>;
  using ZoneSetter = float (RFpCC::*)(int, float);
  using ZoneGetter = float (RFpCC::*)(int) const;
  using ComponentSetter = float (RFpCC::*)(int, int, float);
  using ComponentGetter = float (RFpCC::*)(int, int) const;

  void Store(Switch& property, bool (RFpCC::*setter)(bool), bool value);
  void Store(Number& property, float (RFpCC::*setter)(float), double value);
  void StorePoint(Color& property, ZoneSetter setter, RgeRGBVector value);
  void StoreInZone(Number& property, ZoneSetter setter, int zone, double value);
  void StoreForAll(Number& property, ComponentSetter setter, int zone, double value);
  void StoreForEach(Color& property, ComponentSetter setter, int zone, RgeRGBVector value);

  template <auto kProperty, auto kGetter>
  void ReadBack();
  template <auto kProperty, ZoneGetter kGetter>
  void ReadPoint();
  template <auto kProperty, ZoneGetter kGetter, int kZone>
  void ReadFromZone();
  template <auto kProperty, ComponentGetter kGetter, int kZone>
  void ReadForAll();
  template <auto kProperty, ComponentGetter kGetter, int kZone>
  void ReadForEach();

  R_OPERATOR_PROPERTY(bool, Transparency)
  R_OPERATOR_PROPERTY(RgeRGBVector, Black)
  R_OPERATOR_PROPERTY(RgeRGBVector, White)
  R_OPERATOR_PROPERTY(bool, ColorPoints)
  R_OPERATOR_PROPERTY(double, Gamma)
  R_OPERATOR_PROPERTY(double, MidPoint)
  R_OPERATOR_PROPERTY(bool, Negative)
  R_OPERATOR_PROPERTY(double, Hue)
  R_OPERATOR_PROPERTY(double, Contrast)
  R_OPERATOR_PROPERTY(double, Brightness)
  R_OPERATOR_PROPERTY(double, Saturation)
  R_OPERATOR_PROPERTY(RgeRGBVector, Gain)
  R_OPERATOR_PROPERTY(RgeRGBVector, Offset)
  R_OPERATOR_PROPERTY(double, ShadowHue)
  R_OPERATOR_PROPERTY(double, ShadowContrast)
  R_OPERATOR_PROPERTY(double, ShadowBrightness)
  R_OPERATOR_PROPERTY(double, ShadowSaturation)
  R_OPERATOR_PROPERTY(RgeRGBVector, ShadowGain)
  R_OPERATOR_PROPERTY(RgeRGBVector, ShadowOffset)
  R_OPERATOR_PROPERTY(double, MidHue)
  R_OPERATOR_PROPERTY(double, MidContrast)
  R_OPERATOR_PROPERTY(double, MidBrightness)
  R_OPERATOR_PROPERTY(double, MidSaturation)
  R_OPERATOR_PROPERTY(RgeRGBVector, MidGain)
  R_OPERATOR_PROPERTY(RgeRGBVector, MidOffset)
  R_OPERATOR_PROPERTY(double, HighlightHue)
  R_OPERATOR_PROPERTY(double, HighlightContrast)
  R_OPERATOR_PROPERTY(double, HighlightBrightness)
  R_OPERATOR_PROPERTY(double, HighlightSaturation)
  R_OPERATOR_PROPERTY(RgeRGBVector, HighlightGain)
  R_OPERATOR_PROPERTY(RgeRGBVector, HighlightOffset)

  bool mRegistered = false;
};
