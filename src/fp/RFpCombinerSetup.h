// A set-up of NVIDIA's register combiners.
#pragma once

#include <GL/gl.h>
#include <GL/glext.h>

#include <array>
#include <vector>

/// The combiner functions of the context that was current when they were looked up.
struct RFpCombinerFunctions {
  ///@{
  /// An entry point; null before `Resolve`.
  PFNGLCOMBINERPARAMETERINVPROC parameteri = nullptr;
  PFNGLCOMBINERINPUTNVPROC input = nullptr;
  PFNGLCOMBINEROUTPUTNVPROC output = nullptr;
  PFNGLFINALCOMBINERINPUTNVPROC finalInput = nullptr;
  PFNGLCOMBINERSTAGEPARAMETERFVNVPROC stageParameterfv = nullptr;
  ///@}

  /// Looks all of them up; false when one is missing.
  bool Resolve();
};

/// The least number of general stages that the module's set-ups need.
inline constexpr int kFpCombinerStages = 8;

/// Asks the current context whether it has that many.
bool RFpHasEnoughCombiners();

/// One variable of a portion: the register, how its value is mapped, and which components are taken.
struct RFpCombinerInput {
  GLenum input = GL_ZERO;                    ///< the register
  GLenum mapping = GL_UNSIGNED_IDENTITY_NV;  ///< one of the extension's
  GLenum usage = GL_RGB;                     ///< GL_RGB, GL_ALPHA or GL_BLUE
};

///@{
/// The inputs that most stages have: 1, and a register as it is, over -1..1 or clamped to 0..1.
constexpr RFpCombinerInput RFpCombinerOne(GLenum usage = GL_RGB) {
  return {GL_ZERO, GL_UNSIGNED_INVERT_NV, usage};
}
constexpr RFpCombinerInput RFpCombinerSigned(GLenum input, GLenum usage = GL_RGB) {
  return {input, GL_SIGNED_IDENTITY_NV, usage};
}
constexpr RFpCombinerInput RFpCombinerUnsigned(GLenum input, GLenum usage = GL_RGB) {
  return {input, GL_UNSIGNED_IDENTITY_NV, usage};
}
///@}

/// Half of a general stage: A, B, C, D in, A x B, C x D and their sum out, each times `scale` (GL_NONE for 1)
/// and limited to -1..1. With `dots`, which is for colours only, the products are dot products. With `mux`
/// the sum is A x B alone where the alpha of SPARE0 is below 0.5, C x D alone elsewhere.
struct RFpCombinerPortion {
  std::array<RFpCombinerInput, 4> inputs;  ///< A, B, C, D
  ///@{
  /// The register that a result goes to; GL_DISCARD_NV drops it.
  GLenum productAB = GL_DISCARD_NV;
  GLenum productCD = GL_DISCARD_NV;
  GLenum sum = GL_DISCARD_NV;
  ///@}
  GLenum scale = GL_NONE;  ///< of all results
  bool dots = false;       ///< products are dot products
  bool mux = false;        ///< the sum is one of the products
};

/// Returns a portion that does nothing, for alpha: it cannot even read zero as a colour.
constexpr RFpCombinerPortion RFpEmptyAlphaPortion() {
  RFpCombinerPortion portion;
  for (RFpCombinerInput& input : portion.inputs) input.usage = GL_ALPHA;
  return portion;
}

/// Lets a portion multiply a register by two to the power of `exponent`, 0 to 3.
void RFpAmplify(RFpCombinerPortion& portion, GLenum reg, int exponent, GLenum usage);

/// The scale of two to the power of `exponent`, 0 to 2.
GLenum RFpCombinerScale(int exponent);

/// One general stage.
struct RFpCombinerStage {
  ///@{
  /// What is computed for the colours and for alpha.
  RFpCombinerPortion rgb;
  RFpCombinerPortion alpha = RFpEmptyAlphaPortion();
  ///@}
  std::array<float, 4> constant0{};  ///< clamped to 0..1 by the hardware
  std::array<float, 4> constant1{};  ///< the same
};

/// All general stages, each with constants of its own, and the final combiner's A to G.
struct RFpCombinerSetup {
  std::vector<RFpCombinerStage> stages;         ///< in their order
  std::array<RFpCombinerInput, 7> finalInputs;  ///< A to G

  /// Makes the set-up the current one.
  void Apply(const RFpCombinerFunctions& functions) const;
};
