#include "support/CgInterposer.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <sstream>
#include <utility>

#include "Cg/cgGL.h"

namespace test {

namespace {

CgRecorder* gRecorder = nullptr;
std::string gFailingCall;
CgFailureKind gFailureKind = CgFailureKind::kNull;
bool gHasError = false;
std::map<const void*, std::string> gNames;  // of programs and parameters

template <class Function>
Function* Runtime(const char* name) {
  void* const address = dlsym(RTLD_NEXT, name);
  if (!address) {
    std::fprintf(stderr, "the Cg runtime has no %s\n", name);
    std::abort();
  }
  return reinterpret_cast<Function*>(address);
}

// --- Printing.

std::string Text(CGprogram program) { return program ? gNames[program] : "null"; }
std::string Text(CGparameter parameter) { return parameter ? gNames[parameter] : "null"; }
std::string Text(CGcontext context) { return context ? "context" : "null"; }
std::string Text(CGprofile profile) {
  if (profile == Runtime<decltype(::cgGLGetLatestProfile)>("cgGLGetLatestProfile")(CG_GL_VERTEX))
    return "vertex";
  return profile == CG_PROFILE_UNKNOWN ? "unknown" : "fragment";
}
std::string Text(CGGLenum kind) { return kind == CG_GL_VERTEX ? "vertex" : "fragment"; }
std::string Text(const char* text) { return text ? text : "null"; }
template <class Number>
std::string Text(Number number) {
  std::ostringstream text;
  text << number;
  return text.str();
}

template <class... A>
std::string CallText(const char* name, A... arguments) {
  std::string text;
  ((text += (text.empty() ? "" : ", ") + Text(arguments)), ...);
  return std::string(name) + "(" + text + ")";
}

/// Notes a call and carries it out, or lets it fail.
template <class Result, class Call>
Result Carry(const std::string& text, const Call& call) {
  if (gRecorder) gRecorder->Add(text);
  const bool fails = text == gFailingCall;
  if (fails && gFailureKind != CgFailureKind::kSilent) gHasError = true;
  if (fails && gFailureKind != CgFailureKind::kResult) return Result();
  return call();
}

}  // namespace

CgRecorder::CgRecorder() { gRecorder = this; }
CgRecorder::~CgRecorder() { gRecorder = nullptr; }

std::string CgRecorder::Text() const {
  std::string text;
  for (const std::string& call : mCalls) text += call + '\n';
  return text;
}

CgFailure::CgFailure(const std::string& call, CgFailureKind kind) {
  gFailingCall = call;
  gFailureKind = kind;
}

CgFailure::~CgFailure() { gFailingCall.clear(); }

void LeaveCgError() { gHasError = true; }

}  // namespace test

// The functions. Each spells its arguments once for the text and once for the runtime.
#define CG_FORWARD(name, ...) test::Runtime<decltype(::name)>(#name)(__VA_ARGS__)
#define CG_CARRY(Result, name, ...)                                     \
  test::Carry<Result>(test::CallText(#name __VA_OPT__(, ) __VA_ARGS__), \
                      [&] { return CG_FORWARD(name, __VA_ARGS__); })

extern "C" {

CGerror cgGetError() {
  if (test::gRecorder) test::gRecorder->AddErrorQuery();
  if (std::exchange(test::gHasError, false)) return CG_INVALID_POINTER_ERROR;
  return CG_FORWARD(cgGetError);
}

const char* cgGetLastErrorString(CGerror* error) {
  if (test::gRecorder) test::gRecorder->AddErrorQuery();
  if (!test::gHasError) return CG_FORWARD(cgGetLastErrorString, error);
  test::gHasError = false;
  *error = CG_INVALID_POINTER_ERROR;
  return test::CgFailure::kText;
}

CGcontext cgCreateContext() { return CG_CARRY(CGcontext, cgCreateContext); }
void cgDestroyContext(CGcontext context) { CG_CARRY(void, cgDestroyContext, context); }
CGbool cgIsContext(CGcontext context) { return CG_CARRY(CGbool, cgIsContext, context); }

CGprogram cgCreateProgram(CGcontext context, CGenum type, const char* program, CGprofile profile,
                          const char* entry, const char** arguments) {
  CGprogram created = test::Carry<CGprogram>(
      test::CallText("cgCreateProgram", static_cast<int>(type), profile, entry),
      [&] { return CG_FORWARD(cgCreateProgram, context, type, program, profile, entry, arguments); });
  if (created) test::gNames[created] = entry;
  return created;
}

void cgDestroyProgram(CGprogram program) { CG_CARRY(void, cgDestroyProgram, program); }
CGbool cgIsProgram(CGprogram program) { return CG_CARRY(CGbool, cgIsProgram, program); }

CGparameter cgGetNamedParameter(CGprogram program, const char* name) {
  CGparameter found = test::Carry<CGparameter>(test::CallText("cgGetNamedParameter", program, name), [&] {
    return CG_FORWARD(cgGetNamedParameter, program, name);
  });
  if (found) test::gNames[found] = name;
  return found;
}

CGbool cgIsParameterReferenced(CGparameter parameter) {
  return CG_CARRY(CGbool, cgIsParameterReferenced, parameter);
}
CGprofile cgGLGetLatestProfile(CGGLenum kind) { return CG_CARRY(CGprofile, cgGLGetLatestProfile, kind); }
void cgGLSetOptimalOptions(CGprofile profile) { CG_CARRY(void, cgGLSetOptimalOptions, profile); }
void cgGLLoadProgram(CGprogram program) { CG_CARRY(void, cgGLLoadProgram, program); }
void cgGLBindProgram(CGprogram program) { CG_CARRY(void, cgGLBindProgram, program); }
void cgGLEnableProfile(CGprofile profile) { CG_CARRY(void, cgGLEnableProfile, profile); }
void cgGLDisableProfile(CGprofile profile) { CG_CARRY(void, cgGLDisableProfile, profile); }
void cgGLSetParameter1f(CGparameter parameter, float value) {
  CG_CARRY(void, cgGLSetParameter1f, parameter, value);
}
void cgGLSetTextureParameter(CGparameter parameter, GLuint texture) {
  CG_CARRY(void, cgGLSetTextureParameter, parameter, texture);
}
void cgGLEnableTextureParameter(CGparameter parameter) {
  CG_CARRY(void, cgGLEnableTextureParameter, parameter);
}
void cgGLDisableTextureParameter(CGparameter parameter) {
  CG_CARRY(void, cgGLDisableTextureParameter, parameter);
}
GLenum cgGLGetTextureEnum(CGparameter parameter) { return CG_CARRY(GLenum, cgGLGetTextureEnum, parameter); }
}
