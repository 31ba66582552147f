// A framebuffer object with its colour texture.
#pragma once

#include "rgl/RGLExport.h"

/// A framebuffer with one colour texture and, on request, a depth and stencil buffer.
///
/// Every operation needs the context that the object was built on, or one that shares with it, to be current.
/// Drawing goes to it between `BuildFBO` and `UnBindFBO`.
class RGL_API RGLFrameBufferObject {
 public:
  /// In place of a texture: the object makes a colour texture of its own.
  static constexpr unsigned int kOwnTexture = 0xFFFFFFFF;

  /// Only stores the description: the attachment point of the colour texture (GL_COLOR_ATTACHMENT0 and on),
  /// the texture's internal format, pixel format and pixel type, and whether a depth and a stencil buffer go
  /// with it.
  RGLFrameBufferObject(unsigned int attachment, int internalFormat, unsigned int format, unsigned int type,
                       bool hasDepth, bool hasStencil);
  /// Deletes what was built; the framebuffer that was bound before is bound again when this one still is.
  ~RGLFrameBufferObject();
  RGLFrameBufferObject(const RGLFrameBufferObject&) = delete;
  RGLFrameBufferObject& operator=(const RGLFrameBufferObject&) = delete;

  /// Makes the framebuffer `width` x `height` pixels and binds it for drawing and reading. It is built anew
  /// only when the size or the texture differs from the last time; a texture of its own then has undefined
  /// contents. `texture` is a 2D texture of that size, borrowed, or `kOwnTexture`.
  ///
  /// False, with the framebuffers bound that were before, when there is no context, a side is below 1, or the
  /// driver cannot draw to it.
  bool BuildFBO(int width, int height, unsigned int texture = kOwnTexture);
  /// Binds the framebuffers again that were bound before `BuildFBO`. Does nothing when this one is not bound.
  void UnBindFBO();

  int GetWidth() const { return mWidth; }    ///< 0 before it was built
  int GetHeight() const { return mHeight; }  ///< 0 before it was built
  /// Returns the colour texture, borrowed, or 0 before it was built.
  unsigned int GetTextureId() const { return mTexture; }

 private:
  bool Create(int width, int height, unsigned int texture);
  void CreateTexture();
  void AttachRenderbuffer();
  void Release();

  unsigned int mAttachment;
  int mInternalFormat;
  unsigned int mFormat;
  unsigned int mType;
  bool mHasDepth;
  bool mHasStencil;

  int mWidth = 0;
  int mHeight = 0;
  unsigned int mTexture = 0;
  bool mOwnsTexture = false;
  unsigned int mFramebuffer = 0;
  unsigned int mRenderbuffer = 0;

  bool mIsBound = false;
  int mDrawBefore = 0;
  int mReadBefore = 0;
};
