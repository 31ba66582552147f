#include "cg/internal/ExpressionWriter.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <iterator>

namespace cg {

namespace {

bool IsNumeric(Type type) { return type.base == Base::kInt || type.base == Base::kFloat; }
bool IsNumericOrBool(Type type) { return IsNumeric(type) || type.base == Base::kBool; }

/// Returns the index of a component's letter in its set, 0 to 3, or -1.
int ComponentIndex(std::string_view set, char letter) {
  const std::size_t index = set.find(letter);
  return index == std::string_view::npos ? -1 : static_cast<int>(index);
}

/// Whether the text names one to four components of a vector of `size`, all from one set of letters.
bool AreComponents(const std::string& text, int size) {
  if (text.empty() || text.size() > 4) return false;
  const auto fits = [&](std::string_view set) {
    return std::ranges::all_of(text, [&](char letter) {
      const int index = ComponentIndex(set, letter);
      return index >= 0 && index < size;
    });
  };
  return fits("xyzw") || fits("rgba");
}

bool HasRepetition(std::string text) {
  std::ranges::sort(text);
  return std::ranges::adjacent_find(text) != text.end();
}

/// Returns components of a value; a scalar's only one can be repeated.
Value TakeComponents(const Value& value, const std::string& letters) {
  const Type type = FloatType(static_cast<int>(letters.size()));
  if (value.type.size > 1) return {value.text + "." + letters, type};
  return {letters.size() == 1 ? value.text : GlslName(type) + "(" + value.text + ")", type};
}

std::string FloatText(float value) {
  std::array<char, 32> digits{};
  const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), value);
  const std::string text(digits.data(), result.ptr);
  return text.find_first_of(".e") == std::string::npos ? text + ".0" : text;
}

}  // namespace

Symbol* Scopes::Find(const std::string& name) const {
  const auto scope =
      std::find_if(mScopes.rbegin(), mScopes.rend(), [&](const auto& names) { return names.contains(name); });
  return scope == mScopes.rend() ? nullptr : scope->at(name);
}

std::optional<Value> ExpressionWriter::Fail(int line, const std::string& reason) {
  mDiagnostic.Fail(line, reason);
  return std::nullopt;
}

Symbol* ExpressionWriter::FindSymbol(const Expression& expression) {
  Symbol* const symbol = mScopes.Find(expression.text);
  if (symbol) {
    symbol->isReferenced = true;
  } else {
    mDiagnostic.Fail(expression.line, Quote(expression.text) + " is not declared");
  }
  return symbol;
}

std::optional<Value> ExpressionWriter::Write(const Expression& expression) {
  switch (expression.kind) {
    case Expression::Kind::kBool:
      return Value{expression.text, kBoolType};
    case Expression::Kind::kInteger:
      return WriteInteger(expression);
    case Expression::Kind::kFloat:
      return WriteFloat(expression);
    case Expression::Kind::kName: {
      const Symbol* const symbol = FindSymbol(expression);
      return symbol ? std::optional(Value{symbol->glsl, symbol->type}) : std::nullopt;
    }
    case Expression::Kind::kMember:
      return WriteMember(expression);
    case Expression::Kind::kCall:
      return WriteCall(expression);
    case Expression::Kind::kUnary:
      return WriteUnary(expression);
    case Expression::Kind::kBinary:
      return WriteBinary(expression);
    case Expression::Kind::kList:
      break;
  }
  return Fail(expression.line, "values in braces can only initialise a variable");
}

std::optional<Value> ExpressionWriter::Write(const Expression& expression, Type type) {
  if (expression.kind == Expression::Kind::kList) return WriteList(expression, type);
  const auto value = Write(expression);
  return value ? Convert(*value, type, expression.line) : std::nullopt;
}

