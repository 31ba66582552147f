// Tests of the upload of DDS textures to OpenGL.
#include <GL/gl.h>
#include <GL/glext.h>

#include "dds/blocks/BlockDecoder.h"
#include "dds/nv_dds.h"
#include "support/DdsBuilder.h"
#include "support/GLTest.h"
#include "support/TestData.h"

namespace {

using nv_dds::CDDSImage;
using test::DdsBuilder;
using test::GLErrorCapture;
using test::GLRecorder;
using test::Noise;

using Bytes = std::vector<unsigned char>;

constexpr std::uint32_t kRgb = 0x40;
constexpr std::uint32_t kLuminance = 0x20000;

CDDSImage Load(const DdsBuilder& builder) {
  const test::TemporaryFolder folder;
  CDDSImage image;
  EXPECT_TRUE(image.load(folder.Write("file.dds", builder.File()).c_str(), false));
  return image;
}

// RGB in memory order.
DdsBuilder Rgb(std::uint32_t width, std::uint32_t height) {
  DdsBuilder builder(width, height);
  builder.Masks(kRgb, 24, 0xFF, 0xFF00, 0xFF0000, 0);
  return builder;
}

// Levels of random blocks or pixels: sizes in bytes, largest first.
DdsBuilder& AddLevels(DdsBuilder& builder, const std::vector<Bytes>& levels) {
  for (const Bytes& level : levels) builder.Data(level);
  return builder;
}

DdsBuilder Dxt1(std::uint32_t width, std::uint32_t height, std::uint32_t levels) {
  DdsBuilder builder(width, height);
  builder.Code("DXT1").Mipmaps(levels);
  for (std::uint32_t i = 0; i < levels; ++i) {
    builder.Data(Noise(((std::max(width >> i, 1U) + 3) / 4) * ((std::max(height >> i, 1U) + 3) / 4) * 8, i));
  }
  return builder;
}

std::string Parameters(const char* target, int maximum) {
  return std::string("glTexParameteri(") + target + ", GL_TEXTURE_BASE_LEVEL, 0)\n" + "glTexParameteri(" +
         target + ", GL_TEXTURE_MAX_LEVEL, " + std::to_string(maximum) + ")\n";
}

// The names of the calls that upload, without the pixel-store settings.
const std::vector<std::string_view> kUploads{
    "glTexImage1D",           "glTexImage2D",           "glTexImage3D",   "glCompressedTexImage1D",
    "glCompressedTexImage2D", "glCompressedTexImage3D", "glTexParameteri"};

class CDDSImageUploadTest : public test::GLTest {
 protected:
  void SetUp() override {
    GLTest::SetUp();
    glGenTextures(1, &mTexture);
  }
  void TearDown() override {
    glDeleteTextures(1, &mTexture);
    GLTest::TearDown();
  }

