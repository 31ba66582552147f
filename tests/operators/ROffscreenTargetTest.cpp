// Tests of the drawing area.
#include "operators/ROffscreenTarget.h"

#include <GL/gl.h>
#include <GL/glext.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>

#include "support/GLTest.h"

namespace test {
namespace {

using ROffscreenTargetTest = GLTest;
using Pixel = std::array<unsigned char, 4>;

void Fill(int x, int y, int width, int height, Pixel color) {
  glEnable(GL_SCISSOR_TEST);
  glScissor(x, y, width, height);
  glClearColor(color[0] / 255.0F, color[1] / 255.0F, color[2] / 255.0F, color[3] / 255.0F);
  glClear(GL_COLOR_BUFFER_BIT);
  glDisable(GL_SCISSOR_TEST);
}

Pixel At(int x, int y) {
  const GLPixels pixels = ReadFramebuffer(x, y, 1, 1);
  return {pixels.bytes[0], pixels.bytes[1], pixels.bytes[2], pixels.bytes[3]};
}

int Bound(GLenum binding) {
  GLint name = 0;
  glGetIntegerv(binding, &name);
  return name;
}

constexpr Pixel kRed = {255, 0, 0, 255};
constexpr Pixel kBlue = {0, 0, 255, 128};
constexpr Pixel kNothing = {0, 0, 0, 0};

TEST_F(ROffscreenTargetTest, IsAsLargeAsTheSmallestAreaAtFirst) {
  ROffscreenTarget target;
  EXPECT_EQ(target.GetWidth(), 0);
  ASSERT_TRUE(target.Bind());
  EXPECT_EQ(target.GetWidth(), 1024);
  EXPECT_EQ(target.GetHeight(), 1024);
  EXPECT_NE(Bound(GL_DRAW_FRAMEBUFFER_BINDING), 0);
  EXPECT_EQ(Bound(GL_DRAW_FRAMEBUFFER_BINDING), Bound(GL_READ_FRAMEBUFFER_BINDING));
  EXPECT_EQ(LiveGLObjects(), "Framebuffer: 1\nRenderbuffer: 1\n");
}

TEST_F(ROffscreenTargetTest, BindingSetsTheDrawingArea) {
  ROffscreenTarget target;
  const GLRecorder recorder;
  ASSERT_TRUE(target.Bind());
  EXPECT_EQ(recorder.Text({"glViewport", "glMatrixMode", "glLoadIdentity", "glOrtho", "glTranslatef"}),
            "glViewport(0, 0, 1024, 1024)\n"
            "glMatrixMode(GL_PROJECTION)\n"
            "glLoadIdentity()\n"
            "glOrtho(-0.5, 1023.5, -0.5, 1023.5, 0, 1)\n"
            "glMatrixMode(GL_MODELVIEW)\n"
            "glLoadIdentity()\n"
            "glTranslatef(-0.5, -0.5, 0)\n");
}

TEST_F(ROffscreenTargetTest, AVertexFallsOnItsPixel) {
  ROffscreenTarget target;
  ASSERT_TRUE(target.Bind());
  for (const auto& [width, height] : {std::pair(0, 0), std::pair(1500, 1100)}) {
    ASSERT_TRUE(target.Reserve(width, height));
    Fill(0, 0, target.GetWidth(), target.GetHeight(), kNothing);
    glColor4f(1, 0, 0, 1);
    glRecti(7, 3, target.GetWidth() - 1, 9);
    EXPECT_EQ(At(7, 3), kRed);
    EXPECT_EQ(At(target.GetWidth() - 2, 8), kRed);
    EXPECT_EQ(At(6, 3), kNothing);
    EXPECT_EQ(At(7, 2), kNothing);
    EXPECT_EQ(At(target.GetWidth() - 1, 8), kNothing);
    EXPECT_EQ(At(target.GetWidth() - 2, 9), kNothing);
  }
}

TEST_F(ROffscreenTargetTest, ReservingWhatIsThereCallsNothing) {
  ROffscreenTarget target;
  ASSERT_TRUE(target.Bind());
  const GLRecorder recorder;
  EXPECT_TRUE(target.Reserve(1024, 1024));
  EXPECT_TRUE(target.Reserve(1, 1));
  EXPECT_TRUE(target.Reserve(0, 0));
  EXPECT_EQ(recorder.Text(), "");
}

TEST_F(ROffscreenTargetTest, GrowingKeepsWhatIsDrawn) {
  ROffscreenTarget target;
  ASSERT_TRUE(target.Bind());
  Fill(0, 0, 1024, 1024, kRed);
  Fill(1000, 10, 24, 1, kBlue);
  ASSERT_TRUE(target.Reserve(1500, 20));
  EXPECT_EQ(target.GetWidth(), 1500);
  EXPECT_EQ(target.GetHeight(), 1024);
  EXPECT_EQ(At(0, 0), kRed);
  EXPECT_EQ(At(999, 10), kRed);
  EXPECT_EQ(At(1023, 10), kBlue);
  EXPECT_EQ(At(1023, 1023), kRed);
  ASSERT_TRUE(target.Reserve(10, 1300));
  EXPECT_EQ(target.GetWidth(), 1500) << "a common area for both shapes";
  EXPECT_EQ(target.GetHeight(), 1300);
  EXPECT_EQ(At(1023, 10), kBlue);
  EXPECT_EQ(LiveGLObjects(), "Framebuffer: 1\nRenderbuffer: 1\n") << "the smaller one is gone";
  std::array<GLint, 4> viewport{};
  glGetIntegerv(GL_VIEWPORT, viewport.data());
  EXPECT_THAT(viewport, testing::ElementsAre(0, 0, 1500, 1300));
}

TEST_F(ROffscreenTargetTest, ExtremeShapesDoNotAddUp) {
  ROffscreenTarget target;
  ASSERT_TRUE(target.Bind());
  ASSERT_TRUE(target.Reserve(16384, 4));
  EXPECT_EQ(target.GetWidth(), 16384);
  EXPECT_EQ(target.GetHeight(), 1024);
  Fill(0, 0, 4, 4, kRed);
  Fill(4, 0, 4, 4, kBlue);
  ASSERT_TRUE(target.Reserve(4, 16384));
  EXPECT_EQ(target.GetWidth(), 1024);
  EXPECT_EQ(target.GetHeight(), 16384);
  EXPECT_EQ(At(3, 3), kRed) << "what both shapes have stays";
  EXPECT_EQ(At(4, 0), kBlue);
}

TEST_F(ROffscreenTargetTest, BeyondTheLimitsItStaysAsItIs) {
  ROffscreenTarget target;
  ASSERT_TRUE(target.Bind());
  Fill(0, 0, 1, 1, kRed);
  const int framebuffer = Bound(GL_DRAW_FRAMEBUFFER_BINDING);
  EXPECT_FALSE(target.Reserve(Bound(GL_MAX_RENDERBUFFER_SIZE) + 1, 1));
  EXPECT_FALSE(target.Reserve(1, Bound(GL_MAX_RENDERBUFFER_SIZE) + 1));
  EXPECT_FALSE(target.Reserve(0x7FFFFFFF, 0x7FFFFFFF));
  EXPECT_EQ(target.GetWidth(), 1024);
  EXPECT_EQ(Bound(GL_DRAW_FRAMEBUFFER_BINDING), framebuffer);
  EXPECT_EQ(At(0, 0), kRed);
}

GLenum Incomplete(GLenum) { return GL_FRAMEBUFFER_UNSUPPORTED; }

TEST_F(ROffscreenTargetTest, WhatTheDriverRefusesFails) {
  ROffscreenTarget refused;
  {
    const EntryPointReplacement status("glCheckFramebufferStatus", Incomplete);
    EXPECT_FALSE(refused.Bind());
    EXPECT_FALSE(refused.Bind());
  }
  EXPECT_TRUE(refused.Bind()) << "and is tried again";
  const int framebuffer = Bound(GL_DRAW_FRAMEBUFFER_BINDING);
  Fill(0, 0, 1, 1, kRed);
  {
    const EntryPointReplacement status("glCheckFramebufferStatus", Incomplete);
    EXPECT_FALSE(refused.Reserve(2000, 2000));
    EXPECT_FALSE(refused.UseFloats(10, 10, false));
  }
  EXPECT_EQ(Bound(GL_DRAW_FRAMEBUFFER_BINDING), framebuffer);
  EXPECT_EQ(refused.GetWidth(), 1024);
  EXPECT_EQ(At(0, 0), kRed);
}

struct AroundRow {
  const char* name;
  int pictureWidth, pictureHeight, width, height;
};

class ClearAround : public ROffscreenTargetTest, public testing::WithParamInterface<AroundRow> {};

TEST_P(ClearAround, ClearsWhatThePictureDoesNotCover) {
  const AroundRow& row = GetParam();
  ROffscreenTarget target;
  ASSERT_TRUE(target.Bind());
  Fill(0, 0, 64, 64, kRed);
  target.ClearAround(row.pictureWidth, row.pictureHeight, row.width, row.height);
  const GLPixels pixels = ReadFramebuffer(0, 0, 64, 64);
  for (int y = 0; y < 64; ++y) {
    for (int x = 0; x < 64; ++x) {
      const bool cleared =
          x < row.width && y < row.height && (x >= row.pictureWidth || y >= row.pictureHeight);
      ASSERT_EQ(pixels.bytes[static_cast<std::size_t>(4 * (64 * y + x))], cleared ? 0 : 255)
          << x << ", " << y;
    }
  }
  EXPECT_FALSE(glIsEnabled(GL_SCISSOR_TEST));
}

INSTANTIATE_TEST_SUITE_P(
    Sizes, ClearAround,
    testing::Values(AroundRow{"Same", 40, 30, 40, 30}, AroundRow{"Smaller", 20, 10, 40, 30},
                    AroundRow{"Wider", 50, 10, 40, 30}, AroundRow{"Taller", 20, 50, 40, 30},
                    AroundRow{"Larger", 60, 60, 40, 30}, AroundRow{"None", 0, 0, 40, 30}),
    [](const auto& row) { return row.param.name; });

void Draw(float value, GLenum equation, int width, int height) {
  glColor4f(value, value, value, value);
  glEnable(GL_BLEND);
  glBlendFunc(GL_ONE, GL_ONE);
  DriverEntryPoint<void(GLenum)>("glBlendEquation")(equation);
  glRecti(0, 0, width, height);
  DriverEntryPoint<void(GLenum)>("glBlendEquation")(GL_FUNC_ADD);
  glDisable(GL_BLEND);
}

TEST_F(ROffscreenTargetTest, FloatsKeepWhatBytesCutOff) {
  ROffscreenTarget target;
  ASSERT_TRUE(target.Bind());
  Fill(0, 0, 64, 64, {128, 128, 128, 128});
  ASSERT_TRUE(target.UseFloats(32, 16, true));
  Draw(0.75F, GL_FUNC_REVERSE_SUBTRACT, 32, 16);
  Draw(0.5F, GL_FUNC_ADD, 32, 16);
  target.UseBytes();
  EXPECT_EQ(At(0, 0)[0], 128) << "not brought over yet";
  target.RoundFloats(32, 16);
  // 128 / 255 - 0.75 + 0.5 = 64.25 / 255
  EXPECT_EQ(At(0, 0), (Pixel{64, 64, 64, 64}));
  EXPECT_EQ(At(31, 15), (Pixel{64, 64, 64, 64}));
  EXPECT_EQ(At(32, 15), (Pixel{128, 128, 128, 128}));
}

TEST_F(ROffscreenTargetTest, FloatsAreClampedWhenBroughtOver) {
  ROffscreenTarget target;
  ASSERT_TRUE(target.Bind());
  Fill(0, 0, 64, 64, kRed);
  ASSERT_TRUE(target.UseFloats(8, 8, true));
  Draw(1, GL_FUNC_REVERSE_SUBTRACT, 4, 4);
  target.RoundFloats(8, 8);
  EXPECT_EQ(At(0, 0), kNothing);
  EXPECT_EQ(At(4, 4), kRed);
}

TEST_F(ROffscreenTargetTest, FloatsGrow) {
  ROffscreenTarget target;
  ASSERT_TRUE(target.Bind());
  ASSERT_TRUE(target.Reserve(1400, 8));
  ASSERT_TRUE(target.UseFloats(8, 8, false));
  ASSERT_TRUE(target.UseFloats(1400, 8, false));
  Fill(0, 0, 1400, 8, kBlue);
  target.RoundFloats(1400, 8);
  EXPECT_EQ(At(1399, 7), kBlue);
  EXPECT_EQ(LiveGLObjects(), "Framebuffer: 2\nRenderbuffer: 2\n");
}

TEST_F(ROffscreenTargetTest, NeutralizeTakesBackWhatNodesLeave) {
  const ROffscreenTarget target;
  glEnable(GL_BLEND);
  glColor4f(0.5F, 0.5F, 0.5F, 0.5F);
  target.Neutralize();
  EXPECT_FALSE(glIsEnabled(GL_BLEND));
  std::array<GLfloat, 4> color{};
  glGetFloatv(GL_CURRENT_COLOR, color.data());
  EXPECT_THAT(color, testing::Each(1.0F));
}

}  // namespace
}  // namespace test
