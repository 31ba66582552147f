// The host's OpenGL state while a stereo picture is drawn.
#pragma once

#include <array>
#include <vector>

/// Saves the state of the current context, switches off what would change a quad that is drawn, and brings
/// the host's state back at its end. What the attribute stacks leave out is kept here.
class RStereoHostState {
 public:
  RStereoHostState();
  ~RStereoHostState();
  RStereoHostState(const RStereoHostState&) = delete;
  RStereoHostState& operator=(const RStereoHostState&) = delete;

  /// False when nothing was saved or changed: without a compatibility context of OpenGL 3.0, or when a stack
  /// of the host has no room left.
  bool IsSaved() const { return mIsSaved; }

 private:
  void PutProgramsAside();
  void PutTextureUnitsAside();

  bool mIsSaved = false;
  std::vector<unsigned int> mCapabilities;  // that were on
  unsigned int mProgram = 0;
  unsigned int mPipeline = 0;
  std::vector<unsigned int> mSamplers;        // by texture unit, where there are samplers
  std::array<float, 4> mColor{};              // the current one
  std::array<float, 4> mTextureCoordinate{};  // the current one of unit 0
  std::array<double, 16> mTextureMatrix{};    // of unit 0
};
