#include "stereo/RStereoDrawing.h"

#include <GL/gl.h>
#include <GL/glext.h>

#include <algorithm>
#include <array>
#include <climits>

#include "rgl/RGLFunctions.h"
#include "stereo/RImageStereoCompostior.h"

namespace {

constexpr GLenum kSwitchedOff[] = {GL_DEPTH_TEST, GL_ALPHA_TEST, GL_BLEND, GL_LIGHTING, GL_FOG};

/// Switches off what stands between a quad and the buffer, as long as it lives.
class PlainDrawing {
 public:
  PlainDrawing() {
    glPushAttrib(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_FOG_BIT | GL_LIGHTING_BIT);
    for (const GLenum capability : kSwitchedOff) glDisable(capability);
  }
  ~PlainDrawing() { glPopAttrib(); }
  PlainDrawing(const PlainDrawing&) = delete;
  PlainDrawing& operator=(const PlainDrawing&) = delete;
};

/// Sets how the texture is read that is bound to the active unit.
void SetFilters() {
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
}

/// Fills the viewport. The first row of a texture comes out at the bottom, as y grows downward.
void DrawQuad() {
  glBegin(GL_QUADS);
  glTexCoord2f(0, 1);
  glVertex2f(0, 0);
  glTexCoord2f(0, 0);
  glVertex2f(0, 1);
  glTexCoord2f(1, 0);
  glVertex2f(1, 1);
  glTexCoord2f(1, 1);
  glVertex2f(1, 0);
  glEnd();
}

// --- The modes with programs.

bool IsReferenced(CGparameter parameter) { return parameter && cgIsParameterReferenced(parameter); }

void EnableProgram(CGprogram program, CGprofile profile) {
  if (!program) return;
  cgGLBindProgram(program);
  cgGLEnableProfile(profile);
}

void DisableProgram(CGprogram program, CGprofile profile) {
  if (program) cgGLDisableProfile(profile);
}

void EnableTexture(CGparameter parameter, unsigned int texture) {
  if (!IsReferenced(parameter)) return;
  cgGLSetTextureParameter(parameter, texture);
  cgGLEnableTextureParameter(parameter);
  opengl30()->glActiveTexture(cgGLGetTextureEnum(parameter));
  SetFilters();
}

void DisableTexture(CGparameter parameter) {
  if (IsReferenced(parameter)) cgGLDisableTextureParameter(parameter);
}

void SetNumber(CGparameter parameter, float value) {
  if (IsReferenced(parameter)) cgGLSetParameter1f(parameter, value);
}

void DrawWithPrograms(const RStereoState& state, const RStereoFrame& frame) {
  const PlainDrawing plain;
  EnableProgram(state.vertexProgram, state.vertexProfile);
  EnableProgram(state.fragmentProgram, state.fragmentProfile);
  EnableTexture(state.leftImage, frame.leftTexture);
  EnableTexture(state.rightImage, frame.rightTexture);
  SetNumber(state.screenHeight, static_cast<float>(frame.height));
  SetNumber(state.screenWidth, static_cast<float>(frame.width));
  SetNumber(state.xBase, static_cast<float>(frame.xBase));
  SetNumber(state.yBase, static_cast<float>(frame.yBase));
  DrawQuad();
  DisableProgram(state.vertexProgram, state.vertexProfile);
  DisableProgram(state.fragmentProgram, state.fragmentProfile);
  DisableTexture(state.leftImage);
  DisableTexture(state.rightImage);
  opengl30()->glActiveTexture(GL_TEXTURE0);
}

// --- The modes side by side.

void DrawTexture(unsigned int texture) {
  const PlainDrawing plain;
  // Deliberate: alpha 0, which the texture environment multiplies with the texture's, so that the views come
  // out with alpha 0.
  glColor4f(1, 1, 1, 0);
  glBindTexture(GL_TEXTURE_2D, texture);
  SetFilters();
  glEnable(GL_TEXTURE_2D);
  DrawQuad();
  glBindTexture(GL_TEXTURE_2D, 0);
  glDisable(GL_TEXTURE_2D);
}

struct Bar {
  float left, top, right, bottom;
};

// A bar between the two views, and one along the upper and the lower edges of both.
constexpr std::array kDivider{Bar{0.4875F, 0.25F, 0.5125F, 0.75F}, Bar{0, 0.25F, 1, 0.2625F},
                              Bar{0, 0.7375F, 1, 0.75F}};

void DrawDivider() {
  glPushAttrib(GL_LIGHTING_BIT | GL_DEPTH_BUFFER_BIT);
  glDisable(GL_LIGHTING);
  glDisable(GL_DEPTH_TEST);
  std::array<GLfloat, 4> background{};
  glGetFloatv(GL_COLOR_CLEAR_VALUE, background.data());
  // Visible on the background.
  const GLfloat shade = background[0] + background[1] + background[2] < 0.2F ? 1.0F : 0.0F;
  glColor4f(shade, shade, shade, 1);
  glBegin(GL_QUADS);
  for (const Bar& bar : kDivider) {
    glVertex2f(bar.left, bar.top);
    glVertex2f(bar.left, bar.bottom);
    glVertex2f(bar.right, bar.bottom);
    glVertex2f(bar.right, bar.top);
  }
  glEnd();
  glPopAttrib();
}

/// Cuts off the fraction, and what no viewport can hold.
int ToPixel(double value) { return static_cast<int>(std::clamp<double>(value, INT_MIN, INT_MAX)); }

void DrawSideBySide(const RStereoFrame& frame, unsigned int first, unsigned int second) {
  const int width = frame.width / 2;
  const int height = frame.height / 2;
  const int top = ToPixel(frame.height * 0.25 + frame.y);
  glViewport(frame.x, top, width, height);
  DrawTexture(first);
  glViewport(ToPixel(static_cast<double>(frame.x) + width), top, width, height);
  DrawTexture(second);
  glViewport(frame.x, frame.y, frame.width, frame.height);
  DrawDivider();
}

}  // namespace

RStereoView::RStereoView(const RStereoFrame& frame) {
  glViewport(frame.x, frame.y, frame.width, frame.height);
  glMatrixMode(GL_PROJECTION);
  glPushMatrix();
  glLoadIdentity();
  glOrtho(0, 1, 1, 0, -1, 1);
  glMatrixMode(GL_MODELVIEW);
  glPushMatrix();
  glLoadIdentity();
}

RStereoView::~RStereoView() {
  glMatrixMode(GL_MODELVIEW);
  glPopMatrix();
  glMatrixMode(GL_PROJECTION);
  glPopMatrix();
}

void RStereoDraw(const RStereoState& state, const RStereoFrame& frame) {
  if (state.mode < eSideBySide) {
    DrawWithPrograms(state, frame);
  } else if (state.mode == eSideBySide) {
    DrawSideBySide(frame, frame.leftTexture, frame.rightTexture);
  } else if (state.mode == eSideBySideSwapped) {
    DrawSideBySide(frame, frame.rightTexture, frame.leftTexture);
  }
}
