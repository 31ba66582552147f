// The blend effect: combines two images.
#pragma once

#include <array>

#include "fp/RFpBlend.h"
#include "operators/RImageOperator.h"
#include "operators/ROperatorProperty.h"

/// Combines image A (plug "IN_0") with image B ("IN_1"): function(A x factor, B x factor), separately for the
/// colours and for alpha, with the constant colour C as a further operand. A preset sets all six functions
/// and factors; changing one of them makes the preset "custom". The picture is as large as A; B counts as
/// transparent black outside its own area.
///
/// The presets are those of premultiplied pictures. Factor 14 of B scales A by C's alpha as well, so it sets
/// the factor of A to 12, C's alpha; the scaled A is what both factors of the group then see.
class RIMAGE_API RImOpBlend : public RImageOperator {
  R_CLASS(RImOpBlend, RImageOperator)

  /// Makes an operator with all properties at their defaults and a node of its own.
  explicit RImOpBlend(const RString& name);
  ~RImOpBlend() override;

  /// Releases node, plugs and images.
  void Destruct() override;
  ROperatorType OperatorType() override;
  RImageOperator* Clone() override;
  bool IsAnimatableProperty(RProperty* property) override;
  /// Returns the class's name in archives, static.
  const char* ArcGetObjectSubType() override;

  // --- Setters of the properties. Each stores what the node makes of the value.

  /// 1 to 16 set the functions and factors as well; any other number is only stored.
  virtual void PresetSet(int preset);
  ///@{
  /// Sets a property: the constant colour and its alpha in percent, or the number of a function or factor.
  virtual void ColorSet(RgeRGBVector color);
  virtual void AlphaSet(double percent);
  virtual void FuncRGBSet(int function);
  virtual void FuncAlphaSet(int function);
  virtual void AFactorRGBSet(int factor);
  virtual void AFactorAlphaSet(int factor);
  virtual void BFactorRGBSet(int factor);
  virtual void BFactorAlphaSet(int factor);
  ///@}

  // --- Texts of the enumerations, static; null for a value outside.

  ///@{
  /// Returns the text of a value, static, or null.
  static const char* PresetAsString(int value);
  static const char* FuncRGBAsString(int value);
  static const char* FuncAlphaAsString(int value);
  static const char* AFactorRGBAsString(int value);
  static const char* AFactorAlphaAsString(int value);
  static const char* BFactorRGBAsString(int value);
  static const char* BFactorAlphaAsString(int value);
  ///@}

  /// Makes an operator named "Blend" for the host's factory registry; the arguments are ignored.
  static IObject* Genesis(IObject* parent, const char* name, void* data);

  /// All properties, in the order of their setters.
  using PropertyTable = std::array<ROperatorProperty<RImOpBlend>, 9>;
  /// Returns the table, static.
  static const PropertyTable& GetPropertyTable() { return kProperties; }

 private:
  static const PropertyTable kProperties;

  RFpBlend* GetNode() const;
  /// Hands a value to the node and returns what the node holds then.
  int ToNode(int (RFpBlend::*setter)(int), int value) const;
  /// Stores a function or factor, which makes the preset "custom".
  void StoreSetting(RPropertyTemplate<int>& property, int (RFpBlend::*setter)(int), int value);
  void ColorReadBack();
  void AlphaReadBack();

  R_OPERATOR_PROPERTY(int, Preset)
  R_OPERATOR_PROPERTY(RgeRGBVector, Color)
  R_OPERATOR_PROPERTY(double, Alpha)
  R_OPERATOR_PROPERTY(int, FuncRGB)
  R_OPERATOR_PROPERTY(int, FuncAlpha)
  R_OPERATOR_PROPERTY(int, AFactorRGB)
  R_OPERATOR_PROPERTY(int, AFactorAlpha)
  R_OPERATOR_PROPERTY(int, BFactorRGB)
  R_OPERATOR_PROPERTY(int, BFactorAlpha)

  bool mRegistered = false;
};
