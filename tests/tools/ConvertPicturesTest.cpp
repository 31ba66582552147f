// rimage convert: what is seen stays, from every kind of source to every kind of file.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QColor>
#include <QImageReader>
#include <QImageWriter>
#include <functional>
#include <tuple>

#include "TestPictures.h"
#include "ToolRunner.h"
#include "support/TestData.h"

namespace {

using test::RunTool;

// Files of every kind that the tool tells apart. `make` writes the file and returns the picture as it is
// seen.
struct Source {
  const char* name;
  std::function<QImage(const std::string&)> make;
};

QImage SaveAndReturn(const QImage& image, const std::string& path) {
  test::Save(image, path);
  return QImage(QString::fromStdString(path));
}

const Source kSources[] = {
    {"straight.png",
     [](const std::string& path) { return SaveAndReturn(test::MakeTranslucent(31, 17), path); }},
    {"sixteenBits.png",
     [](const std::string& path) {
       return SaveAndReturn(test::MakeTranslucent(31, 17).convertToFormat(QImage::Format_RGBA64), path);
     }},
    {"grey.png",
     [](const std::string& path) {
       return SaveAndReturn(test::MakeOpaque(31, 17).convertToFormat(QImage::Format_Grayscale8), path);
     }},
    {"opaque.png", [](const std::string& path) { return SaveAndReturn(test::MakeOpaque(31, 17), path); }},
    {"premultiplied.tif",
     [](const std::string& path) { return SaveAndReturn(test::MakeTranslucent(31, 17), path); }},
    {"opaque.tiff", [](const std::string& path) { return SaveAndReturn(test::MakeOpaque(31, 17), path); }},
    {"straight.tga",
     [](const std::string& path) {
       test::SaveTga(test::MakeTranslucent(31, 17), path);
       return test::MakeTranslucent(31, 17);
     }},
    {"opaque.jpg", [](const std::string& path) { return SaveAndReturn(test::MakeOpaque(31, 17), path); }},
    {"opaque.bmp", [](const std::string& path) { return SaveAndReturn(test::MakeOpaque(31, 17), path); }},
    {"icon.bmp",
     [](const std::string& path) {
       EXPECT_TRUE(test::MakeTranslucent(32, 32).save(QString::fromStdString(path), "ico"));
       return QImage(QString::fromStdString(path), "ico");
     }},
    {"vector.svg",
     [](const std::string& path) {
       const std::string svg =
           "<svg xmlns='http://www.w3.org/2000/svg' width='30' height='20'>"
           "<rect width='25' height='15' fill='#C86432' fill-opacity='0.5'/>"
           "<circle cx='20' cy='10' r='8' fill='#3264C8' fill-opacity='0.25'/></svg>";
       test::WriteFile(path, {svg.begin(), svg.end()});
       return QImage(QString::fromStdString(path));
     }},
};

enum class Keeps { kAlpha, kNoAlpha, kNoAlphaRoughly };
struct Target {
  const char* extension;
  Keeps keeps;
};
constexpr Target kTargets[] = {{"png", Keeps::kAlpha},          {"tif", Keeps::kAlpha},
                               {"tiff", Keeps::kAlpha},         {"tga", Keeps::kAlpha},
                               {"bmp", Keeps::kNoAlpha},        {"jpg", Keeps::kNoAlphaRoughly},
                               {"jpeg", Keeps::kNoAlphaRoughly}};

class KeptPicture : public testing::TestWithParam<std::tuple<Source, Target>> {};

TEST_P(KeptPicture, IsSeenAsBefore) {
  const auto& [source, target] = GetParam();
  const test::TemporaryFolder folder;
  const std::string input = folder.Path(source.name);
  const QImage seen = source.make(input);
  ASSERT_FALSE(seen.isNull());
  const std::string output = folder.Path(std::string("out.") + target.extension);
  test::Arguments arguments = {"convert", input, output};
  if (output.ends_with("jpg")) arguments.emplace_back("--quality=100");
  const auto result = RunTool(arguments);
  ASSERT_EQ(result.code, 0) << result.errors;
  EXPECT_EQ(result.errors, "");

  const QImage written = test::Load(output);
  ASSERT_EQ(written.size(), seen.size());
  if (target.keeps == Keeps::kAlpha) {
    // One step each is lost when colours are multiplied and divided.
    EXPECT_LE(test::SeenDifference(seen, written), 2);
  } else {
    // Sharp edges suffer from the halved colour resolution of JPEG.
    EXPECT_LE(test::DifferenceOverBlack(seen, written), target.keeps == Keeps::kNoAlpha ? 1 : 40);
  }
}

INSTANTIATE_TEST_SUITE_P(All, KeptPicture,
                         testing::Combine(testing::ValuesIn(kSources), testing::ValuesIn(kTargets)),
                         [](const auto& row) {
                           std::string name = std::string(std::get<0>(row.param).name) + "_to_" +
                                              std::get<1>(row.param).extension;
                           std::ranges::replace(name, '.', '_');
                           return name;
                         });

// Raw video frames have no alpha: their brightness is that of the picture over black.
TEST(VideoFrames, ShowThePictureOverBlack) {
  const test::TemporaryFolder folder;
  QImage picture(720, 486, QImage::Format_ARGB32);
  for (int y = 0; y < 486; ++y) {
    for (int x = 0; x < 720; ++x) picture.setPixel(x, y, qRgba(200 - x / 6, 60 + y / 4, 120, 128 + x / 6));
  }
  test::Save(picture, folder.Path("in.png"));
  ASSERT_EQ(RunTool({"convert", folder.Path("in.png"), folder.Path("out.yuv")}).code, 0);
  const auto bytes = test::ReadFile(folder.Path("out.yuv"));
  ASSERT_EQ(bytes.size(), 720U * 486U * 2U);
  for (const int y : {0, 200, 485}) {
    for (const int x : {0, 1, 300, 719}) {
      const QColor seen = QColor::fromRgba(picture.pixel(x, y));
      const double brightness = 0.257 * seen.red() + 0.504 * seen.green() + 0.098 * seen.blue();
      const std::size_t at = static_cast<std::size_t>(y) * 1440 + static_cast<std::size_t>(x) * 2 + 1;
      EXPECT_NEAR(bytes[at], brightness * seen.alphaF() + 16, 2) << x << ' ' << y;
    }
  }
}

class Straight : public testing::TestWithParam<const char*> {
 protected:
  test::TemporaryFolder mFolder;
};

// Straight pixels go from file to file bit by bit, colours under alpha 0 as well.
TEST_P(Straight, PixelsStayExact) {
  const QImage picture = test::MakeTranslucent(40, 30);
  const std::string output = mFolder.Path(GetParam());
  test::Save(picture, mFolder.Path("in.png"));
  ASSERT_EQ(RunTool({"convert", mFolder.Path("in.png"), output}).code, 0);
  EXPECT_EQ(test::PixelsOf(test::Load(output)), test::PixelsOf(picture));
  ASSERT_EQ(RunTool({"convert", output, mFolder.Path("back.png")}).code, 0);
  EXPECT_EQ(test::PixelsOf(test::Load(mFolder.Path("back.png"))), test::PixelsOf(picture));
}

INSTANTIATE_TEST_SUITE_P(All, Straight, testing::Values("out.png", "out.tga"),
                         [](const auto& row) { return std::string(row.param + 4); });

TEST(Premultiplied, TiffStaysBitByBit) {
  const test::TemporaryFolder folder;
  test::Save(test::MakeTranslucent(40, 30), folder.Path("in.tif"));
  ASSERT_EQ(RunTool({"convert", folder.Path("in.tif"), folder.Path("out.tif")}).code, 0);
  EXPECT_EQ(test::SeenDifference(test::Load(folder.Path("in.tif")), test::Load(folder.Path("out.tif"))), 0);
}

TEST(ThreeBytePictures, GoThroughTgaInTheirOwnOrder) {
  const test::TemporaryFolder folder;
  const QImage grey = test::MakeOpaque(5, 3).convertToFormat(QImage::Format_Grayscale8);
  test::Save(grey, folder.Path("in.png"));
  ASSERT_EQ(RunTool({"convert", folder.Path("in.png"), folder.Path("rgb.tga")}).code, 0);
  EXPECT_EQ(test::ReadFile(folder.Path("rgb.tga")).at(16), 24);
  ASSERT_EQ(RunTool({"convert", folder.Path("rgb.tga"), folder.Path("bgr.tga")}).code, 0);
  EXPECT_EQ(test::ReadFile(folder.Path("bgr.tga")), test::ReadFile(folder.Path("rgb.tga")));
}

TEST(Quality, ChangesTheSizeOfJpeg) {
  const test::TemporaryFolder folder;
  test::Save(test::MakeNoise(64, 64), folder.Path("in.png"));
  const auto size = [&](const char* quality) {
    EXPECT_EQ(RunTool({"convert", folder.Path("in.png"), folder.Path("o.jpg"), "--quality", quality}).code,
              0);
    return test::ReadFile(folder.Path("o.jpg")).size();
  };
  EXPECT_LT(size("10"), size("50"));
  EXPECT_LT(size("50"), size("100"));
}

class Compression : public testing::TestWithParam<const char*> {};

// The module's writer and the tool's own get the same settings.
TEST_P(Compression, ChangesTheSizeOfPng) {
  const test::TemporaryFolder folder;
  const bool opaque = std::string(GetParam()) == "opaque";
  test::Save(opaque ? test::MakeOpaque(64, 64) : test::MakeTranslucent(64, 64), folder.Path("in.png"));
  const auto size = [&](const test::Arguments& more) {
    test::Arguments arguments = {"convert", folder.Path("in.png"), folder.Path("o.png")};
    arguments.insert(arguments.end(), more.begin(), more.end());
    EXPECT_EQ(RunTool(arguments).code, 0);
    return test::ReadFile(folder.Path("o.png")).size();
  };
  EXPECT_GT(size({"--compression", "0"}), 64U * 64U * 3U);
  EXPECT_LT(size({"--compression", "100"}), 64U * 64U);
  EXPECT_LT(size({}), 64U * 64U) << "files are small by default";
}

INSTANTIATE_TEST_SUITE_P(All, Compression, testing::Values("opaque", "translucent"),
                         [](const auto& row) { return std::string(row.param); });

TEST(Compression, ChangesTheSizeOfTiff) {
  const test::TemporaryFolder folder;
  QImage plain(64, 64, QImage::Format_RGB32);
  plain.fill(Qt::red);
  test::Save(plain, folder.Path("in.png"));
  const auto size = [&](const char* compression) {
    EXPECT_EQ(
        RunTool({"convert", folder.Path("in.png"), folder.Path("o.tif"), "--compression", compression}).code,
        0);
    return test::ReadFile(folder.Path("o.tif")).size();
  };
  EXPECT_GT(size("0"), 64U * 64U * 3U);
  EXPECT_LT(size("1"), 64U * 64U);
}

// --- Orientation.

// Puts an orientation of 1 to 8 into a JPEG file, right after its first marker.
void WriteOriented(const QImage& image, unsigned char orientation, const std::string& path) {
  test::Save(image, path);
  std::vector<unsigned char> bytes = test::ReadFile(path);
  const std::vector<unsigned char> exif = {
      0xFF, 0xE1,        0, 34, 'E', 'x', 'i', 'f', 0, 0,  // application segment of 34 bytes
      'M',  'M',         0, 42, 0,   0,   0,   8,          // big-endian, first directory at 8
      0,    1,                                             // one entry
      1,    0x12,        0, 3,  0,   0,   0,   1,          // orientation, one short
      0,    orientation, 0, 0,                             //
      0,    0,           0, 0};                            // no further directory
  bytes.insert(bytes.begin() + 2, exif.begin(), exif.end());
  test::WriteFile(path, bytes);
}

QImage FourQuadrants() {
  QImage image(32, 16, QImage::Format_RGB32);
  for (int y = 0; y < 16; ++y) {
    for (int x = 0; x < 32; ++x)
      image.setPixel(x, y, qRgb(x < 16 ? 250 : 20, y < 8 ? 250 : 20, x + y < 9 ? 250 : 20));
  }
  return image;
}

class Orientation : public testing::TestWithParam<int> {
 protected:
  QImage Read(bool transform) const {
    QImageReader reader(QString::fromStdString(mFolder.Path("in.jpg")));
    reader.setAutoTransform(transform);
    return reader.read();
  }

