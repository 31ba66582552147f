#include "support/shim/NVProgram.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <iterator>

namespace test::shim {

namespace {

constexpr std::string_view kHeader = "!!FP1.0";

struct Opcode {
  std::string_view name;
  int operands;
  bool scalar;
};

constexpr Opcode kOpcodes[] = {
    {"ADD", 2, false}, {"COS", 1, true},  {"DP3", 2, false}, {"DP4", 2, false}, {"DST", 2, false},
    {"EX2", 1, true},  {"FLR", 1, false}, {"FRC", 1, false}, {"LG2", 1, true},  {"LIT", 1, false},
    {"LRP", 3, false}, {"MAD", 3, false}, {"MAX", 2, false}, {"MIN", 2, false}, {"MOV", 1, false},
    {"MUL", 2, false}, {"POW", 2, true},  {"RCP", 1, true},  {"RSQ", 1, true},  {"SGE", 2, false},
    {"SIN", 1, true},  {"SLT", 2, false}, {"SUB", 2, false}, {"TEX", 1, false}, {"TXP", 1, false}};

const Opcode* FindOpcode(std::string_view name) {
  const auto* const found =
      std::find_if(std::begin(kOpcodes), std::end(kOpcodes), [&](const Opcode& o) { return o.name == name; });
  return found == std::end(kOpcodes) ? nullptr : found;
}

constexpr std::string_view kComponents = "xyzw";

bool IsWordCharacter(char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '$'; }

bool IsTexture(const NVInstruction& instruction) {
  return instruction.opcode == "TEX" || instruction.opcode == "TXP";
}

class Parser {
 public:
  Parser(std::string_view text, NVParseError& error) : mText(text), mError(error) {}

  std::optional<NVProgram> Run();

 private:
  bool Fail(const std::string& message);
  void SkipBlanks();
  bool Accept(char c);
  bool Expect(char c);
  std::string_view Word();
  bool Number(float& value);

  bool Statement(bool& ended);
  bool Declaration();
  bool Instruction(std::string_view name);
  bool Suffixes(std::string_view name, NVInstruction& instruction);
  bool Destination(NVInstruction& instruction);
  bool Mask(std::array<bool, 4>& mask);
  bool Rule(NVDestination& destination);
  bool Source(NVSource& source);
  bool Operand(NVSource& source);
  bool Swizzle(std::array<int, 4>& swizzle);
  bool Texture(NVInstruction& instruction);
  bool Bracketed(std::string_view& name);
  bool Temporary(std::string_view name, NVRegister& reg);
  bool Input(NVRegister& reg);
  bool Output(NVRegister& reg);
  bool Literal(NVRegister& reg);
  bool Scalar(NVRegister& reg);
  bool CheckReads(const NVInstruction& instruction);

