#include "operators/ROffscreenTarget.h"

#include <GL/gl.h>
#include <GL/glext.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

#include "fp/RFpEntryPoints.h"
#include "rgl/RGLFunctions.h"

namespace {

// A host with a clip space of its own choice: y downwards, or depths from 0 to 1, where the plane of the
// drawing lies outside.
void ResetClipControl() {
  const RFpEntryPoints& entryPoints = RFpEntryPoints::Get();
  PFNGLCLIPCONTROLPROC clipControl = nullptr;
  if (entryPoints.Advertises("GL_ARB_clip_control") && entryPoints.ResolveTo("glClipControl", clipControl))
    clipControl(GL_LOWER_LEFT, GL_NEGATIVE_ONE_TO_ONE);
}

// A common area for pictures of different shapes is worth its memory up to this size; beyond it the area
// takes the shape of the picture at hand.
constexpr std::int64_t kGenerousPixels = std::int64_t{4096} * 4096;

bool IsWithinLimits(int width, int height) {
  GLint size = 0;
  std::array<GLint, 2> viewport{};
  glGetIntegerv(GL_MAX_RENDERBUFFER_SIZE, &size);
  glGetIntegerv(GL_MAX_VIEWPORT_DIMS, viewport.data());
  return width <= std::min(size, viewport[0]) && height <= std::min(size, viewport[1]);
}

}  // namespace

RGLColorBuffer::RGLColorBuffer(unsigned internalFormat, int width, int height)
    : mWidth(width), mHeight(height) {
  auto* const gl = opengl30();
  GLint renderbuffer = 0;
  glGetIntegerv(GL_RENDERBUFFER_BINDING, &renderbuffer);
  gl->glGenRenderbuffers(1, &mRenderbuffer);
  gl->glBindRenderbuffer(GL_RENDERBUFFER, mRenderbuffer);
  gl->glRenderbufferStorage(GL_RENDERBUFFER, internalFormat, width, height);
  gl->glBindRenderbuffer(GL_RENDERBUFFER, static_cast<GLuint>(renderbuffer));
  gl->glGenFramebuffers(1, &mFramebuffer);
  Bind();
  gl->glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, mRenderbuffer);
  mComplete = gl->glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
}

RGLColorBuffer::~RGLColorBuffer() {
  auto* const gl = opengl30();
  if (!gl || mFramebuffer == 0) return;
  gl->glDeleteFramebuffers(1, &mFramebuffer);
  gl->glDeleteRenderbuffers(1, &mRenderbuffer);
}

RGLColorBuffer& RGLColorBuffer::operator=(RGLColorBuffer&& other) noexcept {
  std::swap(mFramebuffer, other.mFramebuffer);
  std::swap(mRenderbuffer, other.mRenderbuffer);
  std::swap(mWidth, other.mWidth);
  std::swap(mHeight, other.mHeight);
  std::swap(mComplete, other.mComplete);
  return *this;
}

void RGLColorBuffer::Bind() const { opengl30()->glBindFramebuffer(GL_FRAMEBUFFER, mFramebuffer); }

void RGLColorBuffer::CopyFrom(const RGLColorBuffer& source, int width, int height) const {
  auto* const gl = opengl30();
  gl->glBindFramebuffer(GL_READ_FRAMEBUFFER, source.mFramebuffer);
  gl->glBindFramebuffer(GL_DRAW_FRAMEBUFFER, mFramebuffer);
  gl->glBlitFramebuffer(0, 0, width, height, 0, 0, width, height, GL_COLOR_BUFFER_BIT, GL_NEAREST);
}

void RSetImageDrawing(int width, int height) {
  ResetClipControl();
  glViewport(0, 0, width, height);
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  glOrtho(-0.5, width - 0.5, -0.5, height - 0.5, 0.0, 1.0);
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
  glTranslatef(-0.5F, -0.5F, 0.0F);
}

bool ROffscreenTarget::Bind() {
  if (!mBytes) mBytes.emplace(GL_RGBA8, kLeastSize, kLeastSize);
  if (!mBytes->IsComplete()) {
    mBytes.reset();
    return false;
  }
  mBytes->Bind();
  RSetImageDrawing(GetWidth(), GetHeight());
  return true;
}

bool ROffscreenTarget::Reserve(int width, int height) {
  if (width <= GetWidth() && height <= GetHeight()) return true;
  if (!IsWithinLimits(width, height)) return false;
  int newWidth = std::max(width, GetWidth());
  int newHeight = std::max(height, GetHeight());
  if (std::int64_t{newWidth} * newHeight > kGenerousPixels) {
    newWidth = std::max(width, kLeastSize);
    newHeight = std::max(height, kLeastSize);
  }
  RGLColorBuffer grown(GL_RGBA8, newWidth, newHeight);
  if (!grown.IsComplete()) {
    mBytes->Bind();
    return false;
  }
  grown.CopyFrom(*mBytes, std::min(newWidth, GetWidth()), std::min(newHeight, GetHeight()));
  *mBytes = std::move(grown);
  mBytes->Bind();
  RSetImageDrawing(newWidth, newHeight);
  return true;
}

void ROffscreenTarget::ClearAround(int pictureWidth, int pictureHeight, int width, int height) {
  glEnable(GL_SCISSOR_TEST);
  glClearColor(0, 0, 0, 0);
  if (pictureWidth < width) {
    glScissor(pictureWidth, 0, width - pictureWidth, height);
    glClear(GL_COLOR_BUFFER_BIT);
  }
  if (pictureHeight < height) {
    glScissor(0, pictureHeight, width, height - pictureHeight);
    glClear(GL_COLOR_BUFFER_BIT);
  }
  glDisable(GL_SCISSOR_TEST);
}

void ROffscreenTarget::Neutralize() const {
  glDisable(GL_BLEND);
  glColor4f(1, 1, 1, 1);
}

bool ROffscreenTarget::UseFloats(int width, int height, bool keep) {
  if (!mFloats || mFloats->GetWidth() < width || mFloats->GetHeight() < height) {
    mFloats.reset();
    mFloats.emplace(GL_RGBA32F, width, height);
  }
  if (!mFloats->IsComplete()) {
    mFloats.reset();
    UseBytes();
    return false;
  }
  if (keep) mFloats->CopyFrom(*mBytes, width, height);
  mFloats->Bind();
  return true;
}

void ROffscreenTarget::UseBytes() const { mBytes->Bind(); }

void ROffscreenTarget::RoundFloats(int width, int height) const {
  mBytes->CopyFrom(*mFloats, width, height);
  mBytes->Bind();
}
