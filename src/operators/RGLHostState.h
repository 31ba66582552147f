// The host's OpenGL state, put aside while operators draw.
#pragma once

#include <array>
#include <vector>

/// Saves the state of the current context, brings everything that touches two-dimensional drawing and pixel
/// transfers to its neutral value, and restores the host's values at its end. The framebuffer, the viewport
/// and the model-view and projection matrices are saved, but stay as they are.
///
/// `glPushAttrib` carries most of it. What it leaves out is kept here: matrices, programs, buffers, samplers,
/// framebuffers and the enables of extensions; and what drivers lose on the way: the current colour and
/// texture coordinates.
class RGLHostState {
 public:
  RGLHostState();
  ~RGLHostState();
  RGLHostState(const RGLHostState&) = delete;
  RGLHostState& operator=(const RGLHostState&) = delete;

  /// False when nothing was saved or changed: without a context of OpenGL 3.0, when the host's attribute
  /// stacks have no room left, and while the host selects or takes feedback, when nothing would be drawn.
  bool IsSaved() const { return mSaved; }

 private:
  using Matrix = std::array<double, 16>;
  using Vector = std::array<float, 4>;
  struct TextureUnit {
    Matrix matrix;
    Vector coordinates;
    int sampler = 0;
  };

  void SaveBindings();
  void SaveMatrices();
  void NeutralizeDrawing();
  void NeutralizeExtensions();
  void NeutralizeTextureUnits();
  void RestoreTextureUnits() const;
  void RestoreMatrices() const;
  void RestoreCurrentValues() const;

  bool mSaved = false;
  std::vector<TextureUnit> mTextureUnits;
  Vector mCurrentColor{};
  Matrix mModelView{};
  Matrix mProjection{};
  Matrix mColor{};  // only where the driver has a colour matrix
  bool mHasColorMatrix = false;
  bool mHasSamplers = false;
  bool mHasPipelines = false;
  int mProgram = 0;
  int mPipeline = 0;
  int mDrawFramebuffer = 0;
  int mReadFramebuffer = 0;
  int mPackBuffer = 0;
  int mUnpackBuffer = 0;
  std::vector<unsigned> mEnabledExtensions;
};
