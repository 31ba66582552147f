#include "streams/RImageStreampict.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "support/PicBuilder.h"
#include "support/Random.h"
#include "support/RunLengthEncoders.h"
#include "support/StreamReading.h"

namespace {

using test::Bytes;
using test::PicBuilder;
using test::PixelsOf;

RDestroyPtr<RImage> Read(const Bytes& bytes) { return test::ReadBytesWith<RImageStreampict>(bytes, ".pic"); }
Bytes PixelsOfFile(const PicBuilder& file) { return PixelsOf(Read(file.Build()).get()); }

TEST(RImageStreampict, HasTheClassInformation) {
  RImageStreampict stream;
  EXPECT_STREQ(stream.GetClassIdName(), "RImageStreampict");
  EXPECT_TRUE(stream.Is(RImageStream::ClassId));
  EXPECT_FALSE(stream.Is(RImage::ClassId));
}

TEST(RImageStreampict, HasNoWriter) {
  RImageStreampict stream;
  RDestroyPtr<RImage> image(RImageCreate());
  stream.SetImage(image.get());
  stream.SetFileName("/nowhere/out.pic");
  EXPECT_FALSE(stream.StreamCreate(nullptr));
}

TEST(RImageStreampict, ReadsRgbaWithTheFirstScanlineInTheLastRow) {
  const auto image =
      Read(PicBuilder::Make(2, 2, {{0, 0xE0}}, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}).Build());
  ASSERT_TRUE(image);
  EXPECT_EQ(image->GetFormat(), kImageFormatRGBA);
  EXPECT_EQ(image->GetWidth(), 2);
  EXPECT_EQ(image->GetHeight(), 2);
  EXPECT_EQ(image->GetPadWidth(), 0);
  EXPECT_EQ(image->GetImageType(), kImageTypeFrame);
  EXPECT_EQ(image->GetIncarnation(), RImage::kIncarnationRaw);
  EXPECT_EQ(PixelsOf(image.get()), (Bytes{7, 8, 9, 255, 10, 11, 12, 255, 1, 2, 3, 255, 4, 5, 6, 255}));
}

TEST(RImageStreampict, AlphaIsAlways255WhateverTheFileHas) {
  EXPECT_EQ(PixelsOfFile(PicBuilder::Make(2, 1, {{0, 0xF0}}, {1, 2, 3, 0, 4, 5, 6, 128})),
            (Bytes{1, 2, 3, 255, 4, 5, 6, 255}));
  EXPECT_EQ(PixelsOfFile(PicBuilder::Make(2, 1, {{0, 0xE0}, {2, 0x10}}, {1, 2, 3, 4, 5, 6, 129, 0})),
            (Bytes{1, 2, 3, 255, 4, 5, 6, 255}));
}

TEST(RImageStreampict, ChannelsThatTheFileDoesNotHaveAreZero) {
  EXPECT_EQ(PixelsOfFile(PicBuilder::Make(2, 1, {{1, 0x40}}, {2, 9})), (Bytes{0, 9, 0, 255, 0, 9, 0, 255}));
  EXPECT_EQ(PixelsOfFile(PicBuilder::Make(1, 1, {{1, 0x10}}, {2, 9})), (Bytes{0, 0, 0, 255}));
  EXPECT_EQ(PixelsOfFile(PicBuilder::Make(1, 1, {}, {})), (Bytes{0, 0, 0, 255}));
}

TEST(RImageStreampict, FieldPicturesAreReadAsFrames) {
  for (const int fields : {0, 1, 2, 3}) {
    auto file = PicBuilder::Make(1, 2, {{0, 0x80}}, {1, 2});
    file.fields = static_cast<std::uint16_t>(fields);
    file.ratio = 0.5F;
    EXPECT_EQ(PixelsOfFile(file), (Bytes{2, 0, 0, 255, 1, 0, 0, 255}));
  }
}