std::optional<Value> ExpressionWriter::WriteTarget(const Expression& expression) {
  const bool isMember = expression.kind == Expression::Kind::kMember;
  const Expression& variable = isMember ? expression.children.front() : expression;
  if (variable.kind != Expression::Kind::kName)
    return Fail(expression.line, "only a variable or its components can be assigned to");
  const Symbol* const symbol = FindSymbol(variable);
  if (!symbol) return std::nullopt;
  if (symbol->isConstant)
    return Fail(variable.line, Quote(variable.text) + " is uniform and cannot be changed");
  if (!isMember) return Value{symbol->glsl, symbol->type};
  if (HasRepetition(expression.text))
    return Fail(expression.line, "a component cannot be assigned to twice: " + Quote(expression.text));
  return WriteMember(expression);
}

// --- Literals.

std::optional<Value> ExpressionWriter::WriteInteger(const Expression& expression) {
  std::int32_t number = 0;
  const char* const end = expression.text.data() + expression.text.size();
  const auto result = std::from_chars(expression.text.data(), end, number);
  if (result.ec != std::errc() || result.ptr != end)
    return Fail(expression.line, "the number " + expression.text.substr(0, 20) + " is too large for an int");
  return Value{std::to_string(number), kIntType};
}

std::optional<Value> ExpressionWriter::WriteFloat(const Expression& expression) {
  double number = 0;
  const char* const end = expression.text.data() + expression.text.size();
  const auto result = std::from_chars(expression.text.data(), end, number);
  const auto single = static_cast<float>(number);
  if (result.ec != std::errc() || result.ptr != end || !std::isfinite(single))
    return Fail(expression.line, "the number " + expression.text.substr(0, 20) + " does not fit a float");
  return Value{FloatText(single), FloatType(1)};
}

// --- Conversions.

std::optional<Value> ExpressionWriter::Convert(const Value& value, Type type, int line) {
  if (value.type == type) return value;
  const bool isPossible = IsNumericOrBool(value.type) && IsNumericOrBool(type) &&
                          (value.type.size >= type.size || value.type.size == 1);
  if (!isPossible) return Fail(line, "a " + CgName(value.type) + " cannot become a " + CgName(type));
  if (value.type.size > type.size) {
    const Value cut =
        TakeComponents(value, std::string("xyzw").substr(0, static_cast<std::size_t>(type.size)));
    return Convert(cut, type, line);
  }
  // What is left is a scalar that changes its type, is spread over a vector, or both, as GLSL's constructors
  // do.
  return Value{GlslName(type) + "(" + value.text + ")", type};
}

std::optional<Value> ExpressionWriter::WriteList(const Expression& list, Type type) {
  std::vector<Value> values;
  std::vector<const Expression*> open{&list};
  while (!open.empty()) {
    const Expression* const next = open.back();
    open.pop_back();
    if (next->kind == Expression::Kind::kList) {
      std::transform(next->children.rbegin(), next->children.rend(), std::back_inserter(open),
                     [](const Expression& child) { return &child; });
      continue;
    }
    const auto value = Write(*next);
    if (!value) return std::nullopt;
    values.push_back(*value);
  }
  return WriteComponents(values, type, list.line);
}

/// Puts scalars and vectors together to a number of as many components.
std::optional<Value> ExpressionWriter::WriteComponents(const std::vector<Value>& values, Type type,
                                                       int line) {
  int components = 0;
  std::string text;
  for (const Value& value : values) {
    if (!IsNumericOrBool(value.type)) return Fail(line, "a " + CgName(value.type) + " has no components");
    components += value.type.size;
    if (components > type.size) break;
    text += (text.empty() ? "" : ", ") + value.text;
  }
  if (components != type.size)
    return Fail(
        line, "a " + CgName(type) + " needs values of " + std::to_string(type.size) + " components together");
  return Value{GlslName(type) + "(" + text + ")", type};
}

// --- Operators.

std::optional<Value> ExpressionWriter::WriteMember(const Expression& expression) {
  const auto value = Write(expression.children.front());
  if (!value) return std::nullopt;
  if (!value->type.IsFloat() || !AreComponents(expression.text, value->type.size))
    return Fail(expression.line, CgName(value->type) + " has no components " + Quote(expression.text));
  return TakeComponents(*value, expression.text);
}

