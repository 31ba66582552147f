// Tests of how nodes draw their destination.
#include "fp/RFpDrawing.h"

#include <GL/gl.h>
#include <gtest/gtest.h>

#include "support/GLTest.h"

namespace test {
namespace {

using RFpDrawingTest = GLTest;

TEST_F(RFpDrawingTest, RectanglesHaveNoCoordinates) {
  const RFpContext context;
  for (const int form : {0x1, 0x10, 0x40, 0x80, 0x1000}) {
    const GLRecorder recorder;
    RFpDrawRectangle(&context, form, 2, {.right = 30, .top = 20});
    EXPECT_EQ(recorder.Text(), "glRecti(0, 0, 30, 20)\n");
  }
  const GLRecorder recorder;
  RFpDrawRectangle(nullptr, 0x100, 2, {.right = 30, .top = 20});
  EXPECT_EQ(recorder.Text(), "glRecti(0, 0, 30, 20)\n") << "without a context there are no sources";
}

TEST_F(RFpDrawingTest, QuadsHaveCoordinatesByUnit) {
  RFpContext context;
  context.sources[0].width = 40;
  context.sources[0].height = 20;
  context.sources[1].width = 20;
  context.sources[1].height = 10;
  for (const int form : {0x100, 0x200}) {
    const GLRecorder recorder;
    RFpDrawRectangle(&context, form, 2, {.right = 40, .top = 20});
    EXPECT_EQ(recorder.Text(),
              "glBegin(GL_QUADS)\n"
              "glMultiTexCoord2d(GL_TEXTURE0, 0, 0)\n"
              "glMultiTexCoord2d(GL_TEXTURE1, 0, 0)\n"
              "glVertex2i(0, 0)\n"
              "glMultiTexCoord2d(GL_TEXTURE0, 1, 0)\n"
              "glMultiTexCoord2d(GL_TEXTURE1, 2, 0)\n"
              "glVertex2i(40, 0)\n"
              "glMultiTexCoord2d(GL_TEXTURE0, 1, 1)\n"
              "glMultiTexCoord2d(GL_TEXTURE1, 2, 2)\n"
              "glVertex2i(40, 20)\n"
              "glMultiTexCoord2d(GL_TEXTURE0, 0, 1)\n"
              "glMultiTexCoord2d(GL_TEXTURE1, 0, 2)\n"
              "glVertex2i(0, 20)\n"
              "glEnd()\n");
  }
}

TEST_F(RFpDrawingTest, SourcesWithoutASizeHaveNoCoordinates) {
  const RFpContext context;
  const GLRecorder recorder;
  RFpDrawRectangle(&context, 0x100, 2, {.right = 40, .top = 20});
  EXPECT_EQ(recorder.Count("glMultiTexCoord2d"), 0);
  EXPECT_EQ(recorder.Count("glVertex2i"), 4);
}

TEST_F(RFpDrawingTest, PartsOfAPictureKeepItsCoordinates) {
  RFpContext context;
  context.sources[0].width = 40;
  context.sources[0].height = 20;
  const RFpRectangle part = {10, 5, 30, 15};
  const GLRecorder recorder;
  RFpDrawRectangle(&context, 0x40, 1, part);
  RFpDrawRectangle(&context, 0x100, 1, part);
  EXPECT_EQ(recorder.Text(),
            "glRecti(10, 5, 30, 15)\n"
            "glBegin(GL_QUADS)\n"
            "glMultiTexCoord2d(GL_TEXTURE0, 0.25, 0.25)\n"
            "glVertex2i(10, 5)\n"
            "glMultiTexCoord2d(GL_TEXTURE0, 0.75, 0.25)\n"
            "glVertex2i(30, 5)\n"
            "glMultiTexCoord2d(GL_TEXTURE0, 0.75, 0.75)\n"
            "glVertex2i(30, 15)\n"
            "glMultiTexCoord2d(GL_TEXTURE0, 0.25, 0.75)\n"
            "glVertex2i(10, 15)\n"
            "glEnd()\n");
}

TEST_F(RFpDrawingTest, ClearsNoMoreThanIsAskedForAndLeavesTheState) {
  const GLTarget target(8, 4);
  glClearColor(1, 0.2F, 0.4F, 0.6F);
  glClear(GL_COLOR_BUFFER_BIT);
  glScissor(1, 2, 3, 4);
  const std::string before = GLStateText();
  RFpClearRectangle(5, 3);
  EXPECT_EQ(GLStateText(), before);
  const GLPixels pixels = target.Read();
  for (int y = 0; y < 4; ++y) {
    for (int x = 0; x < 8; ++x)
      EXPECT_EQ(pixels.bytes[static_cast<std::size_t>(4 * (8 * y + x))], x < 5 && y < 3 ? 0 : 255) << x << y;
  }
}

TEST(RFpRectangle, IntersectsAndKnowsWhenItIsEmpty) {
  const RFpRectangle whole = {.right = 8, .top = 4};
  EXPECT_FALSE(whole.IsEmpty());
  EXPECT_EQ(whole.Intersect({2, 1, 20, 3}), (RFpRectangle{2, 1, 8, 3}));
  EXPECT_EQ(whole.Intersect(whole), whole);
  EXPECT_TRUE(whole.Intersect({8, 0, 9, 4}).IsEmpty());
  EXPECT_TRUE(whole.Intersect({0, 4, 8, 9}).IsEmpty());
  EXPECT_TRUE(RFpRectangle().IsEmpty());
}

}  // namespace
}  // namespace test
