// A property of one value type.
#pragma once

#include <type_traits>

#include "rbaselib/RProperty.h"

/// A property that holds a `T`: bool, int, double or `RgeRGBVector`.
template <class T>
class RPropertyTemplate : public RProperty {
  static_assert(std::is_same_v<T, bool> || std::is_same_v<T, int> || std::is_same_v<T, double> ||
                std::is_same_v<T, RgeRGBVector>);

 public:
  /// Holds false, 0 or black.
  RPropertyTemplate() = default;
  /// Holds `value`; nothing is set through a setter.
  explicit RPropertyTemplate(const T& value) : mValue(value) {}

  ///@{
  /// Returns the value, borrowed from the property.
  const T& Get() const { return mValue; }
  // NOLINTNEXTLINE(google-explicit-constructor): a property stands for its value in the host's expressions.
  operator const T&() const { return mValue; }
  ///@}
  /// Sets the value through the owner's setter, clamped to the declared range.
  void Set(const T& value) { SetValue(RPropertyValue(value)); }
  /// Stores the value and nothing else: no setter, no range.
  void Store(const T& value) { mValue = value; }

  RPropertyValue GetValue() const override { return mValue; }
  bool StoreValue(const RPropertyValue& value) override {
    const T* typed = std::get_if<T>(&value);
    if (typed) mValue = *typed;
    return typed != nullptr;
  }

 private:
  T mValue{};
};