TEST(RImageStreampict, AnUnknownCodeLeavesTheChannelAtZero) {
  EXPECT_EQ(PixelsOfFile(PicBuilder::Make(1, 2, {{3, 0xC0}, {0, 0x20}}, {8, 9})),
            (Bytes{0, 0, 9, 255, 0, 0, 8, 255}));
}

TEST(RImageStreampict, AChannelThatIsRepeatedKeepsItsFirstSamples) {
  EXPECT_EQ(PixelsOfFile(PicBuilder::Make(1, 1, {{0, 0x80}, {0, 0xC0}, {0, 0xA0}}, {1, 2, 3, 4, 5})),
            (Bytes{1, 3, 5, 255}));
}

TEST(RImageStreampict, AChannelBehindAnUnknownCodeOfItDoesNotShow) {
  EXPECT_EQ(PixelsOfFile(PicBuilder::Make(1, 1, {{9, 0x80}, {0, 0xC0}}, {1, 2})), (Bytes{0, 2, 0, 255}));
}

TEST(RImageStreampict, RunsPastTheScanlineDoNotReachTheNextOne) {
  EXPECT_EQ(PixelsOfFile(PicBuilder::Make(2, 2, {{2, 0x80}}, {255, 1, 0, 2, 0, 3})),
            (Bytes{2, 0, 0, 255, 3, 0, 0, 255, 1, 0, 0, 255, 1, 0, 0, 255}));
}

TEST(RImageStreampict, AShortFileRepeatsTheScanlineAbove) {
  EXPECT_EQ(PixelsOfFile(PicBuilder::Make(2, 4, {{0, 0xC0}}, {1, 2, 3, 4, 5, 6, 7})),
            (Bytes{5, 6, 0, 255, 7, 4, 0, 255, 5, 6, 0, 255, 7, 4, 0, 255,
                   5, 6, 0, 255, 7, 4, 0, 255, 1, 2, 0, 255, 3, 4, 0, 255}));
}

TEST(RImageStreampict, AFileThatEndsWithinAPixelOfAllColoursTakesTheRestFromTheScanlineAbove) {
  EXPECT_EQ(PixelsOfFile(PicBuilder::Make(2, 2, {{0, 0xE0}}, {1, 2, 3, 4, 5, 6, 7, 8})),
            (Bytes{7, 8, 3, 255, 4, 5, 6, 255, 1, 2, 3, 255, 4, 5, 6, 255}));
  EXPECT_EQ(PixelsOfFile(PicBuilder::Make(1, 2, {{0, 0xF0}}, {1, 2, 3, 4, 5})),
            (Bytes{5, 2, 3, 255, 1, 2, 3, 255}));
}

TEST(RImageStreampict, AFileThatEndsWithinARunOfAllColoursTakesTheRestFromTheScanlineAbove) {
  const Bytes whole = {0x81, 1, 2, 3, 4};
  const auto pixelsOf = [&](const Bytes& cut) {
    return PixelsOfFile(PicBuilder::Make(2, 2, {{2, 0xF0}}, test::Join({whole, cut})));
  };
  const Bytes above = {1, 2, 3, 255, 1, 2, 3, 255};
  EXPECT_EQ(pixelsOf({0x81}), test::Join({above, above}));
  EXPECT_EQ(pixelsOf({0x81, 9}), test::Join({{9, 2, 3, 255, 9, 2, 3, 255}, above}));
  EXPECT_EQ(pixelsOf({0x81, 9, 8, 7}), test::Join({{9, 8, 7, 255, 9, 8, 7, 255}, above}));
}

TEST(RImageStreampict, PicturesWithoutPixelsLoad) {
  EXPECT_TRUE(Read(PicBuilder::Make(0, 3, {{2, 0xE0}}, {}).Build()));
  EXPECT_TRUE(Read(PicBuilder::Make(3, 0, {{2, 0xE0}}, {}).Build()));
}

