// The colour-correction node on ATI's fragment shaders.
#pragma once

#include <array>

#include "fp/RFpCC_default.h"
#include "rgl/QOpenGLExtension_ATI_fragment_shader.h"

/// A variant with one shader for one matrix and one for each of the three zones, which take three stages and
/// add up in the target. It stays within what the hardware promises: constants of 0..1, registers of -8..8,
/// eight instructions. Needs the extension in the context that is current when it is made; `Bind` fails
/// without its functions.
class RIMAGE_API RFpCC_ATI_fragment_shader : public RFpCC_default,
                                             public QOpenGLExtension_ATI_fragment_shader {
 public:
  RFpCC_ATI_fragment_shader();
  ~RFpCC_ATI_fragment_shader() override;

  int GetStageCount() const override;
  int GetRequirementFlags(int stage) const override;
  int Bind(RFpContext* context, int stage, int form) override;
  void Draw(RFpContext* context, int stage, int form, int width, int height) override;
  void Unbind(RFpContext* context, int stage, int form) override;

 private:
  bool Rebuild();
  [[nodiscard]] bool Define(std::size_t shader, int exponent);
  void Multiply(bool transparency, unsigned lastModifier) const;
  void Amplify(int exponent) const;
  void Weigh(std::size_t shader) const;
  void Send(std::size_t shader) const;

  bool mUsable = false;
  std::array<unsigned, 4> mShaders{};  // of the one matrix, and of the zones
  // The coefficients of each shader's matrix, four columns a shader, as the constants hold them.
  std::array<std::array<float, 4>, 16> mConstants{};
  std::array<float, 3> mScales{1, 1, 1};  // that the zones' results are to be multiplied by
  std::array<float, 4> mLuminance{};
  unsigned mShaderCount = 0xFFFFFFFF;  // the change count that the shaders were built for
};
