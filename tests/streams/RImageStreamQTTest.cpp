#include "streams/RImageStreamQT.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <QFileInfo>
#include <QImageReader>
#include <QImageWriter>
#include <QtPlugin>
#include <algorithm>
#include <filesystem>
#include <numeric>

#include "image/RDestroyPtr.h"
#include "streams/QImageLayout.h"
#include "streams/QImagePatternPlugin.h"
#include "support/CaseName.h"
#include "support/TestData.h"

Q_IMPORT_PLUGIN(QImagePatternPlugin)

namespace {

using Bytes = std::vector<unsigned char>;
using ImagePtr = RDestroyPtr<RImage>;

Bytes BytesOf(RImage& image) {
  const unsigned char* bits = image.GetImageBits();
  const int size = image.GetWidth() * image.GetHeight() * image.GetPixelSize();
  return bits ? Bytes(bits, bits + size) : Bytes();
}

// The rows of a QImage from the bottom up, without their padding.
Bytes RowsBottomUp(const QImage& image, int pixelSize) {
  Bytes bytes;
  for (int y = image.height() - 1; y >= 0; --y) {
    bytes.insert(bytes.end(), image.constScanLine(y), image.constScanLine(y) + image.width() * pixelSize);
  }
  return bytes;
}

ImagePtr MakeImage(kImageFormat format, int width, int height, Bytes bytes) {
  ImagePtr image(RImageCreate());
  EXPECT_TRUE(image->Init(format, width, height, 0, 0, true, kImageTypeFrame, kInterleaveNone,
                          kInterpolationNone, RImage::kIncarnationRaw));
  if (!bytes.empty()) image->SetImageBits(bytes.data());
  return image;
}

QString ToQt(const std::string& path) { return QString::fromStdString(path); }

class StreamTest : public testing::Test {
 protected:
  ~StreamTest() override {
    if (mStream.GetImage(false)) mStream.GetImage(false)->Destroy(0);
  }
  bool Open(const std::string& path) {
    mStream.SetFileName(path.c_str());
    return mStream.StreamOpen(nullptr);
  }
  bool OpenBytes(const std::string& name, const Bytes& bytes) { return Open(mFolder.Write(name, bytes)); }
  // Writes with the image attached for the time of the write only.
  bool Create(RImage& image, const std::string& name, RStreamOptions* options = nullptr) {
    mStream.SetFileName(mFolder.Path(name).c_str());
    mStream.SetImage(&image);
    const bool written = mStream.StreamCreate(options);
    mStream.SetImage(nullptr);
    return written;
  }
  QImage Written(const std::string& name) const { return QImage(ToQt(mFolder.Path(name))); }
  RImage* Image() { return mStream.GetImage(false); }

