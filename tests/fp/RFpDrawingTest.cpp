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
    RFpDrawRectangle(&context, form, 2, 30, 20);
    EXPECT_EQ(recorder.Text(), "glRecti(0, 0, 30, 20)\n");
  }
  const GLRecorder recorder;
  RFpDrawRectangle(nullptr, 0x100, 2, 30, 20);
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
    RFpDrawRectangle(&context, form, 2, 40, 20);
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
  RFpDrawRectangle(&context, 0x100, 2, 40, 20);
  EXPECT_EQ(recorder.Count("glMultiTexCoord2d"), 0);
  EXPECT_EQ(recorder.Count("glVertex2i"), 4);
}

}  // namespace
}  // namespace test
