// Tests of the shim's fragment programs: what they draw is what the interpreter computes.
#define GL_GLEXT_PROTOTYPES
#include <GL/gl.h>
#include <GL/glext.h>
#include <gtest/gtest.h>

#include <string>

#include "support/GLTest.h"
#include "support/shim/NVProgramInterpreter.h"

namespace test::shim {
namespace {

constexpr int kWidth = 16;
constexpr int kHeight = 4;

class NVProgramDriverTest : public GLTest {
 protected:
  void SetUp() override {
    GLTest::SetUp();
    const auto resolve = [](auto& function, const char* name) {
      function = reinterpret_cast<std::remove_reference_t<decltype(function)>>(
          QOpenGLContext::currentContext()->getProcAddress(name));
    };
    resolve(load, "glLoadProgramNV");
    resolve(bind, "glBindProgramNV");
    resolve(gen, "glGenProgramsNV");
    resolve(remove, "glDeleteProgramsNV");
    resolve(parameter, "glProgramNamedParameter4fNV");
  }

  void Load(GLuint name, const std::string& text) const {
    load(GL_FRAGMENT_PROGRAM_NV, name, static_cast<GLsizei>(text.size()),
         reinterpret_cast<const GLubyte*>(text.data()));
  }

  PFNGLLOADPROGRAMNVPROC load = nullptr;
  PFNGLBINDPROGRAMNVPROC bind = nullptr;
  PFNGLGENPROGRAMSNVPROC gen = nullptr;
  PFNGLDELETEPROGRAMSNVPROC remove = nullptr;
  PFNGLPROGRAMNAMEDPARAMETER4FNVPROC parameter = nullptr;
};

// Draws the texture's texels one to one.
GLPixels DrawTexture() {
  GLTarget target(kWidth, kHeight);
  glViewport(0, 0, kWidth, kHeight);
  glBegin(GL_QUADS);
  for (const auto& [x, y] : {std::pair(0, 0), {1, 0}, {1, 1}, {0, 1}}) {
    glTexCoord2i(x, y);
    glVertex2i(2 * x - 1, 2 * y - 1);
  }
  glEnd();
  return target.Read();
}

const char* const kPrograms[] = {
    "TEX o[COLR], f[TEX0], TEX0, 2D;END",
    "DECLARE pa;TEX R0, f[TEX0], TEX0, 2D;MAD_SAT o[COLR], R0, pa, -0.25;END",
    "TEX R0, f[TEX0], TEX0, 2D;DP3 R1, R0, {0.3, 0.6, 0.1, 0};SUB_SAT o[COLR], { 1, 1, 1, 1 }, R1;END",
    "TEX R0, f[TEX0], TEX0, 2D;ADDC R1, R0, -0.5;MOV o[COLR], 0.125;MOV_SAT o[COLR].xyz (GT), R0;END",
    "TEX R0, f[TEX0], TEX0, 2D;SUBC R1, R0, 0.5;MOV o[COLR], R0;MOV o[COLR] (LT), 1;END",
    "TEX R0, f[TEX0], TEX0, 2D;ADDC R1.x, R0, -0.5;MOV o[COLR], R0;MOV o[COLR] (LE.x), R0.wzyx;END",
    "TEX R0, f[TEX0], TEX0, 2D;ADDC R1, R0, -0.5;MOV o[COLR], R0;MOV o[COLR].yz (GE), |R1|;END",
    "TEX R0, f[TEX0], TEX0, 2D;SGEC R1, R0, 0.5;MOV o[COLR] (EQ), 1;MOV o[COLR] (NE), R0;END",
    "TEX R0, f[TEX0], TEX0, 2D;RCP R1, R0.w;MIN R1, R1, 1;EX2 R2, -|R0.x|;MUL o[COLR], R2, R1;END",
    "TEX R0, f[TEX0], TEX0, 2D;MOV o[COLR].w(), R0.w();MUL o[COLR].xyz, R0, R0.w;END"};

TEST_F(NVProgramDriverTest, DrawsWhatTheInterpreterComputes) {
  std::vector<unsigned char> texels = Noise(4 * kWidth * kHeight);
  for (std::size_t i = 3; i < texels.size(); i += 4) texels[i] |= 1;  // nobody divides by zero
  unsigned texture = MakeTexture(kWidth, kHeight, GL_RGBA, texels.data());
  glBindTexture(GL_TEXTURE_2D, texture);
  GLuint name = 0;
  gen(1, &name);
  for (const char* const instructions : kPrograms) {
    const std::string text = std::string("!!FP1.0\n") + instructions;
    Load(name, text);
    bind(GL_FRAGMENT_PROGRAM_NV, name);
    NVFragment fragment;
    if (text.find("DECLARE") != std::string::npos) {
      parameter(name, 2, reinterpret_cast<const GLubyte*>("pa"), 2, 0.5F, -1, 1.5F);
      fragment.parameters = {{2, 0.5F, -1, 1.5F}};
    }
    glEnable(GL_FRAGMENT_PROGRAM_NV);
    const GLPixels drawn = DrawTexture();
    glDisable(GL_FRAGMENT_PROGRAM_NV);
    NVParseError error{};
    const auto program = ParseNVProgram(text, error);
    ASSERT_TRUE(program) << error.message;
    for (std::size_t i = 0; i < texels.size(); i += 4) {
      fragment.sample = [&](int, NVVector) {
        return NVVector{static_cast<float>(texels[i]) / 255, static_cast<float>(texels[i + 1]) / 255,
                        static_cast<float>(texels[i + 2]) / 255, static_cast<float>(texels[i + 3]) / 255};
      };
      const NVVector expected = RunNVProgram(*program, fragment);
      for (std::size_t c = 0; c < 4; ++c)
        ASSERT_NEAR(drawn.bytes[i + c], std::clamp(expected[c], 0.0F, 1.0F) * 255, 0.51) << text;
    }
  }
  remove(1, &name);
  glBindTexture(GL_TEXTURE_2D, 0);
  glDeleteTextures(1, &texture);
}

TEST_F(NVProgramDriverTest, RefusesWhatTheExtensionRefuses) {
  GLErrorCapture errors;
  GLuint name = 0;
  gen(1, &name);
  Load(name, "!!FP1.0\nMOV R99, R0;END");
  EXPECT_EQ(glGetError(), GLenum{GL_INVALID_OPERATION});
  GLint position = 0;
  glGetIntegerv(GL_PROGRAM_ERROR_POSITION_NV, &position);
  EXPECT_EQ(position, 15);
  parameter(name, 2, reinterpret_cast<const GLubyte*>("pa"), 0, 0, 0, 0);
  EXPECT_EQ(glGetError(), GLenum{GL_INVALID_OPERATION}) << "no program is loaded";
  Load(name, "!!FP1.0\nDECLARE pa;MOV o[COLR], pa;END");
  EXPECT_EQ(glGetError(), GLenum{GL_NO_ERROR});
  parameter(name, 2, reinterpret_cast<const GLubyte*>("pb"), 0, 0, 0, 0);
  EXPECT_EQ(glGetError(), GLenum{GL_INVALID_VALUE}) << "no such parameter";
  bind(GL_FRAGMENT_PROGRAM_ARB, name);
  EXPECT_EQ(glGetError(), GLenum{GL_INVALID_ENUM});
  Load(0, "!!FP1.0\nEND");
  EXPECT_EQ(glGetError(), GLenum{GL_INVALID_VALUE});
  remove(1, &name);
}

TEST_F(NVProgramDriverTest, DrawingWithoutAProgramIsAnErrorAndDrawsNothing) {
  GLErrorCapture errors;
  GLTarget target(1, 1);
  glClearColor(0, 1, 0, 1);
  glClear(GL_COLOR_BUFFER_BIT);
  bind(GL_FRAGMENT_PROGRAM_NV, 77);
  glEnable(GL_FRAGMENT_PROGRAM_NV);
  glRecti(-1, -1, 1, 1);
  EXPECT_EQ(glGetError(), GLenum{GL_INVALID_OPERATION});
  glDisable(GL_FRAGMENT_PROGRAM_NV);
  EXPECT_EQ(target.Read().bytes, (std::vector<unsigned char>{0, 255, 0, 255}));
}

TEST_F(NVProgramDriverTest, TheAttributeStackKeepsTheEnable) {
  EXPECT_FALSE(glIsEnabled(GL_FRAGMENT_PROGRAM_NV));
  glPushAttrib(GL_ENABLE_BIT);
  glEnable(GL_FRAGMENT_PROGRAM_NV);
  glPushAttrib(GL_COLOR_BUFFER_BIT);
  glPopAttrib();
  EXPECT_TRUE(glIsEnabled(GL_FRAGMENT_PROGRAM_NV));
  glPopAttrib();
  EXPECT_FALSE(glIsEnabled(GL_FRAGMENT_PROGRAM_NV));
}

}  // namespace
}  // namespace test::shim
