// Splitting a source into tokens.
#pragma once

#include <string_view>
#include <vector>

#include "cg/internal/Diagnostic.h"

namespace cg {

struct Token {
  enum class Kind { kName, kInteger, kFloat, kSymbol, kEnd };
  Kind kind = Kind::kEnd;
  std::string_view text;  ///< a part of the source
  int line = 0;           ///< from 1
};

/// Stores the tokens of a source, the last one being kEnd; blanks and comments are left out. False when there
/// is something that belongs to no token.
[[nodiscard]] bool Tokenize(std::string_view source, std::vector<Token>& tokens, Diagnostic& diagnostic);

}  // namespace cg
