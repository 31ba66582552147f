// The own TGA reader and writer, reached through the Qt stream: Qt reads only files that end in the footer of
// TGA version 2, which no file here has, and writes none.
#include "streams/TgaCodec.h"

#include <gtest/gtest.h>

#include <QImageWriter>
#include <array>
#include <filesystem>
#include <numeric>

#include "image/RDestroyPtr.h"
#include "image/RImage.h"
#include "streams/RImageStreamQT.h"
#include "streams/TgaFormat.h"
#include "support/CaseName.h"
#include "support/TestData.h"

namespace {

using Bytes = std::vector<unsigned char>;

// A file as its fields; the defaults make a 2 x 2 picture of 24 bits.
struct TgaFile {
  int idLength = 0;
  int colourMapType = 0;
  int imageType = 2;
  Bytes colourMap = {0, 0, 0, 0, 0};
  Bytes origin = {0, 0, 0, 0};
  int width = 2;
  int height = 2;
  int depth = 24;
  int descriptor = 0;
  Bytes body = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};

  Bytes Make() const {
    const auto byte = [](int value) { return static_cast<unsigned char>(value); };
    Bytes file{byte(idLength), byte(colourMapType), byte(imageType)};
    file.insert(file.end(), colourMap.begin(), colourMap.end());
    file.insert(file.end(), origin.begin(), origin.end());
    for (const int number : {width, width >> 8, height, height >> 8, depth, descriptor})
      file.push_back(byte(number));
    file.insert(file.end(), body.begin(), body.end());
    return file;
  }
};

Bytes BytesOf(RImage& image) {
  const unsigned char* bits = image.GetImageBits();
  const int size = image.GetWidth() * image.GetHeight() * image.GetPixelSize();
  return bits ? Bytes(bits, bits + size) : Bytes();
}

class TgaReadTest : public testing::Test {
 protected:
  bool Open(const Bytes& file) {
    mStream.SetFileName(mFolder.Write("picture.tga", file).c_str());
    return mStream.StreamOpen(nullptr);
  }
  bool Open(const TgaFile& file) { return Open(file.Make()); }
  RImage* Image() { return mStream.GetImage(false); }

  ~TgaReadTest() override {
    if (Image()) Image()->Destroy(0);
  }

  test::TemporaryFolder mFolder;
  RImageStreamQT mStream;
};

TEST_F(TgaReadTest, ReadsBgrFrom24Bits) {
  ASSERT_TRUE(Open(TgaFile()));
  EXPECT_EQ(Image()->GetFormat(), kImageFormatBGR);
  EXPECT_EQ(Image()->GetWidth(), 2);
  EXPECT_EQ(Image()->GetHeight(), 2);
  EXPECT_EQ(BytesOf(*Image()), (Bytes{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}));
}

TEST_F(TgaReadTest, ReadsBgraFrom32Bits) {
  TgaFile file;
  file.width = 1;
  file.depth = 32;
  file.body = {1, 2, 3, 4, 5, 6, 7, 8};
  ASSERT_TRUE(Open(file));
  EXPECT_EQ(Image()->GetFormat(), kImageFormatBGRA);
  EXPECT_EQ(Image()->GetWidth(), 1);
  EXPECT_EQ(BytesOf(*Image()), (Bytes{1, 2, 3, 4, 5, 6, 7, 8}));
  EXPECT_EQ(Image()->GetUpdateId(), 1);
}

struct Word16 {
  const char* name;
  Bytes file;
  Bytes bgra;
};

class Tga16BitTest : public TgaReadTest, public testing::WithParamInterface<Word16> {};

TEST_P(Tga16BitTest, ExpandsOnePixel) {
  TgaFile file;
  file.width = 1;
  file.height = 1;
  file.depth = 16;
  file.body = GetParam().file;
  ASSERT_TRUE(Open(file));
  EXPECT_EQ(Image()->GetFormat(), kImageFormatBGRA);
  EXPECT_EQ(BytesOf(*Image()), GetParam().bgra);
}

