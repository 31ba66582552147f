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

void RFpDrawRectangle(const RFpContext* context, int form, int inputs, const RFpRectangle& rectangle) {
  const auto& [left, bottom, right, top] = rectangle;
  if (!(form & kFormQuadMask) || !context) {
    glRecti(left, bottom, right, top);
    return;
  }
  glBegin(GL_QUADS);
  Corner(*context, inputs, left, bottom);
  Corner(*context, inputs, right, bottom);
  Corner(*context, inputs, right, top);
  Corner(*context, inputs, left, top);
  glEnd();
}

// A clear heeds neither programs nor textures.
void RFpClearRectangle(int width, int height) {
  glPushAttrib(GL_COLOR_BUFFER_BIT | GL_SCISSOR_BIT);
  glEnable(GL_SCISSOR_TEST);
  glScissor(0, 0, width, height);
  glClearColor(0, 0, 0, 0);
  glClear(GL_COLOR_BUFFER_BIT);
  glPopAttrib();
}