  test::TemporaryFolder mFolder;
  RImageStreamQT mStream;
};

// --- Which names are read and written.

class ReadSuffixTest : public StreamTest, public testing::WithParamInterface<const char*> {};

TEST_P(ReadSuffixTest, IsRead) {
  EXPECT_TRUE(OpenBytes(GetParam(), test::MakePatternFile(QImage::Format_RGB888, 2, 2)));
}

INSTANTIATE_TEST_SUITE_P(Names, ReadSuffixTest,
                         testing::Values("a.tif", "a.tiff", "a.jpg", "a.jpeg", "a.tga", "a.bmp", "a.png",
                                         "a.svg", "a.TIF", "a.Tiff", "a.JPG", "a.JPEG", "a.TGA", "a.BMP",
                                         "a.pNg", "a.SVG", ".png", "a.gif.png", "gr\xC3\xBCn.png"));

class UnreadSuffixTest : public StreamTest, public testing::WithParamInterface<const char*> {};

TEST_P(UnreadSuffixTest, IsNotReadAndNothingIsAttached) {
  EXPECT_FALSE(OpenBytes(GetParam(), test::MakePatternFile(QImage::Format_RGB888, 2, 2)));
  EXPECT_EQ(mStream.GetObject(), nullptr);
}

// Qt itself reads some of these, but the stream has no kind for them.
INSTANTIATE_TEST_SUITE_P(Names, UnreadSuffixTest,
                         testing::Values("a.gif", "a.ppm", "a.ico", "a.svgz", "a.webp", "a.rimage-pattern",
                                         "a.yuv", "a", "png", "a.png.", "a.png.gif", "a.png ", "a.pn"));

TEST_F(StreamTest, SuffixThatQtDoesNotListIsNotRead) {
  if (QImageReader::supportedImageFormats().contains("dds")) GTEST_SKIP() << "this Qt lists dds";
  EXPECT_FALSE(OpenBytes("a.dds", test::MakePatternFile(QImage::Format_RGB888, 2, 2)));
  EXPECT_EQ(mStream.GetObject(), nullptr);
}

TEST_F(StreamTest, StreamWithoutNameReadsAndWritesNothing) {
  mStream.SetFileName(nullptr);
  EXPECT_FALSE(mStream.StreamOpen(nullptr));
  EXPECT_EQ(mStream.GetObject(), nullptr);
  const ImagePtr image = MakeImage(kImageFormatRGBA, 1, 1, {1, 2, 3, 4});
  mStream.SetImage(image.get());
  EXPECT_FALSE(mStream.StreamCreate(nullptr));
  mStream.SetImage(nullptr);
}

class WrittenSuffixTest : public StreamTest, public testing::WithParamInterface<const char*> {};

TEST_P(WrittenSuffixTest, IsWrittenInTheFormatOfItsName) {
  const ImagePtr image = MakeImage(kImageFormatRGB, 8, 8, Bytes(192, 200));
  ASSERT_TRUE(Create(*image, GetParam()));
  const QByteArray format = QImageReader::imageFormat(ToQt(mFolder.Path(GetParam())));
  const std::string suffix = QFileInfo(QString::fromUtf8(GetParam())).suffix().toLower().toStdString();
  EXPECT_EQ(format.first(1).toStdString(), suffix.substr(0, 1)) << format.toStdString();
}

INSTANTIATE_TEST_SUITE_P(Names, WrittenSuffixTest,
                         testing::Values("a.tif", "a.tiff", "a.jpg", "a.jpeg", "a.bmp", "a.png", "a.PNG"));

class UnwrittenSuffixTest : public StreamTest, public testing::WithParamInterface<const char*> {};

TEST_P(UnwrittenSuffixTest, IsNotWrittenAndTheImageStays) {
  const ImagePtr image = MakeImage(kImageFormatRGB, 1, 2, {1, 2, 3, 4, 5, 6});
  EXPECT_FALSE(Create(*image, GetParam()));
  EXPECT_FALSE(std::filesystem::exists(mFolder.Path(GetParam())));
  EXPECT_EQ(BytesOf(*image), (Bytes{1, 2, 3, 4, 5, 6})) << "not flipped";
}

// Qt writes ppm and ico, but the stream has no kind for them; svg and dds have a kind, but Qt does not write
// them.
INSTANTIATE_TEST_SUITE_P(Names, UnwrittenSuffixTest,
                         testing::Values("a.ppm", "a.ico", "a.svg", "a.dds", "a.gif", "a", "png"));

// --- The layout of what is read.

struct LayoutCase {
  const char* name;
  QImage::Format source;
  QImage::Format converted;
  kImageFormat format;
  int pixelSize;
};

constexpr LayoutCase ToRgb(const char* name, QImage::Format source) {
  return {name, source, QImage::Format_RGB888, kImageFormatRGB, 3};
}
constexpr LayoutCase ToPremultiplied(const char* name, QImage::Format source) {
  return {name, source, QImage::Format_RGBA8888_Premultiplied, kImageFormatRGBA, 4};
}
constexpr LayoutCase ToStraight(const char* name, QImage::Format source) {
  return {name, source, QImage::Format_RGBA8888, kImageFormatRGBA, 4};
}
constexpr LayoutCase Unchanged(const char* name, QImage::Format source, kImageFormat format, int pixelSize) {
  return {name, source, source, format, pixelSize};
}

constexpr LayoutCase kLayoutCases[] = {
    ToRgb("Mono", QImage::Format_Mono),
    ToRgb("MonoLSB", QImage::Format_MonoLSB),
    ToRgb("Indexed8", QImage::Format_Indexed8),
    ToRgb("RGB16", QImage::Format_RGB16),
    ToRgb("RGB666", QImage::Format_RGB666),
    ToRgb("RGB555", QImage::Format_RGB555),
    ToRgb("RGB444", QImage::Format_RGB444),
    ToRgb("BGR30", QImage::Format_BGR30),
    ToRgb("RGB30", QImage::Format_RGB30),
    ToRgb("Alpha8", QImage::Format_Alpha8),
    ToRgb("Grayscale8", QImage::Format_Grayscale8),
    ToRgb("Grayscale16", QImage::Format_Grayscale16),
    Unchanged("RGB888", QImage::Format_RGB888, kImageFormatRGB, 3),
    Unchanged("BGR888", QImage::Format_BGR888, kImageFormatBGR, 3),
    Unchanged("RGBX8888", QImage::Format_RGBX8888, kImageFormatRGBA, 4),
    Unchanged("RGBA8888", QImage::Format_RGBA8888, kImageFormatRGBA, 4),
    Unchanged("RGBA8888_Premultiplied", QImage::Format_RGBA8888_Premultiplied, kImageFormatRGBA, 4),
    ToPremultiplied("ARGB32_Premultiplied", QImage::Format_ARGB32_Premultiplied),
    ToPremultiplied("ARGB8565_Premultiplied", QImage::Format_ARGB8565_Premultiplied),
    ToPremultiplied("ARGB6666_Premultiplied", QImage::Format_ARGB6666_Premultiplied),
    ToPremultiplied("ARGB8555_Premultiplied", QImage::Format_ARGB8555_Premultiplied),
    ToPremultiplied("ARGB4444_Premultiplied", QImage::Format_ARGB4444_Premultiplied),
    ToPremultiplied("A2BGR30_Premultiplied", QImage::Format_A2BGR30_Premultiplied),
    ToPremultiplied("A2RGB30_Premultiplied", QImage::Format_A2RGB30_Premultiplied),
    ToPremultiplied("RGBA64_Premultiplied", QImage::Format_RGBA64_Premultiplied),
    ToStraight("RGB32", QImage::Format_RGB32),
    ToStraight("ARGB32", QImage::Format_ARGB32),
    ToStraight("RGBX64", QImage::Format_RGBX64),
    ToStraight("RGBA64", QImage::Format_RGBA64),
    ToStraight("RGBX16FPx4", QImage::Format_RGBX16FPx4),
    ToStraight("RGBA16FPx4", QImage::Format_RGBA16FPx4),
    ToStraight("RGBA16FPx4_Premultiplied", QImage::Format_RGBA16FPx4_Premultiplied),
    ToStraight("RGBX32FPx4", QImage::Format_RGBX32FPx4),
    ToStraight("RGBA32FPx4", QImage::Format_RGBA32FPx4),
    ToStraight("RGBA32FPx4_Premultiplied", QImage::Format_RGBA32FPx4_Premultiplied),
};

class LayoutTest : public StreamTest, public testing::WithParamInterface<LayoutCase> {};

// 5 pixels of 3 bytes a row: QImage pads the rows, the record does not.
TEST_P(LayoutTest, PixelsComeConvertedAndBottomRowFirst) {
  ASSERT_TRUE(OpenBytes("picture.png", test::MakePatternFile(GetParam().source, 5, 7)));
  EXPECT_EQ(Image()->GetFormat(), GetParam().format);
  EXPECT_EQ(Image()->GetPixelSize(), GetParam().pixelSize);
  EXPECT_EQ(Image()->GetWidth(), 5);
  EXPECT_EQ(Image()->GetHeight(), 7);
  const QImage expected = test::MakePattern(GetParam().source, 5, 7).convertToFormat(GetParam().converted);
  EXPECT_EQ(BytesOf(*Image()), RowsBottomUp(expected, GetParam().pixelSize));
  EXPECT_EQ(Image()->GetUpdateId(), 1) << "one change, however many rows";
}

TEST_P(LayoutTest, TableHasTheRow) {
  EXPECT_EQ(LayoutOf(GetParam().source).source, GetParam().source);
  EXPECT_EQ(LayoutOf(GetParam().source).converted, GetParam().converted);
  EXPECT_EQ(LayoutOf(GetParam().source).format, GetParam().format);
}

INSTANTIATE_TEST_SUITE_P(Formats, LayoutTest, testing::ValuesIn(kLayoutCases), test::CaseName());

TEST(LayoutTableTest, EveryFormatHasACase) {
  EXPECT_EQ(std::size(kLayoutCases), kQImageLayouts.size() - 1) << "all but Format_Invalid";
}

TEST(LayoutTableTest, FormatsOfNewerVersionsBecomeStraightRgba) {
  const QImageLayout& layout = LayoutOf(static_cast<QImage::Format>(kQImageLayouts.size()));
  EXPECT_EQ(layout.converted, QImage::Format_RGBA8888);
  EXPECT_EQ(layout.format, kImageFormatRGBA);
}

// The same by hand, without Qt's conversion as the oracle.
TEST_F(StreamTest, StraightPixelsStayStraight) {
  QImage picture(1, 2, QImage::Format_ARGB32);
  picture.setPixel(0, 0, qRgba(200, 100, 50, 128));
  picture.setPixel(0, 1, qRgba(1, 2, 3, 0));
  ASSERT_TRUE(picture.save(ToQt(mFolder.Path("a.png"))));
  ASSERT_TRUE(Open(mFolder.Path("a.png")));
  EXPECT_EQ(BytesOf(*Image()), (Bytes{1, 2, 3, 0, 200, 100, 50, 128}));
}

TEST_F(StreamTest, GreyPngBecomesRgbWithEqualChannels) {
  QImage picture(2, 2, QImage::Format_Grayscale8);
  const unsigned char grey[2][2] = {{10, 20}, {30, 255}};
  for (int y = 0; y < 2; ++y) std::copy_n(grey[y], 2, picture.scanLine(y));
  ASSERT_TRUE(picture.save(ToQt(mFolder.Path("a.png"))));
  ASSERT_TRUE(Open(mFolder.Path("a.png")));
  EXPECT_EQ(Image()->GetFormat(), kImageFormatRGB);
  EXPECT_EQ(BytesOf(*Image()), (Bytes{30, 30, 30, 255, 255, 255, 10, 10, 10, 20, 20, 20}));
}

TEST_F(StreamTest, OpaquePicturesHaveAlpha255) {
  ASSERT_TRUE(OpenBytes("a.png", test::MakePatternFile(QImage::Format_RGB32, 40, 30)));
  const Bytes bytes = BytesOf(*Image());
  for (std::size_t i = 3; i < bytes.size(); i += 4) ASSERT_EQ(bytes[i], 255) << i / 4;
}

// --- Reading.

TEST_F(StreamTest, AttachedImageIsFilledInPlace) {
  RImage* const image = RImageCreate();
  mStream.SetImage(image);
  ASSERT_TRUE(OpenBytes("a.png", test::MakePatternFile(QImage::Format_RGBA8888, 3, 2)));
  EXPECT_EQ(Image(), image);
  EXPECT_EQ(image->GetWidth(), 3);
  ASSERT_TRUE(OpenBytes("a.png", test::MakePatternFile(QImage::Format_RGB888, 2, 3)));
  EXPECT_EQ(Image(), image);
  EXPECT_EQ(image->GetFormat(), kImageFormatRGB);
  EXPECT_EQ(image->GetWidth(), 2);
  EXPECT_EQ(image->GetHeight(), 3);
}

TEST_F(StreamTest, ReadDescribesAPlainFrame) {
  mStream.SetImage(RImageCreate());
  (void)Image()->Init(kImageFormatRGB, 1, 1, 9, 0, false, kImageTypeField, kInterleaveAverage,
                      kInterpolationDouble, RImage::kIncarnationRaw);
  ASSERT_TRUE(OpenBytes("a.png", test::MakePatternFile(QImage::Format_RGB888, 2, 2)));
  EXPECT_EQ(Image()->GetPadWidth(), 0);
  EXPECT_EQ(Image()->GetImageType(), kImageTypeFrame);
  EXPECT_EQ(Image()->GetInterleaveType(), kInterleaveNone);
  EXPECT_EQ(Image()->GetInterpolationType(), kInterpolationNone);
  EXPECT_EQ(Image()->GetIncarnation(), RImage::kIncarnationRaw);
}

TEST_F(StreamTest, ImageWithoutLayersCannotBeFilled) {
  mStream.SetImage(RImageCreate());
  Image()->SetDepth(0);
  EXPECT_FALSE(OpenBytes("a.png", test::MakePatternFile(QImage::Format_RGB888, 2, 2)));
}

TEST_F(StreamTest, OptionsAreNotUsedForReading) {
  RStreamOptions options;
  options.quality = 1;
  mStream.SetFileName(mFolder.Write("a.png", test::MakePatternFile(QImage::Format_RGB888, 2, 2)).c_str());
  EXPECT_TRUE(mStream.StreamOpen(&options));
}

TEST_F(StreamTest, UnreadableFileFailsAndLeavesTheAttachedImage) {
  mStream.SetImage(MakeImage(kImageFormatRGB, 1, 1, {1, 2, 3}).release());
  const int update = Image()->GetUpdateId();
  for (const char* name : {"a.png", "a.jpg", "a.tif", "a.bmp"}) {
    EXPECT_FALSE(OpenBytes(name, {'n', 'o', 'n', 'e'})) << name;
    EXPECT_FALSE(OpenBytes(name, {})) << name;
  }
  EXPECT_FALSE(Open(mFolder.Path("absent.png")));
  EXPECT_EQ(Image()->GetUpdateId(), update);
  EXPECT_EQ(BytesOf(*Image()), (Bytes{1, 2, 3}));
}

TEST_F(StreamTest, TruncatedFileDoesNotCrash) {
  QImage picture = test::MakePattern(QImage::Format_ARGB32, 20, 20);
  for (const char* name : {"a.png", "a.jpg", "a.tif", "a.bmp"}) {
    ASSERT_TRUE(picture.save(ToQt(mFolder.Path(name))));
    const Bytes whole = test::ReadFile(mFolder.Path(name));
    for (std::size_t length = 0; length < whole.size(); length += 1 + whole.size() / 50) {
      (void)OpenBytes(name, Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)));
    }
  }
}