TEST(RImageStreampict, ALaterVersionWarnsAndLoads) {
  auto file = PicBuilder::Make(1, 1, {{0, 0xE0}}, {1, 2, 3});
  file.version = 2.7F;
  testing::internal::CaptureStderr();
  EXPECT_EQ(PixelsOfFile(file), (Bytes{1, 2, 3, 255}));
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Warning, file version 2.7 is later than Prox release version 2.6\n"
            "Attempt to read: An error may occur...\n");
}

// --- From a stream that is open

TEST(RImageStreampict, ReadsAnOpenFileFromItsPositionAndLeavesItOpen) {
  auto picture = PicBuilder::Make(1, 2, {{0, 0xE0}}, {1, 2, 3, 4, 5, 6});
  picture.version = 3;
  const test::MemoryFile bytes(test::Join({{9, 9}, picture.Build()}), ".bin");
  std::FILE* file = std::fopen(bytes.Path(), "rb");
  ASSERT_NE(file, nullptr);
  ASSERT_EQ(std::fseek(file, 2, SEEK_SET), 0);
  RImageStreampict stream;
  testing::internal::CaptureStderr();
  const bool read = stream.ReadPicture(file);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << "a later version is no reason to warn";
  const RDestroyPtr<RImage> image(stream.GetImage(false));
  ASSERT_TRUE(read);
  EXPECT_EQ(PixelsOf(image.get()), (Bytes{4, 5, 6, 255, 1, 2, 3, 255}));
  EXPECT_EQ(std::fseek(file, 0, SEEK_SET), 0);
  EXPECT_EQ(std::fgetc(file), 9);
  std::fclose(file);
}

TEST(RImageStreampict, AnOpenFileWithoutAPictureIsRefused) {
  const test::MemoryFile bytes(Bytes(200, 1), ".pic");
  std::FILE* file = std::fopen(bytes.Path(), "rb");
  ASSERT_NE(file, nullptr);
  RImageStreampict stream;
  EXPECT_FALSE(stream.ReadPicture(file));
  EXPECT_FALSE(stream.ReadPicture(nullptr));
  EXPECT_EQ(stream.GetImage(false), nullptr);
  std::fclose(file);
}

TEST(RImageStreampict, AddsTheSuffixToTheName) {
  const test::TemporaryFolder folder;
  folder.Write("shot.pic", PicBuilder::Make(1, 1, {{0, 0xE0}}, {1, 2, 3}).Build());
  EXPECT_TRUE(test::ReadWith<RImageStreampict>(folder.Path("shot")));
  EXPECT_TRUE(test::ReadWith<RImageStreampict>(folder.Path("shot.pic")));
  EXPECT_FALSE(test::ReadWith<RImageStreampict>(folder.Path("shot.Pic")));
}

TEST(RImageStreampict, FailsWithoutAPictureAndAttachesNothing) {
  const test::TemporaryFolder folder;
  RImageStreampict stream;
  EXPECT_FALSE(stream.StreamOpen(nullptr));
  stream.SetFileName(folder.Path("missing.pic").c_str());
  EXPECT_FALSE(stream.StreamOpen(nullptr));
  stream.SetFileName(folder.Write("a.pic", Bytes(200, 1)).c_str());
  EXPECT_FALSE(stream.StreamOpen(nullptr));
  EXPECT_EQ(stream.GetImage(false), nullptr);
}

TEST(RImageStreampict, FillsTheImageThatIsAttached) {
  RDestroyPtr<RImage> image(RImageCreate());
  const test::TemporaryFolder folder;
  RImageStreampict stream;
  stream.SetFileName(folder.Write("a.pic", PicBuilder::Make(1, 1, {{0, 0xE0}}, {1, 2, 3}).Build()).c_str());
  stream.SetImage(image.get());
  EXPECT_TRUE(stream.StreamOpen(nullptr));
  EXPECT_EQ(stream.GetImage(false), image.get());
  EXPECT_EQ(PixelsOf(image.get()), (Bytes{1, 2, 3, 255}));
  image->SetDepth(0);
  EXPECT_FALSE(stream.StreamOpen(nullptr));
}

