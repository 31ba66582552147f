// The Cg runtime in OpenGL: loading, binding and enabling of programs, and the values of their parameters.
//
// A vertex and a fragment program work together as one program of OpenGL, which is linked when the two are
// first used. It is in use from the moment a program is bound and its profile enabled until both profiles are
// disabled; then the program is used again that was in use before. While only one profile is enabled, fixed
// functions do the other half. Bound programs and enabled profiles belong to the current OpenGL context.
// Without one, what needs OpenGL is an error.
#pragma once

#include <GL/gl.h>

#include "Cg/cg.h"

/// The kinds of programs.
enum CGGLenum : int {
  CG_GL_VERTEX = 8,    ///< what runs for each vertex
  CG_GL_FRAGMENT = 9,  ///< what runs for each pixel
};

extern "C" {

/// Returns the profile that programs of the kind are compiled for, the same whatever the driver;
/// CG_PROFILE_UNKNOWN, with CG_INVALID_ENUMERANT_ERROR, for another kind. Needs no OpenGL.
CG_API CGprofile cgGLGetLatestProfile(CGGLenum kind);
/// Does nothing but check the profile: the driver's compiler needs no options.
CG_API void cgGLSetOptimalOptions(CGprofile profile);

/// Hands the program to the driver, which may refuse it (CG_PROGRAM_LOAD_ERROR); nothing happens when it is
/// loaded already. It is loaded for the current context of OpenGL and those that share with it, and for no
/// other.
CG_API void cgGLLoadProgram(CGprogram program);
/// Makes a loaded program the one that its profile uses, and uses it when the profile is enabled. Where the
/// driver cannot link it, alone or with the program of the other profile if that is enabled, it stays bound
/// and neither is used (CG_PROGRAM_BIND_ERROR).
CG_API void cgGLBindProgram(CGprogram program);
/// Takes the profile's program into use, now or when one is bound. Linking can fail as in `cgGLBindProgram`.
CG_API void cgGLEnableProfile(CGprofile profile);
/// Takes the profile's program out of use; with the last profile, the program of OpenGL is used again that
/// was in use before. It stays bound.
CG_API void cgGLDisableProfile(CGprofile profile);

/// Sets a uniform float. The value stays in the parameter, whichever programs are bound, and needs no OpenGL;
/// a program that is in use gets it at once. CG_INVALID_PARAMETER_ERROR for another parameter.
CG_API void cgGLSetParameter1f(CGparameter parameter, float value);
/// Names the 2D texture that a sampler reads once it is enabled, borrowed. CG_INVALID_PARAMETER_ERROR, here
/// and below, for what is no sampler. Needs no OpenGL.
CG_API void cgGLSetTextureParameter(CGparameter parameter, GLuint texture);
/// Binds the sampler's texture to its unit, and remembers what was there. The active unit stays.
CG_API void cgGLEnableTextureParameter(CGparameter parameter);
/// Binds the texture again that was on the unit before, none when that is gone; nothing happens when the
/// sampler is not enabled.
CG_API void cgGLDisableTextureParameter(CGparameter parameter);
/// Returns the sampler's texture unit, such as GL_TEXTURE0, the same for the life of the program;
/// GL_INVALID_OPERATION for what is no sampler.
CG_API GLenum cgGLGetTextureEnum(CGparameter parameter);
}
