#include "cg/internal/GLPrograms.h"

#include <QOpenGLContext>
#include <algorithm>
#include <iterator>
#include <new>
#include <utility>

#include "rgl/RGLFunctions.h"

namespace cg {

namespace {

/// Returns the driver's remarks, from the functions that tell their length and their text.
template <class GetLength, class GetText>
std::string InfoLog(const GetLength& getLength, const GetText& getText) {
  GLint length = 0;
  getLength(&length);
  std::string log(static_cast<std::size_t>(std::max(length, 1)), '\0');
  getText(static_cast<GLsizei>(log.size()), log.data());
  return log.substr(0, log.find('\0'));
}

std::string ShaderLog(GLuint shader) {
  QOpenGLFunctions_2_0& gl = *opengl20();
  return InfoLog([&](GLint* length) { gl.glGetShaderiv(shader, GL_INFO_LOG_LENGTH, length); },
                 [&](GLsizei size, char* text) { gl.glGetShaderInfoLog(shader, size, nullptr, text); });
}

std::string ProgramLog(GLuint program) {
  QOpenGLFunctions_2_0& gl = *opengl20();
  return InfoLog([&](GLint* length) { gl.glGetProgramiv(program, GL_INFO_LOG_LENGTH, length); },
                 [&](GLsizei size, char* text) { gl.glGetProgramInfoLog(program, size, nullptr, text); });
}

GLuint ProgramInUse() {
  GLint program = 0;
  opengl20()->glGetIntegerv(GL_CURRENT_PROGRAM, &program);
  return static_cast<GLuint>(program);
}

/// A shader or a program that goes unless it is kept, whatever throws on the way.
class Unfinished {
 public:
  using Delete = void (*)(GLuint);

  Unfinished(GLuint name, Delete deleteName) : mName(name), mDelete(deleteName) {}
  Unfinished(const Unfinished&) = delete;
  Unfinished& operator=(const Unfinished&) = delete;
  ~Unfinished() {
    if (mName != 0) mDelete(mName);
  }

  GLuint Name() const { return mName; }
  GLuint Keep() { return std::exchange(mName, 0); }

