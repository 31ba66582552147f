#include "cg/internal/Runtime.h"

#include <new>

#include "cg/internal/GLPrograms.h"

namespace cg {

Runtime& Runtime::Get() {
  // Outlives the statics of callers that destroy their programs late.
  static auto& runtime = *new Runtime;
  return runtime;
}

CGcontext Runtime::AddContext() {
  auto context = std::make_unique<CGcontextRecord>();
  mContexts.insert(context.get());
  return context.release();
}

void Runtime::RemoveContext(CGcontext context) {
  while (!context->programs.empty()) RemoveProgram(context->programs.back().get());
  mContexts.erase(context);
  delete context;
}

CGprogram Runtime::AddProgram(CGcontext context, CGprofile profile, Translation translation) {
  CGprogram program = context->programs.emplace_back(std::make_unique<CGprogramRecord>()).get();
  program->context = context;
  program->profile = profile;
  program->glsl = std::move(translation.glsl);
  try {
    mPrograms.insert(program);
    for (TranslatedParameter& description : translation.parameters) {
      auto& parameter = program->parameters.emplace_back(std::make_unique<CGparameterRecord>());
      parameter->program = program;
      parameter->description = std::move(description);
      mParameters.insert(parameter.get());
    }
  } catch (const std::bad_alloc&) {
    RemoveProgram(program);
    throw;
  }
  return program;
}

void Runtime::RemoveProgram(CGprogram program) {
  GLPrograms::Get().Forget(*program);
  for (const auto& parameter : program->parameters) mParameters.erase(parameter.get());
  mPrograms.erase(program);
  std::erase_if(program->context->programs, [program](const auto& owned) { return owned.get() == program; });
}

bool Runtime::Check(CGcontext context) {
  return Has(context) || Fail(CG_INVALID_CONTEXT_HANDLE_ERROR, "there is no such context");
}

bool Runtime::Check(CGprogram program) {
  return Has(program) || Fail(CG_INVALID_PROGRAM_HANDLE_ERROR, "there is no such program");
}

bool Runtime::Check(CGparameter parameter) {
  return Has(parameter) || Fail(CG_INVALID_PARAM_HANDLE_ERROR, "there is no such parameter");
}

bool Runtime::Check(CGprofile profile) {
  const bool isKnown = profile == CG_PROFILE_GLSLV || profile == CG_PROFILE_GLSLF;
  return isKnown || Fail(CG_UNKNOWN_PROFILE_ERROR, "there is no such profile");
}

bool Runtime::Fail(CGerror error, const std::string& text) {
  mError = error;
  mErrorText = text;
  return false;
}

CGerror Runtime::TakeError() {
  const CGerror error = mError;
  mError = CG_NO_ERROR;
  return error;
}

}  // namespace cg
