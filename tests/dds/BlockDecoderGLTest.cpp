// The block decoders beside the graphics driver's.
#include <GL/gl.h>
#include <GL/glext.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "dds/blocks/BlockDecoder.h"
#include "rgl/RGLFunctions.h"
#include "support/GLTest.h"

namespace {

using Bytes = std::vector<unsigned char>;

struct LayoutCase {
  const char* name;
  kBlockFormat format;
  GLenum glFormat;
  int tolerance;  // steps of 255; the formulas are exact only for BC6H and BC7
};

constexpr LayoutCase kLayouts[] = {
    {"BC1", kBlockBC1, GL_COMPRESSED_RGBA_S3TC_DXT1_EXT, 2},
    {"BC2", kBlockBC2, GL_COMPRESSED_RGBA_S3TC_DXT3_EXT, 2},
    {"BC3", kBlockBC3, GL_COMPRESSED_RGBA_S3TC_DXT5_EXT, 2},
    {"BC4", kBlockBC4, GL_COMPRESSED_RED_RGTC1, 2},
    {"BC4Signed", kBlockBC4Signed, GL_COMPRESSED_SIGNED_RED_RGTC1, 5},
    {"BC5", kBlockBC5, GL_COMPRESSED_RG_RGTC2, 2},
    {"BC5Signed", kBlockBC5Signed, GL_COMPRESSED_SIGNED_RG_RGTC2, 5},
    {"BC7", kBlockBC7, GL_COMPRESSED_RGBA_BPTC_UNORM, 0},
};

class BlockDecoderGLTest : public test::GLTest, public testing::WithParamInterface<LayoutCase> {};

GLuint UploadBlocks(GLenum format, int width, int height, const Bytes& blocks) {
  GLuint texture = 0;
  glGenTextures(1, &texture);
  glBindTexture(GL_TEXTURE_2D, texture);
  opengl20()->glCompressedTexImage2D(GL_TEXTURE_2D, 0, format, width, height, 0,
                                     static_cast<GLsizei>(blocks.size()), blocks.data());
  return texture;
}

Bytes RandomBlocks(kBlockFormat format, int width, int height, std::uint32_t seed) {
  return test::Noise(static_cast<std::size_t>(RBlockGridBytes(format, width, height)), seed);
}

// One mode after the other: random bytes hardly ever have the last ones. The mode is the number of zero bits
// before the first one.
void MakeEveryBc7Mode(Bytes& blocks) {
  for (std::size_t i = 0; i < blocks.size(); i += 16) {
    const auto bit = static_cast<unsigned char>(1U << i / 16 % 8);
    blocks[i] = static_cast<unsigned char>((blocks[i] & ~(2U * bit - 1U)) | bit);
  }
}

TEST_P(BlockDecoderGLTest, RandomBlocksDecodeAsTheDriverDecodesThem) {
  const LayoutCase& layout = GetParam();
  int worst = 0;
  for (const auto& [width, height] : {std::pair{1, 1}, {3, 5}, {101, 67}, {256, 256}}) {
    Bytes blocks = RandomBlocks(layout.format, width, height, static_cast<std::uint32_t>(width));
    if (layout.format == kBlockBC7) MakeEveryBc7Mode(blocks);
    Bytes ours(static_cast<std::size_t>(width * height) * 4);
    ASSERT_TRUE(RDecodeBlockImage(layout.format, blocks, width, height, ours.data()));
    GLuint texture = UploadBlocks(layout.glFormat, width, height, blocks);
    const Bytes driver = test::ReadTexture(texture, GL_RGBA).bytes;
    glDeleteTextures(1, &texture);
    ASSERT_EQ(driver.size(), ours.size());
    for (std::size_t i = 0; i < ours.size(); ++i)
      worst = std::max(worst, std::abs(int{ours[i]} - int{driver[i]}));
  }
  RecordProperty("max_difference", worst);
  std::printf("%s: at most %d of 255 from the driver\n", layout.name, worst);
  EXPECT_LE(worst, layout.tolerance);
}

INSTANTIATE_TEST_SUITE_P(All, BlockDecoderGLTest, testing::ValuesIn(kLayouts),
                         [](const auto& row) { return std::string(row.param.name); });

// Codes that the layout reserves are left to each decoder, so blocks get one of the fourteen modes.
void MakeModesValid(Bytes& blocks) {
  constexpr unsigned char kModes[] = {0x00, 0x01, 0x02, 0x06, 0x0A, 0x0E, 0x12,
                                      0x16, 0x1A, 0x1E, 0x03, 0x07, 0x0B, 0x0F};
  for (std::size_t i = 0; i < blocks.size(); i += 16) {
    const unsigned char mode = kModes[i / 16 % std::size(kModes)];
    const int modeBits = mode < 2 ? 2 : 5;
    const auto mask = static_cast<unsigned char>((1U << modeBits) - 1U);
    blocks[i] = static_cast<unsigned char>((blocks[i] & ~mask) | mode);
  }
}

void CompareHalfFloats(const char* name, kBlockFormat format, GLenum glFormat) {
  constexpr int kSide = 256;
  Bytes blocks = RandomBlocks(format, kSide, kSide, 3);
  MakeModesValid(blocks);
  std::vector<float> ours(kSide * kSide * 4);
  ASSERT_TRUE(RDecodeBlockImage(format, blocks, kSide, kSide, reinterpret_cast<unsigned char*>(ours.data())));
  GLuint texture = UploadBlocks(glFormat, kSide, kSide, blocks);
  std::vector<float> driver(ours.size());
  glGetTexImage(GL_TEXTURE_2D, 0, GL_RGBA, GL_FLOAT, driver.data());
  glDeleteTextures(1, &texture);
  float worst = 0;
  for (std::size_t i = 0; i < ours.size(); ++i) {
    ASSERT_TRUE(std::isfinite(ours[i]) && std::isfinite(driver[i])) << "value " << i;
    worst = std::max(worst, std::abs(ours[i] - driver[i]));
  }
  std::printf("%s: at most %g from the driver\n", name, static_cast<double>(worst));
  EXPECT_EQ(worst, 0);
}

class BlockDecoderFloatGLTest : public test::GLTest {};

TEST_F(BlockDecoderFloatGLTest, Bc6hDecodesExactlyAsTheDriver) {
  CompareHalfFloats("BC6H", kBlockBC6H, GL_COMPRESSED_RGB_BPTC_UNSIGNED_FLOAT);
}

TEST_F(BlockDecoderFloatGLTest, SignedBc6hDecodesExactlyAsTheDriver) {
  CompareHalfFloats("BC6HSigned", kBlockBC6HSigned, GL_COMPRESSED_RGB_BPTC_SIGNED_FLOAT);
}

}  // namespace
