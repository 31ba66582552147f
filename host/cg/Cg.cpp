// The functions of Cg/cg.h.
#include <algorithm>

#include "Cg/cg.h"
#include "cg/internal/Diagnostic.h"
#include "cg/internal/Runtime.h"
#include "cg/internal/Translator.h"

using cg::Runtime;

CGerror cgGetError() { return Runtime::Get().TakeError(); }

const char* cgGetLastErrorString(CGerror* error) {
  const CGerror last = Runtime::Get().TakeError();
  if (error) *error = last;
  return Runtime::Get().ErrorText().c_str();
}

CGcontext cgCreateContext() { return Runtime::Get().AddContext(); }

void cgDestroyContext(CGcontext context) {
  if (Runtime::Get().Check(context)) Runtime::Get().RemoveContext(context);
}

CGbool cgIsContext(CGcontext context) { return Runtime::Get().Has(context); }

CGprogram cgCreateProgram(CGcontext context, CGenum type, const char* program, CGprofile profile,
                          const char* entry, const char** arguments) {
  Runtime& runtime = Runtime::Get();
  if (!runtime.Check(context) || !runtime.Check(profile)) return nullptr;
  if (type != CG_SOURCE) {
    runtime.Fail(CG_INVALID_ENUMERANT_ERROR, "programs are created from source text only");
    return nullptr;
  }
  if (!program || !entry) {
    runtime.Fail(CG_INVALID_POINTER_ERROR, "a program needs a source and the name of its entry point");
    return nullptr;
  }
  if (arguments && *arguments) {
    runtime.Fail(CG_COMPILER_ERROR, "the option " + cg::Quote(*arguments) + " is not supported");
    return nullptr;
  }
  const cg::Stage stage = profile == CG_PROFILE_GLSLV ? cg::Stage::kVertex : cg::Stage::kFragment;
  std::string error;
  auto translation = cg::Translate(program, entry, stage, error);
  if (translation) return runtime.AddProgram(context, profile, *std::move(translation));
  runtime.Fail(CG_COMPILER_ERROR, error);
  return nullptr;
}

void cgDestroyProgram(CGprogram program) {
  if (Runtime::Get().Check(program)) Runtime::Get().RemoveProgram(program);
}

CGbool cgIsProgram(CGprogram program) { return Runtime::Get().Has(program); }

CGparameter cgGetNamedParameter(CGprogram program, const char* name) {
  Runtime& runtime = Runtime::Get();
  if (!runtime.Check(program)) return nullptr;
  if (!name) {
    runtime.Fail(CG_INVALID_POINTER_ERROR, "the parameter's name is null");
    return nullptr;
  }
  const auto found = std::ranges::find_if(
      program->parameters, [name](const auto& parameter) { return parameter->description.name == name; });
  return found == program->parameters.end() ? nullptr : found->get();
}

CGbool cgIsParameterReferenced(CGparameter parameter) {
  return Runtime::Get().Check(parameter) && parameter->description.isReferenced;
}