INSTANTIATE_TEST_SUITE_P(
    Words, Tga16BitTest,
    testing::Values(Word16{"Black", {0x00, 0x00}, {0x00, 0x00, 0x00, 0x00}},
                    Word16{"White", {0xFF, 0x7F}, {0xF8, 0xF8, 0xF8, 0x00}},
                    Word16{"OpaqueWhiteHasAlpha128", {0xFF, 0xFF}, {0xF8, 0xF8, 0xF8, 0x80}},
                    Word16{"AlphaAloneIs128Not255", {0x00, 0x80}, {0x00, 0x00, 0x00, 0x80}},
                    Word16{"Blue", {0x1F, 0x00}, {0xF8, 0x00, 0x00, 0x00}},
                    Word16{"Green", {0xE0, 0x03}, {0x00, 0xF8, 0x00, 0x00}},
                    Word16{"Red", {0x00, 0x7C}, {0x00, 0x00, 0xF8, 0x00}},
                    Word16{"LowestBits", {0x21, 0x04}, {0x08, 0x08, 0x08, 0x00}},
                    Word16{"HighestBits", {0x10, 0x42}, {0x80, 0x80, 0x80, 0x00}}),
    test::CaseName());

TEST_F(TgaReadTest, Expands16BitPixelsInTheirOrder) {
  TgaFile file;
  file.depth = 16;
  file.body = {0x1F, 0x00, 0xE0, 0x03, 0x00, 0x7C, 0x00, 0x80};
  ASSERT_TRUE(Open(file));
  EXPECT_EQ(BytesOf(*Image()), (Bytes{0xF8, 0, 0, 0, 0, 0xF8, 0, 0, 0, 0, 0xF8, 0, 0, 0, 0, 0x80}));
}

// What the header says beside type, size and depth makes no difference.
struct IgnoredField {
  const char* name;
  void (*change)(TgaFile& file);
};

class TgaIgnoredFieldTest : public TgaReadTest, public testing::WithParamInterface<IgnoredField> {};

TEST_P(TgaIgnoredFieldTest, PixelsStartRightBehindTheHeaderInTheFilesOrder) {
  TgaFile file;
  GetParam().change(file);
  ASSERT_TRUE(Open(file));
  EXPECT_EQ(Image()->GetWidth(), 2);
  EXPECT_EQ(Image()->GetHeight(), 2);
  EXPECT_EQ(BytesOf(*Image()), (Bytes{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}));
}

INSTANTIATE_TEST_SUITE_P(
    Fields, TgaIgnoredFieldTest,
    testing::Values(IgnoredField{"IdLength", [](TgaFile& file) { file.idLength = 5; }},
                    IgnoredField{"ColourMapType", [](TgaFile& file) { file.colourMapType = 1; }},
                    IgnoredField{"ColourMap",
                                 [](TgaFile& file) {
                                   file.colourMap = {1, 2, 3, 4, 5};
                                 }},
                    IgnoredField{"Origin",
                                 [](TgaFile& file) {
                                   file.origin = {1, 2, 3, 4};
                                 }},
                    IgnoredField{"TopRowFirst", [](TgaFile& file) { file.descriptor = 0x20; }},
                    IgnoredField{"RightToLeft", [](TgaFile& file) { file.descriptor = 0x10; }},
                    IgnoredField{"AlphaBits", [](TgaFile& file) { file.descriptor = 0x0F; }},
                    IgnoredField{"BytesBehindThePixels", [](TgaFile& file) { file.body.resize(40); }}),
    test::CaseName());

TEST_F(TgaReadTest, SizesAreLittleEndian) {
  TgaFile file;
  file.width = 0x102;
  file.height = 1;
  file.body.assign(3 * 0x102, 7);
  ASSERT_TRUE(Open(file));
  EXPECT_EQ(Image()->GetWidth(), 258);
  file.width = 1;
  file.height = 0x102;
  ASSERT_TRUE(Open(file));
  EXPECT_EQ(Image()->GetHeight(), 258);
}

TEST_F(TgaReadTest, EmptyPictureIsRead) {
  TgaFile file;
  file.width = 0;
  ASSERT_TRUE(Open(file));
  EXPECT_EQ(Image()->GetWidth(), 0);
  EXPECT_EQ(Image()->GetHeight(), 2);
  EXPECT_EQ(Image()->GetFormat(), kImageFormatBGR);
  file.depth = 16;
  EXPECT_TRUE(Open(file));
}

// --- Refused files.

