#include "rgl/RGLFrameBufferObject.h"

#include <algorithm>

#include "rgl/RGLFunctions.h"

namespace {

// Sizes far beyond the limit crash some drivers instead of being refused.
GLint LargestSide(QOpenGLFunctions_3_0& gl) {
  GLint side = 0;
  gl.glGetIntegerv(GL_MAX_TEXTURE_SIZE, &side);
  return side;
}

}  // namespace

RGLFrameBufferObject::RGLFrameBufferObject(unsigned int attachment, int internalFormat, unsigned int format,
                                           unsigned int type, bool hasDepth, bool hasStencil)
    : mAttachment(attachment),
      mInternalFormat(internalFormat),
      mFormat(format),
      mType(type),
      mHasDepth(hasDepth),
      mHasStencil(hasStencil) {}

RGLFrameBufferObject::~RGLFrameBufferObject() {
  UnBindFBO();
  Release();
}

bool RGLFrameBufferObject::BuildFBO(int width, int height, unsigned int texture) {
  QOpenGLFunctions_3_0* gl = opengl30();
  if (!gl || width < 1 || height < 1 || std::max(width, height) > LargestSide(*gl)) return false;
  if (!mIsBound) {
    gl->glGetIntegerv(GL_DRAW_FRAMEBUFFER_BINDING, &mDrawBefore);
    gl->glGetIntegerv(GL_READ_FRAMEBUFFER_BINDING, &mReadBefore);
  }
  const bool isSameTexture = texture == kOwnTexture ? mOwnsTexture : (!mOwnsTexture && texture == mTexture);
  const bool isSame = mFramebuffer != 0 && width == mWidth && height == mHeight && isSameTexture;
  mIsBound = true;
  if (isSame) {
    gl->glBindFramebuffer(GL_FRAMEBUFFER, mFramebuffer);
    return true;
  }
  Release();
  if (Create(width, height, texture)) return true;
  UnBindFBO();
  Release();
  return false;
}

void RGLFrameBufferObject::UnBindFBO() {
  QOpenGLFunctions_3_0* gl = opengl30();
  if (!gl || !mIsBound) return;
  gl->glBindFramebuffer(GL_DRAW_FRAMEBUFFER, static_cast<GLuint>(mDrawBefore));
  gl->glBindFramebuffer(GL_READ_FRAMEBUFFER, static_cast<GLuint>(mReadBefore));
  mIsBound = false;
}

bool RGLFrameBufferObject::Create(int width, int height, unsigned int texture) {
  QOpenGLFunctions_3_0* gl = opengl30();
  mWidth = width;
  mHeight = height;
  mOwnsTexture = texture == kOwnTexture;
  mTexture = mOwnsTexture ? 0 : texture;
  if (mOwnsTexture) CreateTexture();
  gl->glGenFramebuffers(1, &mFramebuffer);
  gl->glBindFramebuffer(GL_FRAMEBUFFER, mFramebuffer);
  gl->glFramebufferTexture2D(GL_FRAMEBUFFER, mAttachment, GL_TEXTURE_2D, mTexture, 0);
  // A framebuffer is drawn to and read at its first attachment unless told otherwise.
  gl->glDrawBuffer(mAttachment);
  gl->glReadBuffer(mAttachment);
  if (mHasDepth || mHasStencil) AttachRenderbuffer();
  return gl->glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
}

void RGLFrameBufferObject::CreateTexture() {
  QOpenGLFunctions_3_0* gl = opengl30();
  GLint before = 0;
  gl->glGetIntegerv(GL_TEXTURE_BINDING_2D, &before);
  gl->glGenTextures(1, &mTexture);
  gl->glBindTexture(GL_TEXTURE_2D, mTexture);
  // Without mipmaps the default minification filter would leave the texture incomplete.
  gl->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
  gl->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
  gl->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
  gl->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
  // With a buffer of the host's to unpack from, null would mean its beginning.
  GLint unpackBuffer = 0;
  gl->glGetIntegerv(GL_PIXEL_UNPACK_BUFFER_BINDING, &unpackBuffer);
  if (unpackBuffer != 0) gl->glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
  gl->glTexImage2D(GL_TEXTURE_2D, 0, mInternalFormat, mWidth, mHeight, 0, mFormat, mType, nullptr);
  if (unpackBuffer != 0) gl->glBindBuffer(GL_PIXEL_UNPACK_BUFFER, static_cast<GLuint>(unpackBuffer));
  gl->glBindTexture(GL_TEXTURE_2D, static_cast<GLuint>(before));
}

void RGLFrameBufferObject::AttachRenderbuffer() {
  QOpenGLFunctions_3_0* gl = opengl30();
  GLint before = 0;
  gl->glGetIntegerv(GL_RENDERBUFFER_BINDING, &before);
  gl->glGenRenderbuffers(1, &mRenderbuffer);
  gl->glBindRenderbuffer(GL_RENDERBUFFER, mRenderbuffer);
  // Drivers hardly ever offer stencil bits alone, so the two come packed.
  const GLenum format = mHasStencil ? GL_DEPTH24_STENCIL8 : GL_DEPTH_COMPONENT24;
  gl->glRenderbufferStorage(GL_RENDERBUFFER, format, mWidth, mHeight);
  gl->glBindRenderbuffer(GL_RENDERBUFFER, static_cast<GLuint>(before));
  if (mHasDepth)
    gl->glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, GL_RENDERBUFFER, mRenderbuffer);
  if (mHasStencil)
    gl->glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_STENCIL_ATTACHMENT, GL_RENDERBUFFER, mRenderbuffer);
}

void RGLFrameBufferObject::Release() {
  QOpenGLFunctions_3_0* gl = opengl30();
  if (gl && mFramebuffer != 0) gl->glDeleteFramebuffers(1, &mFramebuffer);
  if (gl && mRenderbuffer != 0) gl->glDeleteRenderbuffers(1, &mRenderbuffer);
  if (gl && mOwnsTexture && mTexture != 0) gl->glDeleteTextures(1, &mTexture);
  mFramebuffer = mRenderbuffer = mTexture = 0;
  mOwnsTexture = false;
  mWidth = mHeight = 0;
}
