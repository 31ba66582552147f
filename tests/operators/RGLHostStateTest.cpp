// Tests of putting the host's OpenGL state aside.
#include "operators/RGLHostState.h"

#include <GL/gl.h>
#include <GL/glext.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/FakeEntryPoints.h"
#include "support/GLTest.h"
#include "support/HostileState.h"

namespace test {
namespace {

using RGLHostStateTest = GLTest;

// What spoils drawing and pixel transfers, a line each; empty when everything is neutral.
std::string SpoiledText() {
  std::istringstream lines(FullStateText());
  static const std::vector<std::string> kNeutral = {"GL_ALPHA_TEST: 0",
                                                    "GL_BLEND: 0",
                                                    "GL_CLIP_PLANE1: 0",
                                                    "GL_COLOR_LOGIC_OP: 0",
                                                    "GL_COLOR_MATERIAL: 0",
                                                    "GL_CULL_FACE: 0",
                                                    "GL_DEPTH_TEST: 0",
                                                    "GL_DITHER: 0",
                                                    "GL_FOG: 0",
                                                    "GL_LIGHTING: 0",
                                                    "GL_POLYGON_SMOOTH: 0",
                                                    "GL_POLYGON_STIPPLE: 0",
                                                    "GL_SCISSOR_TEST: 0",
                                                    "GL_STENCIL_TEST: 0",
                                                    "GL_COLOR_SUM: 0",
                                                    "GL_VERTEX_PROGRAM_ARB: 0",
                                                    "GL_FRAGMENT_PROGRAM_ARB: 0",
                                                    "GL_ACTIVE_TEXTURE: 33984",
                                                    "GL_CURRENT_PROGRAM: 0",
                                                    "GL_CURRENT_COLOR: 1 1 1 1",
                                                    "GL_CURRENT_TEXTURE_COORDS: 0 0 0 1",
                                                    "GL_COLOR_WRITEMASK: 1 1 1 1",
                                                    "GL_PACK_ALIGNMENT: 4",
                                                    "GL_PACK_ROW_LENGTH: 0",
                                                    "GL_PACK_SKIP_ROWS: 0",
                                                    "GL_PACK_SKIP_PIXELS: 0",
                                                    "GL_PACK_SWAP_BYTES: 0",
                                                    "GL_UNPACK_ALIGNMENT: 4",
                                                    "GL_UNPACK_ROW_LENGTH: 0",
                                                    "GL_UNPACK_SKIP_ROWS: 0",
                                                    "GL_UNPACK_SKIP_PIXELS: 0",
                                                    "GL_UNPACK_SWAP_BYTES: 0",
                                                    "GL_MAP_COLOR: 0",
                                                    "GL_RED_SCALE: 1",
                                                    "GL_RED_BIAS: 0",
                                                    "GL_GREEN_SCALE: 1",
                                                    "GL_GREEN_BIAS: 0",
                                                    "GL_BLUE_SCALE: 1",
                                                    "GL_BLUE_BIAS: 0",
                                                    "GL_ALPHA_BIAS: 0",
                                                    "GL_TEXTURE_1D: 0",
                                                    "GL_TEXTURE_2D: 0",
                                                    "GL_TEXTURE_3D: 0",
                                                    "GL_TEXTURE_CUBE_MAP: 0",
                                                    "GL_TEXTURE_GEN_S: 0",
                                                    "GL_TEXTURE_GEN_T: 0",
                                                    "GL_TEXTURE_GEN_R: 0",
                                                    "GL_TEXTURE_GEN_Q: 0",
                                                    "GL_TEXTURE_MATRIX: 1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1",
                                                    "GL_FRAMEBUFFER_SRGB: 0",
                                                    "GL_FRAGMENT_SHADER_ATI: 0",
                                                    "GL_FRAGMENT_PROGRAM_NV: 0",
                                                    "GL_REGISTER_COMBINERS_NV: 0",
                                                    "GL_COLOR_MATRIX: 1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1",
                                                    "GL_POST_COLOR_MATRIX_RED_BIAS: 0",
                                                    "pipeline: 0",
                                                    "sampler: 0",
                                                    "clamp fragment: 35101",
                                                    "clamp read: 35101",
                                                    "clamp vertex: 1"};
  std::string text;
  for (std::string line; std::getline(lines, line);) {
    const std::string name = line.substr(0, line.find(':') + 1);
    const auto isNamed = [&](const std::string& row) { return row.starts_with(name); };
    const auto found = std::find_if(kNeutral.begin(), kNeutral.end(), isNamed);
    if (found != kNeutral.end() && !name.empty() && line != *found) text += line + '\n';
  }
  for (const GLenum name : std::initializer_list<GLenum>{
           GL_POLYGON_MODE, GL_PIXEL_PACK_BUFFER_BINDING, GL_PIXEL_UNPACK_BUFFER_BINDING,
           GL_BLEND_EQUATION_RGB, GL_BLEND_EQUATION_ALPHA, GL_RASTERIZER_DISCARD,
           GL_SAMPLE_ALPHA_TO_COVERAGE}) {
    std::array<GLint, 2> values{};
    glGetIntegerv(name, values.data());
    const bool neutral = name == GL_POLYGON_MODE ? values[0] == GL_FILL
                         : name == GL_BLEND_EQUATION_RGB || name == GL_BLEND_EQUATION_ALPHA
                             ? values[0] == GL_FUNC_ADD
                             : values[0] == 0;
    if (!neutral) text += std::to_string(name) + '\n';
  }
  return text;
}

class Hostile : public RGLHostStateTest, public testing::WithParamInterface<HostileKind> {};

TEST_P(Hostile, IsNeutralInBetweenAndComesBack) {
  const std::string untouched = FullStateText();
  GetParam().set();
  const std::string before = FullStateText();
  EXPECT_NE(before, untouched) << "the state must show";
  {
    const RGLHostState state;
    ASSERT_TRUE(state.IsSaved());
    EXPECT_EQ(SpoiledText(), "");
  }
  EXPECT_EQ(StateDifference(before, FullStateText()), "");
}

INSTANTIATE_TEST_SUITE_P(Kinds, Hostile, testing::ValuesIn(HostileKinds()),
                         [](const auto& row) { return row.param.name; });

TEST_F(RGLHostStateTest, AllKindsAtOnceComeBack) {
  SetHostileState();
  const std::string before = FullStateText();
  {
    const RGLHostState state;
    ASSERT_TRUE(state.IsSaved());
    EXPECT_EQ(SpoiledText(), "");
  }
  EXPECT_EQ(StateDifference(before, FullStateText()), "");
}

TEST_F(RGLHostStateTest, WhatIsChangedInBetweenComesBack) {
  const std::string before = FullStateText();
  {
    const RGLHostState state;
    for (const HostileKind& kind : HostileKinds()) {
      // What no operator turns to stays with whoever does.
      static const std::vector<std::string> kOwn = {"ActiveTexture", "ColorSum", "FramebufferSRGB",
                                                    "FragmentShader", "RasterizerDiscard"};
      if (std::find(kOwn.begin(), kOwn.end(), kind.name) == kOwn.end()) kind.set();
    }
  }
  EXPECT_EQ(StateDifference(before, FullStateText()), "");
}

TEST_F(RGLHostStateTest, ScopesNest) {
  SetHostileState();
  const std::string before = FullStateText();
  {
    const RGLHostState outer;
    const std::string between = FullStateText();
    { const RGLHostState inner; }
    EXPECT_EQ(StateDifference(between, FullStateText()), "");
  }
  EXPECT_EQ(StateDifference(before, FullStateText()), "");
}

TEST_F(RGLHostStateTest, FullStacksAreRefusedAndLeftAlone) {
  GLint depth = 0;
  glGetIntegerv(GL_MAX_ATTRIB_STACK_DEPTH, &depth);
  for (GLint i = 0; i < depth - 2; ++i) glPushAttrib(GL_CURRENT_BIT);
  const std::string before = FullStateText();
  {
    const RGLHostState state;
    EXPECT_FALSE(state.IsSaved());
    EXPECT_EQ(StateDifference(before, FullStateText()), "");
  }
  glPopAttrib();
  EXPECT_TRUE(RGLHostState().IsSaved());
  for (GLint i = 0; i < depth - 3; ++i) glPopAttrib();

  glGetIntegerv(GL_MAX_CLIENT_ATTRIB_STACK_DEPTH, &depth);
  for (GLint i = 0; i < depth; ++i) glPushClientAttrib(GL_CLIENT_PIXEL_STORE_BIT);
  EXPECT_FALSE(RGLHostState().IsSaved());
  for (GLint i = 0; i < depth; ++i) glPopClientAttrib();
}

TEST_F(RGLHostStateTest, FullMatrixStacksDoNotMatter) {
  GLint depth = 0;
  glGetIntegerv(GL_MAX_TEXTURE_STACK_DEPTH, &depth);
  glMatrixMode(GL_TEXTURE);
  for (GLint i = 1; i < depth; ++i) glPushMatrix();
  glScalef(2, 3, 4);
  const std::string before = FullStateText();
  EXPECT_TRUE(RGLHostState().IsSaved());
  EXPECT_EQ(StateDifference(before, FullStateText()), "");
}

// What is set between glBegin and glEnd, and seen by the driver between an inner push and pop only. With
// white, which is set anyway, the colour does not tell the driver that there is something to bring back.
class CurrentValues : public RGLHostStateTest, public testing::WithParamInterface<float> {};

TEST_P(CurrentValues, ThatAQuadSetsComeBack) {
  const GLTarget target(8, 8);
  GLint units = 0;
  glGetIntegerv(GL_MAX_TEXTURE_UNITS, &units);
  auto* const coordinate =
      DriverEntryPoint<void(GLenum, GLfloat, GLfloat, GLfloat, GLfloat)>("glMultiTexCoord4f");
  for (GLint i = 0; GetParam() < 1 && i < units; ++i)
    coordinate(GL_TEXTURE0 + static_cast<GLenum>(i), 1, 2, 3, static_cast<GLfloat>(i));
  glColor4f(GetParam(), 1, 1, 1);
  const auto last = [&] {
    std::array<GLfloat, 4> values{};
    DriverEntryPoint<void(GLenum)>("glActiveTexture")(GL_TEXTURE0 + static_cast<GLenum>(units) - 1);
    glGetFloatv(GL_CURRENT_TEXTURE_COORDS, values.data());
    DriverEntryPoint<void(GLenum)>("glActiveTexture")(GL_TEXTURE0);
    return values;
  };
  const std::string before = FullStateText();
  const auto lastBefore = last();
  {
    const RGLHostState state;
    glBegin(GL_QUADS);
    for (const auto& [x, y] : {std::pair(0, 0), std::pair(8, 0), std::pair(8, 8), std::pair(0, 8)}) {
      glColor4f(1, 0, 0, 1);
      for (GLint i = 0; i < units; ++i) coordinate(GL_TEXTURE0 + static_cast<GLenum>(i), 9, 9, 9, 9);
      glVertex2i(x, y);
    }
    glEnd();
    glPushAttrib(GL_TRANSFORM_BIT);
    glMatrixMode(GL_TEXTURE);
    glLoadIdentity();
    glPopAttrib();
  }
  EXPECT_EQ(StateDifference(before, FullStateText()), "");
  EXPECT_EQ(last(), lastBefore);
}

INSTANTIATE_TEST_SUITE_P(Reds, CurrentValues, testing::Values(0.5F, 1.0F));

TEST_F(RGLHostStateTest, AHostThatSelectsIsLeftAlone) {
  std::array<GLuint, 8> hits{};
  glSelectBuffer(static_cast<GLsizei>(hits.size()), hits.data());
  std::array<GLfloat, 8> feedback{};
  glFeedbackBuffer(static_cast<GLsizei>(feedback.size()), GL_2D, feedback.data());
  const std::string before = FullStateText();
  for (const GLenum mode : std::initializer_list<GLenum>{GL_SELECT, GL_FEEDBACK}) {
    glRenderMode(mode);
    {
      const RGLHostState state;
      EXPECT_FALSE(state.IsSaved());
      EXPECT_EQ(StateDifference(before, FullStateText()), "");
    }
    EXPECT_EQ(glRenderMode(GL_RENDER), 0) << "nothing was hit or fed back";
  }
  EXPECT_TRUE(RGLHostState().IsSaved());
}

TEST_F(RGLHostStateTest, WithoutAContextNothingIsSaved) {
  Host().Context().doneCurrent();
  EXPECT_FALSE(RGLHostState().IsSaved());
  ASSERT_TRUE(Host().MakeCurrent());
}

// The colour matrix exists on no driver at hand; its calls are answered by the test.
TEST_F(RGLHostStateTest, AColourMatrixIsPutAsideToo) {
  static std::vector<std::string> sCalls;
  static GLenum sMode = 0;
  sCalls.clear();
  using GetDoublev = void(GLenum, GLdouble*);
  static auto* const getDoublev = DriverEntryPoint<GetDoublev>("glGetDoublev");
  GetDoublev* const get = [](GLenum name, GLdouble* values) {
    if (name != GL_COLOR_MATRIX) return getDoublev(name, values);
    for (int i = 0; i < 16; ++i) values[i] = i;
  };
  static auto* const matrixMode = DriverEntryPoint<void(GLenum)>("glMatrixMode");
  void (*const mode)(GLenum) = [](GLenum name) {
    sMode = name;
    if (name != GL_COLOR) matrixMode(name);
  };
  static auto* const loadIdentity = DriverEntryPoint<void()>("glLoadIdentity");
  void (*const identity)() = [] { sMode == GL_COLOR ? sCalls.push_back("identity") : loadIdentity(); };
  static auto* const loadMatrix = DriverEntryPoint<void(const GLdouble*)>("glLoadMatrixd");
  void (*const load)(const GLdouble*) = [](const GLdouble* values) {
    if (sMode != GL_COLOR) return loadMatrix(values);
    sCalls.push_back("load " + std::to_string(static_cast<int>(values[15])));
  };
  static auto* const pixelTransfer = DriverEntryPoint<void(GLenum, GLint)>("glPixelTransferi");
  void (*const transfer)(GLenum, GLint) = [](GLenum name, GLint value) {
    const bool isColorMatrix =
        name >= GL_POST_COLOR_MATRIX_RED_SCALE && name <= GL_POST_COLOR_MATRIX_ALPHA_BIAS;
    isColorMatrix ? sCalls.push_back("transfer " + std::to_string(value)) : pixelTransfer(name, value);
  };
  const EntryPointReplacement replacedGet("glGetDoublev", get);
  const EntryPointReplacement replacedMode("glMatrixMode", mode);
  const EntryPointReplacement replacedIdentity("glLoadIdentity", identity);
  const EntryPointReplacement replacedLoad("glLoadMatrixd", load);
  const EntryPointReplacement replacedTransfer("glPixelTransferi", transfer);
  const FakeEntryPoints driver({"GL_SGI_color_matrix"});
  const std::string before = FullStateText();
  {
    const RGLHostState state;
    EXPECT_THAT(sCalls,
                testing::ElementsAre("transfer 1", "transfer 0", "transfer 1", "transfer 0", "transfer 1",
                                     "transfer 0", "transfer 1", "transfer 0", "identity"));
    sCalls.clear();
  }
  EXPECT_THAT(sCalls, testing::ElementsAre("load 15"));
  EXPECT_EQ(StateDifference(before, FullStateText()), "");
}

}  // namespace
}  // namespace test
