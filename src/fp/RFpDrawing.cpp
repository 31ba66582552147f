#include "fp/RFpDrawing.h"

#include <GL/gl.h>

#include "fp/RFpForms.h"
#include "rgl/RGLFunctions.h"

namespace {

// A unit's texture matrix maps 0 to 1 onto its picture, so pixel x stands at x / picture width.
void Corner(const RFpContext& context, int inputs, int x, int y) {
  auto* const gl = opengl20();
  for (int i = 0; i < inputs; ++i) {
    const RFpPixels& source = context.sources[static_cast<std::size_t>(i)];
    if (source.width < 1 || source.height < 1) continue;
    gl->glMultiTexCoord2d(GL_TEXTURE0 + static_cast<GLenum>(i), static_cast<GLdouble>(x) / source.width,
                          static_cast<GLdouble>(y) / source.height);
  }
  glVertex2i(x, y);
}

}  // namespace

void RFpDrawRectangle(const RFpContext* context, int form, int inputs, int width, int height) {
  if (!(form & kFormQuadMask) || !context) {
    glRecti(0, 0, width, height);
    return;
  }
  glBegin(GL_QUADS);
  Corner(*context, inputs, 0, 0);
  Corner(*context, inputs, width, 0);
  Corner(*context, inputs, width, height);
  Corner(*context, inputs, 0, height);
  glEnd();
}