  std::string_view mText;
  std::size_t mAt = 0;
  NVParseError& mError;
  NVProgram mProgram;
};

bool Parser::Fail(const std::string& message) {
  mError = {mAt, message};
  return false;
}

void Parser::SkipBlanks() {
  while (mAt < mText.size() && std::isspace(static_cast<unsigned char>(mText[mAt]))) ++mAt;
}

bool Parser::Accept(char c) {
  SkipBlanks();
  if (mAt >= mText.size() || mText[mAt] != c) return false;
  ++mAt;
  return true;
}

bool Parser::Expect(char c) { return Accept(c) || Fail(std::string("expected ") + c); }

std::string_view Parser::Word() {
  SkipBlanks();
  const std::size_t first = mAt;
  while (mAt < mText.size() && IsWordCharacter(mText[mAt])) ++mAt;
  return mText.substr(first, mAt - first);
}

bool Parser::Number(float& value) {
  SkipBlanks();
  const auto [end, error] = std::from_chars(mText.data() + mAt, mText.data() + mText.size(), value);
  if (error != std::errc()) return Fail("expected a number");
  mAt = static_cast<std::size_t>(end - mText.data());
  return true;
}

std::optional<NVProgram> Parser::Run() {
  if (!mText.starts_with(kHeader)) {
    Fail("the header is missing");
    return std::nullopt;
  }
  mAt = kHeader.size();
  for (bool ended = false; !ended;) {
    if (!Statement(ended)) return std::nullopt;
  }
  SkipBlanks();
  if (mAt != mText.size()) {
    Fail("text behind END");
    return std::nullopt;
  }
  return mProgram;
}

bool Parser::Statement(bool& ended) {
  const std::string_view word = Word();
  if (word == "END") {
    ended = true;
    return true;
  }
  if (word == "DECLARE") return Declaration() && Expect(';');
  return Instruction(word) && Expect(';');
}

bool Parser::Declaration() {
  const std::string_view name = Word();
  if (name.empty()) return Fail("expected a name");
  if (mProgram.FindParameter(name) >= 0) return Fail("declared twice");
  mProgram.parameters.emplace_back(name);
  return true;
}

bool Parser::Instruction(std::string_view name) {
  NVInstruction instruction;
  if (!Suffixes(name, instruction) || !Destination(instruction)) return false;
  for (int i = 0; i < NVOperandCount(instruction.opcode); ++i) {
    NVSource source;
    if (!Expect(',') || !Source(source)) return false;
    instruction.sources.push_back(source);
  }
  if (IsTexture(instruction) && !Texture(instruction)) return false;
  if (!CheckReads(instruction)) return false;
  mProgram.instructions.push_back(std::move(instruction));
  return true;
}

// OP, then R, H or X for the precision, then C, then _SAT.
bool Parser::Suffixes(std::string_view name, NVInstruction& instruction) {
  constexpr std::string_view kSaturate = "_SAT";
  constexpr std::size_t kOpcodeSize = 3;
  if (name.ends_with(kSaturate)) {
    instruction.saturates = true;
    name.remove_suffix(kSaturate.size());
  }
  instruction.opcode = name.substr(0, kOpcodeSize);
  std::string_view rest = name.size() > kOpcodeSize ? name.substr(kOpcodeSize) : std::string_view();
  if (!rest.empty() && (rest[0] == 'R' || rest[0] == 'H' || rest[0] == 'X')) rest.remove_prefix(1);
  if (rest == "C") {
    instruction.setsCondition = true;
    rest.remove_prefix(1);
  }
  return (rest.empty() && FindOpcode(instruction.opcode)) || Fail("no such instruction");
}

bool Parser::Destination(NVInstruction& instruction) {
  NVDestination& destination = instruction.destination;
  const std::string_view name = Word();
  const bool known = name == "o" ? Output(destination.reg) : Temporary(name, destination.reg);
  if (!known) return name == "o" ? false : Fail("no such register to write");
  return Mask(destination.mask) && Rule(destination);
}

bool Parser::Mask(std::array<bool, 4>& mask) {
  if (!Accept('.')) return true;
  mask = {false, false, false, false};
  std::size_t next = 0;
  for (const char c : Word()) {
    const std::size_t component = kComponents.find(c, next);
    if (component == std::string_view::npos) return Fail("not a write mask");
    mask[component] = true;
    next = component + 1;
  }
  return next > 0 || Fail("an empty write mask");
}

// An empty pair of brackets means always.
bool Parser::Rule(NVDestination& destination) {
  if (!Accept('(')) return true;
  static constexpr std::pair<std::string_view, NVRule> kRules[] = {
      {"", NVRule::kAlways},      {"TR", NVRule::kAlways},       {"FL", NVRule::kNever},
      {"GT", NVRule::kGreater},   {"GE", NVRule::kGreaterEqual}, {"LT", NVRule::kLess},
      {"LE", NVRule::kLessEqual}, {"EQ", NVRule::kEqual},        {"NE", NVRule::kNotEqual}};
  const std::string_view name = Word();
  const auto* const rule =
      std::find_if(std::begin(kRules), std::end(kRules), [&](const auto& row) { return row.first == name; });
  if (rule == std::end(kRules)) return Fail("no such condition");
  destination.rule = rule->second;
  return Swizzle(destination.ruleSwizzle) && Expect(')');
}

bool Parser::Source(NVSource& source) {
  source.negate = Accept('-');
  if (!source.negate) (void)Accept('+');
  if (Accept('|')) {
    source.absolute = true;
    return Operand(source) && Swizzle(source.swizzle) && Expect('|');
  }
  if (!Operand(source) || !Swizzle(source.swizzle)) return false;
  return !Accept('(') || Expect(')');
}

bool Parser::Operand(NVSource& source) {
  SkipBlanks();
  const char c = mAt < mText.size() ? mText[mAt] : '\0';
  if (c == '{') return Literal(source.reg);
  if (std::isdigit(static_cast<unsigned char>(c)) || c == '.') return Scalar(source.reg);
  const std::string_view name = Word();
  if (name == "f") return Input(source.reg);
  source.reg.kind = NVRegister::kParameter;
  source.reg.index = mProgram.FindParameter(name);
  return source.reg.index >= 0 || Temporary(name, source.reg) || Fail("no such register to read");
}

// One letter goes to all components.
bool Parser::Swizzle(std::array<int, 4>& swizzle) {
  if (!Accept('.')) return true;
  const std::string_view letters = Word();
  if (letters.size() != 1 && letters.size() != 4) return Fail("not a swizzle");
  for (std::size_t i = 0; i < 4; ++i) {
    const std::size_t component = kComponents.find(letters[letters.size() == 1 ? 0 : i]);
    if (component == std::string_view::npos) return Fail("not a swizzle");
    swizzle[i] = static_cast<int>(component);
  }
  return true;
}

bool Parser::Texture(NVInstruction& instruction) {
  if (!Expect(',')) return false;
  const std::string_view unit = Word();
  constexpr std::size_t kDigit = 3;
  if (unit.size() != kDigit + 1 || !unit.starts_with("TEX") || unit[kDigit] < '0' || unit[kDigit] > '7')
    return Fail("no such texture unit");
  instruction.textureUnit = unit[kDigit] - '0';
  if (!Expect(',')) return false;
  instruction.textureTarget = Word();
  static constexpr std::string_view kTargets[] = {"1D", "2D", "3D", "CUBE", "RECT"};
  return std::find(std::begin(kTargets), std::end(kTargets), instruction.textureTarget) !=
             std::end(kTargets) ||
         Fail("no such texture target");
}

bool Parser::Bracketed(std::string_view& name) {
  if (!Expect('[')) return false;
  name = Word();
  return Expect(']');
}

bool Parser::Temporary(std::string_view name, NVRegister& reg) {
  constexpr int kFullPrecision = 32;
  constexpr int kHalfPrecision = 64;
  const int count = name.starts_with('R') ? kFullPrecision : name.starts_with('H') ? kHalfPrecision : 0;
  int index = -1;
  if (count > 0) std::from_chars(name.data() + 1, name.data() + name.size(), index);
  if (index < 0 || index >= count || std::to_string(index) != name.substr(1)) return false;
  reg = {NVRegister::kTemporary, name[0] == 'R' ? index : kFullPrecision + index, {}};
  return true;
}

bool Parser::Input(NVRegister& reg) {
  static constexpr std::string_view kNames[] = {"TEX0", "TEX1", "TEX2", "TEX3", "TEX4", "TEX5",
                                                "TEX6", "TEX7", "WPOS", "COL0", "COL1", "FOGC"};
  std::string_view name;
  if (!Bracketed(name)) return false;
  const auto* const found = std::find(std::begin(kNames), std::end(kNames), name);
  if (found == std::end(kNames)) return Fail("no such fragment attribute");
  reg = {NVRegister::kInput, static_cast<int>(found - std::begin(kNames)), {}};
  return true;
}

bool Parser::Output(NVRegister& reg) {
  std::string_view name;
  if (!Bracketed(name)) return false;
  if (name != "COLR" && name != "COLH" && name != "DEPR") return Fail("no such output");
  reg = {NVRegister::kOutput, name == "DEPR" ? 1 : 0, {}};
  return true;
}

bool Parser::Literal(NVRegister& reg) {
  reg = {NVRegister::kLiteral, 0, {0, 0, 0, 1}};
  if (!Expect('{')) return false;
  for (std::size_t i = 0; i < 4; ++i) {
    if (!Number(reg.literal[i])) return false;
    if (!Accept(',')) break;
  }
  return Expect('}');
}

bool Parser::Scalar(NVRegister& reg) {
  float value = 0;
  if (!Number(value)) return false;
  reg = {NVRegister::kLiteral, 0, {value, value, value, value}};
  return true;
}

bool Parser::CheckReads(const NVInstruction& instruction) {
  for (const NVRegister::Kind kind : {NVRegister::kInput, NVRegister::kParameter}) {
    std::optional<int> read;
    for (const NVSource& source : instruction.sources) {
      if (source.reg.kind != kind) continue;
      if (read && *read != source.reg.index) return Fail("reads two of a kind of which it may read one");
      read = source.reg.index;
    }
  }
  return true;
}

}  // namespace

int NVProgram::FindParameter(std::string_view name) const {
  const auto found = std::find(parameters.begin(), parameters.end(), name);
  return found == parameters.end() ? -1 : static_cast<int>(found - parameters.begin());
}

std::optional<NVProgram> ParseNVProgram(std::string_view text, NVParseError& error) {
  return Parser(text, error).Run();
}

int NVOperandCount(std::string_view opcode) {
  const Opcode* const found = FindOpcode(opcode);
  return found ? found->operands : 0;
}

bool IsNVScalar(std::string_view opcode) {
  const Opcode* const found = FindOpcode(opcode);
  return found && found->scalar;
}

}  // namespace test::shim
