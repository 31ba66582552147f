// "Did you mean".
#pragma once

#include <string>
#include <vector>

/// Returns "did you mean WORD?" for the known word that is closest to a mistyped one; empty when none is
/// close.
std::string Suggest(const std::string& word, const std::vector<std::string>& known);
