#include "cg/internal/FunctionWriter.h"

#include <algorithm>
#include <array>

namespace cg {

namespace {

/// What a semantic stands for. N is the semantic's number.
struct Binding {
  std::string_view semantic;
  Stage stage;
  bool isOut;
  std::string_view builtin;
  int count;  ///< how many numbers it has; 1 for none
};

constexpr std::array kBindings{Binding{"POSITION", Stage::kVertex, false, "gl_Vertex", 1},
                               Binding{"COLOR", Stage::kVertex, false, "gl_Color", 1},
                               Binding{"TEXCOORD", Stage::kVertex, false, "gl_MultiTexCoordN", 8},
                               Binding{"POSITION", Stage::kVertex, true, "gl_Position", 1},
                               Binding{"COLOR", Stage::kVertex, true, "gl_FrontColor", 1},
                               Binding{"TEXCOORD", Stage::kVertex, true, "gl_TexCoord[N]", 8},
                               Binding{"COLOR", Stage::kFragment, false, "gl_Color", 1},
                               Binding{"TEXCOORD", Stage::kFragment, false, "gl_TexCoord[N]", 8},
                               Binding{"COLOR", Stage::kFragment, true, "gl_FragColor", 1}};

constexpr std::string_view kMatrixSemantic = "state.matrix.mvp";

// A program without it draws nothing that is defined.
constexpr std::string_view RequiredOutput(Stage stage) {
  return stage == Stage::kVertex ? "gl_Position" : "gl_FragColor";
}

/// Returns the built-in variable of a semantic, such as "TEXCOORD0", "TEXCOORD" or "COLOR0"; empty when the
/// stage has none.
std::string BuiltinOf(std::string_view semantic, Stage stage, bool isOut) {
  const std::size_t end = semantic.find_last_not_of("0123456789");
  const std::string_view stem = semantic.substr(0, end == std::string_view::npos ? 0 : end + 1);
  const std::string_view digits = semantic.substr(stem.size());
  for (const Binding& row : kBindings) {
    if (row.semantic != stem || row.stage != stage || row.isOut != isOut) continue;
    const int number = digits.empty() ? 0 : digits.size() == 1 ? digits[0] - '0' : row.count;
    if (number >= row.count) return {};
    std::string name(row.builtin);
    if (const std::size_t place = name.find('N'); place != std::string::npos)
      name[place] = static_cast<char>('0' + number);
    return name;
  }
  return {};
}

/// Returns a name that GLSL can have nothing against: no two underscores in a row, not too long.
std::string SafeName(const std::string& name, std::size_t number) {
  constexpr std::size_t kLongest = 64;
  std::string safe = "c_" + name.substr(0, kLongest) + "_";
  safe.erase(std::unique(safe.begin(), safe.end(), [](char a, char b) { return a == '_' && b == '_'; }),
             safe.end());
  return safe + std::to_string(number);
}

std::string Zero(Type type) {
  return GlslName(type) + (type.base == Base::kBool ? "(false)" : type.base == Base::kInt ? "(0)" : "(0.0)");
}

}  // namespace

FunctionWriter::FunctionWriter(const Function& function, Stage stage, Diagnostic& diagnostic)
    : mFunction(function),
      mStage(stage),
      mDiagnostic(diagnostic),
      mExpressions(mScopes, stage == Stage::kFragment, diagnostic) {}

bool FunctionWriter::Write(Translation& translation) {
  mScopes.Open();
  if (!WriteParameters(translation) || !CheckOutputs()) return false;
  // The body shares the scope of the parameters, so that it cannot hide them.
  for (const Statement& statement : mFunction.body.children) {
    if (!WriteStatement(statement)) return false;
  }
  for (const std::string& output : mOutputs) AddLine(output);
  for (std::size_t i = 0; i < translation.parameters.size(); ++i)
    translation.parameters[i].isReferenced = mSymbols[i].isReferenced;
  translation.glsl = "#version 130\n" + mUniforms + "void main() {\n" + mBody + "}\n";
  return true;
}

Symbol* FunctionWriter::AddSymbol(const std::string& name, Type type, int line) {
  Symbol& symbol = mSymbols.emplace_back(Symbol{SafeName(name, mSymbols.size()), type});
  if (mScopes.Add(name, &symbol)) return &symbol;
  Fail(line, Quote(name) + " is declared twice");
  return nullptr;
}

// --- Parameters.

bool FunctionWriter::WriteParameters(Translation& translation) {
  for (const Parameter& parameter : mFunction.parameters) {
    Symbol* const symbol = AddSymbol(parameter.name, parameter.type, parameter.line);
    if (!symbol) return false;
    TranslatedParameter& translated = translation.parameters.emplace_back();
    translated.name = parameter.name;
    translated.type = parameter.type;
    const bool written = parameter.isUniform ? WriteUniform(parameter, *symbol, translated)
                         : parameter.isOut   ? WriteOutput(parameter, *symbol)
                                             : WriteInput(parameter, *symbol);
    if (!written) return false;
  }
  return true;
}

bool FunctionWriter::WriteUniform(const Parameter& parameter, Symbol& symbol,
                                  TranslatedParameter& translated) {
  symbol.isConstant = true;
  if (parameter.semantic == kMatrixSemantic && parameter.type == kMatrixType) {
    symbol.glsl = "gl_ModelViewProjectionMatrix";
    return true;
  }
  if (!parameter.semantic.empty())
    return Fail(parameter.line, "a uniform " + CgName(parameter.type) + " cannot have the semantic " +
                                    Quote(parameter.semantic));
  if (parameter.type == kSamplerType) {
    if (mSamplers == kMostSamplers) return Fail(parameter.line, "there are too many samplers");
    translated.unit = mSamplers++;
  } else if (parameter.type != FloatType(1)) {
    return Fail(parameter.line,
                "a uniform " + CgName(parameter.type) + " is not supported" +
                    (parameter.type == kMatrixType ? " without the semantic state.matrix.mvp" : ""));
  }
  translated.uniform = symbol.glsl;
  mUniforms += "uniform " + GlslName(parameter.type) + " " + symbol.glsl + ";\n";
  return true;
}

bool FunctionWriter::WriteInput(const Parameter& parameter, const Symbol& symbol) {
  if (!parameter.type.IsFloat()) return Fail(parameter.line, "an input is a float or a float vector");
  if (parameter.semantic.empty()) return Fail(parameter.line, Quote(parameter.name) + " needs a semantic");
  const std::string builtin = BuiltinOf(parameter.semantic, mStage, false);
  if (builtin.empty()) return Fail(parameter.line, "there is no input " + Quote(parameter.semantic));
  const auto value = mExpressions.Convert({builtin, FloatType(4)}, parameter.type, parameter.line);
  AddLine(GlslName(parameter.type) + " " + symbol.glsl + " = " + value->text + ";");
  return true;
}

bool FunctionWriter::WriteOutput(const Parameter& parameter, const Symbol& symbol) {
  if (!parameter.type.IsFloat()) return Fail(parameter.line, "an output is a float or a float vector");
  if (parameter.semantic.empty()) return Fail(parameter.line, Quote(parameter.name) + " needs a semantic");
  const std::string builtin = BuiltinOf(parameter.semantic, mStage, true);
  if (builtin.empty()) return Fail(parameter.line, "there is no output " + Quote(parameter.semantic));
  if (std::ranges::count(mOutputNames, builtin))
    return Fail(parameter.line, "the output " + Quote(parameter.semantic) + " is there twice");
  mOutputNames.push_back(builtin);
  AddLine(GlslName(parameter.type) + " " + symbol.glsl + " = " + Zero(parameter.type) + ";");
  // Missing components are those of a point: zeros and a one.
  constexpr std::array<std::string_view, 5> kRest{"", ", 0.0, 0.0, 1.0", ", 0.0, 1.0", ", 1.0", ""};
  mOutputs.push_back(builtin + " = vec4(" + symbol.glsl +
                     std::string(kRest.at(static_cast<std::size_t>(parameter.type.size))) + ");");
  return true;
}

bool FunctionWriter::CheckOutputs() const {
  if (std::ranges::count(mOutputNames, RequiredOutput(mStage))) return true;
  return mDiagnostic.Fail(mFunction.line, mStage == Stage::kVertex
                                              ? "a vertex program needs an output with the semantic POSITION"
                                              : "a fragment program needs an output with the semantic COLOR");
}

// --- Statements.

bool FunctionWriter::WriteStatement(const Statement& statement) {
  switch (statement.kind) {
    case Statement::Kind::kBlock:
      AddLine("{");
      if (!WriteBranch(statement)) return false;
      AddLine("}");
      return true;
    case Statement::Kind::kDeclaration:
      return WriteDeclaration(statement);
    case Statement::Kind::kAssignment:
      return WriteAssignment(statement);
    case Statement::Kind::kIf:
      return WriteIf(statement);
    case Statement::Kind::kReturn:
      break;
  }
  WriteReturn();
  return true;
}

bool FunctionWriter::WriteDeclaration(const Statement& statement) {
  std::string value = Zero(statement.type);
  if (!statement.expressions.empty()) {
    const auto written = mExpressions.Write(statement.expressions.front(), statement.type);
    if (!written) return false;
    value = written->text;
  }
  const Symbol* const symbol = AddSymbol(statement.text, statement.type, statement.line);
  if (!symbol) return false;
  AddLine(GlslName(statement.type) + " " + symbol->glsl + " = " + value + ";");
  return true;
}

bool FunctionWriter::WriteAssignment(const Statement& statement) {
  const auto target = mExpressions.WriteTarget(statement.expressions[0]);
  if (!target) return false;
  auto value = mExpressions.Write(statement.expressions[1]);
  if (value && statement.text != "=")
    value = mExpressions.WriteOperation(statement.text.substr(0, 1), *target, *value, statement.line);
  if (value) value = mExpressions.Convert(*value, target->type, statement.line);
  if (!value) return false;
  AddLine(target->text + " = " + value->text + ";");
  return true;
}

bool FunctionWriter::WriteIf(const Statement& statement) {
  const Expression& condition = statement.expressions.front();
  auto value = mExpressions.Write(condition);
  if (!value) return false;
  if (!value->type.IsScalar()) return Fail(condition.line, "a condition is a scalar");
  value = mExpressions.Convert(*value, kBoolType, condition.line);
  AddLine("if (" + value->text + ") {");
  if (!WriteBranch(statement.children[0])) return false;
  if (statement.children.size() > 1) {
    AddLine("} else {");
    if (!WriteBranch(statement.children[1])) return false;
  }
  AddLine("}");
  return true;
}

/// Writes a statement in a scope of its own, between braces that are there already.
bool FunctionWriter::WriteBranch(const Statement& statement) {
  mScopes.Open();
  ++mIndent;
  const bool isBlock = statement.kind == Statement::Kind::kBlock;
  const bool written = isBlock ? WriteBlock(statement) : WriteStatement(statement);
  --mIndent;
  mScopes.Close();
  return written;
}

bool FunctionWriter::WriteBlock(const Statement& block) {
  return std::ranges::all_of(block.children,
                             [this](const Statement& child) { return WriteStatement(child); });
}

void FunctionWriter::WriteReturn() {
  for (const std::string& output : mOutputs) AddLine(output);
  AddLine("return;");
}

}  // namespace cg
