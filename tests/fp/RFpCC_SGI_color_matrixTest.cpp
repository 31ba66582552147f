// Tests of the colour correction on the colour matrix, on a driver shim that has one.
#include "fp/RFpCC_SGI_color_matrix.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/GLTest.h"
#include "support/RandomCorrection.h"

namespace test {
namespace {

class RFpCC_SGI_color_matrixTest : public GLTest {
 protected:
  RFpContext context;
};

TEST_F(RFpCC_SGI_color_matrixTest, TakesPixelTransfersWhileOneMatrixSuffices) {
  RFpCC_SGI_color_matrix node;
  EXPECT_EQ(node.GetRequirementFlags(0), 0xC5410);
  EXPECT_EQ(node.GetStageCount(), 1);
  node.SetZoneHue(0, 90);
  EXPECT_EQ(node.GetRequirementFlags(0), 0xC5410);
  node.SetZoneHue(1, 90);
  EXPECT_EQ(node.GetRequirementFlags(0), 0xC0000);
  EXPECT_EQ(node.GetStageCount(), 1);
  EXPECT_EQ(node.Bind(&context, 0, 0x10), 0);
  node.SetZoneHue(1, 0);
  EXPECT_EQ(node.GetRequirementFlags(0), 0xC5410);
}

TEST_F(RFpCC_SGI_color_matrixTest, LoadsTheMatrixAndTakesItAwayAgain) {
  RFpCC_SGI_color_matrix node;
  node.SetZoneGain(0, 0, 2);
  node.SetZoneOffset(0, 3, 0.5F);
  const std::string before = GLStateText();
  const GLRecorder recorder;
  EXPECT_EQ(node.Bind(&context, 0, 0x10), 1);
  EXPECT_EQ(recorder.Text({"glMatrixMode", "glLoadMatrixf", "glPixelTransferf"}),
            "glMatrixMode(GL_COLOR)\n"
            "glLoadMatrixf({2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, 0, 0, 0.5, 1})\n"
            "glMatrixMode(GL_MODELVIEW)\n"
            "glPixelTransferf(GL_ALPHA_SCALE, 0)\nglPixelTransferf(GL_ALPHA_BIAS, 1)\n");
  node.Unbind(&context, 0, 0x10);
  EXPECT_EQ(GLStateText(), before);
}

TEST_F(RFpCC_SGI_color_matrixTest, OtherFormsBindNothing) {
  RFpCC_SGI_color_matrix node;
  const GLRecorder recorder;
  for (const int form : {0x1, 0x40, 0x100}) EXPECT_EQ(node.Bind(&context, 0, form), 1);
  node.Unbind(&context, 0, 0x40);
  EXPECT_EQ(recorder.Text(), "");
}

// Every form in which pixels pass through the matrix gives the same picture.
struct Transfer {
  const char* name;
  int form;
  int glFormat;
  int pixelSize;
  int width = 7;
};

class SGITransfer : public RFpCC_SGI_color_matrixTest, public testing::WithParamInterface<Transfer> {};

std::vector<unsigned char> ToRgba(const Transfer& row, const unsigned char* pixel) {
  if (row.pixelSize == 2 && pixel[1] == 0) return {0, 0, 0, 255};
  if (row.pixelSize == 2) return {240, 0, 128, 255};
  if (row.glFormat == GL_RGB) return {pixel[0], pixel[1], pixel[2], 255};
  if (row.glFormat == GL_BGRA) return {pixel[2], pixel[1], pixel[0], pixel[3]};
  return {pixel[0], pixel[1], pixel[2], pixel[3]};
}

TEST_P(SGITransfer, GoesThroughTheMatrix) {
  constexpr int kHeight = 5;
  const Transfer& row = GetParam();
  const int width = row.width;
  const auto size = static_cast<std::size_t>(row.pixelSize);
  const std::size_t pixels = std::size_t{kHeight} * static_cast<std::size_t>(width);
  std::vector<unsigned char> memory = Noise(size * pixels);
  for (std::size_t i = 0; row.pixelSize == 2 && i < memory.size(); i += 2) {
    const bool isBlack = memory[i] % 2 == 0;
    memory[i] = isBlack ? 0 : 0x10;
    memory[i + 1] = isBlack ? 0 : 0x7C;
  }
  context.sources[0] = {memory.data(), width, kHeight, width, row.glFormat, GL_UNSIGNED_BYTE, row.pixelSize};
  RFpCC_SGI_color_matrix node;
  Random random(3);
  CorrectionSettings wanted = RandomCorrection(CorrectionFamily::kAllGlobal, random);
  wanted.transparency = true;
  ApplyTo(node, wanted);
  const CorrectionSettings settings = ReadFrom(node);

  GLTarget target(width, kHeight);
  glViewport(0, 0, width, kHeight);
  unsigned texture = MakeTexture(width, kHeight, GL_RGBA, nullptr, GL_RGBA8);
  glBindTexture(GL_TEXTURE_2D, texture);
  const bool fromBuffer = row.form == 0x10 || row.form == 0x400;
  if (fromBuffer) {
    glRasterPos2f(-1, -1);
    glDrawPixels(width, kHeight, GL_RGBA, GL_UNSIGNED_BYTE, memory.data());
  }
  glPixelZoom(2, 3);  // somebody else's
  ASSERT_EQ(node.Bind(&context, 0, row.form), 1);
  node.Draw(&context, 0, row.form, width, kHeight);
  node.Unbind(&context, 0, row.form);
  const bool toTexture = row.form == 0x400 || row.form == 0x4000;
  const GLPixels result = toTexture ? ReadTexture(texture, GL_RGBA) : target.Read();
  const CorrectionModel model(settings);
  for (std::size_t i = 0; i < pixels; ++i) {
    const auto rgba = ToRgba(row, &memory[size * i]);
    Rgba colour{};
    for (std::size_t c = 0; c < 4; ++c) colour[c] = rgba[c] / 255.0;
    const Rgba expected = model.Correct(colour);
    for (std::size_t c = 0; c < 4; ++c)
      ASSERT_NEAR(result.bytes[4 * i + c] / 255.0, std::clamp(expected[c], 0.0, 1.0),
                  CorrectionTolerance(settings))
          << i << " channel " << c;
  }
  glBindTexture(GL_TEXTURE_2D, 0);
  glDeleteTextures(1, &texture);
}

INSTANTIATE_TEST_SUITE_P(All, SGITransfer,
                         testing::Values(Transfer{"BufferToBuffer", 0x10, GL_RGBA, 4},
                                         Transfer{"BufferToTexture", 0x400, GL_RGBA, 4},
                                         Transfer{"RawToBuffer", 0x1000, GL_RGBA, 4},
                                         Transfer{"RawToTexture", 0x4000, GL_RGBA, 4},
                                         Transfer{"RgbToBuffer", 0x1000, GL_RGB, 3},
                                         Transfer{"BgraToTexture", 0x4000, GL_BGRA, 4},
                                         Transfer{"RGB555ToBuffer", 0x1000, GL_RGB, 2},
                                         Transfer{"RGB555ToTexture", 0x4000, GL_RGB, 2},
                                         Transfer{"WideRGB555ToBuffer", 0x1000, GL_RGB, 2, 2500},
                                         Transfer{"WideRGB555ToTexture", 0x4000, GL_RGB, 2, 2500}),
                         [](const auto& row) { return row.param.name; });

TEST_F(RFpCC_SGI_color_matrixTest, MemoryThatCannotBeReadFailsToBind) {
  RFpCC_SGI_color_matrix node;
  EXPECT_EQ(node.Bind(&context, 0, 0x1000), 0);
  EXPECT_EQ(node.Bind(nullptr, 0, 0x4000), 0);
}

}  // namespace
}  // namespace test
