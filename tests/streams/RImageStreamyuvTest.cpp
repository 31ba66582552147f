#include "streams/RImageStreamyuv.h"

#include <gtest/gtest.h>

#include "support/Random.h"
#include "support/StreamReading.h"
#include "support/YuvReference.h"

namespace {

using test::Bytes;
using test::PixelsOf;

constexpr std::size_t kLine = 1440;
constexpr std::size_t kFrame = 486 * kLine;
constexpr std::size_t kLongFrame = 576 * kLine;

RDestroyPtr<RImage> Read(const Bytes& bytes) { return test::ReadBytesWith<RImageStreamyuv>(bytes, ".yuv"); }

RDestroyPtr<RImage> MakeImage(kImageFormat format, int width, int height) {
  RDestroyPtr<RImage> image(RImageCreate());
  EXPECT_TRUE(image->Init(format, width, height, 0, 0, true, kImageTypeFrame, kInterleaveNone,
                          kInterpolationNone, RImage::kIncarnationRaw));
  return image;
}

class YuvWriter : public testing::Test {
 protected:
  bool Write(RImage* image) {
    RImageStreamyuv stream;
    stream.SetFileName(mPath.c_str());
    stream.SetImage(image);
    return stream.StreamCreate(nullptr);
  }
  Bytes Written() const { return test::ReadFile(mPath); }

