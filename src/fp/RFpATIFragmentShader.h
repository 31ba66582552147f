// What the variants on ATI's fragment shaders share.
#pragma once

#include "rgl/QOpenGLExtension_ATI_fragment_shader.h"

/// Looks up all functions in the current context; returns whether every one was found.
bool RFpResolveATIFragmentShader(QOpenGLExtension_ATI_fragment_shader& functions);

/// The definition of a shader, from its first to its last instruction.
class RFpATIShaderDefinition {
 public:
  /// Binds the shader and begins its definition, discarding errors from before.
  RFpATIShaderDefinition(const QOpenGLExtension_ATI_fragment_shader& functions, unsigned shader);
  /// Ends the definition; returns whether the driver took all of it.
  [[nodiscard]] bool End() const;

 private:
  const QOpenGLExtension_ATI_fragment_shader& mFunctions;
};
