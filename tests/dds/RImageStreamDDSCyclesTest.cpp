// Repeated reads of DDS files through OpenGL: nothing may pile up.
#include <GL/gl.h>

#include "dds/RImageDDS.h"
#include "dds/RImageStreamDDS.h"
#include "image/RDestroyPtr.h"
#include "support/DdsBuilder.h"
#include "support/GLTest.h"
#include "support/ProcessResources.h"
#include "support/TestData.h"

namespace {

class RImageStreamDDSCyclesTest : public test::GLTest {
 protected:
  void TearDown() override {
    ASSERT_TRUE(Host().MakeCurrent());
    GLTest::TearDown();
  }
};

TEST_F(RImageStreamDDSCyclesTest, ReadsLeakNeitherMemoryNorObjectsNorFiles) {
  const test::TemporaryFolder folder;
  const std::string path = folder.Write(
      "file.dds", test::DdsBuilder::Rgba(200, 100).Data(test::Noise(std::size_t{200} * 100 * 4)).File());
  const auto cycle = [&] {
    RImageStreamDDS stream;
    stream.SetFileName(path.c_str());
    ASSERT_TRUE(stream.StreamOpen(nullptr));
    const RDestroyPtr<RImageDDS> image(static_cast<RImageDDS*>(stream.GetImage(false)));
    ASSERT_TRUE(Host().MakeCurrent());
    unsigned int texture = 0;
    image->DrawCurrent(kVideoTexture2D, 32768, texture);
    glDeleteTextures(1, &texture);
  };
  cycle();
  const std::size_t files = test::OpenFiles();
  const double left = test::HeapBytesLeftPerCycle(cycle);
  RecordProperty("bytes_per_cycle", std::to_string(left));
  std::printf("%.1f bytes a cycle over %d cycles\n", left, test::Cycles());
  EXPECT_LT(left, 500) << "bytes a cycle";
  EXPECT_EQ(test::OpenFiles(), files);
  EXPECT_EQ(test::LiveGLObjects(), "");
}

}  // namespace
