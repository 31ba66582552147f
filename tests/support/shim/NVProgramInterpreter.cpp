#include "support/shim/NVProgramInterpreter.h"

#include <algorithm>
#include <cmath>

namespace test::shim {

namespace {

constexpr std::size_t kTemporaries = 96;

class Machine {
 public:
  Machine(const NVProgram& program, const NVFragment& fragment) : mProgram(program), mFragment(fragment) {
    mColor = fragment.color;
  }

  NVVector Run() {
    for (const NVInstruction& instruction : mProgram.instructions) Step(instruction);
    return mColor;
  }

 private:
  void Step(const NVInstruction& instruction);
  NVVector Read(const NVSource& source) const;
  NVVector Register(const NVRegister& reg) const;
  NVVector Compute(const NVInstruction& instruction) const;
  void Write(const NVInstruction& instruction, NVVector value);
  bool Satisfies(const NVDestination& destination, std::size_t component) const;

  const NVProgram& mProgram;
  const NVFragment& mFragment;
  std::array<NVVector, kTemporaries> mTemporaries{};
  NVVector mColor{};
  NVVector mDepth{};
  NVVector mCondition{};  // the values that set the codes
};

NVVector Machine::Register(const NVRegister& reg) const {
  const auto index = static_cast<std::size_t>(reg.index);
  switch (reg.kind) {
    case NVRegister::kTemporary:
      return mTemporaries[index];
    case NVRegister::kInput:
      return mFragment.inputs[index];
    case NVRegister::kParameter:
      return mFragment.parameters.at(index);
    default:
      return reg.literal;
  }
}

NVVector Machine::Read(const NVSource& source) const {
  const NVVector value = Register(source.reg);
  NVVector result{};
  for (std::size_t i = 0; i < 4; ++i) {
    result[i] = value[static_cast<std::size_t>(source.swizzle[i])];
    if (source.absolute) result[i] = std::abs(result[i]);
    if (source.negate) result[i] = -result[i];
  }
  return result;
}

NVVector All(float value) { return {value, value, value, value}; }

float Dot(const NVVector& a, const NVVector& b, std::size_t components) {
  float sum = 0;
  for (std::size_t i = 0; i < components; ++i) sum += a[i] * b[i];
  return sum;
}

float Scalar(const std::string& opcode, float a, float b) {
  if (opcode == "COS") return std::cos(a);
  if (opcode == "SIN") return std::sin(a);
  if (opcode == "EX2") return std::exp2(a);
  if (opcode == "LG2") return std::log2(a);
  if (opcode == "POW") return std::pow(a, b);
  if (opcode == "RCP") return 1 / a;
  return 1 / std::sqrt(std::abs(a));
}

float Component(const std::string& opcode, float a, float b, float c) {
  if (opcode == "ADD") return a + b;
  if (opcode == "SUB") return a - b;
  if (opcode == "MUL") return a * b;
  if (opcode == "MAD") return a * b + c;
  if (opcode == "LRP") return a * b + (1 - a) * c;
  if (opcode == "MAX") return std::max(a, b);
  if (opcode == "MIN") return std::min(a, b);
  if (opcode == "SGE") return a >= b ? 1.0F : 0.0F;
  if (opcode == "SLT") return a < b ? 1.0F : 0.0F;
  if (opcode == "FLR") return std::floor(a);
  if (opcode == "FRC") return a - std::floor(a);
  return a;
}

NVVector Lit(const NVVector& a) {
  const float power = a[0] > 0 ? std::pow(std::max(a[1], 0.0F), std::clamp(a[3], -128.0F, 128.0F)) : 0.0F;
  return {1, std::max(a[0], 0.0F), power, 1};
}

NVVector Machine::Compute(const NVInstruction& instruction) const {
  const std::string& opcode = instruction.opcode;
  std::array<NVVector, 3> s{};
  for (std::size_t i = 0; i < instruction.sources.size(); ++i) s[i] = Read(instruction.sources[i]);
  if (instruction.textureUnit >= 0) {
    NVVector coordinate = s[0];
    if (opcode == "TXP") coordinate = {s[0][0] / s[0][3], s[0][1] / s[0][3], s[0][2] / s[0][3], 1};
    return mFragment.sample(instruction.textureUnit, coordinate);
  }
  if (opcode == "DP3") return All(Dot(s[0], s[1], 3));
  if (opcode == "DP4") return All(Dot(s[0], s[1], 4));
  if (opcode == "DST") return {1, s[0][1] * s[1][1], s[0][2], s[1][3]};
  if (opcode == "LIT") return Lit(s[0]);
  if (IsNVScalar(opcode)) return All(Scalar(opcode, s[0][0], s[1][0]));
  NVVector result{};
  for (std::size_t i = 0; i < 4; ++i) result[i] = Component(opcode, s[0][i], s[1][i], s[2][i]);
  return result;
}

bool Machine::Satisfies(const NVDestination& destination, std::size_t component) const {
  const float code = mCondition[static_cast<std::size_t>(destination.ruleSwizzle[component])];
  switch (destination.rule) {
    case NVRule::kAlways:
      return true;
    case NVRule::kNever:
      return false;
    case NVRule::kGreater:
      return code > 0;
    case NVRule::kGreaterEqual:
      return code >= 0;
    case NVRule::kLess:
      return code < 0;
    case NVRule::kLessEqual:
      return code <= 0;
    case NVRule::kEqual:
      return code == 0;
    case NVRule::kNotEqual:
      return code != 0;
  }
  return false;
}

void Machine::Write(const NVInstruction& instruction, NVVector value) {
  const NVRegister& reg = instruction.destination.reg;
  NVVector& target = reg.kind == NVRegister::kTemporary ? mTemporaries[static_cast<std::size_t>(reg.index)]
                     : reg.index == 0                   ? mColor
                                                        : mDepth;
  NVVector condition = mCondition;
  for (std::size_t i = 0; i < 4; ++i) {
    if (instruction.saturates) value[i] = std::clamp(value[i], 0.0F, 1.0F);
    if (!instruction.destination.mask[i] || !Satisfies(instruction.destination, i)) continue;
    target[i] = value[i];
    if (instruction.setsCondition) condition[i] = value[i];
  }
  mCondition = condition;
}

void Machine::Step(const NVInstruction& instruction) { Write(instruction, Compute(instruction)); }

}  // namespace

NVVector RunNVProgram(const NVProgram& program, const NVFragment& fragment) {
  return Machine(program, fragment).Run();
}

}  // namespace test::shim
