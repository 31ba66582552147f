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

enum CGGLenum : int {
  CG_GL_VERTEX = 8,
  CG_GL_FRAGMENT = 9,
};

extern "C" {

/// Returns the profile that programs of the kind are best compiled for.
CG_API CGprofile cgGLGetLatestProfile(CGGLenum kind);
/// Lets programs of a profile be compiled for the driver. The driver's compiler needs no options.
CG_API void cgGLSetOptimalOptions(CGprofile profile);

/// Hands the program to the driver, which may refuse it.
CG_API void cgGLLoadProgram(CGprogram program);
/// Makes a loaded program the one that its profile uses.
CG_API void cgGLBindProgram(CGprogram program);
CG_API void cgGLEnableProfile(CGprofile profile);
CG_API void cgGLDisableProfile(CGprofile profile);

/// Sets a float. The value stays in the parameter, whichever programs are bound.
CG_API void cgGLSetParameter1f(CGparameter parameter, float value);
/// Names the texture that a sampler reads.
CG_API void cgGLSetTextureParameter(CGparameter parameter, GLuint texture);
/// Binds the sampler's texture to its unit.
CG_API void cgGLEnableTextureParameter(CGparameter parameter);
/// Binds the texture again that was on the unit before.
CG_API void cgGLDisableTextureParameter(CGparameter parameter);
/// Returns the sampler's texture unit, such as GL_TEXTURE0; GL_INVALID_OPERATION for what is no sampler.
CG_API GLenum cgGLGetTextureEnum(CGparameter parameter);
}
