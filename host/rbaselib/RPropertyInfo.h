// What all objects of a class know about one of their properties.
#pragma once

#include <type_traits>
#include <variant>

#include "rbaselib/RBaseLibExport.h"
#include "rbaselib/RgeRGBVector.h"

class RObject;

/// The types that a property can have, in the order of `RPropertyValue`'s alternatives; an enumeration is an
/// int.
enum RPropertyDataType : int {
  kPropertyBool = 0,
  kPropertyInt = 1,
  kPropertyDouble = 2,
  kPropertyRGB = 3,
  kPropertyEnumeration = 4,
};

/// The value of a property of any type.
using RPropertyValue = std::variant<bool, int, double, RgeRGBVector>;

/// Class-wide description of a property; one for all objects of the class.
struct RBASELIB_API RPropertyInfo {
  /// Hands a value of the property's type to the object's virtual setter.
  using Setter = void (*)(RObject* owner, const RPropertyValue& value);
  /// Returns the text of an enumeration value, static, or null for a value outside the enumeration.
  using AsString = const char* (*)(int value);

  const char* name = nullptr;  ///< static text
  RPropertyDataType type = kPropertyInt;
  Setter setter = nullptr;
  AsString asString = nullptr;  ///< set for enumerations only
};

namespace RPropertyDetail {
template <class>
struct SetterTraits;
template <class Owner, class Value>
struct SetterTraits<void (Owner::*)(Value)> {
  using OwnerType = Owner;
  using ValueType = std::remove_cvref_t<Value>;
};
}  // namespace RPropertyDetail

/// Wraps a virtual setter, as in `RPropertySetter<&RImOpCC::GammaSet>`, for `RPropertyInfo::setter`. A value
/// of another type than the setter's does not reach it.
template <auto kSetter>
void RPropertySetter(RObject* owner, const RPropertyValue& value) {
  using Traits = RPropertyDetail::SetterTraits<decltype(kSetter)>;
  if (const auto* typed = std::get_if<typename Traits::ValueType>(&value)) {
    (static_cast<typename Traits::OwnerType*>(owner)->*kSetter)(*typed);
  }
}
