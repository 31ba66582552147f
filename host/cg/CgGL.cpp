// The functions of Cg/cgGL.h.
#include "Cg/cgGL.h"

#include "cg/internal/GLPrograms.h"
#include "cg/internal/Runtime.h"
#include "rgl/RGLFunctions.h"

using cg::GLPrograms;
using cg::Runtime;

namespace {

bool CheckOpenGL(CGerror error) {
  return opengl20() || Runtime::Get().Fail(error, "no compatibility context of OpenGL is current");
}

bool CheckSampler(CGparameter parameter) {
  if (!Runtime::Get().Check(parameter)) return false;
  return parameter->description.unit >= 0 ||
         Runtime::Get().Fail(CG_INVALID_PARAMETER_ERROR, "the parameter is no sampler");
}

GLuint GetInteger(GLenum name) {
  GLint value = 0;
  opengl20()->glGetIntegerv(name, &value);
  return static_cast<GLuint>(value);
}

/// Puts a texture on a sampler's unit and returns the one that was there. The active unit stays.
GLuint ExchangeTexture(const CGparameterRecord& parameter, GLuint texture) {
  QOpenGLFunctions_2_0& gl = *opengl20();
  const GLuint active = GetInteger(GL_ACTIVE_TEXTURE);
  gl.glActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(parameter.description.unit));
  const GLuint before = GetInteger(GL_TEXTURE_BINDING_2D);
  gl.glBindTexture(GL_TEXTURE_2D, texture);
  gl.glActiveTexture(active);
  return before;
}

}  // namespace

CGprofile cgGLGetLatestProfile(CGGLenum kind) {
  if (kind == CG_GL_VERTEX) return CG_PROFILE_GLSLV;
  if (kind == CG_GL_FRAGMENT) return CG_PROFILE_GLSLF;
  Runtime::Get().Fail(CG_INVALID_ENUMERANT_ERROR, "programs are for vertices or for fragments");
  return CG_PROFILE_UNKNOWN;
}

void cgGLSetOptimalOptions(CGprofile profile) { (void)Runtime::Get().Check(profile); }

void cgGLLoadProgram(CGprogram program) {
  if (Runtime::Get().Check(program) && CheckOpenGL(CG_PROGRAM_LOAD_ERROR)) GLPrograms::Get().Load(*program);
}

void cgGLBindProgram(CGprogram program) {
  if (!Runtime::Get().Check(program) || !CheckOpenGL(CG_PROGRAM_BIND_ERROR)) return;
  if (!GLPrograms::Get().HasCurrent(*program)) {
    Runtime::Get().Fail(CG_PROGRAM_NOT_LOADED_ERROR, "the program is not loaded in this context of OpenGL");
    return;
  }
  GLPrograms::Get().Bind(*program);
}

void cgGLEnableProfile(CGprofile profile) {
  if (Runtime::Get().Check(profile) && CheckOpenGL(CG_PROGRAM_BIND_ERROR))
    GLPrograms::Get().Enable(profile, true);
}

void cgGLDisableProfile(CGprofile profile) {
  if (Runtime::Get().Check(profile) && CheckOpenGL(CG_PROGRAM_BIND_ERROR))
    GLPrograms::Get().Enable(profile, false);
}

void cgGLSetParameter1f(CGparameter parameter, float value) {
  if (!Runtime::Get().Check(parameter)) return;
  const cg::TranslatedParameter& description = parameter->description;
  if (!description.type.IsFloat() || description.uniform.empty()) {
    Runtime::Get().Fail(CG_INVALID_PARAMETER_ERROR, "the parameter is no uniform float");
    return;
  }
  parameter->value = value;
  if (opengl20()) GLPrograms::Get().Send(*parameter);
}

void cgGLSetTextureParameter(CGparameter parameter, GLuint texture) {
  if (CheckSampler(parameter)) parameter->texture = texture;
}

void cgGLEnableTextureParameter(CGparameter parameter) {
  if (!CheckSampler(parameter) || !CheckOpenGL(CG_PROGRAM_BIND_ERROR)) return;
  const GLuint before = ExchangeTexture(*parameter, parameter->texture);
  if (!parameter->isEnabled) parameter->textureBefore = before;
  parameter->isEnabled = true;
}

void cgGLDisableTextureParameter(CGparameter parameter) {
  if (!CheckSampler(parameter) || !CheckOpenGL(CG_PROGRAM_BIND_ERROR) || !parameter->isEnabled) return;
  parameter->isEnabled = false;
  const bool isThere = parameter->textureBefore == 0 || opengl20()->glIsTexture(parameter->textureBefore);
  (void)ExchangeTexture(*parameter, isThere ? parameter->textureBefore : 0);
}

GLenum cgGLGetTextureEnum(CGparameter parameter) {
  return CheckSampler(parameter) ? GL_TEXTURE0 + static_cast<GLenum>(parameter->description.unit)
                                 : GLenum{GL_INVALID_OPERATION};
}
