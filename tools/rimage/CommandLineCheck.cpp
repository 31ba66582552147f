#include "CommandLineCheck.h"

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "CommandTable.h"
#include "Suggestion.h"

namespace {

bool TakesValue(const CLI::Option& option) { return option.get_items_expected_max() > 0; }

// The sub-command in use, or the program where there is none yet.
const CLI::App& Chosen(const CLI::App& program) {
  const auto chosen = program.get_subcommands();
  return chosen.empty() ? program : *chosen.front();
}

const CLI::Option* FindOption(const CLI::App& program, const std::string& name) {
  const CLI::Option* option = Chosen(program).get_option_no_throw(name);
  return option ? option : program.get_option_no_throw(name);
}

Failure MissingValue(const CLI::Option& option) {
  return {ExitCode::kUsage, option.get_name(), "the value is missing", ValueHint(option)};
}

void CheckEqualsSign(const CLI::App& app, std::string_view word) {
  const std::size_t equals = word.find('=');
  if (!word.starts_with("--") || equals == std::string_view::npos) return;
  const std::string name(word.substr(0, equals));
  const CLI::Option* option = app.get_option_no_throw(name);
  if (!option) return;
  const bool isEmpty = equals + 1 == word.size();
  if (isEmpty && TakesValue(*option)) throw MissingValue(*option);
  if (!TakesValue(*option) && OptionalWord(*option).empty())
    throw Failure(ExitCode::kUsage, name, "takes no value");
}

// An empty text would often count as none. Operations look at their values themselves.
void CheckValues(const CLI::App& app) {
  for (const CLI::Option* option : app.get_options()) {
    const bool isOperation = option->get_multi_option_policy() == CLI::MultiOptionPolicy::TakeAll;
    if (option->get_positional() || !TakesValue(*option) || isOperation) continue;
    if (std::ranges::find(option->results(), "") != option->results().end()) throw MissingValue(*option);
  }
}

// The word that an option takes behind an equals sign only, and that became an argument in its own.
void CheckOptionalWords(const CLI::App& app) {
  for (const CLI::Option* option : app.get_options()) {
    const std::string word = OptionalWord(*option);
    if (word.empty() || option->count() == 0) continue;
    for (const CLI::Option* argument : app.get_options()) {
      const auto& words = argument->results();
      if (!argument->get_positional() || std::ranges::find(words, word) == words.end()) continue;
      throw Failure(ExitCode::kUsage, option->get_name(), "the value stands behind an equals sign",
                    fmt::format("{}={}", option->get_name(), word));
    }
  }
}

// Turns an argument that nothing takes into a failure that names the closest one.
void CheckRemaining(const CLI::App& app) {
  auto remaining = app.remaining();
  // The mark between options and file names is no argument itself.
  std::erase(remaining, "--");
  if (remaining.empty()) return;
  std::vector<std::string> known;
  for (const CLI::Option* option : app.get_options()) {
    if (!option->get_positional()) known.push_back("--" + option->get_single_name());
  }
  for (const CLI::App* command : app.get_subcommands(nullptr)) known.push_back(command->get_name());
  const std::string& word = remaining.front();
  const bool chosen = app.get_parent() != nullptr;
  const char* argument = chosen ? "argument" : "sub-command";
  const std::string name = chosen ? app.get_name() : "command line";
  const bool option = word.starts_with('-');
  throw Failure(ExitCode::kUsage, name,
                fmt::format("unknown {} '{}'", option ? "option" : argument, Printable(word)),
                Suggest(word.substr(0, word.find('=')), known));
}

}  // namespace

void CheckEqualsSigns(const CLI::App& program, std::span<char* const> words) {
  const CLI::App* app = &program;
  const auto commands = program.get_subcommands(nullptr);
  for (const std::string_view word : words.subspan(1)) {
    if (word == "--") return;
    CheckEqualsSign(*app, word);
    const auto command = std::ranges::find(commands, word, &CLI::App::get_name);
    if (app == &program && command != commands.end()) app = *command;
  }
}

Failure InOwnWords(const CLI::App& program, const CLI::ParseError& error) {
  // Every message begins with the option's name.
  const std::string text = error.what();
  const std::size_t end = text.find_first_of(": ");
  const std::string name = text.substr(0, end);
  const CLI::Option* const option = FindOption(program, name);
  if (!option || end == std::string::npos) return {ExitCode::kUsage, "command line", text};
  if (dynamic_cast<const CLI::ArgumentMismatch*>(&error)) {
    const auto most = static_cast<std::size_t>(std::max(option->get_items_expected_max(), 1));
    if (option->count() <= most) return MissingValue(*option);
    return {ExitCode::kUsage, name, fmt::format("given {} times", option->count()), "only one can count"};
  }
  if (dynamic_cast<const CLI::RequiresError*>(&error))
    return {ExitCode::kUsage, name, "it needs " + text.substr(text.rfind(' ') + 1)};
  return {ExitCode::kUsage, name, text.substr(end + 2)};
}

void CheckParsed(const CLI::App& program) {
  const CLI::App& chosen = Chosen(program);
  CheckValues(program);
  CheckValues(chosen);
  CheckOptionalWords(chosen);
  CheckRemaining(chosen);
  CheckRemaining(program);
}