class TgaRefusedTypeTest : public TgaReadTest, public testing::WithParamInterface<int> {};

TEST_P(TgaRefusedTypeTest, DestroysAndDetachesTheImage) {
  const int before = RImage::ClassInstanceCount;
  mStream.SetImage(RImageCreate());
  TgaFile file;
  file.imageType = GetParam();
  EXPECT_FALSE(Open(file));
  EXPECT_EQ(Image(), nullptr);
  EXPECT_EQ(mStream.GetObject(), nullptr);
  EXPECT_EQ(RImage::ClassInstanceCount, before);
}

INSTANTIATE_TEST_SUITE_P(Types, TgaRefusedTypeTest, testing::Values(0, 1, 3, 9, 10, 11, 32, 33, 255));

class TgaRefusedDepthTest : public TgaReadTest, public testing::WithParamInterface<int> {};

TEST_P(TgaRefusedDepthTest, DestroysAndDetachesTheImage) {
  const int before = RImage::ClassInstanceCount;
  TgaFile file;
  file.depth = GetParam();
  EXPECT_FALSE(Open(file));
  EXPECT_EQ(Image(), nullptr);
  EXPECT_EQ(RImage::ClassInstanceCount, before);
}

INSTANTIATE_TEST_SUITE_P(Depths, TgaRefusedDepthTest,
                         testing::Values(0, 1, 8, 15, 17, 23, 25, 31, 33, 64, 255));

TEST_F(TgaReadTest, TypeIsRefusedBeforeTheLengthIsLookedAt) {
  TgaFile file;
  file.imageType = 10;
  file.body.clear();
  EXPECT_FALSE(Open(file));
  EXPECT_EQ(Image(), nullptr);
}

// --- Short files.

TEST_F(TgaReadTest, ShortHeaderFailsAndKeepsTheImage) {
  const Bytes whole = TgaFile().Make();
  for (std::size_t length = 0; length < TgaHeader::kSize; ++length) {
    EXPECT_FALSE(Open(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)))) << length;
    ASSERT_NE(Image(), nullptr) << length;
    EXPECT_EQ(Image()->GetUpdateId(), 0) << length;
  }
}

class TgaShortPixelsTest : public TgaReadTest, public testing::WithParamInterface<int> {};

TEST_P(TgaShortPixelsTest, FailBeforeAnythingIsAllocated) {
  TgaFile file;
  file.depth = GetParam();
  file.body.assign(static_cast<std::size_t>(4 * file.depth / 8), 9);
  ASSERT_TRUE(Open(file)) << "the whole file reads";
  RImage* const read = Image();
  const int update = read->GetUpdateId();
  const Bytes before = BytesOf(*read);
  file.width = 3;
  EXPECT_FALSE(Open(file));
  file.width = 2;
  file.body.pop_back();
  EXPECT_FALSE(Open(file));
  EXPECT_EQ(Image(), read);
  EXPECT_EQ(read->GetUpdateId(), update) << "not described anew";
  EXPECT_EQ(BytesOf(*read), before);
}

INSTANTIATE_TEST_SUITE_P(Depths, TgaShortPixelsTest, testing::Values(16, 24, 32));

TEST_F(TgaReadTest, GreatestSizeFailsWithoutMemory) {
  TgaFile file;
  file.width = 65535;
  file.height = 65535;
  for (const int depth : {16, 24, 32}) {
    file.depth = depth;
    EXPECT_FALSE(Open(file));
    EXPECT_EQ(Image()->GetImageBits(), nullptr);
  }
}

TEST_F(TgaReadTest, AbsentFileFails) {
  mStream.SetFileName(mFolder.Path("absent.tga").c_str());
  EXPECT_FALSE(mStream.StreamOpen(nullptr));
  EXPECT_NE(Image(), nullptr) << "what the stream made stays attached";
}

TEST_F(TgaReadTest, FolderIsNoFile) {
  std::filesystem::create_directory(mFolder.Path("folder.tga"));
  mStream.SetFileName(mFolder.Path("folder.tga").c_str());
  EXPECT_FALSE(mStream.StreamOpen(nullptr));
}

// --- The image that the host attached.

