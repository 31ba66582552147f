// The tables that describe the properties of an effect.
#pragma once

#include <array>
#include <cstddef>
#include <optional>

#include "rbaselib/RObject.h"
#include "rbaselib/RPropertyTemplate.h"

/// A declared range of values.
struct ROperatorRange {
  ///@{
  /// A bound, which belongs to the range.
  double minimum;
  double maximum;
  ///@}
};

/// One property of an effect. The table of an effect, in the order of its setters, drives its construction
/// and `IsAnimatableProperty`.
template <class Effect>
struct ROperatorProperty {
  RPropertyInfo info;                    ///< name, type and default
  RProperty& (*member)(Effect& effect);  ///< the property of an effect
  void (Effect::*init)(RObject* owner);  ///< binds the member to its setter
  void (Effect::*readBack)();            ///< stores what the new node holds; null when a preset sets it
  bool animatable;                       ///< whether the host may animate it
  std::optional<ROperatorRange> range;   ///< none: any value
};

/// Declares a property: its member and the function that binds it to its virtual setter. `kProperties` is the
/// class's table.
#define R_OPERATOR_PROPERTY(Type, Name)                                         \
  RPropertyTemplate<Type> m##Name;                                              \
  void Name##Init(RObject* owner) {                                             \
    m##Name.SetPropertyInfo(&RFindPropertyRow(kProperties, #Name).info, owner); \
  }

/// A row of the table of `Class`; the arguments behind the name are the rest of its description, the
/// function that reads it back, whether it can be animated, and its range.
#define R_OPERATOR_PROPERTY_ROW(Class, Name, type, asString, readBack, animatable, ...)           \
  {                                                                                               \
    {#Name, type, &RPropertySetter<&Class::Name##Set>, asString},                                 \
        [](Class& effect) -> RProperty& { return effect.m##Name; }, &Class::Name##Init, readBack, \
        animatable, __VA_ARGS__                                                                   \
  }

/// Returns the row of that name; there must be one.
template <class Effect, std::size_t kRows>
const ROperatorProperty<Effect>& RFindPropertyRow(const std::array<ROperatorProperty<Effect>, kRows>& table,
                                                  std::string_view name) {
  std::size_t i = 0;
  while (name != table[i].info.name) ++i;
  return table[i];
}

/// Binds the properties of a new effect and adds them to its list.
template <class Effect, std::size_t kRows>
void RAddProperties(Effect& effect, const std::array<ROperatorProperty<Effect>, kRows>& table) {
  for (const ROperatorProperty<Effect>& row : table) {
    (effect.*row.init)(&effect);
    RProperty& property = row.member(effect);
    effect.PropertyAddToList(&property);
  }
}

/// Declares the ranges of the named properties, in that order; each name must have a row with a range.
template <class Effect, std::size_t kRows, std::size_t kNames>
void RDeclareRanges(Effect& effect, const std::array<ROperatorProperty<Effect>, kRows>& table,
                    const std::array<const char*, kNames>& names) {
  for (const char* const name : names) {
    const ROperatorProperty<Effect>& row = RFindPropertyRow(table, name);
    row.member(effect).SetPropertyMinMax(row.range->minimum, row.range->maximum, false, false);
  }
}

/// Stores the values that the new node holds, without running the setters.
template <class Effect, std::size_t kRows>
void RReadBackProperties(Effect& effect, const std::array<ROperatorProperty<Effect>, kRows>& table) {
  for (const ROperatorProperty<Effect>& row : table) {
    if (row.readBack) (effect.*row.readBack)();
  }
}

/// The same for the named properties, in that order; each name must have a row that is read back.
template <class Effect, std::size_t kRows, std::size_t kNames>
void RReadBackProperties(Effect& effect, const std::array<ROperatorProperty<Effect>, kRows>& table,
                         const std::array<const char*, kNames>& names) {
  for (const char* const name : names) (effect.*RFindPropertyRow(table, name).readBack)();
}

/// Returns what the table says of a property; true for one that is not in it.
template <class Effect, std::size_t kRows>
bool RIsAnimatable(const std::array<ROperatorProperty<Effect>, kRows>& table, const RProperty* property) {
  for (const ROperatorProperty<Effect>& row : table) {
    if (property && property->GetInfo() == &row.info) return row.animatable;
  }
  return true;
}

/// Returns the text of an enumeration value, or null outside the table.
template <std::size_t kValues>
const char* RAsString(const std::array<const char*, kValues>& texts, int value) {
  return value >= 0 && static_cast<std::size_t>(value) < kValues ? texts[static_cast<std::size_t>(value)]
                                                                 : nullptr;
}

///@{
/// Percent as the user sees it, and the fraction that nodes hold, in single precision.
inline float RToNodePercent(double percent) { return static_cast<float>(percent * 0.01); }
inline double RFromNodePercent(float fraction) { return static_cast<double>(fraction) * 100.0; }
///@}
