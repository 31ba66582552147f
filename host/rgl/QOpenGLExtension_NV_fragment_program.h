// Entry points of GL_NV_fragment_program.
#pragma once

#include <GL/gl.h>
#include <GL/glext.h>

/// Holds the entry point that sets a parameter which a program declares by name. The class that derives from
/// it fills it in; until then it is null.
struct QOpenGLExtension_NV_fragment_program {
  /// An entry point as the extension describes it, or null; for the contexts of the driver that was asked.
  PFNGLPROGRAMNAMEDPARAMETER4FNVPROC glProgramNamedParameter4fNV = nullptr;
};
