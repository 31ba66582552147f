// "Did you mean".
#pragma once

#include <string>
#include <vector>

/// Returns "did you mean WORD?" for the known word that is closest to a mistyped one; empty when none is
/// close. Capital and small letters are the same.
std::string Suggest(const std::string& word, const std::vector<std::string>& known);

/// Returns the same, or all known words where none is close.
std::string SuggestOrList(const std::string& word, const std::vector<std::string>& known);