TEST_F(TgaReadTest, LowestLayerOfADeepImageIsFilled) {
  RImage* const image = RImageCreate();
  image->SetDepth(2);
  mStream.SetImage(image);
  ASSERT_TRUE(Open(TgaFile()));
  EXPECT_EQ(Image(), image);
  EXPECT_EQ(image->GetDepth(), 2);
  EXPECT_EQ(BytesOf(*image), TgaFile().body);
}

TEST_F(TgaReadTest, ImageWithoutLayersCannotBeFilled) {
  mStream.SetImage(RImageCreate());
  Image()->SetDepth(0);
  TgaFile file;
  EXPECT_FALSE(Open(file));
  file.depth = 16;
  EXPECT_FALSE(Open(file));
}

TEST_F(TgaReadTest, ReadPictureHasNoVectorSource) {
  mStream.SetImage(RImageCreate());
  Image()->SetVectorSourcePath("drawing.svg");
  TgaFile file;
  file.body.pop_back();
  EXPECT_FALSE(Open(file));
  EXPECT_STREQ(Image()->GetVectorSourcePath(), "drawing.svg") << "a failed read leaves it";
  ASSERT_TRUE(Open(TgaFile()));
  EXPECT_STREQ(Image()->GetVectorSourcePath(), "");
}

// --- Writing.

RDestroyPtr<RImage> MakeImage(kImageFormat format, int width, int height, Bytes bytes) {
  RDestroyPtr<RImage> image(RImageCreate());
  EXPECT_TRUE(image->Init(format, width, height, 0, 0, true, kImageTypeFrame, kInterleaveNone,
                          kInterpolationNone, RImage::kIncarnationRaw));
  if (!bytes.empty()) image->SetImageBits(bytes.data());
  return image;
}

Bytes Counting(std::size_t size) {
  Bytes bytes(size);
  std::iota(bytes.begin(), bytes.end(), static_cast<unsigned char>(1));
  return bytes;
}

class TgaWriteTest : public testing::Test {
 protected:
  void SetUp() override {
    if (QImageWriter::supportedImageFormats().contains("tga")) GTEST_SKIP() << "this Qt writes TGA itself";
  }
  bool Write(RImage& image) { return RImage::WriteToDisk(&image, mPath.c_str(), "text", 50, 5); }

  test::TemporaryFolder mFolder;
  std::string mPath = mFolder.Path("written.tga");
};

struct WriteCase {
  const char* name;
  kImageFormat format;
  Bytes pixels;  // 1 x 2: the bottom row, then the top row
  Bytes file;
};

class TgaWriteFormatTest : public TgaWriteTest, public testing::WithParamInterface<WriteCase> {};

TEST_P(TgaWriteFormatTest, WritesTheseBytes) {
  const auto image = MakeImage(GetParam().format, 1, 2, GetParam().pixels);
  const int update = image->GetUpdateId();
  ASSERT_TRUE(Write(*image));
  EXPECT_EQ(test::ReadFile(mPath), GetParam().file);
  EXPECT_EQ(BytesOf(*image), GetParam().pixels) << "the image stays as it is, not flipped";
  EXPECT_EQ(image->GetUpdateId(), update);
}

INSTANTIATE_TEST_SUITE_P(
    Formats, TgaWriteFormatTest,
    testing::Values(
        WriteCase{"RGBA", kImageFormatRGBA, Counting(8), {0, 0, 2, 0,  0, 0, 0, 0, 0, 0, 0, 0, 1,
                                                          0, 2, 0, 32, 8, 3, 2, 1, 4, 7, 6, 5, 8}},
        WriteCase{"BGRA", kImageFormatBGRA, Counting(8), {0, 0, 2, 0,  0, 0, 0, 0, 0, 0, 0, 0, 1,
                                                          0, 2, 0, 32, 8, 1, 2, 3, 4, 5, 6, 7, 8}},
        WriteCase{"ABGR", kImageFormatABGR, Counting(8), {0, 0, 2, 0,  0, 0, 0, 0, 0, 0, 0, 0, 1,
                                                          0, 2, 0, 32, 8, 2, 3, 4, 1, 6, 7, 8, 5}},
        WriteCase{"ARGB", kImageFormatARGB, Counting(8), {0, 0, 2, 0,  0, 0, 0, 0, 0, 0, 0, 0, 1,
                                                          0, 2, 0, 32, 8, 4, 3, 2, 1, 8, 7, 6, 5}},
        WriteCase{"RGB", kImageFormatRGB, Counting(6), {0, 0, 2, 0, 0,  0, 0, 0, 0, 0, 0, 0,
                                                        1, 0, 2, 0, 24, 0, 3, 2, 1, 6, 5, 4}},
        WriteCase{"BGR", kImageFormatBGR, Counting(6), {0, 0, 2, 0, 0,  0, 0, 0, 0, 0, 0, 0,
                                                        1, 0, 2, 0, 24, 0, 1, 2, 3, 4, 5, 6}}),
    test::CaseName());