 private:
  GLuint mName;
  Delete mDelete;
};

void DeleteShader(GLuint shader) { opengl20()->glDeleteShader(shader); }
void DeleteProgram(GLuint program) { opengl20()->glDeleteProgram(program); }

constexpr std::size_t StageOf(CGprofile profile) { return profile == CG_PROFILE_GLSLV ? 0 : 1; }

}  // namespace

GLPrograms& GLPrograms::Get() {
  static auto& programs = *new GLPrograms;
  return programs;
}

GLPrograms::Bindings& GLPrograms::Current() {
  QOpenGLContext* const context = QOpenGLContext::currentContext();
  const auto [entry, isNew] = mBindings.try_emplace(context);
  if (isNew) {
    QObject::connect(context, &QOpenGLContext::aboutToBeDestroyed,
                     [context] { GLPrograms::Get().mBindings.erase(context); });
  }
  return entry->second;
}

void GLPrograms::Load(CGprogramRecord& program) {
  if (program.shader != 0) return;
  mGroups[&program] = QOpenGLContext::currentContext()->shareGroup();
  QOpenGLFunctions_2_0& gl = *opengl20();
  Unfinished shader(gl.glCreateShader(program.IsVertex() ? GL_VERTEX_SHADER : GL_FRAGMENT_SHADER),
                    DeleteShader);
  const char* const text = program.glsl.c_str();
  gl.glShaderSource(shader.Name(), 1, &text, nullptr);
  gl.glCompileShader(shader.Name());
  GLint isCompiled = 0;
  gl.glGetShaderiv(shader.Name(), GL_COMPILE_STATUS, &isCompiled);
  if (isCompiled) {
    program.shader = shader.Keep();
    return;
  }
  mGroups.erase(&program);
  Runtime::Get().Fail(CG_PROGRAM_LOAD_ERROR, "the driver refuses the program: " + ShaderLog(shader.Name()));
}

bool GLPrograms::HasCurrent(const CGprogramRecord& program) const {
  const QOpenGLContext* const context = QOpenGLContext::currentContext();
  const auto group = mGroups.find(&program);
  return context && group != mGroups.end() && group->second == context->shareGroup();
}

void GLPrograms::Bind(CGprogramRecord& program) {
  Bindings& bindings = Current();
  bindings.bound[StageOf(program.profile)] = &program;
  Update(bindings);
}

void GLPrograms::Enable(CGprofile profile, bool isEnabled) {
  Bindings& bindings = Current();
  bindings.isEnabled[StageOf(profile)] = isEnabled;
  Update(bindings);
}

/// Puts in use what is bound and enabled, or what was in use before.
void GLPrograms::Update(Bindings& bindings) {
  const Pair pair{bindings.isEnabled[0] ? bindings.bound[0] : nullptr,
                  bindings.isEnabled[1] ? bindings.bound[1] : nullptr};
  const GLuint program = pair.first || pair.second ? Link(pair) : 0;
  Use(bindings, program);
  if (program == 0) return;
  SendValues(program, pair.first);
  SendValues(program, pair.second);
}

/// The same for callers that may not throw: where memory lacks, none of ours is in use any more.
void GLPrograms::UpdateOrStop(Bindings& bindings) {
  try {
    Update(bindings);
  } catch (const std::bad_alloc&) {
    Use(bindings, 0);
  }
}

void GLPrograms::Use(Bindings& bindings, GLuint program) {
  if (program == 0 && bindings.inUse == 0) return;
  QOpenGLFunctions_2_0& gl = *opengl20();
  if (bindings.inUse == 0) bindings.before = ProgramInUse();
  bindings.inUse = program;
  // The program before may have been deleted since, which takes effect once it is no longer in use.
  if (program == 0 && bindings.before != 0 && !gl.glIsProgram(bindings.before)) bindings.before = 0;
  gl.glUseProgram(program != 0 ? program : bindings.before);
}

GLuint GLPrograms::Link(const Pair& pair) {
  const auto [linked, isNew] = mLinked.try_emplace(pair, 0);
  if (!isNew) {
    if (linked->second == 0) Runtime::Get().Fail(CG_PROGRAM_BIND_ERROR, "the programs do not fit together");
    return linked->second;
  }
  QOpenGLFunctions_2_0& gl = *opengl20();
  Unfinished program(gl.glCreateProgram(), DeleteProgram);
  if (pair.first) gl.glAttachShader(program.Name(), pair.first->shader);
  if (pair.second) gl.glAttachShader(program.Name(), pair.second->shader);
  gl.glLinkProgram(program.Name());
  if (FinishLinking(gl, program.Name(), pair)) linked->second = program.Keep();
  return linked->second;
}

/// Gives the samplers of a linked program their units; false, with the error set, when it is not linked.
bool GLPrograms::FinishLinking(QOpenGLFunctions_2_0& gl, GLuint program, const Pair& pair) {
  GLint isLinked = 0;
  gl.glGetProgramiv(program, GL_LINK_STATUS, &isLinked);
  if (!isLinked) {
    return Runtime::Get().Fail(CG_PROGRAM_BIND_ERROR,
                               "the driver cannot link the programs: " + ProgramLog(program));
  }
  if (!pair.second) return true;
  const GLuint before = ProgramInUse();
  gl.glUseProgram(program);
  for (const auto& parameter : pair.second->parameters) {
    const TranslatedParameter& description = parameter->description;
    if (description.unit < 0) continue;
    gl.glUniform1i(gl.glGetUniformLocation(program, description.uniform.c_str()), description.unit);
  }
  gl.glUseProgram(before);
  return true;
}

void GLPrograms::SendValues(GLuint program, const CGprogramRecord* stage) {
  if (!stage) return;
  QOpenGLFunctions_2_0& gl = *opengl20();
  for (const auto& parameter : stage->parameters) {
    const TranslatedParameter& description = parameter->description;
    if (!description.type.IsFloat() || description.uniform.empty() || !description.isReferenced) continue;
    gl.glUniform1f(gl.glGetUniformLocation(program, description.uniform.c_str()), parameter->value);
  }
}

void GLPrograms::Send(const CGparameterRecord& parameter) {
  const Bindings& bindings = Current();
  const std::size_t stage = StageOf(parameter.program->profile);
  const bool isInUse =
      bindings.inUse != 0 && bindings.isEnabled[stage] && bindings.bound[stage] == parameter.program;
  // The host may have put another program in use in between.
  if (!isInUse || ProgramInUse() != bindings.inUse) return;
  QOpenGLFunctions_2_0& gl = *opengl20();
  gl.glUniform1f(gl.glGetUniformLocation(bindings.inUse, parameter.description.uniform.c_str()),
                 parameter.value);
}

void GLPrograms::Forget(const CGprogramRecord& program) {
  // Another context has objects of its own under the same names.
  QOpenGLFunctions_2_0* const gl = HasCurrent(program) ? opengl20() : nullptr;
  for (auto& [context, bindings] : mBindings) {
    CGprogramRecord*& bound = bindings.bound[StageOf(program.profile)];
    if (bound != &program) continue;
    bound = nullptr;
    if (gl && context == QOpenGLContext::currentContext()) UpdateOrStop(bindings);
  }
  for (auto linked = mLinked.begin(); linked != mLinked.end();) {
    const bool has = linked->first.first == &program || linked->first.second == &program;
    if (has && gl && linked->second != 0) gl->glDeleteProgram(linked->second);
    linked = has ? mLinked.erase(linked) : std::next(linked);
  }
  if (gl && program.shader != 0) gl->glDeleteShader(program.shader);
  mGroups.erase(&program);
}

}  // namespace cg
