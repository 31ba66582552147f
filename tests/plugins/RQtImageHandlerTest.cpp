// Reading and writing through the plugin's handler, as Qt programs do.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QBuffer>
#include <QFile>
#include <QImageReader>
#include <QImageWriter>
#include <QTemporaryFile>
#include <cerrno>
#include <thread>

#include "plugins/QtReading.h"
#include "streams/RImageStreamyuv.h"
#include "support/DdsBuilder.h"
#include "support/FileTrouble.h"
#include "support/IlbmBuilder.h"
#include "support/PicBuilder.h"
#include "support/SgiBuilder.h"
#include "support/StreamReading.h"
#include "support/TestData.h"
#include "support/YuvReference.h"

namespace {

using test::Bytes;

constexpr qint64 kFrameBytes = 720 * 486 * 2;

Bytes SgiOf(unsigned width, unsigned height) {
  return test::SgiBuilder::Verbatim(width, height, 3, Bytes(std::size_t{3} * width * height, 7)).Build();
}

// Restores what the tests of the limit change.
class AllocationLimit {
 public:
  explicit AllocationLimit(int megabytes) : mBefore(QImageReader::allocationLimit()) {
    QImageReader::setAllocationLimit(megabytes);
  }
  ~AllocationLimit() { QImageReader::setAllocationLimit(mBefore); }
  AllocationLimit(const AllocationLimit&) = delete;
  AllocationLimit& operator=(const AllocationLimit&) = delete;

 private:
  int mBefore;
};

class RQtImageHandlerTest : public testing::Test {
 protected:
  QString Write(const char* name, const Bytes& bytes) const {
    return QString::fromStdString(mFolder.Write(name, bytes));
  }

