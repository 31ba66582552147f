// Repeated trips of images to OpenGL and back: nothing may pile up.
#include <GL/gl.h>

#include "image/RDestroyPtr.h"
#include "image/RImage.h"
#include "support/GLTest.h"
#include "support/ProcessResources.h"

namespace {

constexpr int kWidth = 300;
constexpr int kHeight = 200;

using RImageGLCyclesTest = test::GLTest;

TEST_F(RImageGLCyclesTest, TripsLeakNeitherMemoryNorObjectsNorFiles) {
  std::vector<unsigned char> pixels = test::Noise(std::size_t{kWidth} * kHeight * 4);
  const auto cycle = [&] {
    const RDestroyPtr<RImage> image(RImageCreate());
    ASSERT_TRUE(image->Init(kImageFormatRGBA, kWidth, kHeight, 0, 0, true, kImageTypeFrame, kInterleaveNone,
                            kInterpolationNone, RImage::kIncarnationRaw));
    ASSERT_TRUE(image->SetImageBits(pixels.data()));
    ASSERT_TRUE(image->RequestGLIncarnation(true));
    ASSERT_TRUE(image->RequestRawIncarnation(true));
    glFinish();
  };
  cycle();
  const std::size_t files = test::OpenFiles();
  const double left = test::HeapBytesLeftPerCycle(cycle);
  RecordProperty("bytes_per_cycle", std::to_string(left));
  std::printf("%.1f bytes a cycle over %d cycles\n", left, test::Cycles());
  EXPECT_LT(left, 100) << "bytes a cycle";
  EXPECT_EQ(test::OpenFiles(), files);
  EXPECT_EQ(test::LiveGLObjects(), "");
}

}  // namespace