TEST_F(StreamTest, ContentsDecideNotTheSuffix) {
  ASSERT_TRUE(test::MakePattern(QImage::Format_RGB32, 4, 4).save(ToQt(mFolder.Path("a.bmp"))));
  std::filesystem::rename(mFolder.Path("a.bmp"), mFolder.Path("a.tga"));
  ASSERT_TRUE(Open(mFolder.Path("a.tga")));
  EXPECT_EQ(Image()->GetWidth(), 4);
}

// --- Pixels that a file does not tell.

// Fills memory that is allocated, so that what nobody wrote is seen.
class DirtyMemory {
 public:
  DirtyMemory() { mallopt(M_PERTURB, 0x5A); }
  ~DirtyMemory() { mallopt(M_PERTURB, 0); }
  DirtyMemory(const DirtyMemory&) = delete;
  DirtyMemory& operator=(const DirtyMemory&) = delete;
};

// Changes the sign of a BMP file's height, of less than 256 rows: its first row is the top one from now on.
void TurnOver(Bytes& file) {
  file[22] = static_cast<unsigned char>(-file[22]);
  std::fill(file.begin() + 23, file.begin() + 26, 0xFF);
}

// Returns the rows in the reverse order.
Bytes Turned(const Bytes& pixels, std::size_t rowBytes) {
  Bytes turned;
  for (std::size_t row = pixels.size() / rowBytes; row-- > 0;)
    turned.insert(turned.end(), pixels.begin() + static_cast<std::ptrdiff_t>(row * rowBytes),
                  pixels.begin() + static_cast<std::ptrdiff_t>((row + 1) * rowBytes));
  return turned;
}

