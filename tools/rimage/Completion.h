// What a shell offers for a word that is being written.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "CommandTable.h"

/// A word that can stand there.
struct Candidate {
  std::string text;
  std::string help;
};

/// What can stand in a place of the command line.
struct Completion {
  std::vector<Candidate> words = {};
  bool files = false;                        ///< names of files, too
  std::vector<std::string> extensions = {};  ///< of the files; none: any
};

/// Returns what can stand in place of the last word; `words` are those after the program's name.
Completion Complete(const CommandTable& table, std::span<const std::string> words);

/// Returns the completion as the scripts below read it: a line "words", or "files" and the extensions; then a
/// line for each word, with a tab before its help.
std::string CompletionText(const Completion& completion);

/// The shells that there are scripts for.
std::vector<std::string> CompletionShells();

/// Returns the script that makes a shell ask the program itself what can stand in a place. Fails for other
/// shells.
std::string CompletionScript(const std::string& shell);
