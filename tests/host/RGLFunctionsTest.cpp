// Tests of the function tables and entry-point holders of the OpenGL library.
#include "rgl/RGLFunctions.h"

#include <GL/gl.h>

#include <thread>

#include "rgl/QOpenGLExtension_ATI_fragment_shader.h"
#include "rgl/QOpenGLExtension_NV_fragment_program.h"
#include "rgl/QOpenGLExtension_NV_vertex_program.h"
#include "rgl/RVideoTextureType.h"
#include "support/GLTest.h"

namespace {

class RGLFunctionsTest : public test::GLTest {};

TEST_F(RGLFunctionsTest, AnswerTheCurrentContextsTables) {
  ASSERT_TRUE(opengl15());
  ASSERT_TRUE(opengl20());
  ASSERT_TRUE(opengl30());
  EXPECT_EQ(opengl15(), opengl15()) << "one table a context";
  const test::GLRecorder recorder;
  opengl15()->glActiveTexture(GL_TEXTURE1);
  opengl20()->glUseProgram(0);
  opengl30()->glBindFramebuffer(GL_FRAMEBUFFER, 0);
  EXPECT_EQ(recorder.Text(),
            "glActiveTexture(GL_TEXTURE1)\nglUseProgram(0)\nglBindFramebuffer(GL_FRAMEBUFFER, 0)\n");
}

TEST_F(RGLFunctionsTest, EachContextHasItsOwn) {
  auto* first = opengl20();
  test::GLContext other;
  ASSERT_TRUE(other.MakeCurrent());
  ASSERT_TRUE(opengl20());
  EXPECT_NE(opengl20(), first);
  ASSERT_TRUE(Host().MakeCurrent());
  EXPECT_EQ(opengl20(), first);
}

TEST_F(RGLFunctionsTest, AreNullWithoutAContext) {
  Host().Context().doneCurrent();
  EXPECT_EQ(opengl15(), nullptr);
  EXPECT_EQ(opengl20(), nullptr);
  EXPECT_EQ(opengl30(), nullptr);
  ASSERT_TRUE(Host().MakeCurrent());
}

TEST_F(RGLFunctionsTest, AreNullOnAThreadWithoutAContext) {
  std::thread([] { EXPECT_EQ(opengl20(), nullptr); }).join();
}

TEST_F(RGLFunctionsTest, AreNullInACoreContext) {
  QSurfaceFormat format;
  format.setVersion(3, 3);
  format.setProfile(QSurfaceFormat::CoreProfile);
  test::GLContext core(format);
  ASSERT_TRUE(core.MakeCurrent());
  EXPECT_EQ(opengl15(), nullptr);
  EXPECT_EQ(opengl20(), nullptr);
  EXPECT_EQ(opengl30(), nullptr);
  ASSERT_TRUE(Host().MakeCurrent());
}

TEST(RGLHolders, StartEmpty) {
  const QOpenGLExtension_NV_vertex_program vertex;
  EXPECT_EQ(vertex.glLoadProgramNV, nullptr);
  EXPECT_EQ(vertex.glGenProgramsNV, nullptr);
  EXPECT_EQ(vertex.glDeleteProgramsNV, nullptr);
  EXPECT_EQ(vertex.glBindProgramNV, nullptr);
  EXPECT_EQ(QOpenGLExtension_NV_fragment_program().glProgramNamedParameter4fNV, nullptr);
  const QOpenGLExtension_ATI_fragment_shader shader;
  EXPECT_EQ(shader.glBindFragmentShaderATI, nullptr);
  EXPECT_EQ(shader.glSetFragmentShaderConstantATI, nullptr);
}

TEST(RGLHolders, TextureTypesHaveTheHostsValues) {
  EXPECT_EQ(kVideoTexture2D, 0);
  EXPECT_EQ(kVideoTextureCubeMap, 1);
  EXPECT_EQ(kVideoTextureVolume, 2);
}

}  // namespace
