// The framebuffer that operators draw into.
#pragma once

#include <optional>

/// Sets the viewport, the clip space and the matrices for an area of `width` x `height` pixels: vertex (x, y)
/// falls on pixel (x, y).
void RSetImageDrawing(int width, int height);

/// A framebuffer object with one colour renderbuffer. Needs its context to be current throughout.
class RGLColorBuffer {
 public:
  RGLColorBuffer(unsigned internalFormat, int width, int height);
  ~RGLColorBuffer();
  RGLColorBuffer(RGLColorBuffer&& other) = delete;
  RGLColorBuffer& operator=(RGLColorBuffer&& other) noexcept;

  /// Whether the driver can draw into it.
  bool IsComplete() const { return mComplete; }
  int GetWidth() const { return mWidth; }
  int GetHeight() const { return mHeight; }

  /// Binds it for drawing and reading.
  void Bind() const;
  /// Copies the lower left `width` x `height` pixels of `source`. Both bindings change.
  void CopyFrom(const RGLColorBuffer& source, int width, int height) const;

 private:
  unsigned mFramebuffer = 0;
  unsigned mRenderbuffer = 0;
  int mWidth = 0;
  int mHeight = 0;
  bool mComplete = false;
};

/// The drawing area of one OpenGL context: 8 bits a channel, at least 1024 x 1024 pixels, vertex (x, y) on
/// pixel (x, y). It grows on demand and keeps what is drawn. Beside it lies an area of 32-bit floats, in
/// which nodes of several stages add up what 8 bits would cut off.
class ROffscreenTarget {
 public:
  static constexpr int kLeastSize = 1024;

  /// Binds the area and sets the viewport and the matrices for it; false when the driver refuses it.
  [[nodiscard]] bool Bind();
  /// Makes room for `width` x `height` pixels, keeping what is drawn there; false beyond the driver's limits.
  [[nodiscard]] bool Reserve(int width, int height);
  /// Makes transparent black what lies within `width` x `height` but outside `pictureWidth` x
  /// `pictureHeight`.
  void ClearAround(int pictureWidth, int pictureHeight, int width, int height);

  /// Takes back what a node leaves behind: blending that is on, a current colour.
  void Neutralize() const;

  /// Turns to the float area, made large enough; `keep` brings over what is drawn in the 8-bit one. False
  /// when the driver refuses it.
  [[nodiscard]] bool UseFloats(int width, int height, bool keep);
  /// Turns back to the 8-bit area.
  void UseBytes() const;
  /// Brings `width` x `height` pixels over from the float area, clamped and rounded. The 8-bit area is bound
  /// afterwards.
  void RoundFloats(int width, int height) const;

  int GetWidth() const { return mBytes ? mBytes->GetWidth() : 0; }
  int GetHeight() const { return mBytes ? mBytes->GetHeight() : 0; }

 private:
  std::optional<RGLColorBuffer> mBytes;
  std::optional<RGLColorBuffer> mFloats;
};