TEST_F(StreamTest, RowsThatABmpFileLacksAreBlack) {
  ASSERT_TRUE(test::MakePattern(QImage::Format_RGB32, 4, 6).save(ToQt(mFolder.Path("a.bmp"))));
  Bytes bytes = test::ReadFile(mFolder.Path("a.bmp"));
  ASSERT_TRUE(Open(mFolder.Path("a.bmp")));
  Bytes expected = BytesOf(*mStream.GetImage(false));
  // The last two rows of the file, of four pixels, are the top ones.
  bytes.erase(bytes.end() - 2 * 4 * 3, bytes.end());
  for (std::size_t i = expected.size() - 2 * 4 * 4; i < expected.size(); ++i)
    expected[i] = i % 4 == 3 ? 255 : 0;
  const DirtyMemory dirty;
  ASSERT_TRUE(OpenBytes("cut.bmp", bytes));
  EXPECT_EQ(BytesOf(*mStream.GetImage(false)), expected);
  // With a negative height the rows are the other way round, and the bottom ones lack.
  TurnOver(bytes);
  ASSERT_TRUE(OpenBytes("turned.bmp", bytes));
  EXPECT_EQ(BytesOf(*mStream.GetImage(false)), Turned(expected, 4 * 4));
}

TEST_F(StreamTest, PixelsThatABmpFileSkipsHaveTheFirstColor) {
  constexpr unsigned char kWidth = 3;
  constexpr unsigned char kHeight = 2;
  const Bytes header = {
      'B', 'M', 74, 0, 0,      0,  0,  0, 0,       0, 62, 0, 0, 0,        // where the pixels begin
      40,  0,   0,  0, kWidth, 0,  0,  0, kHeight, 0, 0,  0,              // sizes
      1,   0,   8,  0, 1,      0,  0,  0, 12,      0, 0,  0,              // run lengths of 8 bits
      0,   0,   0,  0, 0,      0,  0,  0, 2,       0, 0,  0, 0, 0, 0, 0,  // two colors
      30,  20,  10, 0, 60,     50, 40, 0};
  // Skips a pixel and a row, and writes two pixels there.
  const Bytes runs = {0, 2, 1, 1, 2, 1, 0, 1};
  Bytes bytes = header;
  bytes.insert(bytes.end(), runs.begin(), runs.end());
  const DirtyMemory dirty;
  ASSERT_TRUE(OpenBytes("skips.bmp", bytes));
  const Bytes expected = {10, 20, 30, 10, 20, 30, 10, 20, 30, 10, 20, 30, 40, 50, 60, 40, 50, 60};
  EXPECT_EQ(BytesOf(*mStream.GetImage(false)), expected);
  TurnOver(bytes);
  ASSERT_TRUE(OpenBytes("turned.bmp", bytes));
  EXPECT_EQ(BytesOf(*mStream.GetImage(false)), Turned(expected, 3 * kWidth));
}

