// Reads the sample files of the formats that go through Qt, by both roads.
#include <gtest/gtest.h>

#include "image/RDestroyPtr.h"
#include "image/RImage.h"
#include "module/EntryPointrimage.h"
#include "support/SampleManifest.h"

namespace {

class SampleFilesTest : public testing::TestWithParam<test::Sample> {
 protected:
  static void SetUpTestSuite() { EntryPointrimage(kDllStart); }
};

TEST_P(SampleFilesTest, ReadThroughTheRegistry) {
  const RDestroyPtr<RImage> image(RImage::ImageFileRead(GetParam().path.c_str()));
  EXPECT_TRUE(test::Check(GetParam(), image.get()));
}

TEST_P(SampleFilesTest, ReadFromDisk) {
  RImage* read = nullptr;
  const bool success = RImage::ReadFromDisk(GetParam().path.c_str(), read, false);
  const RDestroyPtr<RImage> image(read);
  EXPECT_EQ(success, read != nullptr);
  EXPECT_TRUE(test::Check(GetParam(), image.get()));
}

TEST_P(SampleFilesTest, ReadImageDescribesTheFile) {
  const RDestroyPtr<RImage> image(RImage::ImageFileRead(GetParam().path.c_str()));
  if (GetParam().expect == test::Expect::kRefuse) return;
  ASSERT_NE(image, nullptr);
  EXPECT_EQ(image->GetWidth(), GetParam().width);
  EXPECT_EQ(image->GetHeight(), GetParam().height);
  EXPECT_EQ(image->GetDepth(), 1);
  EXPECT_EQ(image->GetPadWidth(), 0);
  EXPECT_EQ(image->GetImageType(), kImageTypeFrame);
  EXPECT_EQ(image->GetInterleaveType(), kInterleaveNone);
  EXPECT_EQ(image->GetInterpolationType(), kInterpolationNone);
  EXPECT_EQ(image->GetIncarnation(), RImage::kIncarnationRaw);
  EXPECT_EQ(image->GetReferenceCount(), 0);
}

INSTANTIATE_TEST_SUITE_P(Png, SampleFilesTest, testing::ValuesIn(test::LoadSamples("png")), test::SampleName);
INSTANTIATE_TEST_SUITE_P(Jpeg, SampleFilesTest, testing::ValuesIn(test::LoadSamples("jpeg")),
                         test::SampleName);
INSTANTIATE_TEST_SUITE_P(Tiff, SampleFilesTest, testing::ValuesIn(test::LoadSamples("tiff")),
                         test::SampleName);
INSTANTIATE_TEST_SUITE_P(Bmp, SampleFilesTest, testing::ValuesIn(test::LoadSamples("bmp")), test::SampleName);
INSTANTIATE_TEST_SUITE_P(BmpIcon, SampleFilesTest, testing::ValuesIn(test::LoadSamples("bmp-icon")),
                         test::SampleName);
INSTANTIATE_TEST_SUITE_P(Tga, SampleFilesTest, testing::ValuesIn(test::LoadSamples("tga")), test::SampleName);
INSTANTIATE_TEST_SUITE_P(Svg, SampleFilesTest, testing::ValuesIn(test::LoadSamples("svg")), test::SampleName);

}  // namespace
