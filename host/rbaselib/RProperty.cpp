#include "rbaselib/RProperty.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <string_view>
#include <vector>

#include "rbaselib/RArc.h"
#include "rbaselib/RObject.h"
#include "rbaselib/internal/RText.h"

namespace {

// An enumeration's texts are found by asking for value after value; the host's longest has fewer than this.
constexpr int kMaxEnumerationValues = 256;

bool IsFinite(int) { return true; }
bool IsFinite(double value) { return std::isfinite(value); }

// Takes what people type: a plus sign may stand in front.
template <class T>
std::optional<T> ParseNumber(std::string_view text) {
  if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
  T value{};
  if (!RText::ToNumber(text, value) || !IsFinite(value)) return std::nullopt;
  return value;
}

bool ReadFinite(const RArc& arc, const char* name, double& value, int index = 0) {
  double read = 0;
  if (!arc.FieldReadD(name, read, index) || !IsFinite(read)) return false;
  value = read;
  return true;
}

std::optional<bool> ParseBool(std::string_view text) {
  for (const char* yes : {"1", "true", "yes", "on"}) {
    if (RText::EqualsIgnoringCase(text, yes)) return true;
  }
  for (const char* no : {"0", "false", "no", "off"}) {
    if (RText::EqualsIgnoringCase(text, no)) return false;
  }
  return std::nullopt;
}

std::vector<std::string_view> SplitWords(std::string_view text, std::string_view separators) {
  std::vector<std::string_view> words;
  while (true) {
    const std::size_t begin = text.find_first_not_of(separators);
    if (begin == std::string_view::npos) return words;
    text.remove_prefix(begin);
    const std::size_t length = std::min(text.find_first_of(separators), text.size());
    words.push_back(text.substr(0, length));
    text.remove_prefix(length);
  }
}

std::string_view Trim(std::string_view text) {
  const auto isBlank = [](char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; };
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
  return text;
}

std::optional<RgeRGBVector> ParseColour(std::string_view text) {
  const auto words = SplitWords(text, ", \t");
  if (words.size() != 3) return std::nullopt;
  RgeRGBVector colour;
  for (int i = 0; i < 3; ++i) {
    const auto number = ParseNumber<double>(words[static_cast<std::size_t>(i)]);
    if (!number) return std::nullopt;
    colour[i] = *number;
  }
  return colour;
}

// Brings a whole number to the nearest one within the range.
int ClampWhole(int value, double minimum, double maximum) {
  const double inside = std::min(std::max<double>(value, std::ceil(minimum)), std::floor(maximum));
  return static_cast<int>(
      std::clamp<double>(inside, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

template <class T>
std::optional<RPropertyValue> Wrap(const std::optional<T>& value) {
  return value ? std::optional<RPropertyValue>(*value) : std::nullopt;
}

std::optional<RPropertyValue> ParseEnumeration(const RProperty& property, std::string_view text) {
  for (int value = 0; value < kMaxEnumerationValues; ++value) {
    const char* name = property.GetEnumerationText(value);
    if (name && RText::EqualsIgnoringCase(name, text)) return value;
  }
  return Wrap(ParseNumber<int>(text));
}

std::optional<RPropertyValue> ParseValue(const RProperty& property, RPropertyDataType type,
                                         std::string_view text) {
  switch (type) {
    case kPropertyBool:
      return Wrap(ParseBool(text));
    case kPropertyInt:
      return Wrap(ParseNumber<int>(text));
    case kPropertyDouble:
      return Wrap(ParseNumber<double>(text));
    case kPropertyRGB:
      return Wrap(ParseColour(text));
    case kPropertyEnumeration:
      return ParseEnumeration(property, text);
  }
  return std::nullopt;
}

}  // namespace

RProperty::~RProperty() {
  if (mHolder) mHolder->PropertyRemoveFromList(this);
}

void RProperty::SetPropertyInfo(const RPropertyInfo* info, RObject* owner) {
  mInfo = info;
  mOwner = owner;
}

void RProperty::SetPropertyMinMax(double minimum, double maximum, bool minimumMovable, bool maximumMovable) {
  mMinimum = minimum;
  mMaximum = std::max(minimum, maximum);
  mMinimumMovable = minimumMovable;
  mMaximumMovable = maximumMovable;
  mHasRange = true;
}

const char* RProperty::GetEnumerationText(int value) const {
  return mInfo && mInfo->asString ? mInfo->asString(value) : nullptr;
}

RPropertyValue RProperty::Clamp(const RPropertyValue& value) const {
  if (!mHasRange) return value;
  // Written so that NaN fails the first comparison and becomes the minimum.
  const auto clamp = [this](double x) { return !(x > mMinimum) ? mMinimum : std::min(x, mMaximum); };
  if (const auto* number = std::get_if<double>(&value)) return clamp(*number);
  if (const auto* number = std::get_if<int>(&value)) return ClampWhole(*number, mMinimum, mMaximum);
  if (const auto* colour = std::get_if<RgeRGBVector>(&value)) {
    return RgeRGBVector(clamp(colour->r), clamp(colour->g), clamp(colour->b));
  }
  return value;
}

bool RProperty::ConvertToType(RPropertyValue& value) const {
  const std::size_t wanted = GetValue().index();
  if (value.index() == wanted) return true;
  const auto* number = std::get_if<int>(&value);
  if (!number) return false;
  if (wanted == kPropertyDouble) {
    value = static_cast<double>(*number);
    return true;
  }
  if (wanted == kPropertyBool && (*number == 0 || *number == 1)) {
    value = *number == 1;
    return true;
  }
  return false;
}

bool RProperty::Fit(RPropertyValue& value) const {
  if (!ConvertToType(value)) return false;
  value = Clamp(value);
  return true;
}

bool RProperty::SetValue(const RPropertyValue& value) {
  RPropertyValue fitting = value;
  if (!Fit(fitting)) return false;
  RunSetter(fitting);
  return true;
}

void RProperty::RunSetter(const RPropertyValue& value) {
  if (mOwner && mInfo && mInfo->setter)
    mInfo->setter(mOwner, value);
  else
    (void)StoreValue(value);
}

std::string RProperty::GetText() const {
  const RPropertyValue value = GetValue();
  if (const auto* truth = std::get_if<bool>(&value)) return *truth ? "true" : "false";
  if (const auto* number = std::get_if<double>(&value)) return RText::FromNumber(*number);
  if (const auto* colour = std::get_if<RgeRGBVector>(&value)) {
    return RText::FromNumber(colour->r) + ' ' + RText::FromNumber(colour->g) + ' ' +
           RText::FromNumber(colour->b);
  }
  const int number = std::get<int>(value);
  const char* text = GetEnumerationText(number);
  return text ? text : std::to_string(number);
}

bool RProperty::SetText(const char* text) {
  if (!text || !mInfo) return false;
  const auto value = ParseValue(*this, mInfo->type, Trim(text));
  return value && SetValue(*value);
}

void RProperty::WriteValue(RArc& arc) const {
  const RPropertyValue value = GetValue();
  if (const auto* truth = std::get_if<bool>(&value)) arc.FieldWriteB(*truth);
  if (const auto* number = std::get_if<int>(&value)) arc.FieldWriteI(*number);
  if (const auto* number = std::get_if<double>(&value)) arc.FieldWriteD(*number);
  if (const auto* colour = std::get_if<RgeRGBVector>(&value)) {
    for (int i = 0; i < 3; ++i) arc.FieldWriteD((*colour)[i]);
  }
}

bool RProperty::ReadValue(const RArc& arc, RPropertyValue& value) const {
  RPropertyValue read = GetValue();
  bool good = false;
  if (auto* truth = std::get_if<bool>(&read)) good = arc.FieldReadB(GetName(), *truth);
  if (auto* number = std::get_if<int>(&read)) good = arc.FieldReadI(GetName(), *number);
  if (auto* number = std::get_if<double>(&read)) good = ReadFinite(arc, GetName(), *number);
  if (auto* colour = std::get_if<RgeRGBVector>(&read)) {
    good = true;
    for (int i = 0; i < 3; ++i) good = good && ReadFinite(arc, GetName(), (*colour)[i], i);
  }
  if (good) value = read;
  return good;
}
