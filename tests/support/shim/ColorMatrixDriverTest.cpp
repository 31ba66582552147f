// Tests of the shim's colour matrix.
#define GL_GLEXT_PROTOTYPES
#include <GL/gl.h>
#include <GL/glext.h>
#include <gtest/gtest.h>

#include "support/GLTest.h"

namespace test::shim {
namespace {

using Bytes = std::vector<unsigned char>;

class ColorMatrixDriverTest : public GLTest {
 protected:
  void SetUp() override {
    GLTest::SetUp();
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
  }
  // Red and green change places, alpha gives blue.
  static void LoadExchange() {
    static constexpr GLfloat kExchange[16] = {0, 1, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 1};
    glMatrixMode(GL_COLOR);
    glLoadMatrixf(kExchange);
    glMatrixMode(GL_MODELVIEW);
  }
  static void Reset() {
    glMatrixMode(GL_COLOR);
    glLoadIdentity();
    glMatrixMode(GL_MODELVIEW);
  }
};

constexpr unsigned char kPixel[] = {10, 20, 30, 40};
const Bytes kExchanged = {20, 10, 40, 40};

TEST_F(ColorMatrixDriverTest, EveryTransferPassesThroughIt) {
  GLTarget target(1, 1);
  unsigned texture = MakeTexture(1, 1, GL_RGBA, nullptr, GL_RGBA8);
  glBindTexture(GL_TEXTURE_2D, texture);
  glRasterPos2f(-1, -1);
  LoadExchange();
  glDrawPixels(1, 1, GL_RGBA, GL_UNSIGNED_BYTE, kPixel);
  EXPECT_EQ(target.Read().bytes, kExchanged);
  glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, kPixel);
  EXPECT_EQ(ReadTexture(texture, GL_RGBA).bytes, kExchanged);
  glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, 1, 1, 0, GL_BGRA, GL_UNSIGNED_BYTE, kPixel);
  EXPECT_EQ(ReadTexture(texture, GL_RGBA).bytes, (Bytes{20, 30, 40, 40}));
  Bytes read(4);
  glReadPixels(0, 0, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, read.data());
  EXPECT_EQ(read, (Bytes{10, 20, 40, 40})) << "once more";
  glCopyPixels(0, 0, 1, 1, GL_COLOR);
  EXPECT_EQ(target.Read().bytes, (Bytes{10, 20, 40, 40}));
  glCopyTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, 0, 0, 1, 1);
  EXPECT_EQ(ReadTexture(texture, GL_RGBA).bytes, (Bytes{20, 10, 40, 40}));
  glGetTexImage(GL_TEXTURE_2D, 0, GL_RGBA, GL_UNSIGNED_BYTE, read.data());
  EXPECT_EQ(read, (Bytes{10, 20, 40, 40}));
  glCopyTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, 0, 0, 1, 1, 0);
  EXPECT_EQ(ReadTexture(texture, GL_RGBA).bytes, (Bytes{20, 10, 40, 40}));
  Reset();
  glDrawPixels(1, 1, GL_RGBA, GL_UNSIGNED_BYTE, kPixel);
  EXPECT_EQ(target.Read().bytes, Bytes(kPixel, kPixel + 4));
  glBindTexture(GL_TEXTURE_2D, 0);
  glDeleteTextures(1, &texture);
}

TEST_F(ColorMatrixDriverTest, ScalesAndBiasesGoBeforeAndBehind) {
  GLTarget target(1, 1);
  glRasterPos2f(-1, -1);
  glPixelTransferf(GL_RED_SCALE, 2);
  glPixelTransferf(GL_GREEN_BIAS, 0.2F);
  glPixelTransferf(GL_POST_COLOR_MATRIX_BLUE_SCALE, 3);
  glPixelTransferf(GL_POST_COLOR_MATRIX_RED_BIAS, -0.1F);
  LoadExchange();
  glDrawPixels(1, 1, GL_RGBA, GL_UNSIGNED_BYTE, kPixel);
  GLfloat scale = 0;
  glGetFloatv(GL_POST_COLOR_MATRIX_BLUE_SCALE, &scale);
  EXPECT_EQ(scale, 3);
  glGetFloatv(GL_RED_SCALE, &scale);
  EXPECT_EQ(scale, 2) << "the driver's own comes back";
  // Reading scales, too.
  glPixelTransferf(GL_RED_SCALE, 1);
  glPixelTransferf(GL_GREEN_BIAS, 0);
  const Bytes drawn = target.Read().bytes;
  EXPECT_NEAR(drawn[0], 20 + 51 - 25.5, 0.51);
  EXPECT_EQ(drawn[1], 20);
  EXPECT_EQ(drawn[2], 120);
  EXPECT_EQ(drawn[3], 40);
}

TEST_F(ColorMatrixDriverTest, RowsFollowTheLayoutOfTheCallersMemory) {
  GLTarget target(2, 2);
  glViewport(0, 0, 2, 2);
  glRasterPos2f(-1, -1);
  // Rows of three pixels, padded to 4 bytes; the first row and the first pixel are skipped.
  glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
  glPixelStorei(GL_UNPACK_ROW_LENGTH, 3);
  glPixelStorei(GL_UNPACK_SKIP_ROWS, 1);
  glPixelStorei(GL_UNPACK_SKIP_PIXELS, 1);
  Bytes memory(36);
  for (std::size_t i = 0; i < memory.size(); ++i) memory[i] = static_cast<unsigned char>(i);
  LoadExchange();
  glDrawPixels(2, 2, GL_RGB, GL_UNSIGNED_BYTE, memory.data());
  EXPECT_EQ(target.Read().bytes,
            (Bytes{16, 15, 255, 255, 19, 18, 255, 255, 28, 27, 255, 255, 31, 30, 255, 255}));
  GLint skip = 0;
  glGetIntegerv(GL_UNPACK_SKIP_PIXELS, &skip);
  EXPECT_EQ(skip, 1);
}

TEST_F(ColorMatrixDriverTest, MatrixCallsWorkOnIt) {
  GLErrorCapture errors;
  glMatrixMode(GL_COLOR);
  GLint mode = 0;
  glGetIntegerv(GL_MATRIX_MODE, &mode);
  EXPECT_EQ(mode, GL_COLOR);
  glTranslatef(1, 2, 3);
  glPushMatrix();
  glScaled(2, 3, 4);
  std::array<GLfloat, 16> matrix{};
  glGetFloatv(GL_COLOR_MATRIX, matrix.data());
  EXPECT_EQ(matrix, (std::array<GLfloat, 16>{2, 0, 0, 0, 0, 3, 0, 0, 0, 0, 4, 0, 1, 2, 3, 1}));
  glPushMatrix();
  EXPECT_EQ(glGetError(), GLenum{GL_STACK_OVERFLOW});
  glPopMatrix();
  glGetFloatv(GL_COLOR_MATRIX, matrix.data());
  EXPECT_EQ(matrix[0], 1);
  glPopMatrix();
  EXPECT_EQ(glGetError(), GLenum{GL_STACK_UNDERFLOW});
  glPushAttrib(GL_TRANSFORM_BIT);
  glMatrixMode(GL_TEXTURE);
  glLoadIdentity();
  glPopAttrib();
  glGetIntegerv(GL_MATRIX_MODE, &mode);
  EXPECT_EQ(mode, GL_COLOR) << "the attribute stack keeps the mode";
  glLoadIdentity();
  glGetFloatv(GL_COLOR_MATRIX, matrix.data());
  EXPECT_EQ(matrix[12], 0);
}

}  // namespace
}  // namespace test::shim