// Larger than the blocks that are converted at a time, and no multiple of them.
TEST_P(TgaWriteFormatTest, WritesEveryPixelOfALargePicture) {
  const int width = 211;
  const int height = 331;
  const std::size_t size = GetParam().pixels.size() / 2;
  Bytes pixels;
  unsigned noise = 5;
  for (std::size_t i = 0; i < static_cast<std::size_t>(width * height) * size; ++i) {
    noise = noise * 1664525U + 1013904223U;
    pixels.push_back(static_cast<unsigned char>(noise >> 24));
  }
  ASSERT_TRUE(Write(*MakeImage(GetParam().format, width, height, pixels)));
  const Bytes file = test::ReadFile(mPath);
  ASSERT_EQ(file.size(), 18 + pixels.size());
  // Where byte c of a file's pixel stands in the image's pixel, by the one-pixel case above.
  for (std::size_t i = 0; i < pixels.size(); ++i) {
    const std::size_t from = GetParam().file[18 + i % size] - std::size_t{1};
    ASSERT_EQ(file[18 + i], pixels[i - i % size + from]) << "byte " << i;
  }
}

TEST_P(TgaWriteFormatTest, ReadsBackAsWritten) {
  ASSERT_TRUE(Write(*MakeImage(GetParam().format, 1, 2, GetParam().pixels)));
  RImage* read = nullptr;
  ASSERT_TRUE(RImage::ReadFromDisk(mPath.c_str(), read, false));
  const RDestroyPtr<RImage> image(read);
  EXPECT_EQ(image->GetFormat(), GetParam().pixels.size() == 8 ? kImageFormatBGRA : kImageFormatBGR);
  EXPECT_EQ(BytesOf(*image), Bytes(GetParam().file.begin() + 18, GetParam().file.end()));
}

class TgaWriteRefusedTest : public TgaWriteTest, public testing::WithParamInterface<kImageFormat> {};

TEST_P(TgaWriteRefusedTest, FailsBeforeTheFileIsTouched) {
  const auto image = MakeImage(GetParam(), 2, 2, {});
  EXPECT_FALSE(Write(*image));
  EXPECT_FALSE(std::filesystem::exists(mPath)) << "no file is created";
  test::WriteFile(mPath, {1, 2, 3});
  EXPECT_FALSE(Write(*image));
  EXPECT_EQ(test::ReadFile(mPath), (Bytes{1, 2, 3})) << "a file that is there stays";
}

INSTANTIATE_TEST_SUITE_P(Formats, TgaWriteRefusedTest,
                         testing::Values(kImageFormatUndefined, kImageFormatEmpty, kImageFormatRGB555));

TEST_F(TgaWriteTest, SidesAbove65535DoNotFitTheHeader) {
  test::WriteFile(mPath, {1, 2, 3});
  EXPECT_FALSE(Write(*MakeImage(kImageFormatBGR, 65536, 1, {})));
  EXPECT_FALSE(Write(*MakeImage(kImageFormatBGR, 1, 65536, {})));
  EXPECT_EQ(test::ReadFile(mPath), (Bytes{1, 2, 3}));
  ASSERT_TRUE(Write(*MakeImage(kImageFormatBGR, 65535, 1, {})));
  const Bytes file = test::ReadFile(mPath);
  EXPECT_EQ(file.size(), 18U + 3 * 65535);
  EXPECT_EQ(Bytes(file.begin() + 12, file.begin() + 16), (Bytes{0xFF, 0xFF, 1, 0}));
}

