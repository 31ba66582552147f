// What the Qt stream hands to Qt's writers, and the suffixes that count only where a Qt plugin lists them.
#include <gtest/gtest.h>

#include <QtPlugin>
#include <filesystem>

#include "image/RDestroyPtr.h"
#include "streams/QImagePatternPlugin.h"
#include "streams/QImageRecordingPlugin.h"
#include "streams/RImageStreamQT.h"
#include "support/TestData.h"

Q_IMPORT_PLUGIN(QImagePatternPlugin)
Q_IMPORT_PLUGIN(QImageRecordingPlugin)

namespace {

using Bytes = std::vector<unsigned char>;

RDestroyPtr<RImage> MakeImage(kImageFormat format) {
  RDestroyPtr<RImage> image(RImageCreate());
  EXPECT_TRUE(image->Init(format, 1, 2, 0, 0, true, kImageTypeFrame, kInterleaveNone, kInterpolationNone,
                          RImage::kIncarnationRaw));
  image->GetImageBits()[0] = 9;
  return image;
}

class HandoverTest : public testing::Test {
 protected:
  void SetUp() override { test::RecordedWrites().clear(); }

  // Returns what the writer was given.
  test::RecordedWrite Write(RImage& image, const char* text, int quality, int compression) const {
    EXPECT_TRUE(RImage::WriteToDisk(&image, mFolder.Path("a.tga").c_str(), text, quality, compression));
    return Last();
  }
  static test::RecordedWrite Last() {
    EXPECT_EQ(test::RecordedWrites().size(), 1U);
    return test::RecordedWrites().empty() ? test::RecordedWrite() : test::RecordedWrites().back();
  }

  test::TemporaryFolder mFolder;
};

TEST_F(HandoverTest, TgaIsWrittenThroughQtWhereQtListsIt) {
  const auto image = MakeImage(kImageFormatRGB);
  const Bytes bottomFirst(image->GetImageBits(), image->GetImageBits() + 6);
  const test::RecordedWrite written = Write(*image, "", 50, 0);
  EXPECT_EQ(test::ReadFile(mFolder.Path("a.tga")), Bytes{'x'}) << "not by the own codec";
  EXPECT_EQ(written.image.size(), QSize(1, 2));
  EXPECT_EQ(written.image.constScanLine(1)[0], 9) << "the bottom row last";
  EXPECT_EQ(image->GetImageBits()[3], 9) << "the caller's image stays flipped, as for every Qt format";
}

TEST_F(HandoverTest, ALayoutThatTheOwnCodecRefusesIsWrittenThroughQt) {
  const auto image = MakeImage(kImageFormatRGB555);
  EXPECT_EQ(Write(*image, "", 50, 0).image.format(), QImage::Format_RGBA8888_Premultiplied);
}

TEST_F(HandoverTest, ThreeByteLayoutsAreHandedOverAsRGBTheOthersAsPremultipliedRGBA) {
  for (const kImageFormat format : {kImageFormatRGBA, kImageFormatRGB, kImageFormatBGRA, kImageFormatBGR,
                                    kImageFormatRGB555, kImageFormatABGR, kImageFormatARGB}) {
    test::RecordedWrites().clear();
    const auto image = MakeImage(format);
    const bool threeBytes = format == kImageFormatRGB || format == kImageFormatBGR;
    EXPECT_EQ(Write(*image, "", 50, 0).image.format(),
              threeBytes ? QImage::Format_RGB888 : QImage::Format_RGBA8888_Premultiplied)
        << format;
  }
}

TEST_F(HandoverTest, OptionsReachTheWriter) {
  const auto image = MakeImage(kImageFormatRGB);
  const test::RecordedWrite written = Write(*image, "gr\xC3\xBC\xC3\x9F dich", 37, 5);
  EXPECT_EQ(written.quality, 37);
  EXPECT_EQ(written.compression, 5);
  EXPECT_EQ(written.description, QString::fromUtf8(": gr\xC3\xBC\xC3\x9F dich")) << "under an empty key";
}

TEST_F(HandoverTest, NoTextIsHandedOverForAnEmptyOrMissingOne) {
  for (const char* text : {"", static_cast<const char*>(nullptr)}) {
    test::RecordedWrites().clear();
    const auto image = MakeImage(kImageFormatRGB);
    EXPECT_EQ(Write(*image, text, 37, 5).description, QString());
  }
}

TEST_F(HandoverTest, WithoutOptionsQualityIs100CompressionIs0AndThereIsNoText) {
  const auto image = MakeImage(kImageFormatRGB);
  RImageStreamQT stream;
  stream.SetFileName(mFolder.Path("a.tga").c_str());
  stream.SetImage(image.get());
  ASSERT_TRUE(stream.StreamCreate(nullptr));
  const test::RecordedWrite written = Last();
  EXPECT_EQ(written.quality, 100);
  EXPECT_EQ(written.compression, 0);
  EXPECT_EQ(written.description, QString());
}

// A suffix is read where Qt has a reader of that name, and then whatever Qt finds in the file.
TEST_F(HandoverTest, DdsIsReadWhereQtListsIt) {
  RImage* read = nullptr;
  const std::string path = mFolder.Write("a.DDS", test::MakePatternFile(QImage::Format_RGB888, 3, 2));
  ASSERT_TRUE(RImage::ReadFromDisk(path.c_str(), read, false));
  const RDestroyPtr<RImage> image(read);
  EXPECT_EQ(image->GetWidth(), 3);
  EXPECT_EQ(image->GetHeight(), 2);
}

TEST_F(HandoverTest, ASuffixThatQtOnlyReadsIsNotWritten) {
  const auto image = MakeImage(kImageFormatRGB);
  EXPECT_FALSE(RImage::WriteToDisk(image.get(), mFolder.Path("a.dds").c_str(), "", 50, 0));
  EXPECT_FALSE(std::filesystem::exists(mFolder.Path("a.dds")));
}

}  // namespace
