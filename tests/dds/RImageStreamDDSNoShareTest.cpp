// The DDS stream in an application without Qt's global share context.
#include "dds/RImageDDS.h"
#include "dds/RImageStreamDDS.h"
#include "image/RDestroyPtr.h"
#include "support/DdsBuilder.h"
#include "support/GLTest.h"
#include "support/TestData.h"

namespace {

class RImageStreamDDSNoShareTest : public test::GLTest {};

TEST_F(RImageStreamDDSNoShareTest, FailsAfterTheFileWasLoaded) {
  ASSERT_EQ(QOpenGLContext::globalShareContext(), nullptr);
  const test::TemporaryFolder folder;
  const auto file = test::DdsBuilder(4, 4).Code("DXT1").Data(test::Noise(8));
  RImageStreamDDS stream;
  stream.SetFileName(folder.Write("file.dds", file.File()).c_str());
  const test::GLRecorder recorder;
  EXPECT_FALSE(stream.StreamOpen(nullptr));
  const RDestroyPtr<RImageDDS> image(static_cast<RImageDDS*>(stream.GetImage(false)));
  ASSERT_TRUE(image);
  EXPECT_TRUE(image->DDSImage().is_valid());
  EXPECT_EQ(image->GetWidth(), 0);
  EXPECT_EQ(image->GetImageBits(), nullptr);
  EXPECT_EQ(recorder.Text(), "");
  EXPECT_EQ(QOpenGLContext::currentContext(), &Host().Context());
}

}  // namespace
