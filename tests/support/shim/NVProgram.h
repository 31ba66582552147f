// Fragment programs of GL_NV_fragment_program ("!!FP1.0"): their text, taken apart.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace test::shim {

/// Where a value comes from or goes to.
struct NVRegister {
  enum Kind { kTemporary, kInput, kOutput, kParameter, kLiteral, kNothing } kind = kNothing;
  /// Temporaries: R0 to R31 are 0 to 31, H0 to H63 follow. Parameters: index of the declaration. Texture
  /// coordinates are inputs 0 to 7, then WPOS, COL0, COL1, FOGC. Outputs: 0 COLR or COLH, 1 DEPR.
  int index = 0;
  std::array<float, 4> literal{};

  friend bool operator==(const NVRegister&, const NVRegister&) = default;
};

inline constexpr int kNVInputPosition = 8;
inline constexpr int kNVInputColor0 = 9;
inline constexpr int kNVInputColor1 = 10;
inline constexpr int kNVInputFog = 11;

struct NVSource {
  NVRegister reg;
  std::array<int, 4> swizzle = {0, 1, 2, 3};
  bool negate = false;
  bool absolute = false;
};

/// Which components are written: those of the mask whose condition code satisfies the rule.
enum class NVRule { kAlways, kNever, kGreater, kGreaterEqual, kLess, kLessEqual, kEqual, kNotEqual };

struct NVDestination {
  NVRegister reg;
  std::array<bool, 4> mask = {true, true, true, true};
  NVRule rule = NVRule::kAlways;
  std::array<int, 4> ruleSwizzle = {0, 1, 2, 3};
};

struct NVInstruction {
  std::string opcode;  ///< without suffixes
  bool saturates = false;
  bool setsCondition = false;
  NVDestination destination;
  std::vector<NVSource> sources;
  int textureUnit = -1;       ///< of TEX and TXP
  std::string textureTarget;  ///< "2D" and so on
};

struct NVProgram {
  std::vector<std::string> parameters;  ///< declared names
  std::vector<NVInstruction> instructions;

  /// Returns the index of a declared name, or -1.
  int FindParameter(std::string_view name) const;
};

struct NVParseError {
  std::size_t position;  ///< byte of the text
  std::string message;
};

/// Takes a whole program text apart. The instructions that a program may have here are those that compute by
/// component or by dot product, and texture look-ups; others count as errors, as does everything that the
/// extension refuses: an undeclared name, more than one fragment attribute or more than one parameter in an
/// instruction, a register out of range, text behind END.
std::optional<NVProgram> ParseNVProgram(std::string_view text, NVParseError& error);

/// How many operands an opcode has, or 0 for one that is not known.
int NVOperandCount(std::string_view opcode);
/// Whether an opcode takes component x of its operands only.
bool IsNVScalar(std::string_view opcode);

}  // namespace test::shim
