#include "cg/internal/Parser.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace cg {

namespace {

constexpr int kDeepest = 100;
constexpr const char* kTooDeep = "the source is nested too deeply";

// Words of the language that the subset does without.
constexpr std::string_view kForeignWords[] = {
    "asm",       "break",     "case",         "const",         "continue", "default", "discard",
    "do",        "extern",    "for",          "goto",          "inline",   "inout",   "interface",
    "packed",    "row_major", "column_major", "sampler_state", "static",   "struct",  "switch",
    "technique", "typedef",   "varying",      "volatile",      "while"};

struct Operator {
  std::string_view text;
  int precedence;
};

constexpr std::array<Operator, 13> kOperators{{{"||", 1},
                                               {"&&", 2},
                                               {"==", 3},
                                               {"!=", 3},
                                               {"<", 4},
                                               {">", 4},
                                               {"<=", 4},
                                               {">=", 4},
                                               {"+", 5},
                                               {"-", 5},
                                               {"*", 6},
                                               {"/", 6},
                                               {"%", 6}}};

constexpr std::string_view kAssignments[] = {"=", "+=", "-=", "*=", "/=", "%="};

int PrecedenceOf(std::string_view text) {
  const auto* found = std::ranges::find(kOperators, text, &Operator::text);
  return found == kOperators.end() ? 0 : found->precedence;
}

class Parser {
 public:
  Parser(const std::vector<Token>& tokens, Diagnostic& diagnostic)
      : mTokens(tokens), mDiagnostic(diagnostic) {}

  bool TakeFunctions(std::vector<Function>& functions) {
    while (Next().kind != Token::Kind::kEnd) {
      if (!TakeFunction(functions.emplace_back())) return false;
    }
    return true;
  }

 private:
  // --- Tokens.

  const Token& Next(std::size_t offset = 0) const {
    return mTokens[std::min(mIndex + offset, mTokens.size() - 1)];
  }
  bool NextIs(std::string_view text) const { return Next().kind != Token::Kind::kEnd && Next().text == text; }
  bool Fail(const std::string& reason) { return mDiagnostic.Fail(Next().line, reason); }

  /// Fails with the next token, which is not what was expected there.
  bool FailExpecting(const std::string& expected) {
    const Token& token = Next();
    if (token.kind == Token::Kind::kEnd) return Fail("expected " + expected + " before the end");
    if (std::ranges::count(kForeignWords, token.text)) return Fail(Quote(token.text) + " is not supported");
    if (IsForeignType(token.text)) return Fail("the type " + Quote(token.text) + " is not supported");
    return Fail("expected " + expected + " before " + Quote(token.text));
  }

  bool Accept(std::string_view text) {
    if (!NextIs(text)) return false;
    ++mIndex;
    return true;
  }
  bool Expect(std::string_view text) { return Accept(text) || FailExpecting(Quote(text)); }

  bool IsNewName() const {
    const Token& token = Next();
    return token.kind == Token::Kind::kName && !FindType(token.text) && !IsForeignType(token.text) &&
           !IsKeyword(token.text);
  }
  static bool IsKeyword(std::string_view word) {
    constexpr std::string_view kWords[] = {"if", "else", "return", "in", "out", "uniform", "true", "false"};
    return std::ranges::count(kWords, word) || std::ranges::count(kForeignWords, word);
  }
  bool ExpectName(std::string& name) {
    if (!IsNewName()) return FailExpecting("a name");
    name = Next().text;
    ++mIndex;
    return true;
  }
  bool ExpectType(Type& type) {
    const auto found = FindType(Next().text);
    if (Next().kind != Token::Kind::kName || !found) return FailExpecting("a type");
    type = *found;
    ++mIndex;
    return true;
  }

  // --- Functions.

  bool TakeFunction(Function& function) {
    function.line = Next().line;
    Type result;
    if (!ExpectType(result)) return false;
    if (result.base != Base::kVoid) return Fail("functions return void");
    if (!ExpectName(function.name) || !Expect("(") || !TakeParameters(function.parameters)) return false;
    if (NextIs(":")) return Fail("functions return nothing that could have a semantic");
    if (!NextIs("{")) return FailExpecting("'{'");
    return TakeStatement(function.body);
  }