std::optional<Value> ExpressionWriter::WriteUnary(const Expression& expression) {
  auto value = Write(expression.children.front());
  if (!value) return std::nullopt;
  if (expression.text == "!") {
    value = value->type.IsScalar() ? Convert(*value, kBoolType, expression.line)
                                   : Fail(expression.line, "'!' needs a scalar");
  } else if (!IsNumeric(value->type)) {
    value = Fail(expression.line, Quote(expression.text) + " needs a number");
  }
  return value ? std::optional(Value{"(" + expression.text + value->text + ")", value->type}) : std::nullopt;
}

std::optional<Value> ExpressionWriter::WriteBinary(const Expression& expression) {
  const auto left = Write(expression.children[0]);
  if (!left) return std::nullopt;
  const auto right = Write(expression.children[1]);
  if (!right) return std::nullopt;
  return WriteOperation(expression.text, *left, *right, expression.line);
}

std::optional<Value> ExpressionWriter::WriteOperation(const std::string& op, const Value& left,
                                                      const Value& right, int line) {
  if (op == "&&" || op == "||") return WriteLogic(op, left, right, line);
  const bool isComparison = op == "==" || op == "!=" || op == "<" || op == ">" || op == "<=" || op == ">=";
  return isComparison ? WriteComparison(op, left, right, line) : WriteArithmetic(op, left, right, line);
}

std::optional<Value> ExpressionWriter::WriteLogic(const std::string& op, const Value& left,
                                                  const Value& right, int line) {
  if (!left.type.IsScalar() || !right.type.IsScalar()) return Fail(line, Quote(op) + " needs two scalars");
  const auto a = Convert(left, kBoolType, line);
  const auto b = Convert(right, kBoolType, line);
  return Value{"(" + a->text + " " + op + " " + b->text + ")", kBoolType};
}

std::optional<Value> ExpressionWriter::WriteComparison(const std::string& op, const Value& left,
                                                       const Value& right, int line) {
  if (!left.type.IsScalar() || !right.type.IsScalar()) return Fail(line, Quote(op) + " needs two scalars");
  const bool areBools = left.type == kBoolType && right.type == kBoolType && (op == "==" || op == "!=");
  const bool areInts = left.type == kIntType && right.type == kIntType;
  const Type type = areBools ? kBoolType : areInts ? kIntType : FloatType(1);
  const auto a = Convert(left, type, line);
  const auto b = Convert(right, type, line);
  return Value{"(" + a->text + " " + op + " " + b->text + ")", kBoolType};
}

std::optional<Value> ExpressionWriter::WriteArithmetic(const std::string& op, const Value& left,
                                                       const Value& right, int line) {
  if (!IsNumeric(left.type) || !IsNumeric(right.type)) return Fail(line, Quote(op) + " needs two numbers");
  const bool areInts = left.type == kIntType && right.type == kIntType;
  if (op == "%" && !areInts) return Fail(line, "'%' needs two ints");
  if (left.type.size != right.type.size && left.type.size != 1 && right.type.size != 1)
    return Fail(line, Quote(op) + " of a " + CgName(left.type) + " and a " + CgName(right.type));
  if (areInts) return Value{"(" + left.text + " " + op + " " + right.text + ")", kIntType};
  const auto a = left.type.IsFloat() ? left : *Convert(left, FloatType(1), line);
  const auto b = right.type.IsFloat() ? right : *Convert(right, FloatType(1), line);
  return Value{"(" + a.text + " " + op + " " + b.text + ")", FloatType(std::max(a.type.size, b.type.size))};
}

// --- Calls.

std::optional<Value> ExpressionWriter::WriteCall(const Expression& call) {
  std::vector<Value> arguments;
  for (const Expression& child : call.children) {
    const auto argument = Write(child);
    if (!argument) return std::nullopt;
    arguments.push_back(*argument);
  }
  const auto type = FindType(call.text);
  return type ? WriteConstructor(call, *type, arguments) : WriteFunction(call, arguments);
}

