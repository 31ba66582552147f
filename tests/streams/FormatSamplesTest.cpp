// Reads the sample files of the module's own formats through the registry.
#include <gtest/gtest.h>

#include "image/RDestroyPtr.h"
#include "image/RImage.h"
#include "module/EntryPointrimage.h"
#include "support/SampleManifest.h"

namespace {

class FormatSamplesTest : public testing::TestWithParam<test::Sample> {
 protected:
  static void SetUpTestSuite() { EntryPointrimage(kDllStart); }
};

TEST_P(FormatSamplesTest, ReadsTheExpectedPicture) {
  const RDestroyPtr<RImage> image(RImage::ImageFileRead(GetParam().path.c_str()));
  EXPECT_TRUE(test::Check(GetParam(), image.get()));
}

INSTANTIATE_TEST_SUITE_P(Iff, FormatSamplesTest, testing::ValuesIn(test::LoadSamples("iff")),
                         test::SampleName);
INSTANTIATE_TEST_SUITE_P(Pic, FormatSamplesTest, testing::ValuesIn(test::LoadSamples("pic")),
                         test::SampleName);
INSTANTIATE_TEST_SUITE_P(Sgi, FormatSamplesTest, testing::ValuesIn(test::LoadSamples("sgi")),
                         test::SampleName);

INSTANTIATE_TEST_SUITE_P(Yuv, FormatSamplesTest, testing::ValuesIn(test::LoadSamples("yuv")),
                         test::SampleName);

}  // namespace
