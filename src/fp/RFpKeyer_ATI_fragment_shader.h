// The keyer node on ATI's fragment shaders.
#pragma once

#include <array>
#include <optional>

#include "fp/RFpKeyer_default.h"
#include "rgl/QOpenGLExtension_ATI_fragment_shader.h"

/// A variant with one shader, defined anew when the mode, the output or the inversion changes. It stays
/// within what the hardware promises: constants of 0..1, registers of -8..8, eight instructions. Needs the
/// extension in the context that is current when it is made; `Bind` fails without its functions.
class RIMAGE_API RFpKeyer_ATI_fragment_shader : public RFpKeyer_default,
                                                public QOpenGLExtension_ATI_fragment_shader {
 public:
  RFpKeyer_ATI_fragment_shader();
  ~RFpKeyer_ATI_fragment_shader() override;

  int GetRequirementFlags(int stage) const override;
  int Bind(RFpContext* context, int stage, int form) override;
  void Unbind(RFpContext* context, int stage, int form) override;

 private:
  [[nodiscard]] bool Define() const;
  void DefineChroma() const;
  void DefineChromaKey() const;
  void DefineInvertedChromaKey() const;
  void DefineMultiplication() const;
  void Amplify(unsigned reg, bool alpha) const;

  bool mUsable = false;
  unsigned mShader = 0;
  std::optional<std::size_t> mProgram;  // that the shader was defined for
  std::array<std::array<float, 4>, 4> mConstants{};
};
