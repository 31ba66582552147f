#include "support/shim/NVProgramTranslator.h"

#include <set>
#include <sstream>

namespace test::shim {

namespace {

constexpr std::string_view kComponents = "xyzw";

std::string Swizzle(const std::array<int, 4>& swizzle) {
  std::string text = ".";
  for (const int component : swizzle) text += kComponents[static_cast<std::size_t>(component)];
  return text;
}

std::string Mask(const std::array<bool, 4>& mask) {
  std::string text = ".";
  for (std::size_t i = 0; i < 4; ++i) {
    if (mask[i]) text += kComponents[i];
  }
  return text;
}

std::string NameOf(const NVRegister& reg) {
  std::ostringstream text;
  switch (reg.kind) {
    case NVRegister::kTemporary:
      text << 'r' << reg.index;
      break;
    case NVRegister::kOutput:
      text << (reg.index == 0 ? "color" : "depth");
      break;
    case NVRegister::kParameter:
      text << "program.local[" << reg.index << ']';
      break;
    case NVRegister::kLiteral:
      text.precision(9);
      text << '{' << reg.literal[0] << ", " << reg.literal[1] << ", " << reg.literal[2] << ", "
           << reg.literal[3] << '}';
      break;
    case NVRegister::kInput:
      if (reg.index < kNVInputPosition)
        text << "fragment.texcoord[" << reg.index << ']';
      else if (reg.index == kNVInputPosition)
        text << "fragment.position";
      else if (reg.index == kNVInputFog)
        text << "fragment.fogcoord";
      else
        text << (reg.index == kNVInputColor0 ? "fragment.color.primary" : "fragment.color.secondary");
      break;
    case NVRegister::kNothing:
      break;
  }
  return text.str();
}

// Translates instruction by instruction: each computes into "value", which is then written where the mask and
// the condition codes, kept as the values that set them, let it.
class Translation {
 public:
  explicit Translation(const NVProgram& program) : mProgram(program) {}

  std::string Run() {
    std::ostringstream head;
    for (const NVInstruction& instruction : mProgram.instructions) Add(instruction);
    head << "!!ARBfp1.0\nTEMP color, value, code, operand;\n";
    for (const int index : mTemporaries) head << "TEMP r" << index << ";\nMOV r" << index << ", 0;\n";
    if (mWritesDepth) head << "TEMP depth;\nMOV depth, 0;\n";
    head << "MOV color, 0;\nMOV code, 0;\n";
    mBody << "MOV result.color, color;\n";
    if (mWritesDepth) mBody << "MOV result.depth.z, depth;\n";
    mBody << "END\n";
    return head.str() + mBody.str();
  }

 private:
  void Note(const NVRegister& reg) {
    if (reg.kind == NVRegister::kTemporary) mTemporaries.insert(reg.index);
    if (reg.kind == NVRegister::kOutput && reg.index == 1) mWritesDepth = true;
  }
  std::string Read(const NVSource& source, bool scalar);
  void Add(const NVInstruction& instruction);
  void Write(const NVInstruction& instruction, const std::string& target, const std::string& mask);

  const NVProgram& mProgram;
  std::set<int> mTemporaries;
  bool mWritesDepth = false;
  std::ostringstream mBody;
};

std::string Translation::Read(const NVSource& source, bool scalar) {
  Note(source.reg);
  const std::string swizzle = Swizzle(source.swizzle);
  std::string text = NameOf(source.reg) + (scalar ? swizzle.substr(0, 2) : swizzle);
  if (source.absolute) {
    mBody << "ABS operand, " << text << ";\n";
    text = scalar ? "operand.x" : "operand";
  }
  return (source.negate ? "-" : "") + text;
}

void Translation::Add(const NVInstruction& instruction) {
  std::string operands;
  const bool scalar = IsNVScalar(instruction.opcode);
  for (const NVSource& source : instruction.sources) operands += ", " + Read(source, scalar);
  mBody << instruction.opcode << (instruction.saturates ? "_SAT" : "") << " value" << operands;
  if (instruction.textureUnit >= 0)
    mBody << ", texture[" << instruction.textureUnit << "], " << instruction.textureTarget;
  mBody << ";\n";
  Note(instruction.destination.reg);
  Write(instruction, NameOf(instruction.destination.reg), Mask(instruction.destination.mask));
  if (instruction.setsCondition) Write(instruction, "code", Mask(instruction.destination.mask));
}

// CMP takes its second operand where the first is below zero.
void Translation::Write(const NVInstruction& instruction, const std::string& target,
                        const std::string& mask) {
  const std::string code = "code" + Swizzle(instruction.destination.ruleSwizzle);
  const std::string selectNew = ", value, " + target + ";\n";
  const std::string selectOld = ", " + target + ", value;\n";
  const std::string compare = "CMP " + target + mask + ", ";
  switch (instruction.destination.rule) {
    case NVRule::kAlways:
      mBody << "MOV " << target << mask << ", value;\n";
      break;
    case NVRule::kNever:
      break;
    case NVRule::kGreater:
      mBody << compare << '-' << code << selectNew;
      break;
    case NVRule::kLess:
      mBody << compare << code << selectNew;
      break;
    case NVRule::kGreaterEqual:
      mBody << compare << code << selectOld;
      break;
    case NVRule::kLessEqual:
      mBody << compare << '-' << code << selectOld;
      break;
    case NVRule::kEqual:
      mBody << "ABS operand, " << code << ";\n" << compare << "-operand" << selectOld;
      break;
    case NVRule::kNotEqual:
      mBody << "ABS operand, " << code << ";\n" << compare << "-operand" << selectNew;
      break;
  }
}

}  // namespace

std::string TranslateNVProgram(const NVProgram& program) { return Translation(program).Run(); }

}  // namespace test::shim
