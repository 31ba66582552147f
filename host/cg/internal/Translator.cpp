#include "cg/internal/Translator.h"

#include <algorithm>

#include "cg/internal/FunctionWriter.h"
#include "cg/internal/Parser.h"

namespace cg {

namespace {

constexpr std::size_t kLongestSource = 1 << 20;

/// Returns the entry point; null, with the error noted, when it is missing or there twice.
const Function* FindEntry(const std::vector<Function>& functions, std::string_view entry,
                          Diagnostic& diagnostic) {
  const Function* found = nullptr;
  for (const Function& function : functions) {
    if (function.name != entry) continue;
    if (found) {
      diagnostic.Fail(function.line, "the function " + Quote(function.name) + " is there twice");
      return nullptr;
    }
    found = &function;
  }
  if (!found) diagnostic.Fail(1, "there is no function " + Quote(entry));
  return found;
}

bool Write(std::string_view source, std::string_view entry, Stage stage, Diagnostic& diagnostic,
           Translation& translation) {
  if (source.size() > kLongestSource) return diagnostic.Fail(1, "the source is too long");
  std::vector<Token> tokens;
  std::vector<Function> functions;
  if (!Tokenize(source, tokens, diagnostic) || !Parse(tokens, functions, diagnostic)) return false;
  const Function* const function = FindEntry(functions, entry, diagnostic);
  return function && FunctionWriter(*function, stage, diagnostic).Write(translation);
}

}  // namespace

std::optional<Translation> Translate(std::string_view source, std::string_view entry, Stage stage,
                                     std::string& error) {
  Diagnostic diagnostic;
  Translation translation;
  if (Write(source, entry, stage, diagnostic, translation)) return translation;
  error = diagnostic.Text();
  return std::nullopt;
}

}  // namespace cg