  test::TemporaryFolder mFolder;
};

// --- Layouts

TEST_F(RQtImageHandlerTest, RowsStandTheRightWayUp) {
  // The file's first row is the bottom one.
  const Bytes bytes = test::SgiBuilder::Verbatim(1, 2, 1, {10, 200}).Build();
  const QImage image(Write("a.sgi", bytes));
  EXPECT_EQ(image.pixelColor(0, 0), QColor(200, 200, 200));
  EXPECT_EQ(image.pixelColor(0, 1), QColor(10, 10, 10));
}

TEST_F(RQtImageHandlerTest, OnlyFilesWithAlphaHaveAlpha) {
  const auto formatOf = [&](const char* name, const Bytes& bytes) {
    QImageReader reader(Write(name, bytes));
    EXPECT_EQ(reader.imageFormat(), reader.read().format());
    return reader.imageFormat();
  };
  using test::DdsBuilder;
  EXPECT_EQ(formatOf("1.sgi", SgiOf(1, 1)), QImage::Format_RGBX8888);
  EXPECT_EQ(formatOf("4.sgi", test::SgiBuilder::Verbatim(1, 1, 4, {1, 2, 3, 4}).Build()),
            QImage::Format_RGBA8888);
  EXPECT_EQ(formatOf("a.pic", test::PicBuilder::Make(1, 1, {{0, 0xF0}}, {1, 2, 3, 4}).Build()),
            QImage::Format_RGBX8888);
  EXPECT_EQ(formatOf("a.iff", test::IlbmBuilder::Make({8, 1, 1}, Bytes(6), {1, 1}).Build()),
            QImage::Format_RGBX8888);
  EXPECT_EQ(formatOf("a.yuv", Bytes(kFrameBytes)), QImage::Format_RGB888);
  EXPECT_EQ(formatOf("a.dds", DdsBuilder::Rgba(1, 1).Data({1, 2, 3, 4}).File()), QImage::Format_RGBA8888);
  EXPECT_EQ(formatOf("dxt2.dds", DdsBuilder(4, 4).LinearSize(16).Code("DXT2").RandomData(16).File()),
            QImage::Format_RGBA8888_Premultiplied);
  EXPECT_EQ(formatOf("r16f.dds", DdsBuilder(1, 1).Code(111).Data({0, 0x3C}).File()),
            QImage::Format_RGBX32FPx4);
  EXPECT_EQ(formatOf("rgba16f.dds", DdsBuilder(1, 1).Code(113).Data(Bytes(8)).File()),
            QImage::Format_RGBA32FPx4);
  // The premultiplied mode of the extension header, on half floats.
  EXPECT_EQ(formatOf("pm16f.dds", DdsBuilder(1, 1).Dxgi(10, 2).Data(Bytes(8)).File()),
            QImage::Format_RGBA32FPx4_Premultiplied);
}

// --- Devices

TEST_F(RQtImageHandlerTest, ReadsFromTheDevicesPositionOn) {
  const Bytes bytes = test::Join({Bytes(37, 1), SgiOf(3, 2)});
  QFile file(Write("late.bin", bytes));
  ASSERT_TRUE(file.open(QIODevice::ReadOnly) && file.seek(37));
  QImageReader reader(&file, "sgi");
  EXPECT_EQ(reader.size(), QSize(3, 2));
  EXPECT_EQ(file.pos(), 37) << "asking for the size moves nothing";
  EXPECT_EQ(reader.read().size(), QSize(3, 2));
  EXPECT_TRUE(file.atEnd());
}

TEST_F(RQtImageHandlerTest, AskingTakesNothingFromAPipe) {
  test::PipeDevice pipe(SgiOf(300, 20));
  QImageReader reader(&pipe, "sgi");
  EXPECT_TRUE(reader.canRead());
  EXPECT_GE(pipe.bytesAvailable(), 300 * 20 * 3);
  EXPECT_EQ(reader.size(), QSize(300, 20));
  EXPECT_EQ(reader.read().size(), QSize(300, 20)) << "the size was asked for, but the picture is still there";
}

TEST_F(RQtImageHandlerTest, APictureIsReadOnce) {
  QImageReader reader(Write("a.sgi", SgiOf(1, 1)));
  EXPECT_FALSE(reader.read().isNull());
  EXPECT_FALSE(reader.canRead());
  EXPECT_TRUE(reader.read().isNull());
  EXPECT_TRUE(reader.jumpToImage(0));
  EXPECT_FALSE(reader.read().isNull());
  EXPECT_FALSE(reader.jumpToNextImage());
}

TEST_F(RQtImageHandlerTest, ReadsAFileThatHasNoNameAnyMore) {
  const QString path = Write("a.sgi", SgiOf(2, 1));
  QFile file(path);
  ASSERT_TRUE(file.open(QIODevice::ReadOnly));
  ASSERT_TRUE(QFile::remove(path));
  EXPECT_EQ(QImageReader(&file, "sgi").read().size(), QSize(2, 1));
}

// What was written is in the device's buffer, not in the file yet.
TEST_F(RQtImageHandlerTest, ReadsAFileThatIsBeingWritten) {
  QTemporaryFile file;
  ASSERT_TRUE(file.open());
  const Bytes bytes = SgiOf(2, 1);
  ASSERT_EQ(file.write(test::ToQt(bytes)), static_cast<qint64>(bytes.size()));
  ASSERT_TRUE(file.seek(0));
  EXPECT_EQ(QImageReader(&file, "sgi").read().size(), QSize(2, 1));
}

TEST_F(RQtImageHandlerTest, ReadsANamedPipe) {
  const std::string path = mFolder.Path("pipe.sgi");
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  std::thread writer([&] { test::WriteFile(path, SgiOf(40, 30)); });
  EXPECT_EQ(QImageReader(QString::fromStdString(path)).read().size(), QSize(40, 30));
  writer.join();
}

TEST_F(RQtImageHandlerTest, LeavesNoOpenFiles) {
  const auto openFiles = [] {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
  };
  QByteArray bytes = test::ToQt(SgiOf(2, 1));
  const QString path = Write("a.sgi", SgiOf(2, 1));
  (void)QImage(path);
  const auto before = openFiles();
  for (int i = 0; i < 5; ++i) {
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    EXPECT_FALSE(QImageReader(&buffer).read().isNull());
    EXPECT_FALSE(QImage(path).isNull());
    QByteArray out;
    QBuffer target(&out);
    EXPECT_TRUE(QImage(2, 2, QImage::Format_RGB32).save(&target, "yuv"));
  }
  EXPECT_EQ(openFiles(), before);
}

TEST_F(RQtImageHandlerTest, QtClipsAndScales) {
  QImageReader reader(Write("a.sgi", SgiOf(40, 30)));
  reader.setClipRect({10, 10, 20, 10});
  reader.setScaledSize({5, 5});
  EXPECT_EQ(reader.read().size(), QSize(5, 5));
}

TEST_F(RQtImageHandlerTest, ThreadsReadSideBySide) {
  const QString sgi = Write("a.sgi", SgiOf(64, 64));
  const QString dds = QString::fromStdString(test::DataPath("dds/oiio_dds_bc7.dds"));
  const QString pic = QString::fromStdString(test::DataPath("pic/gen_qt_runs.pic"));
  std::vector<std::thread> threads;
  std::atomic<int> failures = 0;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < 25; ++round) {
        for (const QString& path : {sgi, dds, pic}) failures += QImage(path).isNull();
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(failures, 0);
}

// --- Sizes

TEST_F(RQtImageHandlerTest, TheSizeComesFromTheHeaderAlone) {
  using test::DdsBuilder;
  const auto sizeOf = [&](const char* name, const Bytes& bytes) {
    return QImageReader(Write(name, bytes)).size();
  };
  // The pixels are missing, so whoever wanted them would fail.
  EXPECT_EQ(sizeOf("a.sgi", test::First(SgiOf(500, 400), 512)), QSize(500, 400));
  EXPECT_EQ(sizeOf("a.pic", test::PicBuilder::Make(500, 400, {}, {}).Build()), QSize(500, 400));
  const Bytes iff = test::IlbmBuilder::Make({500, 400, 8}, Bytes(6), Bytes(50)).Build();
  EXPECT_EQ(sizeOf("a.iff", iff), QSize(500, 400));
  EXPECT_TRUE(QImage(Write("a.iff", iff)).isNull());
  EXPECT_EQ(sizeOf("bc7.dds", DdsBuilder(500, 400).Dxgi(98).File()), QSize(500, 400));
  EXPECT_EQ(sizeOf("rgba.dds", DdsBuilder::Rgba(500, 400).File()), QSize(500, 400));
}

// Text of any length may stand before it.
TEST_F(RQtImageHandlerTest, TheHeaderOfAnIffFileMayStandFarBehind) {
  auto file = test::IlbmBuilder::Make({9, 2, 1}, Bytes(6), Bytes(4));
  file.chunks.insert(file.chunks.begin(), {"ANNO", Bytes(100000)});
  QImageReader reader(Write("a.iff", file.Build()));
  EXPECT_EQ(reader.size(), QSize(9, 2));
  EXPECT_EQ(reader.read().size(), QSize(9, 2));
}

// As for the reader, the last of several holds.
TEST_F(RQtImageHandlerTest, TheLastHeaderOfAnIffFileCounts) {
  auto file = test::IlbmBuilder::Make({9, 2, 1}, Bytes(6), Bytes(4));
  file.chunks.insert(file.chunks.begin(), test::IlbmBmhd{50, 50, 1}.Chunk());
  QImageReader reader(Write("a.iff", file.Build()));
  EXPECT_EQ(reader.size(), QSize(9, 2));
  EXPECT_EQ(reader.read().size(), QSize(9, 2));
}

TEST_F(RQtImageHandlerTest, FilesWithoutAPictureHaveNoSize) {
  using test::DdsBuilder;
  const auto sizeOf = [&](const char* name, const Bytes& bytes) {
    QImageReader reader(Write(name, bytes));
    EXPECT_TRUE(reader.read().isNull()) << name;
    return QImageReader(Write(name, bytes)).size();
  };
  EXPECT_FALSE(sizeOf("a.pic", test::PicBuilder::Make(0, 5, {}, {}).Build()).isValid());
  EXPECT_FALSE(sizeOf("a.sgi", SgiOf(5, 0)).isValid());
  EXPECT_FALSE(sizeOf("a.iff", test::IlbmBuilder::Make({0, 5, 1}, Bytes(6), {}).Build()).isValid());
  EXPECT_FALSE(sizeOf("code.dds", DdsBuilder(4, 4).Code("NONE").RandomData(64).File()).isValid());
  EXPECT_FALSE(sizeOf("flat.dds", DdsBuilder::Rgba(4, 0).RandomData(64).File()).isValid());
  EXPECT_FALSE(sizeOf("wide.dds", DdsBuilder::Rgba(0x80000000, 4).RandomData(64).File()).isValid());
  EXPECT_FALSE(sizeOf("short.dds", test::First(DdsBuilder(4, 4).Dxgi(98).File(), 140)).isValid());
}

TEST_F(RQtImageHandlerTest, OnlySizeAndLayoutAreKnownBeforehand) {
  const QImageReader reader(Write("a.sgi", SgiOf(1, 1)));
  EXPECT_TRUE(reader.supportsOption(QImageIOHandler::Size));
  EXPECT_TRUE(reader.supportsOption(QImageIOHandler::ImageFormat));
  EXPECT_FALSE(reader.supportsOption(QImageIOHandler::Quality));
  EXPECT_FALSE(reader.supportsOption(QImageIOHandler::ScaledSize));
  EXPECT_FALSE(reader.supportsAnimation());
}

// --- Textures

TEST_F(RQtImageHandlerTest, LevelsAreImagesOfTheFile) {
  QImageReader reader(Write("a.dds", test::DdsBuilder::Rgba(4, 2).Mipmaps(3).RandomData(44).File()));
  ASSERT_EQ(reader.imageCount(), 3);
  EXPECT_TRUE(reader.jumpToImage(2));
  EXPECT_EQ(reader.currentImageNumber(), 2);
  EXPECT_EQ(reader.size(), QSize(1, 1));
  EXPECT_EQ(reader.read().size(), QSize(1, 1));
  EXPECT_FALSE(reader.jumpToNextImage());
  EXPECT_FALSE(reader.jumpToImage(3));
  EXPECT_FALSE(reader.jumpToImage(-1));
  EXPECT_EQ(reader.currentImageNumber(), 2);
  EXPECT_TRUE(reader.jumpToImage(0));
  EXPECT_EQ(reader.read().size(), QSize(4, 2));
}

TEST_F(RQtImageHandlerTest, TheSlicesOfAVolumesLevelsFollowEachOther) {
  QImageReader reader(
      Write("a.dds", test::DdsBuilder::Rgba(4, 4).Volume(4).Mipmaps(3).RandomData(292).File()));
  QList<int> widths;
  for (int i = 0; i < reader.imageCount(); ++i) {
    ASSERT_TRUE(reader.jumpToImage(i));
    widths.append(reader.size().width());
    EXPECT_EQ(reader.read().width(), widths.last());
  }
  EXPECT_EQ(widths, QList<int>({4, 4, 4, 4, 2, 2, 1}));
}

// The claim is of 16 million; a program that counts to it should not take an hour.
TEST_F(RQtImageHandlerTest, AFileHasNoMorePicturesThanBytes) {
  const Bytes bytes = test::DdsBuilder(1, 1).Dxgi(28, 0, 0, 0xFFFFFFFF).Data({1, 2, 3, 4}).File();
  QImageReader reader(Write("a.dds", bytes));
  EXPECT_EQ(reader.imageCount(), static_cast<int>(bytes.size()));
  EXPECT_FALSE(reader.read().isNull());
  ASSERT_TRUE(reader.jumpToImage(1));
  EXPECT_TRUE(reader.read().isNull()) << "the file ends before it";
}

// What other readers show a coloured square for is no picture.
TEST_F(RQtImageHandlerTest, APlaceholderIsRefused) {
  QImageReader reader(Write("a.dds", test::DdsBuilder(64, 64).Dxgi(98).RandomData(16).File()));
  EXPECT_EQ(reader.size(), QSize(64, 64));
  EXPECT_TRUE(reader.read().isNull());
  EXPECT_EQ(reader.error(), QImageReader::InvalidDataError);
}

// --- Qt's limit of memory

TEST_F(RQtImageHandlerTest, TheAllocationLimitHolds) {
  using test::DdsBuilder;
  const AllocationLimit limit(1);
  const auto reads = [&](const char* name, const Bytes& bytes) {
    return !QImage(Write(name, bytes)).isNull();
  };
  // 512 x 512 x 4 bytes are 1 MiB, which is not above it.
  EXPECT_TRUE(reads("512.sgi", SgiOf(512, 512)));
  EXPECT_FALSE(reads("513.sgi", SgiOf(513, 512)));
  EXPECT_TRUE(reads("512.dds", DdsBuilder(512, 512).Code("DXT1").RandomData(131072).File()));
  EXPECT_FALSE(reads("516.dds", DdsBuilder(512, 516).Code("DXT1").RandomData(132096).File()));
  // Half floats take 16 bytes a pixel.
  EXPECT_TRUE(reads("256.dds", DdsBuilder(256, 256).Code(111).RandomData(131072).File()));
  EXPECT_FALSE(reads("257.dds", DdsBuilder(256, 257).Code(111).RandomData(131584).File()));
  // Frames take 1.0012 MiB and more.
  EXPECT_FALSE(reads("a.yuv", Bytes(kFrameBytes)));
  QImageReader::setAllocationLimit(2);
  EXPECT_TRUE(reads("a.yuv", Bytes(kFrameBytes)));
}

TEST_F(RQtImageHandlerTest, SizesAreToldAboveTheLimit) {
  const AllocationLimit limit(1);
  EXPECT_EQ(QImageReader(Write("a.sgi", SgiOf(600, 600))).size(), QSize(600, 600));
}

TEST_F(RQtImageHandlerTest, ZeroIsNoLimit) {
  const AllocationLimit limit(0);
  EXPECT_FALSE(QImage(Write("a.sgi", SgiOf(1000, 1000))).isNull());
}

// What has no file of its own is copied, and a copy is memory too.
TEST_F(RQtImageHandlerTest, TheLimitHoldsForCopiesOfDevices) {
  const AllocationLimit limit(1);
  const auto reads = [](QIODevice& device) { return !QImageReader(&device, "sgi").read().isNull(); };
  constexpr std::size_t kLimit = 1 << 20;
  Bytes bytes = SgiOf(2, 2);
  bytes.resize(kLimit);
  test::PipeDevice fitting(bytes);
  EXPECT_TRUE(reads(fitting));
  bytes.push_back(0);
  test::PipeDevice pipe(bytes);
  EXPECT_FALSE(reads(pipe));
  EXPECT_LE(pipe.Taken(), static_cast<qint64>(kLimit) + 70000) << "it stops where it is too much";
  QByteArray array = test::ToQt(bytes);
  QBuffer buffer(&array);
  buffer.open(QIODevice::ReadOnly);
  EXPECT_FALSE(reads(buffer));
  // A file is read where it is.
  EXPECT_FALSE(QImage(Write("a.sgi", bytes)).isNull());
}

// --- Writing

Bytes WriteFrame(const QImage& image) {
  QByteArray bytes;
  QBuffer buffer(&bytes);
  buffer.open(QIODevice::WriteOnly);
  QImageWriter writer(&buffer, "yuv");
  EXPECT_TRUE(writer.canWrite());
  EXPECT_TRUE(writer.write(image)) << writer.errorString().toStdString();
  const auto* data = reinterpret_cast<const unsigned char*>(bytes.constData());
  return {data, data + bytes.size()};
}

TEST_F(RQtImageHandlerTest, FramesAreWrittenAsTheStreamWritesThem) {
  QImage image(720, 486, QImage::Format_RGB888);
  for (int y = 0; y < image.height(); ++y) {
    for (int x = 0; x < image.width(); ++x)
      image.setPixelColor(x, y, QColor(x & 255, y & 255, (x * y) & 255));
  }
  const Bytes frame = WriteFrame(image);
  ASSERT_EQ(frame.size(), static_cast<std::size_t>(kFrameBytes));
  for (int y = 0; y < 486; y += 97) {
    for (int x = 0; x < 720; x += 2) {
      const QColor colour = image.pixelColor(x, y);
      const auto [luma, first, second] =
          test::ReferenceComponents(colour.red(), colour.green(), colour.blue());
      const unsigned char* pair =
          &frame[static_cast<std::size_t>(y) * 1440 + static_cast<std::size_t>(2 * x)];
      ASSERT_EQ(pair[0], first) << x << ", " << y;
      ASSERT_EQ(pair[1], luma) << x << ", " << y;
      ASSERT_EQ(pair[2], second) << x << ", " << y;
    }
  }
}

TEST_F(RQtImageHandlerTest, TransparentPicturesAreWrittenOverBlack) {
  QImage image(720, 486, QImage::Format_ARGB32);
  image.fill(QColor(200, 100, 50, 128));
  QImage black(720, 486, QImage::Format_RGB888);
  black.fill(QColor(100, 50, 25));
  EXPECT_EQ(WriteFrame(image), WriteFrame(black));
  image.convertTo(QImage::Format_ARGB32_Premultiplied);
  EXPECT_EQ(WriteFrame(image), WriteFrame(black));
}

TEST_F(RQtImageHandlerTest, AllLayoutsAndSizesAreWritten) {
  QImage white(9, 5, QImage::Format_RGB32);
  white.fill(Qt::white);
  for (const QImage::Format format : {QImage::Format_Mono, QImage::Format_Grayscale8, QImage::Format_RGB16,
                                      QImage::Format_RGBA64, QImage::Format_RGBA32FPx4}) {
    const Bytes frame = WriteFrame(white.convertToFormat(format));
    ASSERT_EQ(frame.size(), static_cast<std::size_t>(kFrameBytes));
    EXPECT_EQ(frame[1], 235) << format;
    EXPECT_EQ(frame.back(), 235) << format;
  }
}

TEST_F(RQtImageHandlerTest, WrittenFramesAreReadAgain) {
  const QString path = QString::fromStdString(mFolder.Path("a.yuv"));
  QImage image(720, 486, QImage::Format_RGB32);
  image.fill(QColor(130, 130, 130));
  ASSERT_TRUE(image.save(path));
  const QImage read(path);
  EXPECT_EQ(read.size(), QSize(720, 486));
  EXPECT_NEAR(read.pixelColor(9, 9).red(), 130, 2);
}

TEST_F(RQtImageHandlerTest, NothingElseIsWritten) {
  const QImage image(2, 2, QImage::Format_RGB32);
  EXPECT_FALSE(image.save(QString::fromStdString(mFolder.Path("a.sgi"))));
  EXPECT_FALSE(QImage().save(QString::fromStdString(mFolder.Path("a.yuv"))));
}

// The file in memory between the stream and the device is read and written like any other.
class TheFileBetween : public RQtImageHandlerTest {
 protected:
  // It gets the first number that is free.
  static std::string Path() {
    const int number = dup(STDERR_FILENO);
    close(number);
    return "/proc/self/fd/" + std::to_string(number);
  }
  // Writes a frame while a call on the file is in trouble; nothing when the writing fails.
  static Bytes WriteIn(test::Trouble trouble, int which, std::string* calls = nullptr) {
    QImage image(720, 486, QImage::Format_RGB32);
    image.fill(QColor(130, 90, 50));
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    const test::FileTrouble file(Path(), trouble, which, EIO);
    const bool isWritten = QImageWriter(&buffer, "yuv").write(image);
    if (calls) *calls = file.Names();
    return isWritten ? Bytes(bytes.begin(), bytes.end()) : Bytes();
  }
};

TEST_F(TheFileBetween, IsWrittenAndReadThroughInterruptions) {
  std::string calls;
  const Bytes frame = WriteIn(test::Trouble::kNone, -1, &calls);
  ASSERT_EQ(frame.size(), static_cast<std::size_t>(kFrameBytes));
  EXPECT_NE(calls.find('w'), std::string::npos);
  EXPECT_NE(calls.find('r'), std::string::npos);
  for (int which = 0; which < static_cast<int>(calls.size()); ++which) {
    EXPECT_EQ(WriteIn(test::Trouble::kInterrupted, which), frame) << calls << which;
    EXPECT_EQ(WriteIn(test::Trouble::kShort, which), frame) << calls << which;
  }
}

TEST_F(TheFileBetween, WhatCannotBeReadBackFails) {
  std::string calls;
  (void)WriteIn(test::Trouble::kNone, -1, &calls);
  for (int which = 0; which < static_cast<int>(calls.size()); ++which) {
    const char call = calls[static_cast<std::size_t>(which)];
    if (call == 's' || call == 'c') continue;
    EXPECT_EQ(WriteIn(test::Trouble::kFails, which), Bytes()) << calls << which;
  }
}

TEST_F(TheFileBetween, TakesWhatADeviceHoldsThroughInterruptions) {
  const Bytes bytes = SgiOf(300, 200);
  const auto read = [&](test::Trouble trouble, int which, std::string* calls = nullptr) {
    QByteArray array(reinterpret_cast<const char*>(bytes.data()), static_cast<qsizetype>(bytes.size()));
    QBuffer buffer(&array);
    buffer.open(QIODevice::ReadOnly);
    const test::FileTrouble file(Path(), trouble, which, EIO);
    QImage image = QImageReader(&buffer, "sgi").read();
    if (calls) *calls = file.Names();
    return image;
  };
  std::string calls;
  const QImage image = read(test::Trouble::kNone, -1, &calls);
  ASSERT_EQ(image.size(), QSize(300, 200));
  ASSERT_NE(calls.find('w'), std::string::npos);
  for (int which = 0; which < static_cast<int>(calls.size()); ++which) {
    EXPECT_EQ(read(test::Trouble::kInterrupted, which), image) << calls << which;
    if (calls[static_cast<std::size_t>(which)] != 'w') continue;
    EXPECT_TRUE(read(test::Trouble::kFails, which).isNull()) << calls << which;
  }
}

TEST_F(RQtImageHandlerTest, AFullDeviceFails) {
  QFile full(QStringLiteral("/dev/full"));
  ASSERT_TRUE(full.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
  EXPECT_FALSE(QImage(2, 2, QImage::Format_RGB32).save(&full, "yuv"));
}

}  // namespace