  test::TemporaryFolder mFolder;
};

TEST_P(Orientation, IsApplied) {
  WriteOriented(FourQuadrants(), static_cast<unsigned char>(GetParam()), mFolder.Path("in.jpg"));
  ASSERT_EQ(RunTool({"convert", mFolder.Path("in.jpg"), mFolder.Path("out.png")}).code, 0);
  EXPECT_EQ(test::PixelsOf(test::Load(mFolder.Path("out.png"))), test::PixelsOf(Read(true)));
}

TEST_P(Orientation, CanBeTurnedOff) {
  WriteOriented(FourQuadrants(), static_cast<unsigned char>(GetParam()), mFolder.Path("in.jpg"));
  ASSERT_EQ(RunTool({"convert", mFolder.Path("in.jpg"), "--no-orient", mFolder.Path("out.png")}).code, 0);
  EXPECT_EQ(test::PixelsOf(test::Load(mFolder.Path("out.png"))), test::PixelsOf(Read(false)));
}

TEST_P(Orientation, IsToldByInfo) {
  static constexpr const char* kWords[] = {"",
                                           "mirrored",
                                           "upside down",
                                           "upside down, mirrored",
                                           "mirrored, turned left",
                                           "turned right",
                                           "mirrored, turned right",
                                           "turned left"};
  WriteOriented(FourQuadrants(), static_cast<unsigned char>(GetParam()), mFolder.Path("in.jpg"));
  const auto result = RunTool({"info", mFolder.Path("in.jpg")});
  const std::string line = std::string("  stored: ") + kWords[GetParam() - 1] + "\n";
  if (GetParam() == 1)
    EXPECT_THAT(result.output, testing::Not(testing::HasSubstr("stored")));
  else
    EXPECT_THAT(result.output, testing::HasSubstr(line));
  EXPECT_THAT(result.output, testing::HasSubstr(GetParam() < 5 ? ": 32 x 16 " : ": 16 x 32 "));
}

INSTANTIATE_TEST_SUITE_P(All, Orientation, testing::Range(1, 9));

}  // namespace