  bool TakeParameters(std::vector<Parameter>& parameters) {
    if (Accept(")")) return true;
    if (NextIs("void") && Next(1).text == ")") {
      mIndex += 2;
      return true;
    }
    do {
      if (!TakeParameter(parameters.emplace_back())) return false;
    } while (Accept(","));
    return Expect(")");
  }

  bool TakeParameter(Parameter& parameter) {
    bool isIn = false;
    while (true) {
      bool* const qualifier = NextIs("uniform") ? &parameter.isUniform
                              : NextIs("out")   ? &parameter.isOut
                              : NextIs("in")    ? &isIn
                                                : nullptr;
      if (!qualifier) break;
      if (*qualifier) return Fail(Quote(Next().text) + " is there twice");
      *qualifier = true;
      ++mIndex;
    }
    if (parameter.isOut && (isIn || parameter.isUniform))
      return Fail("'out' does not go with 'in' or 'uniform'");
    if (!ExpectType(parameter.type)) return false;
    parameter.line = Next().line;
    if (!ExpectName(parameter.name)) return false;
    if (NextIs("[")) return Fail("arrays are not supported");
    if (Accept(":") && !TakeSemantic(parameter.semantic)) return false;
    return NextIs("=") ? Fail("default values are not supported") : true;
  }

  bool TakeSemantic(std::string& semantic) {
    do {
      if (Next().kind != Token::Kind::kName) return FailExpecting("a semantic");
      if (!semantic.empty()) semantic += '.';
      semantic += Next().text;
      ++mIndex;
    } while (Accept("."));
    return true;
  }

  // --- Statements.

  bool TakeStatement(Statement& statement) {
    if (++mDepth > kDeepest) return Fail(kTooDeep);
    statement.line = Next().line;
    const bool taken = NextIs("{")        ? TakeBlock(statement)
                       : NextIs("if")     ? TakeIf(statement)
                       : NextIs("return") ? TakeReturn(statement)
                                          : TakeAssignment(statement);
    --mDepth;
    return taken;
  }

  bool TakeBlock(Statement& block) {
    block.kind = Statement::Kind::kBlock;
    (void)Accept("{");
    while (!Accept("}")) {
      if (Accept(";")) continue;
      if (Next().kind == Token::Kind::kEnd) return FailExpecting("'}'");
      const bool isDeclaration = FindType(Next().text) && Next(1).kind == Token::Kind::kName;
      if (isDeclaration ? !TakeDeclarations(block) : !TakeStatement(block.children.emplace_back()))
        return false;
    }
    return true;
  }

  bool TakeDeclarations(Statement& block) {
    Type type;
    if (!ExpectType(type)) return false;
    if (type.base == Base::kVoid || type == kSamplerType || type == kMatrixType)
      return Fail("a variable cannot be a " + CgName(type));
    do {
      Statement& declaration = block.children.emplace_back();
      declaration.kind = Statement::Kind::kDeclaration;
      declaration.line = Next().line;
      declaration.type = type;
      if (!ExpectName(declaration.text)) return false;
      if (NextIs("[")) return Fail("arrays are not supported");
      if (Accept("=") && !TakeInitializer(declaration.expressions.emplace_back())) return false;
    } while (Accept(","));
    return Expect(";");
  }

  bool TakeInitializer(Expression& value) {
    if (!NextIs("{")) return TakeExpression(value);
    value.kind = Expression::Kind::kList;
    value.line = Next().line;
    ++mIndex;
    if (++mDepth > kDeepest) return Fail(kTooDeep);
    do {
      if (!TakeInitializer(value.children.emplace_back())) return false;
    } while (Accept(","));
    --mDepth;
    return Expect("}");
  }

  bool TakeIf(Statement& statement) {
    statement.kind = Statement::Kind::kIf;
    ++mIndex;
    if (!Expect("(") || !TakeExpression(statement.expressions.emplace_back()) || !Expect(")")) return false;
    if (!TakeStatement(statement.children.emplace_back())) return false;
    return !Accept("else") || TakeStatement(statement.children.emplace_back());
  }

  bool TakeReturn(Statement& statement) {
    statement.kind = Statement::Kind::kReturn;
    ++mIndex;
    return NextIs(";") ? Expect(";") : Fail("a function of type void returns no value");
  }

