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
  kPropertyBool = 0,         ///< bool
  kPropertyInt = 1,          ///< int
  kPropertyDouble = 2,       ///< double, in the property's own unit
  kPropertyRGB = 3,          ///< `RgeRGBVector`
  kPropertyEnumeration = 4,  ///< int; texts are looked for among the values 0 to 255
};

/// The value of a property of any type.
using RPropertyValue = std::variant<bool, int, double, RgeRGBVector>;

/// Class-wide description of a property; one for all objects of the class. It never changes. Two properties
/// with the same one are of the same class, and hand each other values past the declared range.
struct RBASELIB_API RPropertyInfo {
  /// Hands a value of the property's type to the object's virtual setter.
  using Setter = void (*)(RObject* owner, const RPropertyValue& value);
  /// Returns the text of an enumeration value, static, or null for a value outside the enumeration.
  using AsString = const char* (*)(int value);

  const char* name = nullptr;             ///< static text
  RPropertyDataType type = kPropertyInt;  ///< what `RPropertyTemplate`'s value type stands for
  Setter setter = nullptr;                ///< null: values are only stored
  AsString asString = nullptr;            ///< set for enumerations only
};

/// What `RPropertySetter` needs beside itself.
namespace RPropertyDetail {
template <class>
struct SetterTraits;
/// The class and the argument of a setter.
template <class Owner, class Value>
struct SetterTraits<void (Owner::*)(Value)> {
  using OwnerType = Owner;                       ///< the class that declares the setter
  using ValueType = std::remove_cvref_t<Value>;  ///< the alternative of `RPropertyValue` that it takes
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
