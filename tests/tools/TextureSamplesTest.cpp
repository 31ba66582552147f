// Textures that the command-line host decodes on the processor.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "TestPictures.h"
#include "ToolRunner.h"
#include "image/RDestroyPtr.h"
#include "image/RImage.h"
#include "support/SampleManifest.h"
#include "support/TestData.h"

namespace {

using test::Expect;
using test::RunTool;
using test::Sample;
using testing::HasSubstr;

class TextureSamplesTest : public testing::TestWithParam<Sample> {
 protected:
  test::TemporaryFolder mFolder;
};

TEST_P(TextureSamplesTest, ConvertsToTheExpectedPicture) {
  const Sample& sample = GetParam();
  const std::string output = mFolder.Path("out.tga");
  const auto result = RunTool({"convert", "--gpu=never", sample.path, output});
  if (sample.expect == Expect::kPixelsOrPlaceholder) {
    EXPECT_EQ(result.code, 3) << "a placeholder is no picture";
    EXPECT_THAT(result.errors, HasSubstr("placeholder"));
    return;
  }
  ASSERT_EQ(result.code, 0) << result.errors;
  if (sample.expect != Expect::kPixels || sample.premultiplied) return;
  RImage* read = nullptr;
  ASSERT_TRUE(RImage::ReadFromDisk(output.c_str(), read, false));
  const RDestroyPtr<RImage> image(read);
  // Layouts without alpha are opaque here, whatever the texture holds in its fourth channel.
  EXPECT_TRUE(test::Matches(test::ToPicture(image.get()), test::LoadPicture(sample.expected),
                            sample.compare.substr(0, 3), sample.tolerance));
}
INSTANTIATE_TEST_SUITE_P(Dds, TextureSamplesTest, testing::ValuesIn(test::LoadSamples("dds")),
                         test::SampleName);

TEST(TextureOptionsTest, PicturesThatTheTextureDoesNotHaveAreRefused) {
  const std::string path = test::DataPath("dds/oiio_dds_bc1.dds");
  for (const char* option : {"--level", "--face", "--slice"}) {
    const auto result = RunTool({"info", option, "40", path});
    EXPECT_EQ(result.code, 3) << option;
    EXPECT_THAT(result.errors, HasSubstr("counted from 0")) << option;
  }
  EXPECT_EQ(RunTool({"info", "--level", "-1", path}).code, 2);
}

TEST(TextureOptionsTest, InfoDescribesAndListsTheTexture) {
  const auto result = RunTool({"info", "--list", test::DataPath("dds/oiio_dds_bc1.dds")});
  EXPECT_EQ(result.code, 0);
  EXPECT_THAT(result.output, HasSubstr("texture: DXT1 16 x 8 x 1, levels: 1, faces: 1"));
  EXPECT_THAT(result.output, HasSubstr("level 0: 16 x 8"));
}

TEST(TextureOptionsTest, ExposureBrightensFloatsOnly) {
  const test::TemporaryFolder folder;
  const std::string path = test::DataPath("dds/pillow_bc6h.dds");
  const auto mean = [&](const char* stops) {
    const auto result = RunTool({"info", "--json", "--exposure", stops, path});
    EXPECT_EQ(result.code, 0) << result.errors;
    return nlohmann::json::parse(result.output)[0]["channels"]["red"]["mean"].get<double>();
  };
  EXPECT_LT(mean("-2"), mean("0"));
  EXPECT_LT(mean("0"), mean("2"));
  EXPECT_EQ(mean("-64"), 0);
}

}  // namespace
