// NVIDIA's fragment programs: translated to programs of GL_ARB_fragment_program.
#include <algorithm>
#include <map>
#include <optional>
#include <set>

#include "support/shim/GLShimDriver.h"
#include "support/shim/NVProgram.h"
#include "support/shim/NVProgramTranslator.h"

namespace test::shim {

namespace {

constexpr const char* kNothing = "!!ARBfp1.0\nKIL -1;\nEND\n";

struct Program {
  NVProgram parsed;
  std::vector<std::array<float, 4>> parameters;
  std::optional<ArbProgram> carried;
};

struct Context {
  GLuint bound = 0;
  bool enabled = false;
  std::vector<bool> pushed;
  std::optional<ArbProgram> nothing;  // draws nothing
};

class NVProgramDriver : public ShimDriver {
 public:
  static NVProgramDriver& Get() { return *sInstance; }

  NVProgramDriver() { sInstance = this; }

  std::span<const char* const> Advertised() const override {
    static constexpr const char* kExtensions[] = {"GL_NV_vertex_program", "GL_NV_fragment_program"};
    return kExtensions;
  }
  std::span<const ShimFunction> Functions() const override;

  bool SetEnabled(GLenum capability, bool on) override {
    if (capability != GL_FRAGMENT_PROGRAM_NV) return false;
    Here().enabled = on;
    if (!on) ArbProgram::Stop();
    return true;
  }
  std::optional<bool> IsEnabled(GLenum capability) override {
    if (capability != GL_FRAGMENT_PROGRAM_NV) return std::nullopt;
    return Here().enabled;
  }
  std::vector<double> GetValues(GLenum name) override {
    if (name == GL_FRAGMENT_PROGRAM_BINDING_NV) return {static_cast<double>(Here().bound)};
    if (name == GL_PROGRAM_ERROR_POSITION_NV) return {static_cast<double>(mErrorPosition)};
    return {};
  }
  void PushAttributes(GLbitfield mask) override {
    if (mask & GL_ENABLE_BIT) Here().pushed.push_back(Here().enabled);
  }
  void PopAttributes(GLbitfield mask) override {
    if (!(mask & GL_ENABLE_BIT) || Here().pushed.empty()) return;
    Here().enabled = Here().pushed.back();
    Here().pushed.pop_back();
  }
  void BeforeDraw() override;
  void ForgetContext(void* context) override { mContexts.erase(context); }

  void Gen(GLsizei count, GLuint* names);
  void Delete(GLsizei count, const GLuint* names);
  void Bind(GLenum target, GLuint name);
  void Load(GLenum target, GLuint name, GLsizei length, const GLubyte* text);
  void SetParameter(GLuint name, GLsizei length, const GLubyte* parameter, const std::array<float, 4>& value);

 private:
  Context& Here() { return mContexts[CurrentContext()]; }