  GLuint mTexture = 0;
};

// --- Calls.

TEST_F(CDDSImageUploadTest, CompressedLevelsGoUnchanged) {
  CDDSImage image = Load(Dxt1(8, 8, 4));
  glBindTexture(GL_TEXTURE_2D, mTexture);
  const GLRecorder recorder;
  EXPECT_TRUE(image.upload_texture2D(0, GL_TEXTURE_2D, 32768));
  EXPECT_EQ(recorder.Text(),
            "glCompressedTexImage2D(GL_TEXTURE_2D, 0, GL_COMPRESSED_RGBA_S3TC_DXT1_EXT, 8, 8, 0, 32, ptr)\n"
            "glCompressedTexImage2D(GL_TEXTURE_2D, 1, GL_COMPRESSED_RGBA_S3TC_DXT1_EXT, 4, 4, 0, 8, ptr)\n"
            "glCompressedTexImage2D(GL_TEXTURE_2D, 2, GL_COMPRESSED_RGBA_S3TC_DXT1_EXT, 2, 2, 0, 8, ptr)\n"
            "glCompressedTexImage2D(GL_TEXTURE_2D, 3, GL_COMPRESSED_RGBA_S3TC_DXT1_EXT, 1, 1, 0, 8, ptr)\n" +
                Parameters("GL_TEXTURE_2D", 3));
}

TEST_F(CDDSImageUploadTest, PlainLevelsUseTheRecordedFormatTwice) {
  const DdsBuilder file = Rgb(2, 2).Data(Noise(12));
  CDDSImage image = Load(file);
  glBindTexture(GL_TEXTURE_2D, mTexture);
  const GLRecorder recorder;
  EXPECT_TRUE(image.upload_texture2D(0, GL_TEXTURE_2D, 32768));
  EXPECT_EQ(recorder.Text(),
            "glGetIntegerv(GL_UNPACK_ROW_LENGTH, ptr)\nglPixelStorei(GL_UNPACK_ROW_LENGTH, 0)\n"
            "glGetIntegerv(GL_UNPACK_SKIP_ROWS, ptr)\nglPixelStorei(GL_UNPACK_SKIP_ROWS, 0)\n"
            "glGetIntegerv(GL_UNPACK_SKIP_PIXELS, ptr)\nglPixelStorei(GL_UNPACK_SKIP_PIXELS, 0)\n"
            "glGetIntegerv(GL_UNPACK_ALIGNMENT, ptr)\nglPixelStorei(GL_UNPACK_ALIGNMENT, 4)\n"
            "glTexImage2D(GL_TEXTURE_2D, 0, GL_RGB, 2, 2, 0, GL_RGB, GL_UNSIGNED_BYTE, ptr)\n"
            "glPixelStorei(GL_UNPACK_ROW_LENGTH, 0)\nglPixelStorei(GL_UNPACK_SKIP_ROWS, 0)\n"
            "glPixelStorei(GL_UNPACK_SKIP_PIXELS, 0)\nglPixelStorei(GL_UNPACK_ALIGNMENT, 4)\n" +
                Parameters("GL_TEXTURE_2D", 0));
}

TEST_F(CDDSImageUploadTest, PaddedRowsUseAlignmentFourAndTightOnesAlignmentOne) {
  const DdsBuilder file = AddLevels(Rgb(6, 3).Mipmaps(3), {Noise(54), Noise(9), Noise(3)});
  CDDSImage image = Load(file);
  glBindTexture(GL_TEXTURE_2D, mTexture);
  GLRecorder recorder;
  image.upload_texture2D(0, GL_TEXTURE_2D, 32768);
  std::string settings;
  for (const std::string& call : recorder.Calls()) {
    if (call.starts_with("glPixelStorei(GL_UNPACK_ALIGNMENT") || call.starts_with("glTexImage2D"))
      settings += call + '\n';
  }
  EXPECT_EQ(settings,
            "glPixelStorei(GL_UNPACK_ALIGNMENT, 4)\n"
            "glTexImage2D(GL_TEXTURE_2D, 0, GL_RGB, 6, 3, 0, GL_RGB, GL_UNSIGNED_BYTE, ptr)\n"
            "glPixelStorei(GL_UNPACK_ALIGNMENT, 4)\nglPixelStorei(GL_UNPACK_ALIGNMENT, 1)\n"
            "glTexImage2D(GL_TEXTURE_2D, 1, GL_RGB, 3, 1, 0, GL_RGB, GL_UNSIGNED_BYTE, ptr)\n"
            "glPixelStorei(GL_UNPACK_ALIGNMENT, 4)\nglPixelStorei(GL_UNPACK_ALIGNMENT, 1)\n"
            "glTexImage2D(GL_TEXTURE_2D, 2, GL_RGB, 1, 1, 0, GL_RGB, GL_UNSIGNED_BYTE, ptr)\n"
            "glPixelStorei(GL_UNPACK_ALIGNMENT, 4)\n");
}

TEST_F(CDDSImageUploadTest, LuminanceAndFloats) {
  CDDSImage luminance = Load(DdsBuilder(4, 2).Masks(kLuminance, 8, 0xFF, 0, 0, 0).Data(Noise(8)));
  CDDSImage floats = Load(DdsBuilder(1, 1).Code(116).Data(Noise(16)));
  glBindTexture(GL_TEXTURE_2D, mTexture);
  const GLRecorder recorder;
  luminance.upload_texture2D(0, GL_TEXTURE_2D, 32768);
  floats.upload_texture2D(0, GL_TEXTURE_2D, 32768);
  EXPECT_EQ(recorder.Text({"glTexImage2D"}),
            "glTexImage2D(GL_TEXTURE_2D, 0, GL_LUMINANCE, 4, 2, 0, GL_LUMINANCE, GL_UNSIGNED_BYTE, ptr)\n"
            "glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, 1, 1, 0, GL_RGBA, GL_FLOAT, ptr)\n");
}

struct LevelCase {
  const char* name;
  int level;
  std::vector<int> sides;
};

class CDDSImageLevelTest : public CDDSImageUploadTest, public testing::WithParamInterface<LevelCase> {};

TEST_P(CDDSImageLevelTest, TakesTheLevelsThatFitAndNumbersThemFromZero) {
  CDDSImage image = Load(Dxt1(256, 256, 9));
  glBindTexture(GL_TEXTURE_2D, mTexture);
  const GLRecorder recorder;
  EXPECT_TRUE(image.upload_texture2D(0, GL_TEXTURE_2D, GetParam().level));
  EXPECT_EQ(recorder.Count("glCompressedTexImage2D"), static_cast<int>(GetParam().sides.size()));
  int number = 0;
  for (const int side : GetParam().sides) {
    EXPECT_EQ(test::TextureLevelParameter(mTexture, GL_TEXTURE_WIDTH, GL_TEXTURE_2D, number), side);
    ++number;
  }
  EXPECT_EQ(recorder.Text({"glTexParameteri"}), Parameters("GL_TEXTURE_2D", number - 1));
}

INSTANTIATE_TEST_SUITE_P(All, CDDSImageLevelTest,
                         testing::Values(LevelCase{"Everything", 32768, {256, 128, 64, 32, 16, 8, 4, 2, 1}},
                                         LevelCase{"ALimitBelowTheTopLevel", 64, {64, 32, 16, 8, 4, 2, 1}},
                                         LevelCase{"ALimitBetweenLevels", 100, {64, 32, 16, 8, 4, 2, 1}},
                                         LevelCase{"OnlyTheTopLevel", -32768, {256}},
                                         LevelCase{"OnlyTheFirstThatFits", -64, {64}},
                                         LevelCase{"NothingFitsZero", 0, {1}}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(CDDSImageUploadTest, WithoutMipmapsTheTopLevelStandsIn) {
  CDDSImage image = Load(Dxt1(16, 16, 1));
  glBindTexture(GL_TEXTURE_2D, mTexture);
  const GLRecorder recorder;
  EXPECT_TRUE(image.upload_texture2D(0, GL_TEXTURE_2D, 0));
  EXPECT_EQ(
      recorder.Text(kUploads),
      "glCompressedTexImage2D(GL_TEXTURE_2D, 0, GL_COMPRESSED_RGBA_S3TC_DXT1_EXT, 16, 16, 0, 128, ptr)\n" +
          Parameters("GL_TEXTURE_2D", 0));
}

TEST_F(CDDSImageUploadTest, DeliberateRectanglesSetTheLevelsOfThe2DTarget) {
  CDDSImage image = Load(Rgb(3, 2).Data(Noise(18)));
  glBindTexture(GL_TEXTURE_RECTANGLE, mTexture);
  const GLRecorder recorder;
  EXPECT_TRUE(image.upload_textureRectangle(32768));
  EXPECT_EQ(recorder.Text(kUploads),
            "glTexImage2D(GL_TEXTURE_RECTANGLE, 0, GL_RGB, 3, 2, 0, GL_RGB, GL_UNSIGNED_BYTE, ptr)\n" +
                Parameters("GL_TEXTURE_2D", 0));
}

TEST_F(CDDSImageUploadTest, CompressedRectanglesAreRefusedByTheDriverAlone) {
  CDDSImage image = Load(Dxt1(4, 4, 1));
  glBindTexture(GL_TEXTURE_RECTANGLE, mTexture);
  const GLErrorCapture errors;
  EXPECT_TRUE(image.upload_textureRectangle(32768));
  EXPECT_FALSE(errors.Messages().empty());
  glGetError();
}

TEST_F(CDDSImageUploadTest, DeliberateCubeFacesSetTheLevelsOfThe2DTarget) {
  std::string expected;
  for (const char* face :
       {"POSITIVE_X", "NEGATIVE_X", "POSITIVE_Y", "NEGATIVE_Y", "POSITIVE_Z", "NEGATIVE_Z"}) {
    const std::string call = std::string("(GL_TEXTURE_CUBE_MAP_") + face;
    expected += "glTexImage2D" + call + ", 0, GL_RGBA, 2, 2, 0, GL_RGBA, GL_UNSIGNED_BYTE, ptr)\n";
    expected += "glTexImage2D" + call + ", 1, GL_RGBA, 1, 1, 0, GL_RGBA, GL_UNSIGNED_BYTE, ptr)\n";
    expected += Parameters("GL_TEXTURE_2D", 1);
  }
  DdsBuilder file = DdsBuilder::Rgba(2, 2).Cubemap().Mipmaps(2);
  for (std::uint32_t face = 0; face < 6; ++face) AddLevels(file, {Noise(16, face), Noise(4, face)});
  CDDSImage image = Load(file);
  ASSERT_TRUE(image.is_cubemap());
  glBindTexture(GL_TEXTURE_CUBE_MAP, mTexture);
  const GLRecorder recorder;
  EXPECT_TRUE(image.upload_textureCubemap(32768));
  EXPECT_EQ(recorder.Text(kUploads), expected);
  for (unsigned face = 0; face < 6; ++face) {
    EXPECT_EQ(test::ReadTexture(mTexture, GL_RGBA, GL_TEXTURE_CUBE_MAP_POSITIVE_X + face).bytes,
              Noise(16, face))
        << face;
  }
}

TEST_F(CDDSImageUploadTest, ACubeMapOfAFileThatIsNoneHasOneFace) {
  CDDSImage image = Load(Dxt1(4, 4, 1));
  glBindTexture(GL_TEXTURE_CUBE_MAP, mTexture);
  const GLRecorder recorder;
  EXPECT_TRUE(image.upload_textureCubemap(32768));
  EXPECT_EQ(recorder.Count("glCompressedTexImage2D"), 1);
}

TEST_F(CDDSImageUploadTest, VolumesGoToTheThreeDimensionalTarget) {
  const Bytes top = Noise(4 * 2 * 2 * 4);
  const Bytes small = Noise(2 * 1 * 1 * 4, 2);
  CDDSImage image = Load(AddLevels(DdsBuilder::Rgba(4, 2).Volume(2).Mipmaps(2), {top, small}));
  ASSERT_TRUE(image.is_volume());
  glBindTexture(GL_TEXTURE_3D, mTexture);
  const GLRecorder recorder;
  EXPECT_TRUE(image.upload_texture3D(32768));
  EXPECT_EQ(recorder.Text(kUploads),
            "glTexImage3D(GL_TEXTURE_3D, 0, GL_RGBA, 4, 2, 2, 0, GL_RGBA, GL_UNSIGNED_BYTE, ptr)\n"
            "glTexImage3D(GL_TEXTURE_3D, 1, GL_RGBA, 2, 1, 1, 0, GL_RGBA, GL_UNSIGNED_BYTE, ptr)\n" +
                Parameters("GL_TEXTURE_3D", 1));
  EXPECT_EQ(test::ReadTexture(mTexture, GL_RGBA, GL_TEXTURE_3D).bytes, top);
  EXPECT_EQ(test::ReadTexture(mTexture, GL_RGBA, GL_TEXTURE_3D, 1).bytes, small);
}

TEST_F(CDDSImageUploadTest, OddVolumesArriveByteForByteWhateverTheHostUnpacks) {
  constexpr std::pair<GLenum, GLint> kHost[] = {{GL_UNPACK_ROW_LENGTH, 77},  {GL_UNPACK_SKIP_ROWS, 3},
                                                {GL_UNPACK_SKIP_PIXELS, 5},  {GL_UNPACK_ALIGNMENT, 8},
                                                {GL_UNPACK_IMAGE_HEIGHT, 9}, {GL_UNPACK_SKIP_IMAGES, 1}};
  for (const auto& [name, value] : kHost) glPixelStorei(name, value);
  const Bytes top = Noise(3 * 5 * 4 * 3);
  const Bytes small = Noise(1 * 2 * 2 * 3, 2);
  CDDSImage image = Load(AddLevels(Rgb(3, 5).Volume(4).Mipmaps(2), {top, small}));
  glBindTexture(GL_TEXTURE_3D, mTexture);
  image.upload_texture3D(32768);
  for (const auto& [name, value] : kHost) {
    GLint now = 0;
    glGetIntegerv(name, &now);
    EXPECT_EQ(now, value);
    glPixelStorei(name, name == GL_UNPACK_ALIGNMENT ? 4 : 0);
  }
  EXPECT_EQ(test::ReadTexture(mTexture, GL_RGB, GL_TEXTURE_3D).bytes, top);
  EXPECT_EQ(test::ReadTexture(mTexture, GL_RGB, GL_TEXTURE_3D, 1).bytes, small);
}

// Such files lose all slices but the first when their rows are padded.
TEST_F(CDDSImageUploadTest, ADepthWithoutTheVolumeFlagUploadsTheSlicesThatAreThere) {
  struct Case {
    DdsBuilder file;
    std::vector<int> slices;  // of each level
    const char* alignment;
  };
  const DdsBuilder rgba = DdsBuilder::Rgba(2, 2).Set(DdsBuilder::kDepth, 4).Mipmaps(2).Data(Noise(64 + 8));
  const DdsBuilder rgb = Rgb(3, 2).Set(DdsBuilder::kDepth, 5).Data(Noise(90));
  const DdsBuilder luminance = DdsBuilder(1, 3).Masks(kLuminance, 8, 0xFF, 0, 0, 0);
  const DdsBuilder two = DdsBuilder(luminance).Set(DdsBuilder::kDepth, 2).Data(Noise(6));
  // As many bytes as padded rows of one slice would take, so nothing is padded.
  const DdsBuilder four = DdsBuilder(luminance).Set(DdsBuilder::kDepth, 4).Data(Noise(12));
  for (const Case& row :
       {Case{rgba, {1, 2}, "4"}, Case{rgb, {1}, "4"}, Case{two, {1}, "4"}, Case{four, {4}, "1"}}) {
    CDDSImage image = Load(row.file);
    ASSERT_FALSE(image.is_volume());
    GLuint texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_3D, texture);
    const GLRecorder recorder;
    EXPECT_TRUE(image.upload_texture3D(32768));
    EXPECT_EQ(recorder.Count("glTexImage3D"), static_cast<int>(row.slices.size()));
    for (std::size_t level = 0; level < row.slices.size(); ++level) {
      EXPECT_EQ(
          test::TextureLevelParameter(texture, GL_TEXTURE_DEPTH, GL_TEXTURE_3D, static_cast<int>(level)),
          row.slices[level]);
    }
    const std::string first = recorder.Text({"glPixelStorei"});
    EXPECT_NE(first.find("glPixelStorei(GL_UNPACK_ALIGNMENT, " + std::string(row.alignment)),
              std::string::npos);
    glDeleteTextures(1, &texture);
  }
}

TEST_F(CDDSImageUploadTest, ASurfaceWithoutAllItsBytesIsLeftOut) {
  CDDSImage image = Load(DdsBuilder::Rgba(2, 2).Data(Noise(16)));
  ASSERT_TRUE(image.get_image(0).create(2, 2, 1, 15, false));
  const GLRecorder recorder;
  EXPECT_TRUE(image.upload_texture1D(32768));
  EXPECT_TRUE(image.upload_texture2D(0, GL_TEXTURE_2D, 32768));
  EXPECT_TRUE(image.upload_texture3D(32768));
  for (const char* call : {"glTexImage1D", "glTexImage2D", "glTexImage3D"})
    EXPECT_EQ(recorder.Count(call), 0) << call;
}

TEST_F(CDDSImageUploadTest, CompressedVolumesNameAllSlicesBytes) {
  CDDSImage image = Load(DdsBuilder(4, 4).Code("DXT5").Volume(2).Data(Noise(32)));
  glBindTexture(GL_TEXTURE_3D, mTexture);
  const GLErrorCapture errors;  // this driver has no compressed volumes
  const GLRecorder recorder;
  EXPECT_TRUE(image.upload_texture3D(32768));
  EXPECT_EQ(
      recorder.Text(kUploads),
      "glCompressedTexImage3D(GL_TEXTURE_3D, 0, GL_COMPRESSED_RGBA_S3TC_DXT5_EXT, 4, 4, 2, 0, 32, ptr)\n" +
          Parameters("GL_TEXTURE_3D", 0));
  while (glGetError() != GL_NO_ERROR) {
  }
}

TEST_F(CDDSImageUploadTest, TheTwoDimensionalTargetTakesTheFirstSliceOfAVolume) {
  const Bytes blocks = Noise(32);
  CDDSImage image = Load(DdsBuilder(4, 4).Code("DXT5").Volume(2).Data(blocks));
  glBindTexture(GL_TEXTURE_2D, mTexture);
  const GLRecorder recorder;
  EXPECT_TRUE(image.upload_texture2D(0, GL_TEXTURE_2D, -32768));
  EXPECT_EQ(recorder.Text({"glCompressedTexImage2D"}),
            "glCompressedTexImage2D(GL_TEXTURE_2D, 0, GL_COMPRESSED_RGBA_S3TC_DXT5_EXT, 4, 4, 0, 16, ptr)\n");
}

TEST_F(CDDSImageUploadTest, OneDimensionalTexturesTakeTheFirstRow) {
  const Bytes top = Noise(16);
  const Bytes small = Noise(8, 2);
  CDDSImage image = Load(AddLevels(DdsBuilder::Rgba(4, 1).Mipmaps(2), {top, small}));
  glBindTexture(GL_TEXTURE_1D, mTexture);
  const GLRecorder recorder;
  EXPECT_TRUE(image.upload_texture1D(32768));
  EXPECT_EQ(recorder.Text(kUploads),
            "glTexImage1D(GL_TEXTURE_1D, 0, GL_RGBA, 4, 0, GL_RGBA, GL_UNSIGNED_BYTE, ptr)\n"
            "glTexImage1D(GL_TEXTURE_1D, 1, GL_RGBA, 2, 0, GL_RGBA, GL_UNSIGNED_BYTE, ptr)\n" +
                Parameters("GL_TEXTURE_1D", 1));
  EXPECT_EQ(test::ReadTexture(mTexture, GL_RGBA, GL_TEXTURE_1D).bytes, top);
}

TEST_F(CDDSImageUploadTest, CompressedOneDimensionalTexturesAreLeftToTheDriver) {
  CDDSImage image = Load(Dxt1(4, 1, 1));
  glBindTexture(GL_TEXTURE_1D, mTexture);
  const GLErrorCapture errors;
  const GLRecorder recorder;
  EXPECT_TRUE(image.upload_texture1D(32768));
  EXPECT_EQ(recorder.Text(kUploads),
            "glCompressedTexImage1D(GL_TEXTURE_1D, 0, GL_COMPRESSED_RGBA_S3TC_DXT1_EXT, 4, 0, 8, ptr)\n" +
                Parameters("GL_TEXTURE_1D", 0));
  EXPECT_FALSE(errors.Messages().empty()) << "no driver has this";
  glGetError();
}

// --- Nothing to upload.

void UploadEverything(CDDSImage& image) {
  EXPECT_TRUE(image.upload_texture1D(32768));
  EXPECT_TRUE(image.upload_texture2D(0, GL_TEXTURE_2D, 32768));
  EXPECT_TRUE(image.upload_texture3D(32768));
  EXPECT_TRUE(image.upload_textureCubemap(32768));
  EXPECT_TRUE(image.upload_textureRectangle(32768));
}

TEST_F(CDDSImageUploadTest, AnEmptyImageMakesNoCall) {
  CDDSImage image;
  const GLRecorder recorder;
  UploadEverything(image);
  EXPECT_EQ(recorder.Text(), "");
}

TEST_F(CDDSImageUploadTest, ATextureThatDoesNotExistMakesNoCall) {
  CDDSImage image = Load(Dxt1(4, 4, 1));
  const GLRecorder recorder;
  EXPECT_TRUE(image.upload_texture2D(1, GL_TEXTURE_2D, 32768));
  EXPECT_TRUE(image.upload_texture2D(-1, GL_TEXTURE_2D, 32768));
  EXPECT_EQ(recorder.Text(), "");
}

TEST_F(CDDSImageUploadTest, WithoutAContextNothingHappens) {
  CDDSImage image = Load(Dxt1(4, 4, 1));
  Host().Context().doneCurrent();
  UploadEverything(image);
  ASSERT_TRUE(Host().MakeCurrent());
}

// --- Pixels.

TEST_F(CDDSImageUploadTest, OddRowsArriveByteForByteWhateverTheHostUnpacks) {
  constexpr std::pair<GLenum, GLint> kHost[] = {{GL_UNPACK_ROW_LENGTH, 77},
                                                {GL_UNPACK_SKIP_ROWS, 3},
                                                {GL_UNPACK_SKIP_PIXELS, 5},
                                                {GL_UNPACK_ALIGNMENT, 8}};
  for (const auto& [name, value] : kHost) glPixelStorei(name, value);
  const std::vector<Bytes> levels = {Noise(10 * 6 * 3), Noise(5 * 3 * 3, 2), Noise(2 * 1 * 3, 3),
                                     Noise(3, 4)};
  CDDSImage image = Load(AddLevels(Rgb(10, 6).Mipmaps(4), levels));
  glBindTexture(GL_TEXTURE_2D, mTexture);
  image.upload_texture2D(0, GL_TEXTURE_2D, 32768);
  for (int level = 0; level < 4; ++level) {
    EXPECT_EQ(test::ReadTexture(mTexture, GL_RGB, GL_TEXTURE_2D, level).bytes,
              levels[static_cast<std::size_t>(level)])
        << level;
  }
  for (const auto& [name, value] : kHost) {
    GLint now = 0;
    glGetIntegerv(name, &now);
    EXPECT_EQ(now, value);
  }
}

TEST_F(CDDSImageUploadTest, OddLuminanceRowsArriveByteForByte) {
  const Bytes pixels = Noise(5 * 3);
  CDDSImage image = Load(DdsBuilder(5, 3).Masks(kLuminance, 8, 0xFF, 0, 0, 0).Data(pixels));
  glBindTexture(GL_TEXTURE_2D, mTexture);
  image.upload_texture2D(0, GL_TEXTURE_2D, 32768);
  EXPECT_EQ(test::ReadTexture(mTexture, GL_RED).bytes, pixels);
}

TEST_F(CDDSImageUploadTest, FloatsAreClampedToBytes) {
  // 2, -1, 0.5, 1 in half floats; the file goes through the general reader.
  CDDSImage image = Load(DdsBuilder(1, 1).Code(113).Data({0x00, 0x40, 0x00, 0xBC, 0x00, 0x38, 0x00, 0x3C}));
  glBindTexture(GL_TEXTURE_2D, mTexture);
  image.upload_texture2D(0, GL_TEXTURE_2D, 32768);
  EXPECT_EQ(test::ReadTexture(mTexture, GL_RGBA).bytes, (Bytes{255, 0, 128, 255}));
}

TEST_F(CDDSImageUploadTest, EveryCompressedLevelIsTheFilesOwn) {
  CDDSImage image = Load(Dxt1(16, 8, 5));
  glBindTexture(GL_TEXTURE_2D, mTexture);
  image.upload_texture2D(0, GL_TEXTURE_2D, 32768);
  for (std::uint32_t level = 0; level < 5; ++level) {
    const int width = std::max(16 >> level, 1);
    const int height = std::max(8 >> level, 1);
    const auto blocks = static_cast<std::size_t>((width + 3) / 4 * ((height + 3) / 4));
    Bytes expected(static_cast<std::size_t>(width * height) * 4);
    ASSERT_TRUE(RDecodeBlockImage(kBlockBC1, Noise(blocks * 8, level), width, height, expected.data()));
    const Bytes read = test::ReadTexture(mTexture, GL_RGBA, GL_TEXTURE_2D, static_cast<int>(level)).bytes;
    ASSERT_EQ(read.size(), expected.size());
    for (std::size_t i = 0; i < read.size(); ++i) ASSERT_NEAR(read[i], expected[i], 2) << "level " << level;
  }
}

}  // namespace
