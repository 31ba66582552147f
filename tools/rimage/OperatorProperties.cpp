#include "OperatorProperties.h"

#include <fmt/format.h>

#include <QString>
#include <QStringList>
#include <array>
#include <charconv>
#include <nlohmann/json.hpp>

#include "Suggestion.h"
#include "rbaselib/RProperty.h"

namespace {

struct TypeText {
  const char* name;
  const char* value;  // what such a value looks like
};

// By RPropertyDataType.
constexpr std::array<TypeText, 5> kTypes = {{{"boolean", "true or false"},
                                             {"integer", "a whole number"},
                                             {"number", "a number"},
                                             {"colour", "three numbers: red, green, blue"},
                                             {"enumeration", "one of its texts"}}};
static_assert(kPropertyEnumeration == kTypes.size() - 1);

const TypeText& TypeOf(const RProperty& property) {
  return kTypes.at(static_cast<std::size_t>(property.GetInfo()->type));
}

RProperty& FindProperty(const std::string& subject, const RImageOperator& op, const std::string& name) {
  if (RProperty* const property = op.FastFindPropertyByName(name.c_str())) return *property;
  std::vector<std::string> known;
  known.reserve(static_cast<std::size_t>(op.GetPropertyCount()));
  for (int i = 0; i < op.GetPropertyCount(); ++i) known.emplace_back(op.GetProperty(i)->GetName());
  const std::string hint = Suggest(name, known);
  throw Failure(ExitCode::kUsage, subject,
                fmt::format("{} has no property '{}'", op.GetClassIdName(), Printable(name)),
                hint.empty() ? fmt::format("rimage properties {} lists them", op.GetClassIdName()) : hint);
}

Failure WrongValue(const std::string& subject, const PropertySetting& setting, const std::string& hint) {
  return {ExitCode::kUsage, subject,
          fmt::format("wrong value '{}' for {}", Printable(setting.value), setting.name), hint};
}

// A number of an enumeration must have a text.
void CheckListed(const std::string& subject, const RProperty& property, const PropertySetting& setting) {
  const std::vector<std::string> texts = EnumerationTexts(property);
  const QString value = QString::fromStdString(setting.value).trimmed();
  for (const std::string& text : texts) {
    if (value.compare(QString::fromStdString(text), Qt::CaseInsensitive) == 0) return;
  }
  bool isNumber = false;
  const int number = value.toInt(&isNumber);
  if (isNumber && number >= 0 && static_cast<std::size_t>(number) < texts.size()) return;
  throw WrongValue(subject, setting, SuggestOrList(setting.value, texts));
}

// The host would move such a value to the nearest one in the range without a word.
void CheckRange(const std::string& subject, const RProperty& property, const PropertySetting& setting) {
  if (!property.HasMinMax()) return;
  const QStringList words =
      QString::fromStdString(setting.value).replace(u',', u' ').simplified().split(u' ');
  for (const QString& word : words) {
    bool isNumber = false;
    const double number = word.toDouble(&isNumber);
    if (!isNumber || (number >= property.GetMin() && number <= property.GetMax())) continue;
    throw WrongValue(subject, setting,
                     fmt::format("{} to {}", NumberText(property.GetMin()), NumberText(property.GetMax())));
  }
}

}  // namespace

PropertySetting ParseSetting(const std::string& text) {
  const std::size_t equals = text.find('=');
  if (equals != std::string::npos && equals != 0) return {text.substr(0, equals), text.substr(equals + 1)};
  throw WrongValue("--set", text, "Name=Value");
}

void SetProperty(const std::string& subject, RImageOperator& op, const PropertySetting& setting) {
  RProperty& property = FindProperty(subject, op, setting.name);
  if (property.GetInfo()->type == kPropertyEnumeration) CheckListed(subject, property, setting);
  CheckRange(subject, property, setting);
  if (!property.SetText(setting.value.c_str())) throw WrongValue(subject, setting, TypeOf(property).value);
}

std::vector<std::string> EnumerationTexts(const RProperty& property) {
  std::vector<std::string> texts;
  while (const char* text = property.GetEnumerationText(static_cast<int>(texts.size()))) {
    texts.emplace_back(text);
  }
  return texts;
}

const char* TypeName(const RProperty& property) { return TypeOf(property).name; }

std::string NumberText(double number) { return fmt::format("{}", static_cast<float>(number)); }

std::string ValueText(const RProperty& property) {
  const RPropertyValue value = property.GetValue();
  if (const auto* number = std::get_if<double>(&value)) return NumberText(*number);
  if (const auto* colour = std::get_if<RgeRGBVector>(&value))
    return fmt::format("{} {} {}", NumberText(colour->r), NumberText(colour->g), NumberText(colour->b));
  return property.GetText();
}

double ShortNumber(double number) {
  const std::string text = NumberText(number);
  (void)std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

nlohmann::ordered_json ValueToJson(const RProperty& property) {
  const RPropertyValue value = property.GetValue();
  if (const auto* truth = std::get_if<bool>(&value)) return *truth;
  if (const auto* number = std::get_if<double>(&value)) return ShortNumber(*number);
  if (const auto* colour = std::get_if<RgeRGBVector>(&value))
    return {ShortNumber(colour->r), ShortNumber(colour->g), ShortNumber(colour->b)};
  if (property.GetInfo()->type == kPropertyEnumeration) return property.GetText();
  return std::get<int>(value);
}
