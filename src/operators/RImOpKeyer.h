// The keyer effect: pulls a matte from an image.
#pragma once

#include <array>

#include "fp/RFpKeyer.h"
#include "operators/RImageOperator.h"
#include "operators/ROperatorProperty.h"

/// Keys the image of plug "IN_0" by the hue of a key colour, by luminance, or by its difference from a clean
/// background ("IN_1", read in that mode only), softens and suppresses the matte, crops it with a mask at
/// each edge, and gives the keyed image or the matte itself.
///
/// Threshold, softness, suppression and masks are percent. The result is as large as the last image that is
/// read.
class RIMAGE_API RImOpKeyer : public RImageOperator {
  R_CLASS(RImOpKeyer, RImageOperator)

  /// Makes an operator with all properties at their defaults and a node of its own.
  explicit RImOpKeyer(const RString& name);
  ~RImOpKeyer() override;

  /// Releases node, plugs and images.
  void Destruct() override;
  ROperatorType OperatorType() override;
  RImageOperator* Clone() override;
  bool IsAnimatableProperty(RProperty* property) override;
  /// Returns the class's name in archives, static.
  const char* ArcGetObjectSubType() override;

  // --- Setters of the properties. Each stores what the node makes of the value, and touches no other.

  ///@{
  /// Sets a property; enumerations by the numbers of `kFpKeyerMode` and `kFpKeyerOutput`.
  virtual void ModeSet(int mode);
  virtual void OutputSet(int output);
  virtual void InvertMatteSet(bool invertMatte);
  virtual void KeySet(RgeRGBVector key);
  virtual void ThresholdSet(double percent);
  virtual void SoftnessSet(double percent);
  virtual void SuppressionSet(double percent);
  virtual void LeftMaskSet(double percent);
  virtual void RightMaskSet(double percent);
  virtual void BottomMaskSet(double percent);
  virtual void TopMaskSet(double percent);
  ///@}

  // --- Texts of the enumerations, static; null for a value outside.

  ///@{
  /// Returns the text of a value, static, or null.
  static const char* ModeAsString(int value);
  static const char* OutputAsString(int value);
  ///@}

  /// Makes an operator named "Keyer" for the host's factory registry; the arguments are ignored.
  static IObject* Genesis(IObject* parent, const char* name, void* data);

  /// All properties, in the order of their setters.
  using PropertyTable = std::array<ROperatorProperty<RImOpKeyer>, 11>;
  /// Returns the table, static.
  static const PropertyTable& GetPropertyTable() { return kProperties; }

 private:
  static const PropertyTable kProperties;

  RFpKeyer* GetNode() const;

  // A property, and its getter and setter in the node.
  using Percent = RPropertyTemplate<double>;
  using PercentSetter = float (RFpKeyer::*)(float);
  using PercentGetter = float (RFpKeyer::*)() const;

  template <class Value>
  void Store(RPropertyTemplate<Value>& property, Value (RFpKeyer::*setter)(Value), Value value);
  void StorePercent(Percent& property, PercentSetter setter, double percent);
  void StoreMask(Percent& property, int edge, double percent);

  template <auto kProperty, auto kGetter>
  void ReadBack();
  template <auto kProperty, PercentGetter kGetter>
  void ReadPercent();
  template <auto kProperty, int kEdge>
  void ReadMask();
  void ReadKey();

  R_OPERATOR_PROPERTY(int, Mode)
  R_OPERATOR_PROPERTY(int, Output)
  R_OPERATOR_PROPERTY(bool, InvertMatte)
  R_OPERATOR_PROPERTY(RgeRGBVector, Key)
  R_OPERATOR_PROPERTY(double, Threshold)
  R_OPERATOR_PROPERTY(double, Softness)
  R_OPERATOR_PROPERTY(double, Suppression)
  R_OPERATOR_PROPERTY(double, LeftMask)
  R_OPERATOR_PROPERTY(double, RightMask)
  R_OPERATOR_PROPERTY(double, BottomMask)
  R_OPERATOR_PROPERTY(double, TopMask)

  bool mRegistered = false;
};