std::optional<Value> ExpressionWriter::WriteConstructor(const Expression& call, Type type,
                                                        const std::vector<Value>& arguments) {
  if (!IsNumericOrBool(type)) return Fail(call.line, "a " + CgName(type) + " cannot be made of values");
  // One value is converted as by an assignment; several are put together.
  if (arguments.size() == 1) return Convert(arguments.front(), type, call.line);
  return WriteComponents(arguments, type, call.line);
}

std::optional<Value> ExpressionWriter::WriteFunction(const Expression& call,
                                                     const std::vector<Value>& arguments) {
  struct Row {
    std::string_view name;
    std::size_t arguments;
    std::optional<Value> (ExpressionWriter::*write)(const Expression&, const std::vector<Value>&);
  };
  static constexpr std::array<Row, 5> kFunctions{{{"dot", 2, &ExpressionWriter::WriteDot},
                                                  {"mul", 2, &ExpressionWriter::WriteProduct},
                                                  {"saturate", 1, &ExpressionWriter::WriteSaturate},
                                                  {"tex2D", 2, &ExpressionWriter::WriteSample},
                                                  {"trunc", 1, &ExpressionWriter::WriteTrunc}}};
  const auto* const row = std::ranges::find(kFunctions, call.text, &Row::name);
  if (row == kFunctions.end())
    return Fail(call.line, "the function " + Quote(call.text) + " is not supported");
  if (arguments.size() != row->arguments)
    return Fail(call.line, call.text + " takes " + std::to_string(row->arguments) + " argument" +
                               (row->arguments == 1 ? "" : "s"));
  return (this->*row->write)(call, arguments);
}

std::optional<Value> ExpressionWriter::WriteSample(const Expression& call,
                                                   const std::vector<Value>& arguments) {
  if (arguments[0].type != kSamplerType || arguments[1].type != FloatType(2))
    return Fail(call.line, "tex2D takes a sampler2D and a float2");
  if (!mCanSample) return Fail(call.line, "tex2D is for fragment programs");
  return Value{"texture(" + arguments[0].text + ", " + arguments[1].text + ")", FloatType(4)};
}

std::optional<Value> ExpressionWriter::WriteProduct(const Expression& call,
                                                    const std::vector<Value>& arguments) {
  const auto isFactor = [](const Value& value) {
    return value.type == kMatrixType || value.type == FloatType(4);
  };
  const bool hasMatrix = arguments[0].type == kMatrixType || arguments[1].type == kMatrixType;
  if (!hasMatrix || !isFactor(arguments[0]) || !isFactor(arguments[1]))
    return Fail(call.line, "mul takes a float4x4 and a float4, in any order, or two float4x4");
  const bool areMatrices = arguments[0].type == arguments[1].type;
  return Value{"(" + arguments[0].text + " * " + arguments[1].text + ")",
               areMatrices ? kMatrixType : FloatType(4)};
}

std::optional<Value> ExpressionWriter::WriteDot(const Expression& call, const std::vector<Value>& arguments) {
  if (!arguments[0].type.IsFloat() || arguments[0].type != arguments[1].type)
    return Fail(call.line, "dot takes two float vectors of one size");
  return Value{"dot(" + arguments[0].text + ", " + arguments[1].text + ")", FloatType(1)};
}

std::optional<Value> ExpressionWriter::WriteSaturate(const Expression& call,
                                                     const std::vector<Value>& arguments) {
  if (!arguments[0].type.IsFloat()) return Fail(call.line, "saturate takes a float or a float vector");
  return Value{"clamp(" + arguments[0].text + ", 0.0, 1.0)", arguments[0].type};
}

std::optional<Value> ExpressionWriter::WriteTrunc(const Expression& call,
                                                  const std::vector<Value>& arguments) {
  if (!arguments[0].type.IsFloat()) return Fail(call.line, "trunc takes a float or a float vector");
  return Value{"trunc(" + arguments[0].text + ")", arguments[0].type};
}

}  // namespace cg
