// The properties of effects, as people write and read them.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "Failure.h"
#include "operators/RImageOperator.h"

/// A value for a property, as text.
struct PropertySetting {
  std::string name;
  std::string value;
};

/// Takes "Name=Value" apart; fails when there is no name or no equals sign.
PropertySetting ParseSetting(const std::string& text);

/// Sets a property through its setter. Fails, naming `subject`, for an unknown property, a value of another
/// type, an enumeration value without a text, and a value outside the declared range.
void SetProperty(const std::string& subject, RImageOperator& op, const PropertySetting& setting);

/// Returns the texts of an enumeration, by value from 0; empty for other types.
std::vector<std::string> EnumerationTexts(const RProperty& property);

/// Returns "boolean", "integer", "number", "colour" or "enumeration".
const char* TypeName(const RProperty& property);

/// Returns the shortest text that gives the number back in single precision, in which nodes hold their
/// numbers.
std::string NumberText(double number);

/// Returns the value as people read it.
std::string ValueText(const RProperty& property);

/// Returns a number that JSON writes as `NumberText` does.
double ShortNumber(double number);

/// Returns the value, numbers short; an enumeration's as its text.
nlohmann::ordered_json ValueToJson(const RProperty& property);
