// NVIDIA's register combiners: their state as a program of GL_ARB_fragment_program.
#include <algorithm>
#include <functional>
#include <map>
#include <string>

#include "support/shim/CombinerState.h"
#include "support/shim/GLShimDriver.h"

namespace test::shim {

namespace {

// What the attribute stack keeps.
struct Attributes {
  CombinerState state;
  bool enabled = false;
};

struct Context : Attributes {
  std::vector<Attributes> pushed;
  std::map<std::string, ArbProgram> programs;  // by their text
};

class CombinerDriver : public ShimDriver {
 public:
  using Call = std::function<void(Context&)>;

  static CombinerDriver& Get() { return *sInstance; }

  CombinerDriver() { sInstance = this; }

  std::span<const char* const> Advertised() const override {
    static constexpr const char* kExtensions[] = {"GL_NV_register_combiners", "GL_NV_register_combiners2"};
    return kExtensions;
  }
  std::span<const ShimFunction> Functions() const override;

  bool SetEnabled(GLenum capability, bool on) override {
    if (capability == GL_PER_STAGE_CONSTANTS_NV) {
      Do([on](Context& here) { here.state.perStage = on; });
    } else if (capability == GL_REGISTER_COMBINERS_NV) {
      Do([on](Context& here) {
        here.enabled = on;
        if (!on) ArbProgram::Stop();
      });
    } else {
      return false;
    }
    return true;
  }
  std::optional<bool> IsEnabled(GLenum capability) override {
    if (capability == GL_PER_STAGE_CONSTANTS_NV) return Here().state.perStage;
    if (capability == GL_REGISTER_COMBINERS_NV) return Here().enabled;
    return std::nullopt;
  }
  std::vector<double> GetValues(GLenum name) override {
    if (name == GL_MAX_GENERAL_COMBINERS_NV) return {kCombinerStages};
    if (name == GL_NUM_GENERAL_COMBINERS_NV) return {static_cast<double>(Here().state.count)};
    return {};
  }
  void PushAttributes(GLbitfield mask) override {
    if (mask & kGroups) Here().pushed.push_back(Here());
  }
  void PopAttributes(GLbitfield mask) override {
    Context& here = Here();
    if (!(mask & kGroups) || here.pushed.empty()) return;
    const Attributes before = std::move(here.pushed.back());
    here.pushed.pop_back();
    // All of it belongs to the textures, the enables to their own group as well.
    if (mask & GL_TEXTURE_BIT) here.state = before.state;
    here.state.perStage = before.state.perStage;
    if (here.enabled && !before.enabled) ArbProgram::Stop();
    here.enabled = before.enabled;
  }
  void BeforeDraw() override;
  void NewList(GLuint list, GLenum mode) override;
  void EndList() override { mList = nullptr; }
  void CallList(GLuint list) override;
  void DeleteLists(GLuint list, GLsizei range) override;
  void ForgetContext(void* context) override { mContexts.erase(context); }

  /// Carries a call out, or keeps it in the list that is being compiled.
  void Do(Call call) {
    if (mList) mList->push_back(call);
    if (!mList || mExecutes) call(Here());
  }
  Context& Here() { return mContexts[CurrentContext()]; }

 private:
  static constexpr GLbitfield kGroups = GL_ENABLE_BIT | GL_TEXTURE_BIT;

