#include "fp/RFpATIFragmentShader.h"

#include <GL/gl.h>

#include "fp/RFpEntryPoints.h"

bool RFpResolveATIFragmentShader(QOpenGLExtension_ATI_fragment_shader& f) {
  const RFpEntryPoints& entryPoints = RFpEntryPoints::Get();
  const auto* name = kFpATIFragmentShaderNames.begin();
  bool complete = true;
  const auto resolve = [&](auto& function) {
    complete = entryPoints.ResolveTo(*name++, function) && complete;
  };
  resolve(f.glBindFragmentShaderATI);
  resolve(f.glBeginFragmentShaderATI);
  resolve(f.glPassTexCoordATI);
  resolve(f.glColorFragmentOp1ATI);
  resolve(f.glAlphaFragmentOp1ATI);
  resolve(f.glColorFragmentOp2ATI);
  resolve(f.glAlphaFragmentOp2ATI);
  resolve(f.glColorFragmentOp3ATI);
  resolve(f.glAlphaFragmentOp3ATI);
  resolve(f.glSampleMapATI);
  resolve(f.glEndFragmentShaderATI);
  resolve(f.glDeleteFragmentShaderATI);
  resolve(f.glGenFragmentShadersATI);
  resolve(f.glSetFragmentShaderConstantATI);
  return complete;
}

RFpATIShaderDefinition::RFpATIShaderDefinition(const QOpenGLExtension_ATI_fragment_shader& functions,
                                               unsigned shader)
    : mFunctions(functions) {
  while (glGetError() != GL_NO_ERROR) {
  }
  functions.glBindFragmentShaderATI(shader);
  functions.glBeginFragmentShaderATI();
}

bool RFpATIShaderDefinition::End() const {
  mFunctions.glEndFragmentShaderATI();
  return glGetError() == GL_NO_ERROR;
}
