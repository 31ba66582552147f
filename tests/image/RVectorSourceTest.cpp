// Tests of vector sources: pictures that are rendered again at each size.
#include <gtest/gtest.h>

#include <climits>

#include "support/ImageProbe.h"
#include "support/TestData.h"

namespace {

using test::ImagePtr;
using test::MakeNoiseImage;
using test::Pixels;
using test::PixelsOf;
using test::ProbeImage;
using test::ProbePtr;

// Four quarters: red and green above, nothing and half-transparent blue below. Edges fall on pixels at even
// sizes.
constexpr const char* kDrawing =
    "<svg xmlns='http://www.w3.org/2000/svg' viewBox='0 0 2 2' width='2' height='2' "
    "shape-rendering='crispEdges'>"
    "<rect x='0' y='0' width='1' height='1' fill='#ff0000'/>"
    "<rect x='1' y='0' width='1' height='1' fill='#00ff00'/>"
    "<rect x='1' y='1' width='1' height='1' fill='#0000ff' fill-opacity='0.5'/></svg>";

class RVectorSourceTest : public testing::Test {
 protected:
  ProbePtr MakeVectorImage() {
    const std::string text = kDrawing;
    const std::string path = mFolder.Write("quarters.svg", {text.begin(), text.end()});
    ProbePtr image = MakeNoiseImage(kImageFormatRGB, 3, 3);
    image->SetVectorSourcePath(path.c_str());
    return image;
  }

  test::TemporaryFolder mFolder;
};

Pixels PixelAt(RImage& image, int x, int y) {
  const unsigned char* pixel = image.GetImageBits() + 4 * (y * image.GetWidth() + x);
  return {pixel, pixel + 4};
}

TEST_F(RVectorSourceTest, RendersAtTheNewSizeBottomRowFirst) {
  const ProbePtr image = MakeVectorImage();
  EXPECT_TRUE(image->ConvertSize(8, 6));
  EXPECT_EQ(image->GetWidth(), 8);
  EXPECT_EQ(image->GetHeight(), 6);
  EXPECT_EQ(image->GetFormat(), kImageFormatRGBA);
  EXPECT_EQ(PixelAt(*image, 1, 4), (Pixels{255, 0, 0, 255})) << "top left";
  EXPECT_EQ(PixelAt(*image, 6, 4), (Pixels{0, 255, 0, 255})) << "top right";
  EXPECT_EQ(PixelAt(*image, 1, 1), (Pixels{0, 0, 0, 0})) << "bottom left";
  const Pixels blue = PixelAt(*image, 6, 1);
  EXPECT_NEAR(blue[3], 128, 1) << "bottom right";
  EXPECT_EQ(blue[2], blue[3]) << "premultiplied";
  EXPECT_EQ(blue[0], 0);
}

TEST_F(RVectorSourceTest, RendersAgainAtTheSizeItHas) {
  const ProbePtr image = MakeVectorImage();
  EXPECT_TRUE(image->ConvertSize(4, 4));
  const Pixels rendered = PixelsOf(*image);
  image->Cleanup();
  EXPECT_TRUE(image->ConvertSize(4, 4));
  EXPECT_EQ(PixelsOf(*image), rendered);
}

TEST_F(RVectorSourceTest, EnlargingIsSharp) {
  const ProbePtr image = MakeVectorImage();
  EXPECT_TRUE(image->ConvertSize(2, 2));
  EXPECT_TRUE(image->ConvertSize(64, 64));
  // The right quarters meet exactly in the middle.
  EXPECT_EQ(PixelAt(*image, 31, 63), (Pixels{255, 0, 0, 255}));
  EXPECT_EQ(PixelAt(*image, 32, 63), (Pixels{0, 255, 0, 255}));
}

TEST_F(RVectorSourceTest, DescribesAPlainRawFrame) {
  const ProbePtr image = MakeVectorImage();
  image->mImageType = kImageTypeField;
  image->mPadWidth = 4;
  image->SetDepth(3);
  EXPECT_TRUE(image->ConvertSize(4, 4));
  EXPECT_EQ(image->GetImageType(), kImageTypeFrame);
  EXPECT_EQ(image->GetInterleaveType(), kInterleaveNone);
  EXPECT_EQ(image->GetInterpolationType(), kInterpolationNone);
  EXPECT_EQ(image->GetPadWidth(), 0);
  EXPECT_EQ(image->GetDepth(), 1);
  EXPECT_FALSE(image->GetVectorSourcePath().IsEmpty()) << "it can be rendered again";
}

TEST_F(RVectorSourceTest, CloneCanRenderToo) {
  const ProbePtr image = MakeVectorImage();
  const ImagePtr clone(image->Clone());
  EXPECT_TRUE(clone->ConvertSize(4, 4));
  EXPECT_EQ(PixelAt(*clone, 0, 3), (Pixels{255, 0, 0, 255}));
}

TEST_F(RVectorSourceTest, SizesBelowOnePixelAreRefused) {
  const ProbePtr image = MakeVectorImage();
  const Pixels before = PixelsOf(*image);
  for (const auto& [width, height] : {std::pair{0, 4}, {4, 0}, {-1, 4}, {4, -1}, {INT_MAX, INT_MAX}}) {
    EXPECT_FALSE(image->ConvertSize(width, height));
  }
  EXPECT_EQ(PixelsOf(*image), before);
  EXPECT_EQ(image->GetFormat(), kImageFormatRGB);
}

TEST_F(RVectorSourceTest, FileThatIsGoneRendersNothing) {
  const ProbePtr image = MakeNoiseImage(kImageFormatRGBA, 2, 2);
  image->SetVectorSourcePath(mFolder.Path("missing.svg").c_str());
  EXPECT_TRUE(image->ConvertSize(3, 3));
  EXPECT_EQ(PixelsOf(*image), Pixels(36, 0));
}

TEST_F(RVectorSourceTest, TextureIsRefused) {
  const ProbePtr image = MakeVectorImage();
  image->mIncarnation = RImage::kIncarnationGL;
  EXPECT_FALSE(image->ConvertSize(4, 4));
  image->mIncarnation = RImage::kIncarnationRaw;
}

TEST_F(RVectorSourceTest, NoLayersHoldNoPicture) {
  const ProbePtr image = MakeVectorImage();
  image->SetDepth(0);
  image->Clear();
  EXPECT_FALSE(image->ConvertSize(4, 4));
}

}  // namespace
