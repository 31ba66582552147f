// A property of one value type.
#pragma once

#include "rbaselib/RProperty.h"

/// A property that holds a `T`: bool, int, double or `RgeRGBVector`.
template <class T>
class RPropertyTemplate : public RProperty {
 public:
  RPropertyTemplate() = default;
  explicit RPropertyTemplate(const T& value) : mValue(value) {}

  const T& Get() const { return mValue; }
  operator const T&() const { return mValue; }  // NOLINT(google-explicit-constructor): host contract
  /// Sets the value through the owner's setter, clamped to the declared range.
  void Set(const T& value) { SetValue(RPropertyValue(value)); }
  /// Stores the value and nothing else: no setter, no range.
  void Store(const T& value) { mValue = value; }

  RPropertyValue GetValue() const override { return mValue; }

 protected:
  void StoreValue(const RPropertyValue& value) override { mValue = std::get<T>(value); }

 private:
  T mValue{};
};
