// Reads all samples of the plugin's formats through Qt and compares them with the pictures that other
// decoders made of them.
#include <gtest/gtest.h>

#include <QBuffer>
#include <QFileInfo>
#include <QImageReader>
#include <cstring>

#include "plugins/QtReading.h"
#include "support/TestData.h"

namespace {

using test::Expect;
using test::Sample;

// No decoder agrees with another about some.
bool IsJudged(const Sample& sample) { return sample.expect != Expect::kNoCrash; }

bool IsRefused(const Sample& sample) {
  return sample.expect == Expect::kRefuse || sample.expect == Expect::kPixelsOrPlaceholder;
}

// Layouts without alpha are opaque, whatever the file holds there.
std::string ComparedChannels(const Sample& sample, const QImage& image) {
  return image.hasAlphaChannel() ? sample.compare : sample.compare.substr(0, 3);
}

testing::AssertionResult Matches(const Sample& sample, const QImage& image) {
  test::Tolerance tolerance;
  tolerance.channel = sample.tolerance.channel;
  // Rounding to bytes may fall on either side, and signed samples lose their low byte first.
  if (sample.expect == Expect::kFloatPixels) tolerance.channel = 1;
  if (sample.expect == Expect::kSnormPixels) return testing::AssertionSuccess();
  return test::Matches(test::PixelsOf(image), test::LoadPicture(sample.expected),
                       ComparedChannels(sample, image), tolerance);
}

class QtSamplesTest : public testing::TestWithParam<Sample> {
 protected:
  QString Path() const { return QString::fromStdString(GetParam().path); }
  QByteArray Suffix() const { return QFileInfo(Path()).suffix().toLatin1(); }

  // Reads everything that a reader offers of the sample.
  void Check(QImageReader& reader) {
    const QSize size = reader.size();
    const QImage::Format format = reader.imageFormat();
    const QImage image = reader.read();
    if (!IsJudged(GetParam())) return;
    if (IsRefused(GetParam())) {
      EXPECT_TRUE(image.isNull());
      EXPECT_NE(reader.error(), QImageReader::UnknownError);
      return;
    }
    ASSERT_FALSE(image.isNull()) << reader.errorString().toStdString();
    EXPECT_EQ(size, QSize(GetParam().width, GetParam().height));
    EXPECT_EQ(image.size(), size);
    EXPECT_EQ(image.format(), format);
    EXPECT_TRUE(Matches(GetParam(), image));
  }
};

TEST_P(QtSamplesTest, FromAFile) {
  QImageReader reader(Path());
  Check(reader);
}

TEST_P(QtSamplesTest, FromMemory) {
  QByteArray bytes = test::ToQt(test::ReadFile(GetParam().path));
  QBuffer buffer(&bytes);
  ASSERT_TRUE(buffer.open(QIODevice::ReadOnly));
  // Frames of video have no mark by which they could be known.
  QImageReader reader(&buffer, Suffix() == "yuv" ? "yuv" : QByteArray());
  Check(reader);
}

TEST_P(QtSamplesTest, FromAPipe) {
  test::PipeDevice pipe(test::ReadFile(GetParam().path));
  QImageReader reader(&pipe, Suffix());
  Check(reader);
}

// In one call, as programs do that want nothing but the picture.
TEST_P(QtSamplesTest, AsAnImage) {
  const QImage image(Path());
  if (!IsJudged(GetParam())) return;
  ASSERT_EQ(image.isNull(), IsRefused(GetParam()));
  EXPECT_TRUE(image.isNull() || Matches(GetParam(), image));
}

// Numbers beyond 0 to 1 are not cut.
TEST_P(QtSamplesTest, FloatsAreKept) {
  if (GetParam().expect != Expect::kFloatPixels) return;
  const QImage image(Path());
  ASSERT_EQ(image.format(), QImage::Format_RGBX32FPx4);
  std::vector<float> numbers;
  for (int y = 0; y < image.height(); ++y) {
    for (int x = 0; x < image.width(); ++x) {
      float pixel[4];
      std::memcpy(pixel, image.constScanLine(y) + sizeof pixel * static_cast<std::size_t>(x), sizeof pixel);
      numbers.insert(numbers.end(), pixel, pixel + GetParam().channels);
      ASSERT_EQ(pixel[3], 1.0F);
    }
  }
  EXPECT_TRUE(test::MatchesFloats(numbers, test::LoadFloats(GetParam().floats), GetParam().tolerance));
}

TEST_P(QtSamplesTest, SignedNumbersSpanAllLevels) {
  if (GetParam().expect != Expect::kSnormPixels) return;
  const test::Picture picture = test::PixelsOf(QImage(Path()));
  const std::vector<float> numbers = test::LoadFloats(GetParam().floats);
  ASSERT_EQ(picture.rgba.size(), numbers.size());
  for (std::size_t i = 0; i < numbers.size(); ++i)
    ASSERT_NEAR(picture.rgba[i], (numbers[i] + 1) / 2 * 255, 2) << i;
}

INSTANTIATE_TEST_SUITE_P(Iff, QtSamplesTest, testing::ValuesIn(test::LoadSamples("iff")), test::SampleName);
INSTANTIATE_TEST_SUITE_P(Pic, QtSamplesTest, testing::ValuesIn(test::LoadSamples("pic")), test::SampleName);
INSTANTIATE_TEST_SUITE_P(Sgi, QtSamplesTest, testing::ValuesIn(test::LoadSamples("sgi")), test::SampleName);
INSTANTIATE_TEST_SUITE_P(Yuv, QtSamplesTest, testing::ValuesIn(test::LoadSamples("yuv")), test::SampleName);
INSTANTIATE_TEST_SUITE_P(Dds, QtSamplesTest, testing::ValuesIn(test::LoadSamples("dds")), test::SampleName);

// --- Textures of several pictures

class QtTextureTest : public testing::TestWithParam<Sample> {};

// The number that a picture of the sample has, counted over its list, which is in the file's order.
TEST_P(QtTextureTest, EveryLevelFaceAndSliceIsAnImageOfTheFile) {
  const Sample& sample = GetParam();
  QImageReader reader(QString::fromStdString(sample.path));
  ASSERT_EQ(reader.imageCount(), static_cast<int>(sample.levels.size()));
  test::Tolerance tolerance;
  tolerance.channel = sample.tolerance.channel;
  for (int i = 0; i < reader.imageCount(); ++i) {
    const test::SampleLevel& level = sample.levels[static_cast<std::size_t>(i)];
    ASSERT_EQ(reader.currentImageNumber(), i);
    EXPECT_EQ(reader.size(), QSize(level.width, level.height)) << i;
    const QImage image = reader.read();
    EXPECT_TRUE(test::Matches(test::PixelsOf(image), test::LoadPicture(level.expected),
                              ComparedChannels(sample, image), tolerance))
        << "picture " << i << ": face " << level.face << ", level " << level.mip << ", slice " << level.slice;
    EXPECT_EQ(reader.jumpToNextImage(), i + 1 < reader.imageCount());
  }
}

std::vector<Sample> TexturesOfSeveral() {
  std::vector<Sample> several;
  for (const Sample& sample : test::LoadSamples("dds")) {
    if (sample.levels.size() > 1 && sample.expect == Expect::kPixels) several.push_back(sample);
  }
  return several;
}

INSTANTIATE_TEST_SUITE_P(Dds, QtTextureTest, testing::ValuesIn(TexturesOfSeveral()), test::SampleName);

}  // namespace