  static CombinerDriver* sInstance;
  std::map<void*, Context> mContexts;
  std::map<GLuint, std::vector<Call>> mLists;
  std::vector<Call>* mList = nullptr;  // being compiled
  bool mExecutes = false;
};

CombinerDriver* CombinerDriver::sInstance = nullptr;

void CombinerDriver::NewList(GLuint list, GLenum mode) {
  mList = &mLists[list];
  mList->clear();
  mExecutes = mode == GL_COMPILE_AND_EXECUTE;
}

// The driver's own part of a list runs on its own, so a list may change the combiners or draw, not both.
void CombinerDriver::CallList(GLuint list) {
  const auto found = mLists.find(list);
  if (found == mLists.end()) return;
  for (const Call& call : found->second) Do(call);
}

void CombinerDriver::DeleteLists(GLuint list, GLsizei range) {
  for (GLuint i = 0; i < static_cast<GLuint>(range); ++i) mLists.erase(list + i);
}

GLint GetInteger(GLenum name) {
  GLint value = 0;
  DRIVER(glGetIntegerv)(name, &value);
  return value;
}

std::array<bool, kCombinerTextures> EnabledTextures() {
  const GLint active = GetInteger(GL_ACTIVE_TEXTURE);
  std::array<bool, kCombinerTextures> enabled{};
  for (std::size_t i = 0; i < enabled.size(); ++i) {
    DRIVER(glActiveTexture)(GL_TEXTURE0 + static_cast<GLenum>(i));
    enabled[i] = DRIVER(glIsEnabled)(GL_TEXTURE_2D) != GL_FALSE;
  }
  DRIVER(glActiveTexture)(static_cast<GLenum>(active));
  return enabled;
}

// Colours that go into floats are clamped only when the context says so.
bool ClampsColors() {
  const GLint clamp = GetInteger(GL_CLAMP_FRAGMENT_COLOR);
  return clamp == GL_FIXED_ONLY ? GetInteger(GL_RGBA_FLOAT_MODE_ARB) == 0 : clamp != GL_FALSE;
}

CombinerSurroundings GetSurroundings() {
  const bool hasFog = DRIVER(glIsEnabled)(GL_FOG) != GL_FALSE;
  return {EnabledTextures(), ClampsColors(),
          hasFog ? static_cast<GLenum>(GetInteger(GL_FOG_MODE)) : GLenum{GL_NONE}};
}

void CombinerDriver::BeforeDraw() {
  if (mList && !mList->empty()) Refuse("drawing in a display list that sets combiners");
  Context& here = Here();
  if (!here.enabled) return;
  const std::string text = CombinerProgram(here.state, GetSurroundings());
  auto program = here.programs.find(text);
  if (program == here.programs.end()) program = here.programs.emplace(text, ArbProgram(text)).first;
  for (int stage = 0; stage <= kCombinerStages; ++stage) {
    const bool own = here.state.perStage && stage < kCombinerStages;
    const auto& constants =
        own ? here.state.stages[static_cast<std::size_t>(stage)].constants : here.state.constants;
    for (std::size_t i = 0; i < 2; ++i)
      program->second.SetLocal(static_cast<GLuint>(2 * stage) + static_cast<GLuint>(i), constants[i].data());
  }
  program->second.Use();
}

// --- The entry points. Their values are taken when they are called, their errors given when they run.

void Check(GLenum error, const char* where) {
  if (error != GL_NO_ERROR) RaiseError(error, where);
}

bool IsVector(GLenum name) { return name == GL_CONSTANT_COLOR0_NV || name == GL_CONSTANT_COLOR1_NV; }

void SetParameter(GLenum name, const CombinerColor& values) {
  CombinerDriver::Get().Do(
      [=](Context& here) { Check(here.state.SetParameter(name, values.data()), "glCombinerParameterNV"); });
}

void GLAPIENTRY Parameterfv(GLenum name, const GLfloat* values) {
  CombinerColor copy{values[0]};
  if (IsVector(name)) std::copy(values, values + 4, copy.begin());
  SetParameter(name, copy);
}
void GLAPIENTRY Parameterf(GLenum name, GLfloat value) {
  if (IsVector(name)) return RaiseError(GL_INVALID_ENUM, "glCombinerParameterfNV");
  SetParameter(name, {value});
}
void GLAPIENTRY Parameteri(GLenum name, GLint value) {
  if (IsVector(name)) return RaiseError(GL_INVALID_ENUM, "glCombinerParameteriNV");
  SetParameter(name, {static_cast<GLfloat>(value)});
}

void GLAPIENTRY Input(GLenum stage, GLenum portion, GLenum variable, GLenum input, GLenum mapping,
                      GLenum usage) {
  CombinerDriver::Get().Do([=](Context& here) {
    Check(here.state.SetInput(stage, portion, variable, {input, mapping, usage}), "glCombinerInputNV");
  });
}

void GLAPIENTRY Output(GLenum stage, GLenum portion, GLenum ab, GLenum cd, GLenum sum, GLenum scale,
                       GLenum bias, GLboolean abDot, GLboolean cdDot, GLboolean mux) {
  const CombinerPortion outputs{{}, ab, cd, sum, scale, bias, abDot != 0, cdDot != 0, mux != 0};
  CombinerDriver::Get().Do(
      [=](Context& here) { Check(here.state.SetOutput(stage, portion, outputs), "glCombinerOutputNV"); });
}

void GLAPIENTRY FinalInput(GLenum variable, GLenum input, GLenum mapping, GLenum usage) {
  CombinerDriver::Get().Do([=](Context& here) {
    Check(here.state.SetFinalInput(variable, {input, mapping, usage}), "glFinalCombinerInputNV");
  });
}

void GLAPIENTRY StageParameter(GLenum stage, GLenum name, const GLfloat* values) {
  const CombinerColor copy{values[0], values[1], values[2], values[3]};
  CombinerDriver::Get().Do([=](Context& here) {
    Check(here.state.SetStageConstant(stage, name, copy.data()), "glCombinerStageParameterfvNV");
  });
}

void GLAPIENTRY GetStageParameter(GLenum stage, GLenum name, GLfloat* values) {
  Check(CombinerDriver::Get().Here().state.GetStageConstant(stage, name, values),
        "glGetCombinerStageParameterfvNV");
}

std::span<const ShimFunction> CombinerDriver::Functions() const {
  static const ShimFunction kFunctions[] = {Carry("glCombinerInputNV", Input),
                                            Carry("glCombinerOutputNV", Output),
                                            Carry("glCombinerParameterfNV", Parameterf),
                                            Carry("glCombinerParameterfvNV", Parameterfv),
                                            Carry("glCombinerParameteriNV", Parameteri),
                                            Carry("glCombinerStageParameterfvNV", StageParameter),
                                            Carry("glFinalCombinerInputNV", FinalInput),
                                            Carry("glGetCombinerStageParameterfvNV", GetStageParameter)};
  return kFunctions;
}

}  // namespace

std::unique_ptr<ShimDriver> MakeCombinerDriver() { return std::make_unique<CombinerDriver>(); }

}  // namespace test::shim
