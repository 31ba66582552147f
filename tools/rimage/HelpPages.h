// The command table as text.
#pragma once

#include <string>

#include "CommandTable.h"

/// Returns the help of the program.
std::string ProgramHelp(const CommandTable& table);
/// Returns the help of a sub-command.
std::string CommandHelp(const CommandRow& command);
/// Returns the manual page of the program with all sub-commands, for man.
std::string ManPage(const CommandTable& table);
/// Returns the same as Markdown.
std::string MarkdownPage(const CommandTable& table);
