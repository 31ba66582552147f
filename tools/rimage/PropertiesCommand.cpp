// rimage properties: what can be set on an effect.
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <CLI/CLI.hpp>

#include <memory>
#include <nlohmann/json.hpp>

#include "Commands.h"
#include "EffectOperators.h"
#include "OperatorProperties.h"
#include "rbaselib/RProperty.h"

namespace {

using Json = nlohmann::ordered_json;

struct Options {
  std::string name;
  bool json = false;
};

Json Describe(RImageOperator& op, RProperty& property) {
  Json json = {{"name", property.GetName()}, {"type", TypeName(property)}};
  if (const auto texts = EnumerationTexts(property); !texts.empty()) json["values"] = texts;
  if (property.HasMinMax()) json["range"] = {ShortNumber(property.GetMin()), ShortNumber(property.GetMax())};
  json["default"] = ValueToJson(property);
  json["animatable"] = op.IsAnimatableProperty(&property);
  return json;
}

void PrintJson(RImageOperator& op) {
  Json list = Json::array();
  for (int i = 0; i < op.GetPropertyCount(); ++i) list.push_back(Describe(op, *op.GetProperty(i)));
  fmt::print("{}\n", Json({{"operator", op.GetClassIdName()}, {"properties", list}}).dump(2));
}

void PrintText(RImageOperator& op) {
  for (int i = 0; i < op.GetPropertyCount(); ++i) {
    RProperty& property = *op.GetProperty(i);
    std::string range;
    if (property.HasMinMax())
      range = fmt::format(", {} to {}", NumberText(property.GetMin()), NumberText(property.GetMax()));
    fmt::print("{:<20}{}{}, default {}{}\n", property.GetName(), TypeName(property), range,
               ValueText(property), op.IsAnimatableProperty(&property) ? ", animatable" : "");
    const auto texts = EnumerationTexts(property);
    for (std::size_t value = 0; value < texts.size(); ++value) {
      fmt::print("{:>22}  {}\n", value, texts[value]);
    }
  }
}

}  // namespace

Command AddPropertiesCommand(CLI::App& app) {
  CLI::App* command = app.add_subcommand("properties", "List the properties of an effect");
  const auto options = std::make_shared<Options>();
  command->add_option("OPERATOR", options->name, "Effect, by its sub-command or as rimage operators lists it")
      ->type_name("");
  command->add_flag("--json", options->json, "Print JSON");
  return {command,
          [command, options](Host&) {
            Require(*command, "OPERATOR", !options->name.empty());
            const auto op = CreateOperator(FindOperator("properties", options->name));
            options->json ? PrintJson(*op) : PrintText(*op);
            return ExitCode::kOk;
          },
          {{"What can be set on the blend, and its presets", "rimage properties blend"}}};
}
