#include "support/shim/CombinerState.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <sstream>

namespace test::shim {

namespace {

template <std::size_t kCount>
bool IsOneOf(GLenum value, const GLenum (&list)[kCount]) {
  return std::find(std::begin(list), std::end(list), value) != std::end(list);
}

bool IsTexture(GLenum reg) { return reg >= GL_TEXTURE0 && reg < GL_TEXTURE0 + kCombinerTextures; }

bool IsGeneralInput(GLenum reg) {
  static constexpr GLenum kRegisters[] = {GL_ZERO,      GL_CONSTANT_COLOR0_NV, GL_CONSTANT_COLOR1_NV,
                                          GL_FOG,       GL_PRIMARY_COLOR_NV,   GL_SECONDARY_COLOR_NV,
                                          GL_SPARE0_NV, GL_SPARE1_NV};
  return IsTexture(reg) || IsOneOf(reg, kRegisters);
}

bool IsOutput(GLenum reg) {
  static constexpr GLenum kRegisters[] = {GL_DISCARD_NV, GL_PRIMARY_COLOR_NV, GL_SECONDARY_COLOR_NV,
                                          GL_SPARE0_NV, GL_SPARE1_NV};
  return IsTexture(reg) || IsOneOf(reg, kRegisters);
}

bool IsMapping(GLenum mapping) {
  return mapping >= GL_UNSIGNED_IDENTITY_NV && mapping <= GL_SIGNED_NEGATE_NV;
}

bool IsScale(GLenum scale) {
  static constexpr GLenum kScales[] = {GL_NONE, GL_SCALE_BY_TWO_NV, GL_SCALE_BY_FOUR_NV,
                                       GL_SCALE_BY_ONE_HALF_NV};
  return IsOneOf(scale, kScales);
}

bool IsBias(GLenum bias) { return bias == GL_NONE || bias == GL_BIAS_BY_NEGATIVE_ONE_HALF_NV; }

bool IsComputed(GLenum reg) { return reg == GL_SPARE0_PLUS_SECONDARY_COLOR_NV || reg == GL_E_TIMES_F_NV; }

void Clamp(CombinerColor& to, const GLfloat* values) {
  std::transform(values, values + 4, to.begin(), [](GLfloat v) { return std::clamp(v, 0.0F, 1.0F); });
}

bool IsStage(GLenum stage) { return stage >= GL_COMBINER0_NV && stage < GL_COMBINER0_NV + kCombinerStages; }

bool IsConstant(GLenum name) { return name == GL_CONSTANT_COLOR0_NV || name == GL_CONSTANT_COLOR1_NV; }

}  // namespace

// What a context starts with: the primary colour times 1, and the sum of the colours with fog at the end.
CombinerState::CombinerState() {
  finals[0] = {GL_FOG, GL_UNSIGNED_IDENTITY_NV, GL_ALPHA};
  finals[1] = {GL_SPARE0_PLUS_SECONDARY_COLOR_NV, GL_UNSIGNED_IDENTITY_NV, GL_RGB};
  finals[2] = {GL_FOG, GL_UNSIGNED_IDENTITY_NV, GL_RGB};
  finals[6] = {GL_SPARE0_NV, GL_UNSIGNED_IDENTITY_NV, GL_ALPHA};
  for (CombinerStage& stage : stages) {
    for (CombinerInput& input : stage.alpha.inputs) input.usage = GL_ALPHA;
    for (CombinerPortion* const portion : {&stage.rgb, &stage.alpha}) {
      portion->inputs[0].reg = GL_PRIMARY_COLOR_NV;
      portion->inputs[1].mapping = GL_UNSIGNED_INVERT_NV;
      portion->sum = GL_SPARE0_NV;
    }
  }
}

GLenum CombinerState::SetParameter(GLenum name, const GLfloat* values) {
  if (IsConstant(name)) {
    Clamp(constants[name - GL_CONSTANT_COLOR0_NV], values);
  } else if (name == GL_NUM_GENERAL_COMBINERS_NV) {
    if (values[0] < 1 || values[0] > kCombinerStages) return GL_INVALID_VALUE;
    count = static_cast<int>(values[0]);
  } else if (name == GL_COLOR_SUM_CLAMP_NV) {
    sumClamp = values[0] != 0;
  } else {
    return GL_INVALID_ENUM;
  }
  return GL_NO_ERROR;
}

CombinerPortion* CombinerState::Portion(GLenum stage, GLenum portion) {
  if (!IsStage(stage) || (portion != GL_RGB && portion != GL_ALPHA)) return nullptr;
  CombinerStage& found = stages[stage - GL_COMBINER0_NV];
  return portion == GL_RGB ? &found.rgb : &found.alpha;
}

GLenum CombinerState::SetInput(GLenum stage, GLenum portion, GLenum variable, const CombinerInput& input) {
  CombinerPortion* const found = Portion(stage, portion);
  if (!found || variable < GL_VARIABLE_A_NV || variable > GL_VARIABLE_D_NV) return GL_INVALID_ENUM;
  if (!IsGeneralInput(input.reg) || !IsMapping(input.mapping)) return GL_INVALID_ENUM;
  // Colours read colours or a spread alpha, alpha reads alpha or blue.
  const GLenum own = portion == GL_RGB ? GL_RGB : GL_BLUE;
  if (input.usage != GL_ALPHA && input.usage != GL_RGB && input.usage != GL_BLUE) return GL_INVALID_ENUM;
  if (input.usage != GL_ALPHA && input.usage != own) return GL_INVALID_OPERATION;
  // Only the final combiner knows the fog factor.
  if (input.reg == GL_FOG && input.usage == GL_ALPHA) return GL_INVALID_OPERATION;
  found->inputs[variable - GL_VARIABLE_A_NV] = input;
  return GL_NO_ERROR;
}

GLenum CombinerState::SetOutput(GLenum stage, GLenum portion, const CombinerPortion& outputs) {
  CombinerPortion* const found = Portion(stage, portion);
  if (!found || !IsOutput(outputs.ab) || !IsOutput(outputs.cd) || !IsOutput(outputs.sum))
    return GL_INVALID_ENUM;
  if (!IsScale(outputs.scale) || !IsBias(outputs.bias)) return GL_INVALID_ENUM;
  const bool biased = outputs.bias != GL_NONE;
  if (biased && (outputs.scale == GL_SCALE_BY_FOUR_NV || outputs.scale == GL_SCALE_BY_ONE_HALF_NV))
    return GL_INVALID_OPERATION;
  if ((outputs.abDot || outputs.cdDot) && portion == GL_ALPHA) return GL_INVALID_VALUE;
  const auto clash = [](GLenum a, GLenum b) { return a == b && a != GL_DISCARD_NV; };
  if (clash(outputs.ab, outputs.cd) || clash(outputs.ab, outputs.sum) || clash(outputs.cd, outputs.sum))
    return GL_INVALID_OPERATION;
  const auto inputs = found->inputs;
  *found = outputs;
  found->inputs = inputs;
  return GL_NO_ERROR;
}

GLenum CombinerState::SetFinalInput(GLenum variable, const CombinerInput& input) {
  if (variable < GL_VARIABLE_A_NV || variable > GL_VARIABLE_G_NV) return GL_INVALID_ENUM;
  if (!IsGeneralInput(input.reg) && !IsComputed(input.reg)) return GL_INVALID_ENUM;
  if (input.mapping != GL_UNSIGNED_IDENTITY_NV && input.mapping != GL_UNSIGNED_INVERT_NV)
    return GL_INVALID_ENUM;
  if (input.usage != GL_RGB && input.usage != GL_ALPHA && input.usage != GL_BLUE) return GL_INVALID_ENUM;
  const bool isAlpha = variable == GL_VARIABLE_G_NV;
  if (input.usage == (isAlpha ? GL_RGB : GL_BLUE)) return GL_INVALID_OPERATION;
  if (IsComputed(input.reg)) {
    const bool early = variable == GL_VARIABLE_E_NV || variable == GL_VARIABLE_F_NV;
    const bool sumIntoA = variable == GL_VARIABLE_A_NV && input.reg == GL_SPARE0_PLUS_SECONDARY_COLOR_NV;
    if (isAlpha || early || sumIntoA || input.usage == GL_ALPHA) return GL_INVALID_OPERATION;
  }
  finals[variable - GL_VARIABLE_A_NV] = input;
  return GL_NO_ERROR;
}

GLenum CombinerState::SetStageConstant(GLenum stage, GLenum name, const GLfloat* values) {
  if (!IsStage(stage) || !IsConstant(name)) return GL_INVALID_ENUM;
  Clamp(stages[stage - GL_COMBINER0_NV].constants[name - GL_CONSTANT_COLOR0_NV], values);
  return GL_NO_ERROR;
}

GLenum CombinerState::GetStageConstant(GLenum stage, GLenum name, GLfloat* values) const {
  if (!IsStage(stage) || !IsConstant(name)) return GL_INVALID_ENUM;
  const auto& color = stages[stage - GL_COMBINER0_NV].constants[name - GL_CONSTANT_COLOR0_NV];
  std::copy(color.begin(), color.end(), values);
  return GL_NO_ERROR;
}

// --- The program. Both portions of a stage read the registers as the stage before left them; each is
// computed into variables of its own, and all outputs are written at the end of the stage.

namespace {

constexpr std::string_view kVariables = "abcdefg";

class ProgramWriter {
 public:
  ProgramWriter(const CombinerState& state, const CombinerSurroundings& surroundings)
      : mState(state), mSurroundings(surroundings) {}