TEST_F(TgaWriteTest, ImageWithoutPixelsIsRefused) {
  const auto image = MakeImage(kImageFormatBGR, 2, 2, {});
  image->Clear();
  EXPECT_FALSE(Write(*image));
  EXPECT_FALSE(std::filesystem::exists(mPath));
}

TEST_F(TgaWriteTest, DescriptionBeyondTheBufferIsRefused) {
  const auto image = MakeImage(kImageFormatBGR, 2, 2, {});
  image->SetDepth(1 << 30);  // no such image can be allocated,
  image->SetWidth(1000);     // so the buffer stays that of 2 x 2 pixels
  EXPECT_FALSE(Write(*image));
  image->SetHeight(-1);
  EXPECT_FALSE(Write(*image));
  EXPECT_FALSE(std::filesystem::exists(mPath));
}

TEST_F(TgaWriteTest, PictureWithoutPixelsIsOnlyAHeader) {
  ASSERT_TRUE(Write(*MakeImage(kImageFormatBGR, 0, 3, {})));
  EXPECT_EQ(test::ReadFile(mPath), (Bytes{0, 0, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 3, 0, 24, 0}));
}

TEST_F(TgaWriteTest, OnlyTheFirstLayerIsWritten) {
  const auto image = MakeImage(kImageFormatBGR, 1, 1, {});
  image->SetDepth(2);
  Bytes pixels = Counting(6);
  image->SetImageBits(pixels.data());
  ASSERT_TRUE(Write(*image));
  const Bytes file = test::ReadFile(mPath);
  EXPECT_EQ(Bytes(file.begin() + 18, file.end()), (Bytes{1, 2, 3}));
}

TEST_F(TgaWriteTest, LongerFileIsReplaced) {
  test::WriteFile(mPath, Bytes(1000, 9));
  ASSERT_TRUE(Write(*MakeImage(kImageFormatBGR, 1, 1, {1, 2, 3})));
  EXPECT_EQ(test::ReadFile(mPath).size(), 21U);
}

TEST_F(TgaWriteTest, FullDiskFails) {
  if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no such device";
  std::filesystem::create_symlink("/dev/full", mPath);
  EXPECT_FALSE(Write(*MakeImage(kImageFormatBGR, 1, 1, {1, 2, 3}))) << "the error comes with the last flush";
  EXPECT_FALSE(Write(*MakeImage(kImageFormatBGR, 300, 300, {}))) << "the error comes with the pixels";
  EXPECT_FALSE(Write(*MakeImage(kImageFormatRGBA, 300, 300, {}))) << "the error comes with a block";
}

TEST_F(TgaWriteTest, AbsentFolderFails) {
  mPath = mFolder.Path("absent/written.tga");
  EXPECT_FALSE(Write(*MakeImage(kImageFormatBGR, 1, 1, {1, 2, 3})));
}

// --- The header's layout.

TEST(TgaHeaderTest, FieldsStandAtTheirOffsets) {
  const Bytes bytes = Counting(18);
  RByteReader reader(bytes);
  TgaHeader header;
  ASSERT_TRUE(header.Read(reader));
  EXPECT_EQ(header.idLength, 1);
  EXPECT_EQ(header.colourMapType, 2);
  EXPECT_EQ(header.imageType, 3);
  EXPECT_EQ(header.colourMapFirst, 0x0504);
  EXPECT_EQ(header.colourMapLength, 0x0706);
  EXPECT_EQ(header.colourMapDepth, 8);
  EXPECT_EQ(header.xOrigin, 0x0A09);
  EXPECT_EQ(header.yOrigin, 0x0C0B);
  EXPECT_EQ(header.width, 0x0E0D);
  EXPECT_EQ(header.height, 0x100F);
  EXPECT_EQ(header.depth, 17);
  EXPECT_EQ(header.descriptor, 18);
  EXPECT_EQ(reader.Remaining(), 0U);
}

TEST(TgaHeaderTest, ShortHeaderKeepsTheLaterFields) {
  const Bytes bytes = Counting(13);  // ends in the middle of the width
  RByteReader reader(bytes);
  TgaHeader header;
  header.width = 77;
  EXPECT_FALSE(header.Read(reader));
  EXPECT_EQ(header.yOrigin, 0x0C0B);
  EXPECT_EQ(header.width, 77);
}

}  // namespace
