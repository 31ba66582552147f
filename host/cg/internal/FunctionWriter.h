// The GLSL of an entry point.
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "cg/internal/ExpressionWriter.h"
#include "cg/internal/Translator.h"

namespace cg {

/// Writes a function as the `main` of a shader and checks what it says.
///
/// Parameters become variables of `main`: inputs are copied from the built-in variables at its start, outputs
/// to them at its end. Names get a prefix and a number, so that none can be a word of GLSL or hide another.
class FunctionWriter {
 public:
  FunctionWriter(const Function& function, Stage stage, Diagnostic& diagnostic);

  /// False, with the error noted, when the function does not follow the language.
  [[nodiscard]] bool Write(Translation& translation);

 private:
  bool Fail(int line, const std::string& reason) { return mDiagnostic.Fail(line, reason); }
  void AddLine(const std::string& text) { mBody += std::string(2 * mIndent, ' ') + text + '\n'; }
  Symbol* AddSymbol(const std::string& name, Type type, int line);

  bool WriteParameters(Translation& translation);
  bool WriteUniform(const Parameter& parameter, Symbol& symbol, TranslatedParameter& translated);
  bool WriteInput(const Parameter& parameter, const Symbol& symbol);
  bool WriteOutput(const Parameter& parameter, const Symbol& symbol);
  bool CheckOutputs() const;

  bool WriteStatement(const Statement& statement);
  bool WriteBlock(const Statement& block);
  bool WriteDeclaration(const Statement& statement);
  bool WriteAssignment(const Statement& statement);
  bool WriteIf(const Statement& statement);
  bool WriteBranch(const Statement& statement);
  void WriteReturn();

  const Function& mFunction;
  Stage mStage;
  Diagnostic& mDiagnostic;
  Scopes mScopes;
  ExpressionWriter mExpressions;
  std::deque<Symbol> mSymbols;  // their addresses stay
  std::string mUniforms;
  std::string mBody;
  std::size_t mIndent = 1;
  std::vector<std::string> mOutputs;      // copies to the built-in variables
  std::vector<std::string> mOutputNames;  // the built-in variables
  int mSamplers = 0;
};

}  // namespace cg
