// The objects behind the handles.
#pragma once

#include <GL/gl.h>

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "Cg/cg.h"
#include "cg/internal/Translator.h"

struct CGparameterRecord {
  CGprogram program = nullptr;
  cg::TranslatedParameter description;
  float value = 0;
  GLuint texture = 0;
  bool isEnabled = false;    ///< the texture is on its unit
  GLuint textureBefore = 0;  ///< the one that was
};

struct CGprogramRecord {
  CGcontext context = nullptr;
  CGprofile profile = CG_PROFILE_UNKNOWN;
  std::string glsl;
  std::vector<std::unique_ptr<CGparameterRecord>> parameters;
  GLuint shader = 0;  ///< 0 until the program is loaded

  bool IsVertex() const { return profile == CG_PROFILE_GLSLV; }
};

struct CGcontextRecord {
  std::vector<std::unique_ptr<CGprogramRecord>> programs;
};

namespace cg {

/// All contexts, programs and parameters, and the last error. Callers' handles are looked up, never trusted.
class Runtime {
 public:
  static Runtime& Get();

  CGcontext AddContext();
  void RemoveContext(CGcontext context);
  CGprogram AddProgram(CGcontext context, CGprofile profile, Translation translation);
  void RemoveProgram(CGprogram program);

  /// Whether a handle's object is there; false for null.
  bool Has(CGcontext context) const { return mContexts.contains(context); }
  bool Has(CGprogram program) const { return mPrograms.contains(program); }
  bool Has(CGparameter parameter) const { return mParameters.contains(parameter); }

  /// The same, setting the error when it is not.
  bool Check(CGcontext context);
  bool Check(CGprogram program);
  bool Check(CGparameter parameter);
  bool Check(CGprofile profile);

  /// Sets the error. Returns false, so that a caller can fail with it.
  bool Fail(CGerror error, const std::string& text);
  /// Returns the error, and clears it.
  CGerror TakeError();
  const std::string& ErrorText() const { return mErrorText; }

 private:
  std::set<CGcontext> mContexts;
  std::set<CGprogram> mPrograms;
  std::set<CGparameter> mParameters;
  CGerror mError = CG_NO_ERROR;
  std::string mErrorText = "no error";
};

}  // namespace cg
