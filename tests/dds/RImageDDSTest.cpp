// Tests of the image that keeps its DDS file.
#include "dds/RImageDDS.h"

#include <GL/gl.h>
#include <GL/glext.h>

#include "image/RDestroyPtr.h"
#include "support/DdsBuilder.h"
#include "support/GLTest.h"
#include "support/TestData.h"

namespace {

using test::DdsBuilder;
using test::GLRecorder;
using test::Noise;

using ImagePtr = RDestroyPtr<RImageDDS>;

ImagePtr Load(const DdsBuilder& builder) {
  const test::TemporaryFolder folder;
  ImagePtr image(new RImageDDS);
  EXPECT_TRUE(image->DDSImage().load(folder.Write("file.dds", builder.File()).c_str(), false));
  return image;
}

class RImageDDSTest : public test::GLTest {};

TEST_F(RImageDDSTest, IsAnImageOfItsOwnClass) {
  const ImagePtr image(new RImageDDS);
  EXPECT_TRUE(image->Is(RImageDDS::ClassId));
  EXPECT_TRUE(image->Is(RImage::ClassId));
  EXPECT_STREQ(image->GetClassIdName(), "RImageDDS");
  const RDestroyPtr<RImage> plain(RImageCreate());
  EXPECT_FALSE(plain->Is(RImageDDS::ClassId));
}

TEST_F(RImageDDSTest, StartsEmpty) {
  const ImagePtr image(new RImageDDS);
  EXPECT_FALSE(image->DDSImage().is_valid());
  EXPECT_EQ(image->DDSImage().get_num_images(), 0);
  EXPECT_EQ(image->GetWidth(), 0);
}

TEST_F(RImageDDSTest, CopiesHaveTexturesOfTheirOwn) {
  const ImagePtr image = Load(DdsBuilder::Rgba(2, 2).Data(Noise(16)));
  RImageDDS copy(*image);
  RImageDDS assigned;
  assigned = *image;
  image->DDSImage().clear();
  for (RImageDDS* other : {&copy, &assigned}) {
    EXPECT_TRUE(other->DDSImage().is_valid());
    EXPECT_EQ(other->DDSImage().get_width(), 2);
    EXPECT_EQ(static_cast<unsigned char>(static_cast<char*>(other->DDSImage().get_image(0))[0]),
              Noise(16)[0]);
  }
}

TEST_F(RImageDDSTest, DrawCurrentMakesBindsAndFillsATexture) {
  const ImagePtr image = Load(DdsBuilder::Rgba(2, 2).Data(Noise(16)));
  unsigned int texture = 0;
  const GLRecorder recorder;
  image->DrawCurrent(kVideoTexture2D, 32768, texture);
  const std::string name = std::to_string(texture);
  EXPECT_NE(texture, 0U);
  EXPECT_EQ(recorder.Text({"glGenTextures", "glBindTexture", "glTexImage2D"}),
            "glGenTextures(1, {" + name + "})\nglBindTexture(GL_TEXTURE_2D, " + name +
                ")\nglTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, 2, 2, 0, GL_RGBA, GL_UNSIGNED_BYTE, ptr)\n");
  EXPECT_EQ(test::ReadTexture(texture, GL_RGBA).bytes, Noise(16));
  glDeleteTextures(1, &texture);
}

TEST_F(RImageDDSTest, DrawCurrentUsesTheTextureOfTheCaller) {
  const ImagePtr image = Load(DdsBuilder::Rgba(2, 2).Data(Noise(16)));
  unsigned int texture = 0;
  glGenTextures(1, &texture);
  const unsigned int before = texture;
  const GLRecorder recorder;
  image->DrawCurrent(kVideoTexture2D, 32768, texture);
  EXPECT_EQ(texture, before);
  EXPECT_EQ(recorder.Count("glGenTextures"), 0);
  EXPECT_EQ(test::ReadTexture(texture, GL_RGBA).bytes, Noise(16));
  glDeleteTextures(1, &texture);
}

TEST_F(RImageDDSTest, AnyOtherTypeIsTwoDimensional) {
  const ImagePtr image = Load(DdsBuilder::Rgba(2, 2).Data(Noise(16)));
  for (const int type : {0, 3, -1, 1000}) {
    unsigned int texture = 0;
    const GLRecorder recorder;
    image->DrawCurrent(static_cast<RVideoTextureType>(type), 32768, texture);
    EXPECT_EQ(recorder.Text({"glBindTexture"}),
              "glBindTexture(GL_TEXTURE_2D, " + std::to_string(texture) + ")\n");
    glDeleteTextures(1, &texture);
  }
}

TEST_F(RImageDDSTest, WithoutAFileNothingIsDrawn) {
  const ImagePtr image(new RImageDDS);
  unsigned int texture = 0;
  const GLRecorder recorder;
  for (const auto type : {kVideoTexture2D, kVideoTextureCubeMap, kVideoTextureVolume}) {
    image->DrawCurrent(type, 32768, texture);
  }
  EXPECT_EQ(texture, 0U);
  EXPECT_EQ(recorder.Text(), "");
}

TEST_F(RImageDDSTest, ACubeMapNeedsAFileThatIsOne) {
  const ImagePtr image = Load(DdsBuilder::Rgba(2, 2).Data(Noise(16)));
  unsigned int texture = 0;
  const GLRecorder recorder;
  image->DrawCurrent(kVideoTextureCubeMap, 32768, texture);
  EXPECT_EQ(texture, 0U);
  EXPECT_EQ(recorder.Text(), "");
}

TEST_F(RImageDDSTest, ACubeMapShowsItsSixFaces) {
  DdsBuilder file = DdsBuilder::Rgba(2, 2).Cubemap();
  for (std::uint32_t face = 0; face < 6; ++face) file.Data(Noise(16, face));
  const ImagePtr image = Load(file);
  unsigned int texture = 0;
  const GLRecorder recorder;
  image->DrawCurrent(kVideoTextureCubeMap, 32768, texture);
  EXPECT_EQ(recorder.Text({"glBindTexture"}),
            "glBindTexture(GL_TEXTURE_CUBE_MAP, " + std::to_string(texture) + ")\n");
  for (unsigned face = 0; face < 6; ++face) {
    EXPECT_EQ(test::ReadTexture(texture, GL_RGBA, GL_TEXTURE_CUBE_MAP_POSITIVE_X + face).bytes,
              Noise(16, face));
  }
  glDeleteTextures(1, &texture);
}

TEST_F(RImageDDSTest, DeliberateAVolumeTextureRefusesVolumeFiles) {
  const ImagePtr image = Load(DdsBuilder::Rgba(2, 2).Volume(2).Data(Noise(32)));
  ASSERT_TRUE(image->DDSImage().is_volume());
  unsigned int texture = 0;
  const GLRecorder recorder;
  image->DrawCurrent(kVideoTextureVolume, 32768, texture);
  EXPECT_EQ(texture, 0U);
  EXPECT_EQ(recorder.Text(), "");
}

TEST_F(RImageDDSTest, DeliberateAVolumeTextureTakesFlatFiles) {
  const ImagePtr image = Load(DdsBuilder::Rgba(2, 2).Data(Noise(16)));
  unsigned int texture = 0;
  const GLRecorder recorder;
  image->DrawCurrent(kVideoTextureVolume, 32768, texture);
  EXPECT_EQ(recorder.Text({"glBindTexture", "glTexImage3D"}),
            "glBindTexture(GL_TEXTURE_3D, " + std::to_string(texture) +
                ")\nglTexImage3D(GL_TEXTURE_3D, 0, GL_RGBA, 2, 2, 1, 0, GL_RGBA, GL_UNSIGNED_BYTE, ptr)\n");
  EXPECT_EQ(test::ReadTexture(texture, GL_RGBA, GL_TEXTURE_3D).bytes, Noise(16));
  glDeleteTextures(1, &texture);
}

TEST_F(RImageDDSTest, AVolumeTextureTakesNoMoreThanTheFileHolds) {
  // A depth without the flag of a volume, whose padded rows leave one slice.
  const ImagePtr image = Load(DdsBuilder::Rgba(2, 2).Set(DdsBuilder::kDepth, 3).Data(Noise(48)));
  ASSERT_FALSE(image->DDSImage().is_volume());
  unsigned int texture = 0;
  image->DrawCurrent(kVideoTextureVolume, 32768, texture);
  EXPECT_EQ(test::ReadTexture(texture, GL_RGBA, GL_TEXTURE_3D).bytes.size(), 16U);
  glDeleteTextures(1, &texture);
}

TEST_F(RImageDDSTest, WithoutAContextNoTextureIsMade) {
  const ImagePtr image = Load(DdsBuilder::Rgba(2, 2).Data(Noise(16)));
  Host().Context().doneCurrent();
  unsigned int texture = 0;
  image->DrawCurrent(kVideoTexture2D, 32768, texture);
  EXPECT_EQ(texture, 0U);
  ASSERT_TRUE(Host().MakeCurrent());
}

TEST_F(RImageDDSTest, TheLevelLimitsWhatIsUploaded) {
  const ImagePtr image =
      Load(DdsBuilder::Rgba(4, 4).Mipmaps(3).Data(Noise(64)).Data(Noise(16, 2)).Data(Noise(4, 3)));
  unsigned int texture = 0;
  image->DrawCurrent(kVideoTexture2D, 2, texture);
  EXPECT_EQ(test::ReadTexture(texture, GL_RGBA).bytes, Noise(16, 2));
  EXPECT_EQ(test::ReadTexture(texture, GL_RGBA, GL_TEXTURE_2D, 1).bytes, Noise(4, 3));
  glDeleteTextures(1, &texture);
}

}  // namespace