// --- Icons with the suffix bmp.

// One 2 x 2 picture of 32 bits. 255 in the reserved byte keeps Qt from seeing an icon unless it is told.
Bytes IconFile(unsigned char reserved) {
  return {0, 0, 1, 0, 1, 0,                                          // icon, one entry
          2, 2, 0, reserved, 1, 0, 32, 0, 64, 0, 0, 0, 22, 0, 0, 0,  // 2 x 2, 1 plane, 32 bits, 64
                                                                     // bytes at 22
          40, 0, 0, 0, 2, 0, 0, 0, 4, 0, 0, 0, 1, 0, 32, 0,          // bitmap header: 2 x 4, the
                                                                     // mask counting, too
          0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 2, 3, 255, 4, 5, 6,
          255,                            // bottom row, BGRA
          7, 8, 9, 255, 10, 11, 12, 255,  // top row
          0, 0, 0, 0, 0, 0, 0, 0};        // mask
}

TEST_F(StreamTest, IconWithTheSuffixBmpIsReadAgainAsIcon) {
  const std::string path = mFolder.Write("icon.bmp", IconFile(255));
  ASSERT_TRUE(QImage(ToQt(path)).isNull()) << "Qt does not see the icon by itself";
  ASSERT_TRUE(Open(path));
  EXPECT_EQ(Image()->GetFormat(), kImageFormatRGBA);
  EXPECT_EQ(BytesOf(*Image()), (Bytes{3, 2, 1, 255, 6, 5, 4, 255, 9, 8, 7, 255, 12, 11, 10, 255}));
}