  static NVProgramDriver* sInstance;
  std::map<GLuint, Program> mPrograms;
  std::set<GLuint> mNames;  // generated, whether or not a program is loaded
  std::map<void*, Context> mContexts;
  GLint mErrorPosition = -1;
};

NVProgramDriver* NVProgramDriver::sInstance = nullptr;

void NVProgramDriver::Gen(GLsizei count, GLuint* names) {
  if (count < 0) return RaiseError(GL_INVALID_VALUE, "glGenProgramsNV");
  for (GLsizei i = 0; i < count; ++i) {
    names[i] = mNames.empty() ? 1 : *mNames.rbegin() + 1;
    mNames.insert(names[i]);
  }
}

void NVProgramDriver::Delete(GLsizei count, const GLuint* names) {
  if (count < 0) return RaiseError(GL_INVALID_VALUE, "glDeleteProgramsNV");
  for (GLsizei i = 0; i < count; ++i) {
    if (const auto found = mPrograms.find(names[i]); found != mPrograms.end()) {
      found->second.carried->Delete();
      mPrograms.erase(found);
    }
    mNames.erase(names[i]);
    if (Here().bound == names[i]) Here().bound = 0;
  }
}

void NVProgramDriver::Bind(GLenum target, GLuint name) {
  if (target != GL_FRAGMENT_PROGRAM_NV) return RaiseError(GL_INVALID_ENUM, "glBindProgramNV");
  Here().bound = name;
  if (name != 0) mNames.insert(name);
}

// A text that is refused leaves the program that was loaded before.
void NVProgramDriver::Load(GLenum target, GLuint name, GLsizei length, const GLubyte* text) {
  if (target != GL_FRAGMENT_PROGRAM_NV) return RaiseError(GL_INVALID_ENUM, "glLoadProgramNV");
  if (name == 0) return RaiseError(GL_INVALID_VALUE, "glLoadProgramNV");
  NVParseError error{};
  auto parsed =
      ParseNVProgram({reinterpret_cast<const char*>(text), static_cast<std::size_t>(length)}, error);
  mErrorPosition = parsed ? -1 : static_cast<GLint>(error.position);
  if (!parsed) return RaiseError(GL_INVALID_OPERATION, "glLoadProgramNV: " + error.message);
  if (const auto found = mPrograms.find(name); found != mPrograms.end()) found->second.carried->Delete();
  mNames.insert(name);
  Program& program = mPrograms[name];
  program.parameters.assign(parsed->parameters.size(), {});
  program.carried.emplace(TranslateNVProgram(*parsed));
  program.parsed = std::move(*parsed);
}

void NVProgramDriver::SetParameter(GLuint name, GLsizei length, const GLubyte* parameter,
                                   const std::array<float, 4>& value) {
  const auto found = mPrograms.find(name);
  if (found == mPrograms.end()) return RaiseError(GL_INVALID_OPERATION, "glProgramNamedParameter4fNV");
  Program& program = found->second;
  const std::string_view wanted(reinterpret_cast<const char*>(parameter), static_cast<std::size_t>(length));
  const int index = program.parsed.FindParameter(wanted);
  if (index < 0) return RaiseError(GL_INVALID_VALUE, "glProgramNamedParameter4fNV");
  program.parameters[static_cast<std::size_t>(index)] = value;
}

// Drawing without a valid program is an error, and nothing is drawn.
void NVProgramDriver::BeforeDraw() {
  if (!Here().enabled) return;
  const auto found = mPrograms.find(Here().bound);
  if (found == mPrograms.end()) {
    RaiseError(GL_INVALID_OPERATION, "drawing without a fragment program");
    if (!Here().nothing) Here().nothing.emplace(kNothing);
    Here().nothing->Use();
    return;
  }
  const Program& program = found->second;
  for (std::size_t i = 0; i < program.parameters.size(); ++i)
    program.carried->SetLocal(static_cast<GLuint>(i), program.parameters[i].data());
  program.carried->Use();
}

void GLAPIENTRY GenPrograms(GLsizei count, GLuint* names) { NVProgramDriver::Get().Gen(count, names); }
void GLAPIENTRY DeletePrograms(GLsizei count, const GLuint* names) {
  NVProgramDriver::Get().Delete(count, names);
}
void GLAPIENTRY BindProgram(GLenum target, GLuint name) { NVProgramDriver::Get().Bind(target, name); }
void GLAPIENTRY LoadProgram(GLenum target, GLuint name, GLsizei length, const GLubyte* text) {
  NVProgramDriver::Get().Load(target, name, length, text);
}
void GLAPIENTRY NamedParameter(GLuint name, GLsizei length, const GLubyte* parameter, GLfloat x, GLfloat y,
                               GLfloat z, GLfloat w) {
  NVProgramDriver::Get().SetParameter(name, length, parameter, {x, y, z, w});
}

std::span<const ShimFunction> NVProgramDriver::Functions() const {
  static const ShimFunction kFunctions[] = {
      Carry("glBindProgramNV", BindProgram), Carry("glDeleteProgramsNV", DeletePrograms),
      Carry("glGenProgramsNV", GenPrograms), Carry("glLoadProgramNV", LoadProgram),
      Carry("glProgramNamedParameter4fNV", NamedParameter)};
  return kFunctions;
}

}  // namespace

std::unique_ptr<ShimDriver> MakeNVProgramDriver() { return std::make_unique<NVProgramDriver>(); }

}  // namespace test::shim
