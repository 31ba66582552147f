// Mistakes on the command line, in the words of the tool: each names its option or its sub-command.
#pragma once

#include <span>

#include "CommandLineFwd.h"
#include "Failure.h"

/// Fails where an equals sign behind an option has no value behind it, or the option takes none. To be called
/// before the command line is parsed: the library would take the next word. `words` begin with the program.
void CheckEqualsSigns(const CLI::App& program, std::span<char* const> words);

/// Returns what the library found out about the command line of `program`.
Failure InOwnWords(const CLI::App& program, const CLI::ParseError& error);

/// Fails where an option has an empty value, or an argument is none of the program's. To be called when the
/// command line is parsed.
void CheckParsed(const CLI::App& program);