TEST_F(StreamTest, IconThatQtSeesIsRead) {
  ASSERT_TRUE(OpenBytes("icon.bmp", IconFile(0)));
  EXPECT_EQ(Image()->GetWidth(), 2);
}

TEST_F(StreamTest, OnlyTheSuffixBmpIsReadAgainAsIcon) {
  for (const char* name : {"icon.png", "icon.jpg", "icon.tif", "icon.tga", "icon.svg"}) {
    EXPECT_FALSE(OpenBytes(name, IconFile(255))) << name;
  }
}

// --- Vector files.

Bytes SvgFile(const char* body) {
  const std::string text =
      std::string(R"(<svg xmlns="http://www.w3.org/2000/svg" width="4" height="2">)") + body + "</svg>";
  return {text.begin(), text.end()};
}

constexpr const char* kHalfRed = R"(<rect width="4" height="1" fill="#ff0000" fill-opacity="0.5"/>)";

TEST_F(StreamTest, SvgIsRenderedPremultiplied) {
  ASSERT_TRUE(OpenBytes("a.svg", SvgFile(kHalfRed)));
  EXPECT_EQ(Image()->GetFormat(), kImageFormatRGBA);
  EXPECT_EQ(Image()->GetWidth(), 4);
  EXPECT_EQ(Image()->GetHeight(), 2);
  const Bytes bytes = BytesOf(*Image());
  EXPECT_EQ(Bytes(bytes.begin(), bytes.begin() + 16), Bytes(16, 0)) << "the bottom row is empty";
  EXPECT_EQ(bytes[16], bytes[19]) << "red times alpha is alpha";
  EXPECT_NEAR(bytes[19], 128, 1);
}

TEST_F(StreamTest, SvgLeavesItsPathAsTheVectorSource) {
  ASSERT_TRUE(OpenBytes("a.svg", SvgFile(kHalfRed)));
  EXPECT_STREQ(Image()->GetVectorSourcePath(), mFolder.Path("a.svg").c_str());
  ASSERT_TRUE(Image()->ConvertSize(8, 4)) << "rendered again";
  EXPECT_EQ(Image()->GetWidth(), 8);
}

TEST_F(StreamTest, UnreadableSvgLeavesItsPathToo) {
  EXPECT_FALSE(OpenBytes("a.svg", {'n', 'o'}));
  EXPECT_STREQ(Image()->GetVectorSourcePath(), mFolder.Path("a.svg").c_str());
}

TEST_F(StreamTest, RasterPictureHasNoVectorSource) {
  mStream.SetImage(RImageCreate());
  Image()->SetVectorSourcePath("drawing.svg");
  EXPECT_FALSE(OpenBytes("a.png", {'n', 'o'}));
  EXPECT_STREQ(Image()->GetVectorSourcePath(), "drawing.svg") << "a failed read leaves it";
  ASSERT_TRUE(OpenBytes("a.png", test::MakePatternFile(QImage::Format_RGB888, 2, 2)));
  EXPECT_STREQ(Image()->GetVectorSourcePath(), "");
}

TEST_F(StreamTest, DrawingUnderARasterNameHasNoVectorSource) {
  ASSERT_TRUE(OpenBytes("a.png", SvgFile(kHalfRed)));
  EXPECT_EQ(Image()->GetWidth(), 4);
  EXPECT_STREQ(Image()->GetVectorSourcePath(), "");
}

TEST_F(StreamTest, TextInADrawingIsRendered) {
  EXPECT_TRUE(OpenBytes("a.svg", SvgFile(R"(<text x="0" y="2" font-size="2">A</text>)")));
}

// --- Writing.

// 1 x 3 pixels, the bottom row first.
struct WriteCase {
  const char* name;
  kImageFormat format;
  Bytes pixels;
  Bytes after;                // the caller's pixels after the write
  std::array<QRgb, 3> shown;  // from the top
};

class WriteTest : public StreamTest, public testing::WithParamInterface<WriteCase> {};

TEST_P(WriteTest, FileShowsThePictureUpright) {
  const ImagePtr image = MakeImage(GetParam().format, 1, 3, GetParam().pixels);
  ASSERT_TRUE(Create(*image, "a.png"));
  const QImage written = Written("a.png");
  ASSERT_EQ(written.size(), QSize(1, 3));
  for (int y = 0; y < 3; ++y)
    EXPECT_EQ(written.pixel(0, y), GetParam().shown[static_cast<std::size_t>(y)]) << y;
}

TEST_P(WriteTest, CallersImageIsLeftFlippedOrUntouched) {
  const ImagePtr image = MakeImage(GetParam().format, 1, 3, GetParam().pixels);
  const int update = image->GetUpdateId();
  const int instances = RImage::ClassInstanceCount;
  ASSERT_TRUE(Create(*image, "a.png"));
  EXPECT_EQ(BytesOf(*image), GetParam().after);
  EXPECT_EQ(image->GetFormat(), GetParam().format);
  EXPECT_EQ(image->GetUpdateId(), update);
  EXPECT_EQ(RImage::ClassInstanceCount, instances) << "a copy does not outlive the write";
}

TEST_P(WriteTest, FailedWriteLeavesTheSame) {
  const ImagePtr image = MakeImage(GetParam().format, 1, 3, GetParam().pixels);
  EXPECT_FALSE(Create(*image, "absent/a.png"));
  EXPECT_EQ(BytesOf(*image), GetParam().after);
}

// Colours are opaque or zero here, so that straight and premultiplied are the same.
INSTANTIATE_TEST_SUITE_P(Formats, WriteTest,
                         testing::Values(WriteCase{"RGBAIsLeftFlipped",
                                                   kImageFormatRGBA,
                                                   {1, 2, 3, 255, 4, 5, 6, 255, 0, 0, 0, 0},
                                                   {0, 0, 0, 0, 4, 5, 6, 255, 1, 2, 3, 255},
                                                   {qRgba(0, 0, 0, 0), qRgb(4, 5, 6), qRgb(1, 2, 3)}},
                                         WriteCase{"RGBIsLeftFlipped",
                                                   kImageFormatRGB,
                                                   {1, 2, 3, 4, 5, 6, 7, 8, 9},
                                                   {7, 8, 9, 4, 5, 6, 1, 2, 3},
                                                   {qRgb(7, 8, 9), qRgb(4, 5, 6), qRgb(1, 2, 3)}},
                                         WriteCase{"BGRIsUntouched",
                                                   kImageFormatBGR,
                                                   {1, 2, 3, 4, 5, 6, 7, 8, 9},
                                                   {1, 2, 3, 4, 5, 6, 7, 8, 9},
                                                   {qRgb(9, 8, 7), qRgb(6, 5, 4), qRgb(3, 2, 1)}},
                                         WriteCase{"BGRAIsUntouched",
                                                   kImageFormatBGRA,
                                                   {1, 2, 3, 255, 4, 5, 6, 255, 7, 8, 9, 255},
                                                   {1, 2, 3, 255, 4, 5, 6, 255, 7, 8, 9, 255},
                                                   {qRgb(9, 8, 7), qRgb(6, 5, 4), qRgb(3, 2, 1)}},
                                         WriteCase{"ABGRIsUntouched",
                                                   kImageFormatABGR,
                                                   {255, 1, 2, 3, 255, 4, 5, 6, 255, 7, 8, 9},
                                                   {255, 1, 2, 3, 255, 4, 5, 6, 255, 7, 8, 9},
                                                   {qRgb(9, 8, 7), qRgb(6, 5, 4), qRgb(3, 2, 1)}},
                                         WriteCase{"ARGBIsUntouched",
                                                   kImageFormatARGB,
                                                   {255, 1, 2, 3, 255, 4, 5, 6, 255, 7, 8, 9},
                                                   {255, 1, 2, 3, 255, 4, 5, 6, 255, 7, 8, 9},
                                                   {qRgb(7, 8, 9), qRgb(4, 5, 6), qRgb(1, 2, 3)}},
                                         WriteCase{"RGB555IsUntouched",
                                                   kImageFormatRGB555,
                                                   {0x1F, 0x00, 0xE0, 0x03, 0x00, 0x7C},
                                                   {0x1F, 0x00, 0xE0, 0x03, 0x00, 0x7C},
                                                   {qRgb(0xF0, 0, 0), qRgb(0, 0xF8, 0), qRgb(0, 0, 0xF8)}}),
                         test::CaseName());

TEST_F(StreamTest, RgbaCountsAsPremultipliedWhenWritten) {
  const ImagePtr image = MakeImage(kImageFormatRGBA, 1, 1, {60, 30, 120, 120});
  ASSERT_TRUE(Create(*image, "a.png"));
  const QRgb shown = Written("a.png").pixel(0, 0);
  EXPECT_EQ(qAlpha(shown), 120);
  EXPECT_NEAR(qRed(shown), 60 * 255 / 120, 1);
  EXPECT_NEAR(qGreen(shown), 30 * 255 / 120, 1);
  EXPECT_EQ(qBlue(shown), 255);
}

TEST_F(StreamTest, RowsOfAnyWidthAreWritten) {
  for (int width = 1; width < 9; ++width) {
    Bytes pixels(static_cast<std::size_t>(3 * width * 2));
    std::iota(pixels.begin(), pixels.end(), static_cast<unsigned char>(10));
    const ImagePtr image = MakeImage(kImageFormatRGB, width, 2, pixels);
    ASSERT_TRUE(Create(*image, "a.bmp"));
    EXPECT_EQ(RowsBottomUp(Written("a.bmp").convertToFormat(QImage::Format_RGB888), 3), pixels) << width;
  }
}

TEST_F(StreamTest, FormatsWithoutPixelLayoutAreNotWritten) {
  for (const kImageFormat format : {kImageFormatUndefined, kImageFormatEmpty}) {
    const ImagePtr image = MakeImage(format, 2, 2, {});
    const int instances = RImage::ClassInstanceCount;
    EXPECT_FALSE(Create(*image, "a.png"));
    EXPECT_FALSE(std::filesystem::exists(mFolder.Path("a.png")));
    EXPECT_EQ(RImage::ClassInstanceCount, instances);
  }
}

TEST_F(StreamTest, NothingAttachedIsNotWritten) {
  for (const char* name : {"a.png", "a.tga"}) {
    mStream.SetFileName(mFolder.Path(name).c_str());
    EXPECT_FALSE(mStream.StreamCreate(nullptr));
    EXPECT_EQ(mStream.GetObject(), nullptr) << "a writer makes no image";
    EXPECT_FALSE(std::filesystem::exists(mFolder.Path(name)));
  }
}

TEST_F(StreamTest, ImageWithoutPixelsIsNotWritten) {
  const ImagePtr cleared = MakeImage(kImageFormatRGBA, 2, 2, {});
  cleared->Clear();
  EXPECT_FALSE(Create(*cleared, "a.png"));
  const ImagePtr empty = MakeImage(kImageFormatRGB, 0, 0, {});
  EXPECT_FALSE(Create(*empty, "a.png"));
  const ImagePtr beyond = MakeImage(kImageFormatRGB, 2, 2, {});
  beyond->SetDepth(1 << 30);
  beyond->SetWidth(1000);
  EXPECT_FALSE(Create(*beyond, "a.png"));
  EXPECT_FALSE(std::filesystem::exists(mFolder.Path("a.png")));
}

// --- Options.

class OptionsTest : public StreamTest {
 protected:
  std::uintmax_t SizeOf(const char* name, RStreamOptions* options) {
    const ImagePtr image = MakeImage(kImageFormatRGB, 64, 64, NoisyGradient());
    EXPECT_TRUE(Create(*image, name, options));
    return std::filesystem::file_size(mFolder.Path(name));
  }
  static Bytes NoisyGradient() {
    Bytes pixels;
    unsigned noise = 1;
    for (unsigned i = 0; i < 3 * 64 * 64; ++i) {
      noise = noise * 1664525U + 1013904223U;
      pixels.push_back(static_cast<unsigned char>(i / 64 + (noise >> 29)));
    }
    return pixels;
  }
  static RStreamOptions Make(int quality, int compression, const char* text = "") {
    RStreamOptions options;
    options.quality = quality;
    options.compression = compression;
    options.text = text;
    return options;
  }
};

TEST_F(OptionsTest, QualityReachesTheFormat) {
  RStreamOptions low = Make(5, 0);
  RStreamOptions high = Make(95, 0);
  EXPECT_LT(SizeOf("low.jpg", &low), SizeOf("high.jpg", &high));
}

TEST_F(OptionsTest, CompressionReachesTheFormat) {
  RStreamOptions none = Make(-1, 0);
  RStreamOptions packed = Make(-1, 1);  // LZW
  EXPECT_GT(SizeOf("none.tif", &none), SizeOf("packed.tif", &packed));
}

TEST_F(OptionsTest, WithoutOptionsQualityIs100AndCompression0) {
  RStreamOptions same = Make(100, 0);
  for (const char* name : {"a.jpg", "a.png", "a.tif"}) {
    (void)SizeOf(name, nullptr);
    const Bytes without = test::ReadFile(mFolder.Path(name));
    (void)SizeOf(name, &same);
    EXPECT_EQ(test::ReadFile(mFolder.Path(name)), without) << name;
  }
  RStreamOptions other = Make(90, 0);
  EXPECT_NE(SizeOf("other.jpg", &other), SizeOf("a.jpg", nullptr));
  RStreamOptions packed = Make(100, 1);
  EXPECT_NE(SizeOf("other.tif", &packed), SizeOf("a.tif", nullptr));
}

// The text goes to Qt under an empty key, which Qt's formats do not store. The picture is the same.
TEST_F(OptionsTest, TextUnderAnEmptyKeyDoesNotChangeThePicture) {
  RStreamOptions without = Make(50, 0);
  RStreamOptions with = Make(50, 0, "gr\xC3\xBC\xC3\x9F dich: a\n\nb");
  for (const char* name : {"a.png", "a.jpg", "a.tif", "a.bmp"}) {
    (void)SizeOf(name, &without);
    const QImage expected = Written(name);
    (void)SizeOf(name, &with);
    EXPECT_EQ(Written(name).convertToFormat(QImage::Format_RGB32),
              expected.convertToFormat(QImage::Format_RGB32))
        << name;
  }
}

// --- Class.

TEST(RImageStreamQTClassTest, HasNoFieldsOfItsOwnBesideTheCount) {
  EXPECT_EQ(RImageStreamQT::ClassSize, static_cast<int>(sizeof(RImageStreamQT)));
  EXPECT_EQ(sizeof(RImageStreamQT), sizeof(RImageStream));
}

}  // namespace