  std::string Run() {
    Head();
    for (int i = 0; i < mState.count; ++i) Stage(i);
    Final();
    mText << "END\n";
    return mText.str();
  }

 private:
  void Head();
  void Fog();
  void Stage(int index);
  void Portion(const CombinerPortion& portion, int stage, const char* suffix);
  void Product(const char* name, char first, char second, const char* suffix, bool dot);
  void Scale(const std::string& name, const CombinerPortion& portion);
  void Write(const CombinerPortion& portion, const char* suffix, const char* mask);
  void Map(const std::string& variable, const CombinerInput& input, int stage);
  void Final();
  std::string Register(GLenum reg, int stage) const;

  const CombinerState& mState;
  const CombinerSurroundings& mSurroundings;
  std::ostringstream mText;
};

void ProgramWriter::Head() {
  mText << "!!ARBfp1.0\n"
           "TEMP pri, sec, spare0, spare1, t0, t1, t2, t3, fog, sum, product;\n"
           "TEMP ac, bc, cc, dc, abc, cdc, sumc;\n"
           "TEMP aa, ba, ca, da, aba, cda, suma;\n"
           "TEMP af, bf, cf, df, ef, ff, gf, choice;\n"
           "MOV pri, fragment.color.primary;\nMOV sec, fragment.color.secondary;\nMOV sec.w, 0;\n"
           "MOV fog, state.fog.color;\nMOV spare1, 0;\n";
  Fog();
  for (int i = 0; i < kCombinerTextures; ++i) {
    if (mSurroundings.textures[static_cast<std::size_t>(i)])
      mText << "TXP t" << i << ", fragment.texcoord[" << i << "], texture[" << i << "], 2D;\n";
    else
      mText << "MOV t" << i << ", 0;\n";
  }
  mText << "MOV spare0, 0;\nMOV spare0.w, t0.w;\n";
}

// The fog's alpha is its factor. The parameters are density, start, end, 1 / (end - start).
void ProgramWriter::Fog() {
  switch (mSurroundings.fog) {
    case GL_LINEAR:
      mText << "SUB fog.w, state.fog.params.z, fragment.fogcoord.x;\n"
               "MUL_SAT fog.w, fog.w, state.fog.params.w;\n";
      return;
    case GL_EXP:
    case GL_EXP2:
      mText << "MUL fog.w, state.fog.params.x, fragment.fogcoord.x;\n";
      if (mSurroundings.fog == GL_EXP2) mText << "MUL fog.w, fog.w, fog.w;\n";
      mText << "MUL fog.w, fog.w, 1.442695;\nEX2_SAT fog.w, -fog.w;\n";
      return;
    default:
      mText << "MOV fog.w, 1;\n";
  }
}

std::string ProgramWriter::Register(GLenum reg, int stage) const {
  if (IsTexture(reg)) return "t" + std::to_string(reg - GL_TEXTURE0);
  switch (reg) {
    case GL_CONSTANT_COLOR0_NV:
    case GL_CONSTANT_COLOR1_NV:
      return "program.local[" +
             std::to_string(2 * static_cast<unsigned>(stage) + (reg - GL_CONSTANT_COLOR0_NV)) + "]";
    case GL_FOG:
      return "fog";
    case GL_PRIMARY_COLOR_NV:
      return "pri";
    case GL_SECONDARY_COLOR_NV:
      return "sec";
    case GL_SPARE0_NV:
      return "spare0";
    case GL_SPARE1_NV:
      return "spare1";
    case GL_SPARE0_PLUS_SECONDARY_COLOR_NV:
      return "sum";
    case GL_E_TIMES_F_NV:
      return "product";
    default:
      return "{0, 0, 0, 0}";
  }
}

void ProgramWriter::Map(const std::string& variable, const CombinerInput& input, int stage) {
  const char* const usage = input.usage == GL_RGB ? "" : input.usage == GL_ALPHA ? ".w" : ".z";
  mText << "MOV " << variable << ", " << Register(input.reg, stage) << usage << ";\n";
  const bool clamps = mSurroundings.clamps;
  const std::string positive = clamps ? "MAX " + variable + ", " + variable + ", 0;\n" : "";
  const std::string change = ", " + variable + ";\n";
  switch (input.mapping) {
    case GL_UNSIGNED_IDENTITY_NV:
      mText << positive;
      break;
    case GL_UNSIGNED_INVERT_NV:
      if (clamps) mText << "MOV_SAT " << variable << change;
      mText << "SUB " << variable << ", 1" << change;
      break;
    case GL_EXPAND_NORMAL_NV:
      mText << positive << "MAD " << variable << ", " << variable << ", 2, -1;\n";
      break;
    case GL_EXPAND_NEGATE_NV:
      mText << positive << "MAD " << variable << ", " << variable << ", -2, 1;\n";
      break;
    case GL_HALF_BIAS_NORMAL_NV:
      mText << positive << "SUB " << variable << ", " << variable << ", 0.5;\n";
      break;
    case GL_HALF_BIAS_NEGATE_NV:
      mText << positive << "SUB " << variable << ", 0.5" << change;
      break;
    case GL_SIGNED_NEGATE_NV:
      mText << "MOV " << variable << ", -" << variable << ";\n";
      break;
    default:
      break;
  }
}

void ProgramWriter::Product(const char* name, char first, char second, const char* suffix, bool dot) {
  mText << (dot ? "DP3 " : "MUL ") << name << suffix << ", " << first << suffix << ", " << second << suffix
        << ";\n";
}

// (value + bias) x scale, limited to -1..1.
void ProgramWriter::Scale(const std::string& name, const CombinerPortion& portion) {
  const char* const scale = portion.scale == GL_SCALE_BY_TWO_NV    ? "2"
                            : portion.scale == GL_SCALE_BY_FOUR_NV ? "4"
                            : portion.scale == GL_NONE             ? "1"
                                                                   : "0.5";
  if (portion.bias != GL_NONE) mText << "SUB " << name << ", " << name << ", 0.5;\n";
  mText << "MUL " << name << ", " << name << ", " << scale << ";\n";
  if (mSurroundings.clamps)
    mText << "MIN " << name << ", " << name << ", 1;\nMAX " << name << ", " << name << ", -1;\n";
}

void ProgramWriter::Portion(const CombinerPortion& portion, int stage, const char* suffix) {
  for (std::size_t i = 0; i < 4; ++i) Map(std::string(1, kVariables[i]) + suffix, portion.inputs[i], stage);
  Product("ab", 'a', 'b', suffix, portion.abDot);
  Product("cd", 'c', 'd', suffix, portion.cdDot);
  const std::string ab = std::string("ab") + suffix;
  const std::string cd = std::string("cd") + suffix;
  const std::string sum = std::string("sum") + suffix;
  if (portion.mux)
    mText << "SUB choice, spare0.w, 0.5;\nCMP " << sum << ", choice, " << ab << ", " << cd << ";\n";
  else
    mText << "ADD " << sum << ", " << ab << ", " << cd << ";\n";
  for (const std::string& name : {ab, cd, sum}) Scale(name, portion);
}

void ProgramWriter::Write(const CombinerPortion& portion, const char* suffix, const char* mask) {
  const std::pair<GLenum, const char*> outputs[] = {
      {portion.ab, "ab"}, {portion.cd, "cd"}, {portion.sum, "sum"}};
  for (const auto& [reg, name] : outputs) {
    if (reg != GL_DISCARD_NV) mText << "MOV " << Register(reg, 0) << mask << ", " << name << suffix << ";\n";
  }
}

void ProgramWriter::Stage(int index) {
  const CombinerStage& stage = mState.stages[static_cast<std::size_t>(index)];
  Portion(stage.rgb, index, "c");
  Portion(stage.alpha, index, "a");
  Write(stage.rgb, "c", ".xyz");
  Write(stage.alpha, "a", ".w");
}

// The final combiner has the constants that are not a stage's.
void ProgramWriter::Final() {
  constexpr int kOwnConstants = kCombinerStages;
  const auto map = [this](std::size_t i) {
    Map(std::string(1, kVariables[i]) + "f", mState.finals[i], kOwnConstants);
  };
  if (mSurroundings.clamps)
    mText << "MAX sum, spare0, 0;\nMAX product, sec, 0;\nADD sum, sum, product;\n";
  else
    mText << "ADD sum, spare0, sec;\n";
  if (mState.sumClamp || !mSurroundings.clamps) mText << "MOV_SAT sum, sum;\n";
  map(4);
  map(5);
  mText << "MUL product, ef, ff;\n";
  for (const std::size_t i : {0U, 1U, 2U, 3U, 6U}) map(i);
  mText << "LRP bf, af, bf, cf;\nADD bf, bf, df;\nMOV bf.w, gf;\n"
        << (mSurroundings.clamps ? "MOV_SAT" : "MOV") << " result.color, bf;\n";
}

}  // namespace

std::string CombinerProgram(const CombinerState& state, const CombinerSurroundings& surroundings) {
  return ProgramWriter(state, surroundings).Run();
}

}  // namespace test::shim
