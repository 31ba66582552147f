// What the driver offers beyond plain OpenGL.
#pragma once

#include <array>

#include "image/RImageExport.h"

/// The one place where extensions are asked for and their functions are looked up. An address alone proves
/// nothing: drivers hand out stubs for any name, so the extension must be advertised as well.
class RIMAGE_API RFpEntryPoints {
 public:
  using Address = void (*)();  ///< a function, to be cast to its own type

  RFpEntryPoints() = default;
  RFpEntryPoints(const RFpEntryPoints&) = delete;
  RFpEntryPoints& operator=(const RFpEntryPoints&) = delete;
  virtual ~RFpEntryPoints();

  /// Returns whether a context is current and advertises the extension, as in "GL_NV_fragment_program".
  virtual bool Advertises(const char* extension) const;
  /// Returns the function's address in the current context; null without one, or when it is unknown.
  virtual Address Resolve(const char* name) const;

  /// Looks a function up; false, with `function` null, when there is none.
  template <class Function>
  bool ResolveTo(const char* name, Function*& function) const {
    function = reinterpret_cast<Function*>(Resolve(name));
    return function != nullptr;
  }

  /// Returns the entry points in use: the driver's, unless a test has replaced them.
  static const RFpEntryPoints& Get();
  /// Puts others in the driver's place, borrowed; null brings the driver's back.
  static void Replace(const RFpEntryPoints* replacement);
};

/// A family of extensions that a node variant is built on.
enum kFpFamily : int {
  kFpFamilyNVFragmentProgram = 0,
  kFpFamilyNVRegisterCombiners2 = 1,
  kFpFamilyATIFragmentShader = 2,
};

/// The functions of ATI fragment shaders, in the order in which they are looked up.
inline constexpr std::array<const char*, 14> kFpATIFragmentShaderNames = {
    "glBindFragmentShaderATI", "glBeginFragmentShaderATI",      "glPassTexCoordATI",
    "glColorFragmentOp1ATI",   "glAlphaFragmentOp1ATI",         "glColorFragmentOp2ATI",
    "glAlphaFragmentOp2ATI",   "glColorFragmentOp3ATI",         "glAlphaFragmentOp3ATI",
    "glSampleMapATI",          "glEndFragmentShaderATI",        "glDeleteFragmentShaderATI",
    "glGenFragmentShadersATI", "glSetFragmentShaderConstantATI"};

/// Asks the current context whether a family is there: advertised, and all its probes resolve (the second
/// only when the first did, and so on). Every call asks anew; the node factories keep the first answer.
RIMAGE_API bool RFpIsAvailable(kFpFamily family);

/// Whether the current context applies a colour matrix to pixel transfers.
RIMAGE_API bool RFpHasColorMatrix();
