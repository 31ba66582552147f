// Damaged and hostile files through Qt: the verdict is that of the module's own reader, and where it reads a
// picture Qt gets the same one.
#include <gtest/gtest.h>

#include <QBuffer>
#include <QImageReader>
#include <algorithm>
#include <filesystem>

#include "dds/RDDSDecoder.h"
#include "image/RDestroyPtr.h"
#include "plugins/QtReading.h"
#include "streams/RImageStreamiff.h"
#include "streams/RImageStreampict.h"
#include "streams/RImageStreamsgi.h"
#include "streams/RImageStreamyuv.h"
#include "support/Random.h"
#include "support/StreamReading.h"
#include "support/TestData.h"

namespace {

using test::Bytes;

// What the module's reader makes of bytes: no picture for a refusal and for a picture without pixels.
using Verdict = test::Picture (*)(const Bytes& bytes);

template <class Stream>
test::Picture ThroughStream(const Bytes& bytes, const char* suffix) {
  const RDestroyPtr<RImage> image = test::ReadBytesWith<Stream>(bytes, suffix);
  const bool hasPixels = image && image->GetWidth() > 0 && image->GetHeight() > 0;
  return hasPixels ? test::ToPicture(image.get()) : test::Picture();
}

test::Picture ThroughSgi(const Bytes& bytes) { return ThroughStream<RImageStreamsgi>(bytes, ".sgi"); }
test::Picture ThroughPic(const Bytes& bytes) {
  testing::internal::CaptureStderr();  // warnings of versions
  test::Picture picture = ThroughStream<RImageStreampict>(bytes, ".pic");
  (void)testing::internal::GetCapturedStderr();
  return picture;
}
test::Picture ThroughIff(const Bytes& bytes) { return ThroughStream<RImageStreamiff>(bytes, ".iff"); }
test::Picture ThroughYuv(const Bytes& bytes) { return ThroughStream<RImageStreamyuv>(bytes, ".yuv"); }

test::Picture ThroughDds(const Bytes& bytes) {
  const test::MemoryFile file(bytes, ".dds");
  RDDSDecoder decoder;
  const Bytes magic = {'D', 'D', 'S', ' '};
  if (bytes.size() < 4 || !std::ranges::equal(magic, test::First(bytes, 4))) return {};
  if (!decoder.Load(file.Path()) || decoder.IsPlaceholder()) return {};
  const RPixelBuffer pixels = decoder.DecodeBytes(0, 0, 0);
  test::Picture picture{decoder.GetInfo().width, decoder.GetInfo().height, {}};
  if (!pixels) return {};
  picture.rgba.assign(pixels.get(), pixels.get() + std::size_t{4} * static_cast<std::size_t>(picture.width) *
                                                       static_cast<std::size_t>(picture.height));
  return picture;
}

struct Subject {
  const char* name;
  const char* corpus;   // under fuzz/corpus
  const char* samples;  // under tests/data
  const char* format;
  Verdict verdict;
};

class QtMalformedTest : public testing::TestWithParam<Subject> {
 protected:
  static constexpr int kMegabytes = 16;

  void SetUp() override { QImageReader::setAllocationLimit(kMegabytes); }

  // Reads the bytes twice: once as a program does that reads all there is, once from a pipe.
  static void Check(const Bytes& bytes, const std::string& name) {
    QByteArray array = test::ToQt(bytes);
    QBuffer buffer(&array);
    ASSERT_TRUE(buffer.open(QIODevice::ReadOnly));
    QImageReader reader(&buffer, GetParam().format);
    const QSize size = reader.size();
    const QImage image = reader.read();
    if (qint64{size.width()} * size.height() * 4 > qint64{kMegabytes} << 20) {
      EXPECT_TRUE(image.isNull()) << name << " is above the limit";
      return;
    }
    const test::Picture expected = GetParam().verdict(bytes);
    ASSERT_EQ(image.isNull(), expected.IsEmpty()) << name;
    if (!image.isNull()) {
      EXPECT_EQ(size, image.size()) << name;
      EXPECT_TRUE(test::Matches(test::PixelsOf(image), expected)) << name;
    }
    for (int i = 1; i < std::min(reader.imageCount(), 40); ++i) {
      if (reader.jumpToImage(i)) (void)reader.read();
    }
    test::PipeDevice pipe(bytes);
    EXPECT_EQ(QImageReader(&pipe, GetParam().format).read().isNull(), expected.IsEmpty()) << name;
  }
};

TEST_P(QtMalformedTest, CorporaGetTheModulesVerdict) {
  int files = 0;
  for (const auto& entry :
       std::filesystem::directory_iterator(test::DataPath("../../fuzz/corpus/") + GetParam().corpus)) {
    Check(test::ReadFile(entry.path()), entry.path().filename());
    ++files;
  }
  EXPECT_GT(files, 10);
}

// Every few bytes: in headers, tables and pixels.
TEST_P(QtMalformedTest, CutFilesGetTheModulesVerdict) {
  for (const test::Sample& sample : test::LoadSamples(GetParam().samples)) {
    const Bytes whole = test::ReadFile(sample.path);
    if (whole.size() > 40000) continue;
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{4}, std::size_t{12},
                                   std::size_t{91}, std::size_t{127}, std::size_t{128}, std::size_t{148},
                                   std::size_t{511}, std::size_t{512}, whole.size() / 2, whole.size() - 1}) {
      if (size < whole.size()) Check(test::First(whole, size), sample.name + ' ' + std::to_string(size));
    }
  }
}

TEST_P(QtMalformedTest, DamagedFilesGetTheModulesVerdict) {
  constexpr unsigned char kValues[] = {0, 1, 2, 127, 128, 129, 254, 255};
  test::Random random(1);
  for (const test::Sample& sample : test::LoadSamples(GetParam().samples)) {
    const Bytes whole = test::ReadFile(sample.path);
    if (whole.size() > 10000) continue;
    for (int round = 0; round < 12; ++round) {
      Bytes bytes = whole;
      // Headers say most of what can go wrong.
      const unsigned reach = round % 3 == 0 ? static_cast<unsigned>(bytes.size()) : 150U;
      for (int i = 0; i < 3; ++i)
        bytes[random.Below(std::min(reach, static_cast<unsigned>(bytes.size())))] = kValues[random.Below(8)];
      Check(bytes, sample.name + " damaged " + std::to_string(round));
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Formats, QtMalformedTest,
                         testing::Values(Subject{"Sgi", "stream_sgi", "sgi", "sgi", ThroughSgi},
                                         Subject{"Pic", "stream_pic", "pic", "pic", ThroughPic},
                                         Subject{"Iff", "stream_iff", "iff", "iff", ThroughIff},
                                         Subject{"Yuv", "stream_yuv", "yuv", "yuv", ThroughYuv},
                                         Subject{"DdsLoader", "dds_load", "dds", "dds", ThroughDds},
                                         Subject{"DdsReader", "dds_reader", "dds", "dds", ThroughDds}),
                         [](const auto& row) { return row.param.name; });

}  // namespace
