// A named value of an object.
#pragma once

#include <string>

#include "rbaselib/RPropertyInfo.h"

class RArc;

/// A property of an object. The typed part is `RPropertyTemplate`.
///
/// There are two ways to change one. `Set` is what a user interface, an animation or a scene file does: the
/// value is clamped to the declared range and handed to the owner's virtual setter, which stores what it
/// makes of it. A store (`RPropertyTemplate::Store`) is what that setter does: it changes the value and
/// nothing else.
///
/// A property that chooses the values of others, such as a preset, stands before them in its object's list.
///
/// A property is a member of its owner, which it does not outlive, and used on the owner's thread. Nobody but
/// the setter learns of a change.
class RBASELIB_API RProperty {
 public:
  /// A property without description, owner, list and range.
  RProperty() = default;
  RProperty(const RProperty&) = delete;
  RProperty& operator=(const RProperty&) = delete;
  /// Takes the property off the list it is on.
  virtual ~RProperty();

  /// Binds the property to its class-wide description, which must outlive it, and to the object whose setter
  /// it runs.
  void SetPropertyInfo(const RPropertyInfo* info, RObject* owner);
  /// Unbinds the setter: `Set` then only stores. The description stays.
  void Detach() { mOwner = nullptr; }

  /// Declares the range of values that `Set` lets through; a colour is clamped component by component. NaN
  /// becomes the minimum, and a maximum below the minimum counts as the minimum. The two flags say whether
  /// the minimum or maximum can be moved by the user; they are kept and reported.
  void SetPropertyMinMax(double minimum, double maximum, bool minimumMovable, bool maximumMovable);
  ///@{
  /// Return what was declared: no range, and 0 for both bounds, before that.
  bool HasMinMax() const { return mHasRange; }
  double GetMin() const { return mMinimum; }
  double GetMax() const { return mMaximum; }
  bool IsMinMovable() const { return mMinimumMovable; }
  bool IsMaxMovable() const { return mMaximumMovable; }
  ///@}

  /// Returns the static name; empty before binding.
  const char* GetName() const { return mInfo && mInfo->name ? mInfo->name : ""; }
  /// Returns the description, borrowed, or null before binding.
  const RPropertyInfo* GetInfo() const { return mInfo; }
  /// Returns the text of an enumeration value, static, or null when there is none.
  const char* GetEnumerationText(int value) const;

  /// Returns a copy of the value, in the property's own type.
  virtual RPropertyValue GetValue() const = 0;
  /// Sets the value through the setter, clamped to the declared range. Fails, changing nothing, when the
  /// value is of another type; an int is taken for a double and 0 or 1 for a bool.
  bool SetValue(const RPropertyValue& value);
  /// Brings a value to the property's type and into its range, as `SetValue` does; false, leaving it
  /// untouched, when it is of another type.
  bool Fit(RPropertyValue& value) const;
  /// Hands a value of the property's own type to the setter past the declared range, or stores it when there
  /// is no setter. For values that fit already.
  void RunSetter(const RPropertyValue& value);
  /// Stores a value of the property's own type: no setter, no range. False for a value of another type.
  virtual bool StoreValue(const RPropertyValue& value) = 0;

  /// Returns the value as text: "true"; "3"; "0.5"; "1 0.5 0.25"; an enumeration value as its text, or as its
  /// number when it has none. Numbers have the digits that bring the same value back.
  std::string GetText() const;
  /// Sets the value from such a text (colours also with commas, enumerations by text in any case or by
  /// number). Fails, changing nothing, when the text is not a value of the property's type; infinities and
  /// NaN are none.
  bool SetText(const char* text);

  /// Writes the value into the archive's open field: an enumeration by number, a colour as three numbers.
  void WriteValue(RArc& arc) const;
  /// Reads the value from the archive's field of the property's name; false, leaving `value` untouched, when
  /// the field is missing, of another type or not finite.
  bool ReadValue(const RArc& arc, RPropertyValue& value) const;

 private:
  friend class RObject;  // keeps mHolder

  RPropertyValue Clamp(const RPropertyValue& value) const;
  bool ConvertToType(RPropertyValue& value) const;

  const RPropertyInfo* mInfo = nullptr;
  RObject* mOwner = nullptr;   // whose setter runs
  RObject* mHolder = nullptr;  // on whose list the property is
  double mMinimum = 0;
  double mMaximum = 0;
  bool mHasRange = false;
  bool mMinimumMovable = false;
  bool mMaximumMovable = false;
};
