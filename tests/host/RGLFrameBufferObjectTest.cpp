#include "rgl/RGLFrameBufferObject.h"

#include <GL/gl.h>
#include <GL/glext.h>

#include <array>
#include <limits>

#include "rgl/RGLFunctions.h"
#include "support/GLTest.h"

namespace {

using test::GLRecorder;

int Integer(GLenum name) {
  GLint value = 0;
  glGetIntegerv(name, &value);
  return value;
}

RGLFrameBufferObject MakeColour() {
  return {GL_COLOR_ATTACHMENT0, GL_RGBA, GL_RGBA, GL_UNSIGNED_BYTE, false, false};
}

std::array<int, 4> ClearAndRead(float r, float g, float b, float a) {
  glClearColor(r, g, b, a);
  glClear(GL_COLOR_BUFFER_BIT);
  const std::vector<unsigned char> bytes = test::ReadFramebuffer(0, 0, 1, 1).bytes;
  return {bytes[0], bytes[1], bytes[2], bytes[3]};
}

class RGLFrameBufferObjectTest : public test::GLTest {};

TEST_F(RGLFrameBufferObjectTest, IsEmptyBeforeItIsBuilt) {
  const GLRecorder recorder;
  {
    RGLFrameBufferObject target = MakeColour();
    EXPECT_EQ(target.GetWidth(), 0);
    EXPECT_EQ(target.GetHeight(), 0);
    EXPECT_EQ(target.GetTextureId(), 0U);
    target.UnBindFBO();
  }
  EXPECT_TRUE(recorder.Calls().empty()) << recorder.Text();
}

TEST_F(RGLFrameBufferObjectTest, BuildsBindsAndTakesDrawing) {
  RGLFrameBufferObject target = MakeColour();
  ASSERT_TRUE(target.BuildFBO(30, 20, 0xFFFFFFFF));
  EXPECT_EQ(target.GetWidth(), 30);
  EXPECT_EQ(target.GetHeight(), 20);
  EXPECT_EQ(test::TextureLevelParameter(target.GetTextureId(), GL_TEXTURE_WIDTH), 30);
  EXPECT_EQ(test::TextureLevelParameter(target.GetTextureId(), GL_TEXTURE_HEIGHT), 20);
  EXPECT_EQ(ClearAndRead(1, 0, 0.2F, 1), (std::array{255, 0, 51, 255}));
  const test::GLPixels texture = test::ReadTexture(target.GetTextureId(), GL_RGBA);
  EXPECT_EQ(texture.bytes[0], 255);
  EXPECT_EQ(texture.bytes[2], 51);
}

TEST_F(RGLFrameBufferObjectTest, AnotherCallOfTheSameSizeOnlyBinds) {
  RGLFrameBufferObject target = MakeColour();
  ASSERT_TRUE(target.BuildFBO(8, 8));
  const int name = Integer(GL_FRAMEBUFFER_BINDING);
  ClearAndRead(0, 1, 0, 1);
  target.UnBindFBO();
  const GLRecorder recorder;
  ASSERT_TRUE(target.BuildFBO(8, 8));
  EXPECT_EQ(recorder.Text({"glBindFramebuffer", "glGenFramebuffers", "glTexImage2D", "glDeleteFramebuffers"}),
            "glBindFramebuffer(GL_FRAMEBUFFER, " + std::to_string(name) + ")\n");
  EXPECT_EQ(test::ReadFramebuffer(0, 0, 1, 1).bytes[1], 255) << "the contents stay";
}

TEST_F(RGLFrameBufferObjectTest, AnotherSizeBuildsAnew) {
  RGLFrameBufferObject target = MakeColour();
  ASSERT_TRUE(target.BuildFBO(8, 8));
  for (const auto& [width, height] : {std::pair{9, 8}, std::pair{9, 7}}) {
    const GLRecorder recorder;
    ASSERT_TRUE(target.BuildFBO(width, height));
    EXPECT_EQ(recorder.Count("glTexImage2D"), 1);
    EXPECT_EQ(target.GetWidth(), width);
    EXPECT_EQ(target.GetHeight(), height);
    EXPECT_EQ(test::LiveGLObjects(), "Framebuffer: 1\nTexture: 1\n") << "the old one is gone";
  }
}

TEST_F(RGLFrameBufferObjectTest, UnBindReturnsToTheFramebufferBefore) {
  const test::GLTarget host(16, 16);
  const test::GLTarget inner(4, 4);
  opengl30()->glBindFramebuffer(GL_DRAW_FRAMEBUFFER, host.Framebuffer());
  RGLFrameBufferObject target = MakeColour();
  ASSERT_TRUE(target.BuildFBO(8, 8));
  ASSERT_TRUE(target.BuildFBO(12, 8)) << "building twice does not make it its own predecessor";
  EXPECT_EQ(Integer(GL_DRAW_FRAMEBUFFER_BINDING), Integer(GL_READ_FRAMEBUFFER_BINDING));
  target.UnBindFBO();
  EXPECT_EQ(Integer(GL_DRAW_FRAMEBUFFER_BINDING), static_cast<int>(host.Framebuffer()));
  EXPECT_EQ(Integer(GL_READ_FRAMEBUFFER_BINDING), static_cast<int>(inner.Framebuffer()));
  opengl30()->glBindFramebuffer(GL_FRAMEBUFFER, inner.Framebuffer());
  target.UnBindFBO();
  EXPECT_EQ(Integer(GL_FRAMEBUFFER_BINDING), static_cast<int>(inner.Framebuffer()))
      << "only a bound one unbinds";
}

TEST_F(RGLFrameBufferObjectTest, ABufferToUnpackFromIsNotReadAndStaysBound) {
  GLuint buffer = 0;
  opengl30()->glGenBuffers(1, &buffer);
  opengl30()->glBindBuffer(GL_PIXEL_UNPACK_BUFFER, buffer);
  opengl30()->glBufferData(GL_PIXEL_UNPACK_BUFFER, 4, nullptr, GL_STATIC_DRAW);
  {
    RGLFrameBufferObject target = MakeColour();
    EXPECT_TRUE(target.BuildFBO(8, 8)) << "larger than the buffer";
  }
  EXPECT_EQ(Integer(GL_PIXEL_UNPACK_BUFFER_BINDING), static_cast<int>(buffer));
  opengl30()->glDeleteBuffers(1, &buffer);
}

TEST_F(RGLFrameBufferObjectTest, TheDestructorUnbindsAndDeletes) {
  const test::GLTarget host(16, 16);
  {
    RGLFrameBufferObject target = MakeColour();
    ASSERT_TRUE(target.BuildFBO(8, 8));
  }
  EXPECT_EQ(Integer(GL_FRAMEBUFFER_BINDING), static_cast<int>(host.Framebuffer()));
  EXPECT_EQ(test::LiveGLObjects(), "Texture: 1\n") << "the host's own is left";
}

TEST_F(RGLFrameBufferObjectTest, LeavesTheHostsBindingsAlone) {
  GLuint texture = test::MakeTexture(2, 2, GL_RGBA, nullptr);
  glBindTexture(GL_TEXTURE_2D, texture);
  GLuint buffer = 0;
  opengl30()->glGenRenderbuffers(1, &buffer);
  opengl30()->glBindRenderbuffer(GL_RENDERBUFFER, buffer);
  const std::string before = test::GLStateText();
  {
    RGLFrameBufferObject target(GL_COLOR_ATTACHMENT0, GL_RGBA, GL_RGBA, GL_UNSIGNED_BYTE, true, true);
    ASSERT_TRUE(target.BuildFBO(8, 8));
    target.UnBindFBO();
  }
  EXPECT_EQ(test::GLStateText(), before);
  opengl30()->glDeleteRenderbuffers(1, &buffer);
  glDeleteTextures(1, &texture);
}

TEST_F(RGLFrameBufferObjectTest, DepthAndStencilAreAttachedOnRequest) {
  RGLFrameBufferObject depth(GL_COLOR_ATTACHMENT0, GL_RGBA, GL_RGBA, GL_UNSIGNED_BYTE, true, false);
  ASSERT_TRUE(depth.BuildFBO(8, 8));
  EXPECT_EQ(Integer(GL_DEPTH_BITS), 24);
  EXPECT_EQ(Integer(GL_STENCIL_BITS), 0);
  RGLFrameBufferObject stencil(GL_COLOR_ATTACHMENT0, GL_RGBA, GL_RGBA, GL_UNSIGNED_BYTE, false, true);
  ASSERT_TRUE(stencil.BuildFBO(8, 8));
  EXPECT_EQ(Integer(GL_STENCIL_BITS), 8);
  RGLFrameBufferObject both(GL_COLOR_ATTACHMENT0, GL_RGBA, GL_RGBA, GL_UNSIGNED_BYTE, true, true);
  ASSERT_TRUE(both.BuildFBO(8, 8));
  EXPECT_EQ(Integer(GL_DEPTH_BITS), 24);
  EXPECT_EQ(Integer(GL_STENCIL_BITS), 8);
  RGLFrameBufferObject none = MakeColour();
  ASSERT_TRUE(none.BuildFBO(8, 8));
  EXPECT_EQ(Integer(GL_DEPTH_BITS), 0);
  both.UnBindFBO();
}

TEST_F(RGLFrameBufferObjectTest, AnotherAttachmentPointTakesTheDrawing) {
  RGLFrameBufferObject target(GL_COLOR_ATTACHMENT1, GL_RGBA, GL_RGBA, GL_UNSIGNED_BYTE, false, false);
  ASSERT_TRUE(target.BuildFBO(8, 8));
  EXPECT_EQ(ClearAndRead(0, 0, 1, 1), (std::array{0, 0, 255, 255}));
}

TEST_F(RGLFrameBufferObjectTest, AFloatFormatKeepsWhatBytesCannot) {
  RGLFrameBufferObject target(GL_COLOR_ATTACHMENT0, GL_RGBA32F, GL_RGBA, GL_FLOAT, false, false);
  ASSERT_TRUE(target.BuildFBO(4, 4));
  glClearColor(2, -1, 0.5F, 1);
  glClear(GL_COLOR_BUFFER_BIT);
  std::array<float, 4> pixel{};
  glReadPixels(0, 0, 1, 1, GL_RGBA, GL_FLOAT, pixel.data());
  EXPECT_EQ(pixel, (std::array<float, 4>{2, -1, 0.5F, 1}));
}

TEST_F(RGLFrameBufferObjectTest, DrawsIntoATextureOfTheCaller) {
  GLuint texture = test::MakeTexture(8, 8, GL_RGBA, nullptr);
  {
    RGLFrameBufferObject target = MakeColour();
    ASSERT_TRUE(target.BuildFBO(8, 8, texture));
    EXPECT_EQ(target.GetTextureId(), texture);
    ClearAndRead(1, 0, 0, 1);
    const GLRecorder recorder;
    ASSERT_TRUE(target.BuildFBO(8, 8));
    EXPECT_EQ(recorder.Count("glTexImage2D"), 1) << "back to a texture of its own";
    ASSERT_TRUE(target.BuildFBO(8, 8, texture));
  }
  EXPECT_TRUE(glIsTexture(texture)) << "a borrowed texture stays";
  EXPECT_EQ(test::ReadTexture(texture, GL_RGBA).bytes[0], 255);
  glDeleteTextures(1, &texture);
}

TEST_F(RGLFrameBufferObjectTest, FailuresLeaveTheFramebufferBeforeBound) {
  const test::GLTarget host(16, 16);
  RGLFrameBufferObject target = MakeColour();
  EXPECT_FALSE(target.BuildFBO(0, 8));
  EXPECT_FALSE(target.BuildFBO(8, -1));
  EXPECT_FALSE(target.BuildFBO(Integer(GL_MAX_TEXTURE_SIZE) + 1, 1));
  EXPECT_FALSE(target.BuildFBO(1, std::numeric_limits<int>::max()));
  RGLFrameBufferObject compressed(GL_COLOR_ATTACHMENT0, GL_COMPRESSED_RGBA_S3TC_DXT5_EXT, GL_RGBA,
                                  GL_UNSIGNED_BYTE, false, false);
  EXPECT_FALSE(compressed.BuildFBO(8, 8)) << "no driver draws compressed blocks";
  EXPECT_EQ(compressed.GetTextureId(), 0U);
  EXPECT_EQ(Integer(GL_FRAMEBUFFER_BINDING), static_cast<int>(host.Framebuffer()));
  EXPECT_EQ(target.GetTextureId(), 0U);
  EXPECT_EQ(target.GetWidth(), 0);
  EXPECT_TRUE(target.BuildFBO(8, 8)) << "it can still be built";
}

TEST_F(RGLFrameBufferObjectTest, WithoutAContextItCannotBeBuilt) {
  Host().Context().doneCurrent();
  {
    RGLFrameBufferObject target = MakeColour();
    EXPECT_FALSE(target.BuildFBO(8, 8));
    target.UnBindFBO();
  }
  ASSERT_TRUE(Host().MakeCurrent());
}

}  // namespace
