#include "support/shim/GLShim.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <utility>

#include "support/shim/GLShimDriver.h"

namespace test::shim {

namespace {

struct Kind {
  std::string_view name;
  std::unique_ptr<ShimDriver> (*make)();
};

std::unique_ptr<ShimDriver> MakePlainDriver() { return std::make_unique<ShimDriver>(); }

constexpr std::array kKinds{Kind{"nv", MakeNVProgramDriver}, Kind{"rc", MakeCombinerDriver},
                            Kind{"ati", MakeATIShaderDriver}, Kind{"sgi", MakeColorMatrixDriver},
                            Kind{"plain", MakePlainDriver}};

// What the kinds are about: a shim shows its own of these, and no other.
constexpr std::array<std::string_view, 7> kExtensions = {"GL_NV_vertex_program",
                                                         "GL_NV_fragment_program",
                                                         "GL_NV_register_combiners",
                                                         "GL_NV_register_combiners2",
                                                         "GL_ATI_fragment_shader",
                                                         "GL_SGI_color_matrix",
                                                         "GL_ARB_imaging"};

ShimDriver* Driver() {
  static const std::unique_ptr<ShimDriver> driver = []() -> std::unique_ptr<ShimDriver> {
    const auto kind =
        std::find_if(kKinds.begin(), kKinds.end(), [](const Kind& k) { return k.name == Name(); });
    return kind == kKinds.end() ? nullptr : kind->make();
  }();
  return driver.get();
}

// --- Errors.

thread_local GLenum tError = GL_NO_ERROR;

GLenum GLAPIENTRY GetError() {
  if (tError == GL_NO_ERROR) return DRIVER(glGetError)();
  return std::exchange(tError, GLenum{GL_NO_ERROR});
}

// --- Extensions: the driver's, less those that the kinds are about, and the shim's own.

bool IsShown(std::string_view extension) {
  return std::find(kExtensions.begin(), kExtensions.end(), extension) == kExtensions.end();
}

struct Extensions {
  std::vector<std::string> names;
  std::string text;
};

// The driver's list is that of the first context; one driver gives all compatibility contexts the same.
const Extensions& GetExtensions() {
  static const Extensions& extensions = []() -> Extensions& {
    auto* const list = new Extensions;
    GLint count = 0;
    DRIVER(glGetIntegerv)(GL_NUM_EXTENSIONS, &count);
    for (GLint i = 0; i < count; ++i) {
      const auto* name =
          reinterpret_cast<const char*>(DRIVER(glGetStringi)(GL_EXTENSIONS, static_cast<GLuint>(i)));
      if (IsShown(name)) list->names.emplace_back(name);
    }
    for (const char* const name : Driver()->Advertised()) list->names.emplace_back(name);
    for (const std::string& name : list->names) list->text += name + ' ';
    return *list;
  }();
  return extensions;
}

const GLubyte* Bytes(const char* text) { return reinterpret_cast<const GLubyte*>(text); }

const GLubyte* GLAPIENTRY GetString(GLenum name) {
  const GLubyte* const text = DRIVER(glGetString)(name);
  return name == GL_EXTENSIONS && text ? Bytes(GetExtensions().text.c_str()) : text;
}

const GLubyte* GLAPIENTRY GetStringi(GLenum name, GLuint index) {
  if (name != GL_EXTENSIONS) return DRIVER(glGetStringi)(name, index);
  const auto& names = GetExtensions().names;
  if (index < names.size()) return Bytes(names[index].c_str());
  RaiseError(GL_INVALID_VALUE, "glGetStringi");
  return nullptr;
}

// --- Queries.

template <class T>
bool Answer(GLenum name, T* values) {
  if (name == GL_NUM_EXTENSIONS) {
    *values = static_cast<T>(GetExtensions().names.size());
    return true;
  }
  if (const auto enabled = Driver()->IsEnabled(name)) {
    *values = static_cast<T>(*enabled ? 1 : 0);
    return true;
  }
  const std::vector<double> answer = Driver()->GetValues(name);
  std::transform(answer.begin(), answer.end(), values, [](double value) { return static_cast<T>(value); });
  return !answer.empty();
}

void GLAPIENTRY GetIntegerv(GLenum name, GLint* values) {
  if (!Answer(name, values)) DRIVER(glGetIntegerv)(name, values);
}
void GLAPIENTRY GetFloatv(GLenum name, GLfloat* values) {
  if (!Answer(name, values)) DRIVER(glGetFloatv)(name, values);
}
void GLAPIENTRY GetDoublev(GLenum name, GLdouble* values) {
  if (!Answer(name, values)) DRIVER(glGetDoublev)(name, values);
}
void GLAPIENTRY GetBooleanv(GLenum name, GLboolean* values) {
  if (!Answer(name, values)) DRIVER(glGetBooleanv)(name, values);
}

// --- Enables.

void GLAPIENTRY Enable(GLenum capability) {
  if (!Driver()->SetEnabled(capability, true)) DRIVER(glEnable)(capability);
}
void GLAPIENTRY Disable(GLenum capability) {
  if (!Driver()->SetEnabled(capability, false)) DRIVER(glDisable)(capability);
}
GLboolean GLAPIENTRY IsEnabled(GLenum capability) {
  if (const auto enabled = Driver()->IsEnabled(capability)) return *enabled ? GL_TRUE : GL_FALSE;
  return DRIVER(glIsEnabled)(capability);
}

// The driver's own stack keeps the enable of the program that carries out the shim's, so the shim starts anew
// behind it.
thread_local std::vector<GLbitfield> tPushed;

void GLAPIENTRY PushAttrib(GLbitfield mask) {
  DRIVER(glPushAttrib)(mask);
  tPushed.push_back(mask);
  Driver()->PushAttributes(mask);
}

void GLAPIENTRY PopAttrib() {
  DRIVER(glPopAttrib)();
  if (tPushed.empty()) return;
  Driver()->PopAttributes(tPushed.back());
  tPushed.pop_back();
}

// --- Drawing.

void GLAPIENTRY Begin(GLenum mode) {
  Driver()->BeforeDraw();
  DRIVER(glBegin)(mode);
}
void GLAPIENTRY Recti(GLint x1, GLint y1, GLint x2, GLint y2) {
  Driver()->BeforeDraw();
  DRIVER(glRecti)(x1, y1, x2, y2);
}
void GLAPIENTRY DrawArrays(GLenum mode, GLint first, GLsizei count) {
  Driver()->BeforeDraw();
  DRIVER(glDrawArrays)(mode, first, count);
}
void GLAPIENTRY DrawElements(GLenum mode, GLsizei count, GLenum type, const void* indices) {
  Driver()->BeforeDraw();
  DRIVER(glDrawElements)(mode, count, type, indices);
}

// --- Display lists.

void GLAPIENTRY NewList(GLuint list, GLenum mode) {
  Driver()->NewList(list, mode);
  DRIVER(glNewList)(list, mode);
}
void GLAPIENTRY EndList() {
  Driver()->EndList();
  DRIVER(glEndList)();
}
void GLAPIENTRY CallList(GLuint list) {
  Driver()->CallList(list);
  DRIVER(glCallList)(list);
}
void GLAPIENTRY DeleteLists(GLuint list, GLsizei range) {
  Driver()->DeleteLists(list, range);
  DRIVER(glDeleteLists)(list, range);
}

const std::array kCommonFunctions{Carry("glBegin", Begin),
                                  Carry("glCallList", CallList),
                                  Carry("glDeleteLists", DeleteLists),
                                  Carry("glDisable", Disable),
                                  Carry("glDrawArrays", DrawArrays),
                                  Carry("glDrawElements", DrawElements),
                                  Carry("glEnable", Enable),
                                  Carry("glEndList", EndList),
                                  Carry("glGetBooleanv", GetBooleanv),
                                  Carry("glGetDoublev", GetDoublev),
                                  Carry("glGetError", GetError),
                                  Carry("glGetFloatv", GetFloatv),
                                  Carry("glGetIntegerv", GetIntegerv),
                                  Carry("glGetString", GetString),
                                  Carry("glGetStringi", GetStringi),
                                  Carry("glIsEnabled", IsEnabled),
                                  Carry("glNewList", NewList),
                                  Carry("glPopAttrib", PopAttrib),
                                  Carry("glPushAttrib", PushAttrib),
                                  Carry("glRecti", Recti)};

void* Find(std::span<const ShimFunction> functions, std::string_view name) {
  const auto found =
      std::find_if(functions.begin(), functions.end(), [&](const ShimFunction& f) { return f.name == name; });
  return found == functions.end() ? nullptr : found->function;
}

}  // namespace

const std::string& Name() {
  static const std::string name = [] {
    const char* const value = std::getenv("RIMAGE_GL_SHIM");
    const std::string wanted = value ? value : "";
    const bool known =
        std::any_of(kKinds.begin(), kKinds.end(), [&](const Kind& k) { return k.name == wanted; });
    if (!known && !wanted.empty()) Refuse("RIMAGE_GL_SHIM=" + wanted);
    return wanted;
  }();
  return name;
}

void* EntryPoint(std::string_view name) {
  if (Name().empty()) return nullptr;
  if (void* const own = Find(Driver()->Functions(), name)) return own;
  return Find(kCommonFunctions, name);
}

void ForgetContext(void* context) {
  if (!Name().empty()) Driver()->ForgetContext(context);
}

void RaiseError(GLenum error, std::string_view where) {
  if (tError == GL_NO_ERROR) tError = error;
  char code[32];
  std::snprintf(code, sizeof(code), "error 0x%x in ", error);
  ReportDriverError(std::string("driver shim: ") + code + std::string(where));
}

void Refuse(std::string_view what) {
  std::fprintf(stderr, "driver shim: not carried out: %.*s\n", static_cast<int>(what.size()), what.data());
  std::abort();
}

void* CurrentContext() { return CurrentContextHandle(); }

// --- Programs of the driver.

ArbProgram::ArbProgram(const std::string& text) {
  DRIVER(glGenProgramsARB)(1, &mName);
  DRIVER(glBindProgramARB)(GL_FRAGMENT_PROGRAM_ARB, mName);
  DRIVER(glProgramStringARB)
  (GL_FRAGMENT_PROGRAM_ARB, GL_PROGRAM_FORMAT_ASCII_ARB, static_cast<GLsizei>(text.size()), text.data());
  GLint position = -1;
  DRIVER(glGetIntegerv)(GL_PROGRAM_ERROR_POSITION_ARB, &position);
  if (position >= 0) Refuse(text + "\n(the driver stops at byte " + std::to_string(position) + ")");
}

void ArbProgram::Use() const {
  DRIVER(glBindProgramARB)(GL_FRAGMENT_PROGRAM_ARB, mName);
  DRIVER(glEnable)(GL_FRAGMENT_PROGRAM_ARB);
}

void ArbProgram::Stop() { DRIVER(glDisable)(GL_FRAGMENT_PROGRAM_ARB); }

void ArbProgram::SetLocal(GLuint index, const float* value) const {
  DRIVER(glBindProgramARB)(GL_FRAGMENT_PROGRAM_ARB, mName);
  DRIVER(glProgramLocalParameter4fARB)
  (GL_FRAGMENT_PROGRAM_ARB, index, value[0], value[1], value[2], value[3]);
}

void ArbProgram::Delete() const { DRIVER(glDeleteProgramsARB)(1, &mName); }

}  // namespace test::shim
