// rimage operators: the effects that graphs are made of.
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <CLI/CLI.hpp>

#include <memory>
#include <nlohmann/json.hpp>

#include "Commands.h"
#include "EffectOperators.h"

namespace {

using Json = nlohmann::ordered_json;

void PrintJson() {
  Json list = Json::array();
  for (const OperatorEntry& entry : ListOperators()) {
    const auto op = CreateOperator(entry.name);
    list.push_back({{"name", entry.name},
                    {"title", entry.title},
                    {"inputs", PlugNames(*op, RImageOperator::kPlugInput)},
                    {"outputs", PlugNames(*op, RImageOperator::kPlugOutput)},
                    {"properties", op->GetPropertyCount()}});
  }
  fmt::print("{}\n", list.dump(2));
}

void PrintText() {
  for (const OperatorEntry& entry : ListOperators()) {
    const auto op = CreateOperator(entry.name);
    fmt::print("{:<12}{}, {} to {}, {} properties\n", entry.name, entry.title,
               fmt::join(PlugNames(*op, RImageOperator::kPlugInput), " "),
               fmt::join(PlugNames(*op, RImageOperator::kPlugOutput), " "), op->GetPropertyCount());
  }
}

}  // namespace

Command AddOperatorsCommand(CLI::App& app) {
  CLI::App* command = app.add_subcommand("operators", "List the effects that graphs are made of");
  const auto json = std::make_shared<bool>(false);
  command->add_flag("--json", *json, "Print JSON");
  return {command,
          [json](Host&) {
            *json ? PrintJson() : PrintText();
            return ExitCode::kOk;
          },
          {{"The effects and their inputs", "rimage operators"}}};
}