  bool TakeAssignment(Statement& statement) {
    if (NextIs(";")) return Expect(";");
    statement.kind = Statement::Kind::kAssignment;
    if (!TakeExpression(statement.expressions.emplace_back())) return false;
    if (!std::ranges::count(kAssignments, Next().text)) return FailExpecting("an assignment");
    statement.text = Next().text;
    ++mIndex;
    return TakeExpression(statement.expressions.emplace_back()) && Expect(";");
  }

  // --- Expressions.

  bool TakeExpression(Expression& result) { return TakeBinary(result, 1); }

  /// Puts `child` under a new node, whose further children follow.
  bool Wrap(Expression& result, Expression::Kind kind, int line, std::string_view text) {
    Expression node{kind, line, std::string(text), {}, 1};
    node.children.push_back(std::move(result));
    result = std::move(node);
    return UpdateDepth(result);
  }
  bool UpdateDepth(Expression& result) {
    for (const Expression& child : result.children) result.depth = std::max(result.depth, child.depth + 1);
    return result.depth <= kDeepest || Fail(kTooDeep);
  }

  bool TakeBinary(Expression& result, int least) {
    if (++mDepth > kDeepest) return Fail(kTooDeep);
    if (!TakeUnary(result)) return false;
    while (Next().kind == Token::Kind::kSymbol && PrecedenceOf(Next().text) >= least) {
      const Token& op = Next();
      ++mIndex;
      Expression right;
      if (!TakeBinary(right, PrecedenceOf(op.text) + 1)) return false;
      if (!Wrap(result, Expression::Kind::kBinary, op.line, op.text)) return false;
      result.children.push_back(std::move(right));
      if (!UpdateDepth(result)) return false;
    }
    --mDepth;
    return true;
  }

  bool TakeUnary(Expression& result) {
    if (!NextIs("-") && !NextIs("+") && !NextIs("!")) return TakePostfix(result);
    const Token& op = Next();
    ++mIndex;
    if (++mDepth > kDeepest) return Fail(kTooDeep);
    if (!TakeUnary(result)) return false;
    --mDepth;
    return Wrap(result, Expression::Kind::kUnary, op.line, op.text);
  }

  bool TakePostfix(Expression& result) {
    if (!TakePrimary(result)) return false;
    while (Accept(".")) {
      const Token& member = Next();
      if (member.kind != Token::Kind::kName) return FailExpecting("components");
      ++mIndex;
      if (!Wrap(result, Expression::Kind::kMember, member.line, member.text)) return false;
    }
    return NextIs("[") ? Fail("elements in brackets are not supported") : true;
  }

  bool TakePrimary(Expression& result) {
    if (Accept("(")) {
      if (FindType(Next().text) && Next(1).text == ")")
        return Fail("casts in front of a value are not supported");
      return TakeExpression(result) && Expect(")");
    }
    const Token& token = Next();
    result.line = token.line;
    result.text = token.text;
    if (token.kind == Token::Kind::kInteger || token.kind == Token::Kind::kFloat) {
      result.kind = token.kind == Token::Kind::kFloat ? Expression::Kind::kFloat : Expression::Kind::kInteger;
    } else if (NextIs("true") || NextIs("false")) {
      result.kind = Expression::Kind::kBool;
    } else if (!IsNewName() && !(token.kind == Token::Kind::kName && FindType(token.text))) {
      return FailExpecting("a value");
    }
    ++mIndex;
    if (token.kind == Token::Kind::kName && Accept("(")) return TakeArguments(result);
    return !FindType(token.text) || FailExpecting("'('");
  }

  bool TakeArguments(Expression& call) {
    call.kind = Expression::Kind::kCall;
    if (Accept(")")) return true;
    do {
      if (!TakeExpression(call.children.emplace_back())) return false;
    } while (Accept(","));
    return UpdateDepth(call) && Expect(")");
  }

  const std::vector<Token>& mTokens;
  Diagnostic& mDiagnostic;
  std::size_t mIndex = 0;
  int mDepth = 0;
};

}  // namespace

bool Parse(const std::vector<Token>& tokens, std::vector<Function>& functions, Diagnostic& diagnostic) {
  return Parser(tokens, diagnostic).TakeFunctions(functions);
}

}  // namespace cg
