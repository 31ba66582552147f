// The sub-commands and their options as a table, from which help, pages and completion are made.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "Commands.h"

/// An option, or an argument.
struct OptionRow {
  std::string name;   ///< with its dashes; of an argument, what stands in its place, such as "IN"
  std::string value;  ///< what the value looks like: "WxH", all texts as in "auto|never", or empty for none
  std::string help;   ///< on one line
  std::string group;  ///< the heading it stands under
  std::string shortName = {};  ///< another name with one dash; empty: none

  /// Whether a value follows in a word of its own.
  bool TakesWord() const { return !value.empty() && value[0] != '['; }
  /// The texts that the value is one of; none when it is something else.
  std::vector<std::string> Choices() const;
};

/// A sub-command, or the program.
struct CommandRow {
  std::string name;
  std::string help;  ///< on one line
  std::vector<OptionRow> arguments;
  std::vector<OptionRow> options;
  /// Paragraphs, apart by an empty line; lines that begin with spaces are shown as they stand.
  std::vector<std::string> notes;
  std::vector<Example> examples;
  std::string effect;  ///< the class of the effect that --set is about; empty: none

  /// How it is called.
  std::string Usage() const;
};

/// The program and its sub-commands.
struct CommandTable {
  CommandRow program;
  std::vector<CommandRow> commands;
};

/// The heading of options for the development of the tool, which are not in the pages.
inline constexpr const char* kDevelopment = "Development";

/// Returns what tells of a missing value: what it must be, or what it looks like.
std::string ValueHint(const CLI::Option& option);

/// Returns the word that an option may take behind an equals sign; empty for one that takes none so.
std::string OptionalWord(const CLI::Option& option);

/// Returns the row of the program. `app` holds its options.
CommandRow DescribeProgram(const CLI::App& app);
CommandRow DescribeCommand(const Command& command);
CommandTable DescribeAll(const CLI::App& app, std::span<const Command> commands);