  test::TemporaryFolder mFolder;
  std::string mPath = mFolder.Path("out.yuv");
};

// --- Reading

TEST(YuvReader, MidGreyIs130EverywhereInRgb) {
  const auto image = Read(Bytes(kFrame, 128));
  ASSERT_TRUE(image);
  EXPECT_EQ(image->GetFormat(), kImageFormatRGB);
  EXPECT_EQ(image->GetWidth(), 720);
  EXPECT_EQ(image->GetHeight(), 486);
  EXPECT_EQ(image->GetPadWidth(), 0);
  EXPECT_EQ(image->GetImageType(), kImageTypeFrame);
  EXPECT_EQ(image->GetIncarnation(), RImage::kIncarnationRaw);
  EXPECT_EQ(PixelsOf(image.get()), Bytes(std::size_t{720} * 486 * 3, 130));
}

struct SizeCase {
  const char* name;
  std::size_t size;
  int lines;  // 0 for a refusal
};

class YuvSize : public testing::TestWithParam<SizeCase> {};

TEST_P(YuvSize, DecidesWhetherTheFileIsAFrame) {
  const auto image = Read(Bytes(GetParam().size, 128));
  ASSERT_EQ(image != nullptr, GetParam().lines > 0);
  if (image) {
    EXPECT_EQ(image->GetHeight(), GetParam().lines);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Sizes, YuvSize,
    testing::Values(SizeCase{"Frame", kFrame, 486}, SizeCase{"FrameLessOne", kFrame - 1, 486},
                    SizeCase{"FrameLessTwo", kFrame - 2, 0}, SizeCase{"FrameAndOne", kFrame + 1, 0},
                    SizeCase{"Bytes700000", 700000, 0}, SizeCase{"LongFrame", kLongFrame, 576},
                    SizeCase{"LongFrameLessOne", kLongFrame - 1, 576},
                    SizeCase{"LongFrameLessTwo", kLongFrame - 2, 0},
                    SizeCase{"LongFrameAndOne", kLongFrame + 1, 0}, SizeCase{"Empty", 0, 0},
                    SizeCase{"OneLine", kLine, 0}, SizeCase{"OneLineLess", 485 * kLine, 0},
                    SizeCase{"OneLineMore", 487 * kLine, 0}),
    [](const auto& row) { return row.param.name; });

TEST(YuvReader, AMissingLastByteIsZero) {
  const auto image = Read(Bytes(kFrame - 1, 128));
  ASSERT_TRUE(image);
  const Bytes pixels = PixelsOf(image.get());
  const test::YuvPixel last = test::ReferencePixel(0, 128, 128);
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(pixels[3 * 718 + i], 130);
    EXPECT_EQ(pixels[3 * 719 + i], last[i]);
  }
}

TEST(YuvReader, TheTopLineIsTheLastRow) {
  for (const std::size_t size : {kFrame, kLongFrame}) {
    Bytes frame(size, 128);
    std::fill_n(frame.begin(), kLine, 200);
    const auto image = Read(frame);
    ASSERT_TRUE(image);
    const Bytes pixels = PixelsOf(image.get());
    const test::YuvPixel top = test::ReferencePixel(200, 200, 200);
    const std::size_t lastRow = pixels.size() - std::size_t{2160};
    for (std::size_t i = 0; i < 3; ++i) {
      EXPECT_EQ(pixels[lastRow + i], top[i]);
      EXPECT_EQ(pixels[lastRow - 3 + i], 130);
      EXPECT_EQ(pixels[i], 130);
    }
  }
}

TEST(YuvReader, AttachesNoImageForARefusedFile) {
  const test::TemporaryFolder folder;
  RImageStreamyuv stream;
  EXPECT_FALSE(stream.StreamOpen(nullptr));
  stream.SetFileName(folder.Path("missing.yuv").c_str());
  EXPECT_FALSE(stream.StreamOpen(nullptr));
  stream.SetFileName(folder.Write("a.yuv", Bytes(1000)).c_str());
  EXPECT_FALSE(stream.StreamOpen(nullptr));
  EXPECT_EQ(stream.GetImage(false), nullptr);
}

TEST(YuvReader, FailsForAnImageOfNoLayers) {
  RDestroyPtr<RImage> image(RImageCreate());
  image->SetDepth(0);
  const test::TemporaryFolder folder;
  RImageStreamyuv stream;
  stream.SetFileName(folder.Write("a.yuv", Bytes(kFrame)).c_str());
  stream.SetImage(image.get());
  EXPECT_FALSE(stream.StreamOpen(nullptr));
}

// --- Writing

TEST_F(YuvWriter, WritesAFrameWithTheLastRowFirst) {
  const auto image = MakeImage(kImageFormatRGB, 720, 486);
  unsigned char* lastRow = image->GetImageBits() + 2160 * 485;
  for (int x = 0; x < 720; ++x) lastRow[3 * x] = 255;  // red
  ASSERT_TRUE(Write(image.get()));
  const Bytes written = Written();
  ASSERT_EQ(written.size(), kFrame);
  EXPECT_EQ((Bytes{written.begin(), written.begin() + 4}), (Bytes{90, 81, 239, 81}));
  EXPECT_EQ((Bytes{written.begin() + kLine - 4, written.begin() + kLine + 4}),
            (Bytes{90, 81, 239, 81, 128, 16, 128, 16}));
  EXPECT_EQ((Bytes{written.end() - 4, written.end()}), (Bytes{128, 16, 128, 16}));
}

TEST_F(YuvWriter, LeavesTheImageAsItIs) {
  const auto image = MakeImage(kImageFormatRGBA, 4, 2);
  for (int i = 0; i < 32; ++i) image->GetImageBits()[i] = static_cast<unsigned char>(i);
  const Bytes before = PixelsOf(image.get());
  const int updates = image->GetUpdateId();
  ASSERT_TRUE(Write(image.get()));
  EXPECT_EQ(image->GetFormat(), kImageFormatRGBA);
  EXPECT_EQ(image->GetWidth(), 4);
  EXPECT_EQ(image->GetHeight(), 2);
  EXPECT_EQ(PixelsOf(image.get()), before);
  EXPECT_EQ(image->GetUpdateId(), updates);
}

TEST_F(YuvWriter, ConvertsFormatsAndSizes) {
  const auto image = MakeImage(kImageFormatRGBA, 1, 1);
  const Bytes pixel = {10, 200, 30, 0};
  std::copy(pixel.begin(), pixel.end(), image->GetImageBits());
  ASSERT_TRUE(Write(image.get()));
  const auto [y, cb, cr] = test::ReferenceComponents(10, 200, 30);
  const Bytes written = Written();
  ASSERT_EQ(written.size(), kFrame);
  for (std::size_t i = 0; i < kFrame; i += 4) {
    ASSERT_EQ(written[i], cb);
    ASSERT_EQ(written[i + 1], y);
    ASSERT_EQ(written[i + 2], cr);
    ASSERT_EQ(written[i + 3], y);
  }
}

TEST_F(YuvWriter, ALongFrameIsWrittenBackWith486Lines) {
  Bytes frame(kLongFrame);
  for (std::size_t i = 0; i < frame.size(); ++i) {
    frame[i] = static_cast<unsigned char>(i % 2 == 0 ? 128 : 16 + i / kLine % 200);  // a grey for each line
  }
  const auto image = Read(frame);
  ASSERT_TRUE(image);
  EXPECT_EQ(image->GetHeight(), 576);
  ASSERT_TRUE(Write(image.get()));
  const Bytes written = Written();
  ASSERT_EQ(written.size(), kFrame);
  // Row y, from the bottom, is the image's row y x 576 / 486.
  for (std::size_t y = 0; y < 486; ++y) {
    const std::size_t line = 575 - y * 576 / 486;
    const auto [r, g, b] = test::ReferencePixel(static_cast<int>(16 + line % 200), 128, 128);
    const std::size_t at = (485 - y) * kLine;
    ASSERT_EQ(written[at + 1], test::ReferenceComponents(r, g, b)[0]) << y;
    ASSERT_EQ(written[at], 128) << y;
  }
}

TEST_F(YuvWriter, AnImageOfTheRightHeightIsWidened) {
  const auto image = MakeImage(kImageFormatRGB, 360, 486);
  for (std::size_t i = 0; i < std::size_t{360} * 486 * 3; ++i) {
    image->GetImageBits()[i] = static_cast<unsigned char>(i / 3 % 360 / 2);  // a grey for each two columns
  }
  ASSERT_TRUE(Write(image.get()));
  const Bytes written = Written();
  ASSERT_EQ(written.size(), kFrame);
  for (std::size_t x = 0; x < 720; ++x) {
    const int grey = static_cast<int>(x / 4);
    ASSERT_EQ(written[2 * x + 1], test::ReferenceComponents(grey, grey, grey)[0]) << x;
  }
}

TEST_F(YuvWriter, AVectorPictureIsConvertedAgainAfterItWasRenderedAtTheNewSize) {
  const std::string svg =
      "<svg xmlns='http://www.w3.org/2000/svg' width='8' height='8'><rect width='8' height='8' "
      "fill='#ff0000'/></svg>";
  const std::string path = mFolder.Write("a.svg", Bytes(svg.begin(), svg.end()));
  const auto image = MakeImage(kImageFormatRGB, 8, 8);
  image->SetVectorSourcePath(path.c_str());
  ASSERT_TRUE(Write(image.get()));
  const Bytes written = Written();
  ASSERT_EQ(written.size(), kFrame);
  // The red of the drawing, not the black of the pixels that were there.
  const std::size_t middle = kFrame / 2 + kLine / 2;
  EXPECT_EQ((Bytes{written.begin() + middle, written.begin() + middle + 4}), (Bytes{90, 81, 239, 81}));
}

TEST_F(YuvWriter, FailsWithoutAnImageThatItCanConvertAndMakesNoFile) {
  EXPECT_FALSE(Write(nullptr));
  const auto empty = RDestroyPtr<RImage>(RImageCreate());
  EXPECT_FALSE(Write(empty.get()));
  EXPECT_FALSE(Write(MakeImage(kImageFormatEmpty, 4, 4).get()));
  EXPECT_FALSE(Write(MakeImage(kImageFormatBGRA, 4, 4).get()));
  EXPECT_FALSE(Write(MakeImage(kImageFormatRGB, 0, 0).get()));
  EXPECT_FALSE(std::filesystem::exists(mPath));
}

TEST_F(YuvWriter, FailsWhenTheFileCannotBeWritten) {
  const auto image = MakeImage(kImageFormatRGB, 720, 486);
  mPath = mFolder.Path("no/such/folder.yuv");
  EXPECT_FALSE(Write(image.get()));
  mPath = "/dev/full";
  EXPECT_FALSE(Write(image.get()));
  RImageStreamyuv unnamed;
  unnamed.SetImage(image.get());
  EXPECT_FALSE(unnamed.StreamCreate(nullptr));
}

TEST_F(YuvWriter, AFrameThatIsReadAndWrittenStaysCloseInLumaOfGreys) {
  test::Random random(3);
  Bytes frame(kFrame, 128);
  for (std::size_t i = 1; i < frame.size(); i += 2)
    frame[i] = static_cast<unsigned char>(16 + random.Below(220));
  const auto image = Read(frame);
  ASSERT_TRUE(image);
  ASSERT_TRUE(Write(image.get()));
  const Bytes written = Written();
  for (std::size_t i = 0; i < kFrame; ++i) {
    const int difference = frame[i] - written[i];
    ASSERT_TRUE(i % 2 == 0 ? difference == 0 : difference >= 0 && difference <= 2) << i;
  }
}

TEST(RImageStreamyuv, HasTheClassInformation) {
  RImageStreamyuv stream;
  EXPECT_STREQ(stream.GetClassIdName(), "RImageStreamyuv");
  EXPECT_TRUE(stream.Is(RImageStream::ClassId));
  EXPECT_FALSE(stream.Is(RImage::ClassId));
}

}  // namespace
