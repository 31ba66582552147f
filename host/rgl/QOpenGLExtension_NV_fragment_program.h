// Entry points of GL_NV_fragment_program.
#pragma once

#include <GL/gl.h>
#include <GL/glext.h>

/// Holds the entry point that sets a parameter which a program declares by name. The class that derives from
/// it fills it in; until then it is null.
struct QOpenGLExtension_NV_fragment_program {
  PFNGLPROGRAMNAMEDPARAMETER4FNVPROC glProgramNamedParameter4fNV = nullptr;
};
