// Reading the tokens of a source.
#pragma once

#include <vector>

#include "cg/internal/Lexer.h"
#include "cg/internal/Syntax.h"

namespace cg {

/// Stores the functions of a source. False when the tokens do not follow the grammar. Depths are limited, so
/// that no source can exhaust the stack.
[[nodiscard]] bool Parse(const std::vector<Token>& tokens, std::vector<Function>& functions,
                         Diagnostic& diagnostic);

}  // namespace cg
