#include "CommandTable.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <sstream>

namespace {

std::string OnOneLine(std::string text) {
  std::ranges::replace(text, '\n', ' ');
  return text;
}

// The library puts what it checks behind a colon, and the name of the type where none was given.
std::string ValueOf(const CLI::Option& option) {
  const bool isFlag = option.get_items_expected_max() == 0;
  const std::string type = option.get_type_name();
  const std::string name = type.substr(0, type.find(':'));
  // A flag's value, where it may have one, stands behind an equals sign.
  if (isFlag && !name.starts_with('[')) return "";
  const bool isNumber = name == "INT" || name == "UINT" || name == "FLOAT";
  return isNumber ? "N" : name;
}

std::string Behind(const std::string& text, std::size_t place) {
  return place == std::string::npos ? "" : text.substr(place + 1);
}

OptionRow DescribeOption(const CLI::Option& option) {
  const bool isArgument = option.get_positional();
  const std::string usual = option.get_default_str();
  return {isArgument ? option.get_name(true) : "--" + option.get_single_name(),
          isArgument ? "" : ValueOf(option),
          OnOneLine(option.get_description()) + (usual.empty() ? "" : " (" + usual + ")"), option.get_group(),
          option.get_snames().empty() ? "" : "-" + option.get_snames().front()};
}

std::vector<std::string> Paragraphs(const std::string& text) {
  std::vector<std::string> paragraphs;
  std::istringstream lines(text);
  bool isOpen = false;
  for (std::string line; std::getline(lines, line);) {
    const bool isShown = line.starts_with(' ');
    if (line.empty() || isShown) isOpen = false;
    if (line.empty()) continue;
    if (isOpen)
      paragraphs.back() += ' ' + line;
    else
      paragraphs.push_back(line);
    isOpen = !isShown;
  }
  return paragraphs;
}

CommandRow Describe(const CLI::App& app) {
  CommandRow row;
  row.name = app.get_name();
  row.help = app.get_description();
  for (const CLI::Option* option : app.get_options()) {
    auto& list = option->get_positional() ? row.arguments : row.options;
    list.push_back(DescribeOption(*option));
  }
  row.notes = Paragraphs(app.get_footer());
  return row;
}

}  // namespace

std::vector<std::string> OptionRow::Choices() const {
  std::vector<std::string> choices;
  if (value.find('|') == std::string::npos) return choices;
  std::istringstream words(value);
  for (std::string word; std::getline(words, word, '|');) choices.push_back(word);
  return choices;
}

std::string CommandRow::Usage() const {
  std::string usage = name == "rimage" ? "rimage [OPTIONS] SUBCOMMAND" : "rimage " + name + " [OPTIONS]";
  for (const OptionRow& argument : arguments) usage += ' ' + argument.name;
  return usage;
}

std::string ValueHint(const CLI::Option& option) {
  const std::string type = option.get_type_name();
  const std::string check = Behind(type, type.find(':'));
  return check.empty() ? ValueOf(option) : check;
}

std::string OptionalWord(const CLI::Option& option) {
  const std::string value = ValueOf(option);
  return value.starts_with("[=") ? value.substr(2, value.size() - 3) : "";
}

CommandRow DescribeProgram(const CLI::App& app) { return Describe(app); }

CommandRow DescribeCommand(const Command& command) {
  CommandRow row = Describe(*command.app);
  row.examples = command.examples;
  row.effect = command.effect;
  return row;
}

CommandTable DescribeAll(const CLI::App& app, std::span<const Command> commands) {
  CommandTable table{DescribeProgram(app), {}};
  for (const Command& command : commands) table.commands.push_back(DescribeCommand(command));
  return table;
}
