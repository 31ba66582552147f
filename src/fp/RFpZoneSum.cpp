#include "fp/RFpZoneSum.h"

#include <GL/gl.h>
#include <GL/glext.h>

#include "rgl/RGLFunctions.h"

RFpZoneSum::RFpZoneSum(int stage, const std::array<float, 3>& scales) {
  auto* const gl = opengl30();
  if (stage == 0) {
    const float start = -(scales[0] + scales[1] + scales[2]);
    glClearColor(start, start, start, 0);
    glClear(GL_COLOR_BUFFER_BIT);
  }
  const float twice = 2 * scales[static_cast<std::size_t>(stage)];
  gl->glBlendColor(twice, twice, twice, 1);
  gl->glBlendFuncSeparate(GL_CONSTANT_COLOR, GL_ONE, stage == 0 ? GL_ONE : GL_ZERO, GL_ONE);
  glEnable(GL_BLEND);
  gl->glClampColor(GL_CLAMP_FRAGMENT_COLOR, GL_TRUE);
}

RFpZoneSum::~RFpZoneSum() {
  opengl30()->glClampColor(GL_CLAMP_FRAGMENT_COLOR, GL_FIXED_ONLY);
  glDisable(GL_BLEND);
  glBlendFunc(GL_ONE, GL_ZERO);
}
