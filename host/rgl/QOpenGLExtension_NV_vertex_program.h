// Entry points of GL_NV_vertex_program.
#pragma once

#include <GL/gl.h>
#include <GL/glext.h>

/// Holds the entry points that load, bind and delete programs of the extension, which fragment programs
/// share. The class that derives from it fills them in; until then they are null.
struct QOpenGLExtension_NV_vertex_program {
  ///@{
  /// An entry point as the extension describes it, or null; for the contexts of the driver that was asked.
  PFNGLLOADPROGRAMNVPROC glLoadProgramNV = nullptr;
  PFNGLGENPROGRAMSNVPROC glGenProgramsNV = nullptr;
  PFNGLDELETEPROGRAMSNVPROC glDeleteProgramsNV = nullptr;
  PFNGLBINDPROGRAMNVPROC glBindProgramNV = nullptr;
  ///@}
};