TEST(RImageStreampict, RefusesClaimsOfMoreThan65536BytesAFileByte) {
  auto file = PicBuilder::Make(4096, 432, {{2, 0x80}}, {});  // 108 x 65,536 bytes
  EXPECT_TRUE(Read(file.Build()));
  file.height = 433;
  EXPECT_FALSE(Read(file.Build()));
}

// --- Against the scanline functions, used as their documentation says

Bytes ReadByScanlines(const std::string& path) {
  RPrivatePicture* picture = pictureAllocate();
  channelPacket* packets = nullptr;
  std::FILE* file = pictureReadFileHeader(path.c_str(), picture, &packets);
  if (!file) return {};
  const std::size_t width = picture->width;
  const std::size_t height = picture->height;
  Bytes pixels(4 * width * height);
  for (unsigned char*& buffer : picture->buffer) buffer = static_cast<unsigned char*>(std::calloc(2, width));
  for (std::size_t y = height; y-- > 0;) {
    for (int i = 0; i < 4; ++i) picture->write[i] = picture->buffer[i];
    pictureReadScanline(file, picture, packets);
    for (std::size_t x = 0; x < width; ++x) {
      unsigned char* pixel = &pixels[4 * (y * width + x)];
      for (int i = 0; i < 3; ++i) pixel[i] = picture->buffer[i][x];
      pixel[3] = 255;
    }
  }
  std::fclose(file);
  channelPacketDispose(&packets);
  pictureDispose(&picture);
  return pixels;
}

// A picture of random packets and bytes that are mostly plausible counts.
PicBuilder RandomPicture(test::Random& random) {
  PicBuilder file;
  file.width = static_cast<std::uint16_t>(1 + random.Below(400));
  file.height = static_cast<std::uint16_t>(1 + random.Below(6));
  file.packets.resize(1 + random.Below(4));
  for (test::PicPacket& packet : file.packets) {
    const std::uint8_t types[] = {0, 1, 1, 2, 2, 2, 5};
    // Mostly all colours in one packet, as most files have them, with alpha or not.
    const unsigned channels = random.Below(3) == 0 ? random.Below(16) : 14 + random.Below(2);
    packet = {types[random.Below(7)], static_cast<std::uint8_t>(channels << 4)};
  }
  const unsigned size = random.Below(3000);
  const unsigned style = random.Below(3);
  for (unsigned i = 0; i < size; ++i) {
    const unsigned byte = random.Below(65536);
    file.body.push_back(static_cast<unsigned char>(style == 0   ? byte
                                                   : style == 1 ? 120 + byte % 16
                                                                : byte % 6 * 51));
  }
  return file;
}

TEST(RImageStreampict, AgreesWithTheScanlineFunctionsOnAnyBytes) {
  const test::TemporaryFolder folder;
  test::Random random(7);
  for (int i = 0; i < 2000; ++i) {
    const std::string path = folder.Write(std::to_string(i) + ".pic", RandomPicture(random).Build());
    const auto image = test::ReadWith<RImageStreampict>(path);
    ASSERT_TRUE(image);
    ASSERT_EQ(PixelsOf(image.get()), ReadByScanlines(path)) << i;
  }
}

TEST(RImageStreampict, GivesTheSamplesOfWholePicturesBack) {
  constexpr unsigned kWidth = 700;
  constexpr unsigned kHeight = 20;
  Bytes body;
  Bytes expected(std::size_t{4} * kWidth * kHeight, 255);
  for (std::size_t y = 0; y < kHeight; ++y) {
    const Bytes row = test::RunnySamples(std::size_t{3} * kWidth, unsigned(y));
    body = test::Join({body, test::EncodePicMixed(row, 3)});
    for (std::size_t x = 0; x < kWidth; ++x) {
      for (std::size_t i = 0; i < 3; ++i) expected[4 * ((kHeight - 1 - y) * kWidth + x) + i] = row[3 * x + i];
    }
  }
  EXPECT_EQ(PixelsOfFile(PicBuilder::Make(kWidth, kHeight, {{2, 0xE0}}, body)), expected);
}

}  // namespace
