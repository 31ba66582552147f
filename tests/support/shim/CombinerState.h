// The state of register combiners (GL_NV_register_combiners and 2), and the program that computes the same.
#pragma once

#define GL_GLEXT_PROTOTYPES
#include <GL/gl.h>
#include <GL/glext.h>

#include <array>
#include <string>

namespace test::shim {

inline constexpr int kCombinerStages = 8;
inline constexpr int kCombinerTextures = 4;

struct CombinerInput {
  GLenum reg = GL_ZERO;
  GLenum mapping = GL_UNSIGNED_IDENTITY_NV;
  GLenum usage = GL_RGB;
};

/// The colour or the alpha half of a general stage.
struct CombinerPortion {
  std::array<CombinerInput, 4> inputs;
  GLenum ab = GL_DISCARD_NV;
  GLenum cd = GL_DISCARD_NV;
  GLenum sum = GL_DISCARD_NV;
  GLenum scale = GL_NONE;
  GLenum bias = GL_NONE;
  bool abDot = false;
  bool cdDot = false;
  bool mux = false;
};

using CombinerColor = std::array<GLfloat, 4>;

struct CombinerStage {
  CombinerPortion rgb;
  CombinerPortion alpha;
  std::array<CombinerColor, 2> constants{};
};

struct CombinerState {
  CombinerState();

  int count = 1;
  bool sumClamp = true;
  bool perStage = false;
  std::array<CombinerColor, 2> constants{};
  std::array<CombinerStage, kCombinerStages> stages;
  std::array<CombinerInput, 7> finals;

  // The calls of the extensions; each returns the error that the extension gives, which leaves the state as
  // it was, or GL_NO_ERROR.
  GLenum SetParameter(GLenum name, const GLfloat* values);
  GLenum SetInput(GLenum stage, GLenum portion, GLenum variable, const CombinerInput& input);
  GLenum SetOutput(GLenum stage, GLenum portion, const CombinerPortion& outputs);
  GLenum SetFinalInput(GLenum variable, const CombinerInput& input);
  GLenum SetStageConstant(GLenum stage, GLenum name, const GLfloat* values);
  GLenum GetStageConstant(GLenum stage, GLenum name, GLfloat* values) const;

 private:
  CombinerPortion* Portion(GLenum stage, GLenum portion);
};

/// What the combiners read of a context's other state.
struct CombinerSurroundings {
  /// The units that have a two-dimensional texture enabled; the registers of the others are black and
  /// transparent.
  std::array<bool, kCombinerTextures> textures{};
  /// False while colours are not clamped (GL_ARB_color_buffer_float): then nothing is within the combiners.
  bool clamps = true;
  GLenum fog = GL_NONE;  ///< the mode; GL_NONE while fog is disabled
};

/// Returns the program in the language of GL_ARB_fragment_program. Local parameter 2 x stage + i is that
/// stage's constant i.
std::string CombinerProgram(const CombinerState& state, const CombinerSurroundings& surroundings);

}  // namespace test::shim
