// The GLSL of expressions.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "cg/internal/Diagnostic.h"
#include "cg/internal/Syntax.h"

namespace cg {

/// A variable or parameter of the function.
struct Symbol {
  std::string glsl;
  Type type;
  bool isConstant = false;
  bool isReferenced = false;
};

/// The names that are known at one place of a function, by scopes.
class Scopes {
 public:
  void Open() { mScopes.emplace_back(); }
  void Close() { mScopes.pop_back(); }
  /// Adds a name to the innermost scope, which owns it no longer than `symbol` lives; false when the scope
  /// has it.
  [[nodiscard]] bool Add(const std::string& name, Symbol* symbol) {
    return mScopes.back().emplace(name, symbol).second;
  }
  /// Returns what a name stands for, or null.
  Symbol* Find(const std::string& name) const;

 private:
  std::vector<std::map<std::string, Symbol*>> mScopes;
};

/// A part of an expression as GLSL: a name, a literal, a call, or something in parentheses.
struct Value {
  std::string text;
  Type type;
};

/// Writes expressions and checks their types. Every function returns nothing, with the error noted, when the
/// expression does not follow the language.
class ExpressionWriter {
 public:
  ExpressionWriter(const Scopes& scopes, bool canSample, Diagnostic& diagnostic)
      : mScopes(scopes), mCanSample(canSample), mDiagnostic(diagnostic) {}

  std::optional<Value> Write(const Expression& expression);
  /// The same, converted as an assignment converts: numbers into each other, a scalar to all components, a
  /// vector to its first components.
  std::optional<Value> Write(const Expression& expression, Type type);
  /// What may stand on the left of an assignment: a variable, or different components of one.
  std::optional<Value> WriteTarget(const Expression& expression);
  std::optional<Value> Convert(const Value& value, Type type, int line);
  std::optional<Value> WriteOperation(const std::string& op, const Value& left, const Value& right, int line);

 private:
  std::optional<Value> Fail(int line, const std::string& reason);
  Symbol* FindSymbol(const Expression& expression);

  std::optional<Value> WriteInteger(const Expression& expression);
  std::optional<Value> WriteFloat(const Expression& expression);
  std::optional<Value> WriteMember(const Expression& expression);
  std::optional<Value> WriteUnary(const Expression& expression);
  std::optional<Value> WriteBinary(const Expression& expression);
  std::optional<Value> WriteList(const Expression& list, Type type);
  std::optional<Value> WriteCall(const Expression& call);

  std::optional<Value> WriteLogic(const std::string& op, const Value& left, const Value& right, int line);
  std::optional<Value> WriteComparison(const std::string& op, const Value& left, const Value& right,
                                       int line);
  std::optional<Value> WriteArithmetic(const std::string& op, const Value& left, const Value& right,
                                       int line);

  std::optional<Value> WriteConstructor(const Expression& call, Type type,
                                        const std::vector<Value>& arguments);
  std::optional<Value> WriteComponents(const std::vector<Value>& values, Type type, int line);
  std::optional<Value> WriteFunction(const Expression& call, const std::vector<Value>& arguments);
  std::optional<Value> WriteSample(const Expression& call, const std::vector<Value>& arguments);
  std::optional<Value> WriteProduct(const Expression& call, const std::vector<Value>& arguments);
  std::optional<Value> WriteDot(const Expression& call, const std::vector<Value>& arguments);
  std::optional<Value> WriteSaturate(const Expression& call, const std::vector<Value>& arguments);
  std::optional<Value> WriteTrunc(const Expression& call, const std::vector<Value>& arguments);

  const Scopes& mScopes;
  bool mCanSample;
  Diagnostic& mDiagnostic;
};

}  // namespace cg
