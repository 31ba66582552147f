// Entry points of GL_ATI_fragment_shader.
#pragma once

#include <GL/gl.h>
#include <GL/glext.h>

/// Holds all entry points of the extension. The class that derives from it fills them in; until then they are
/// null.
struct QOpenGLExtension_ATI_fragment_shader {
  ///@{
  /// An entry point as the extension describes it, or null; for the contexts of the driver that was asked.
  PFNGLBINDFRAGMENTSHADERATIPROC glBindFragmentShaderATI = nullptr;
  PFNGLBEGINFRAGMENTSHADERATIPROC glBeginFragmentShaderATI = nullptr;
  PFNGLPASSTEXCOORDATIPROC glPassTexCoordATI = nullptr;
  PFNGLCOLORFRAGMENTOP1ATIPROC glColorFragmentOp1ATI = nullptr;
  PFNGLALPHAFRAGMENTOP1ATIPROC glAlphaFragmentOp1ATI = nullptr;
  PFNGLCOLORFRAGMENTOP2ATIPROC glColorFragmentOp2ATI = nullptr;
  PFNGLALPHAFRAGMENTOP2ATIPROC glAlphaFragmentOp2ATI = nullptr;
  PFNGLCOLORFRAGMENTOP3ATIPROC glColorFragmentOp3ATI = nullptr;
  PFNGLALPHAFRAGMENTOP3ATIPROC glAlphaFragmentOp3ATI = nullptr;
  PFNGLSAMPLEMAPATIPROC glSampleMapATI = nullptr;
  PFNGLENDFRAGMENTSHADERATIPROC glEndFragmentShaderATI = nullptr;
  PFNGLDELETEFRAGMENTSHADERATIPROC glDeleteFragmentShaderATI = nullptr;
  PFNGLGENFRAGMENTSHADERSATIPROC glGenFragmentShadersATI = nullptr;
  PFNGLSETFRAGMENTSHADERCONSTANTATIPROC glSetFragmentShaderConstantATI = nullptr;
  ///@}
};
