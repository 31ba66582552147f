// Memory that runs out at every allocation in turn, in the plugin. Nothing is thrown into Qt, which would
// keep its locks; what is read or written fails, and goes well the next time. The handlers are mostly called
// without Qt's classes in between, which would ask a part of the functions only, and hide which one threw.
#include <gtest/gtest.h>

#include <QBuffer>
#include <QFile>
#include <QImageIOPlugin>
#include <QImageReader>
#include <QImageWriter>
#include <QPluginLoader>
#include <algorithm>
#include <array>
#include <memory>
#include <new>

#include "plugins/QtReading.h"
#include "support/AllocationFailureTest.h"
#include "support/CaseName.h"
#include "support/DdsBuilder.h"
#include "support/IlbmBuilder.h"
#include "support/PicBuilder.h"
#include "support/ProcessResources.h"
#include "support/SgiBuilder.h"
#include "support/TestData.h"

namespace {

using test::AllocationFailure;
using test::Bytes;
using test::Result;
using test::Work;

const QString kPluginPath = QStringLiteral(RIMAGE_QT_PLUGINS "/imageformats/libqrimage.so");

const QImageIOPlugin& Plugin() {
  static const auto* const kPlugin = qobject_cast<QImageIOPlugin*>(QPluginLoader(kPluginPath).instance());
  return *kPlugin;
}

// --- Files, of few bytes where the format allows it

constexpr int kFrameBytes = 720 * 486 * 2;

struct File {
  const char* name;
  const char* format;
  Bytes bytes;
};

std::vector<File> Files() {
  using test::DdsBuilder;
  const std::vector<Bytes> rows = {{3, 7}, {1, 8, 2, 9}, {3, 5}, {3, 4}, {2, 3, 1, 2}, {3, 1}};
  return {
      {"sgi", "sgi", test::SgiBuilder::Verbatim(3, 2, 4, test::RandomBytes(24, 1)).Build()},
      {"sgi_runs", "sgi", test::SgiBuilder::Rle(3, 2, 3, rows).Build()},
      {"pic", "pic",
       test::PicBuilder::Make(1, 2, {{0, 0xE0}, {2, 0x10}}, {1, 2, 3, 0, 4, 5, 6, 7, 0, 8}).Build()},
      {"iff", "iff", test::IlbmBuilder::Make({9, 2, 1}, Bytes(6, 50), {1, 2, 3, 4}).Build()},
      {"iff_runs", "iff", test::IlbmBuilder::Make({9, 2, 1, 0, 1}, Bytes(6, 50), {1, 2, 3, 255, 4}).Build()},
      {"yuv", "yuv", test::RandomBytes(kFrameBytes, 2)},
      {"dds_levels", "dds", DdsBuilder::Rgba(4, 2).Mipmaps(3).RandomData(44).File()},
      {"dds_volume", "dds", DdsBuilder::Rgba(2, 2).Volume(2).Mipmaps(2).RandomData(36).File()},
      {"dds_blocks", "dds", DdsBuilder(4, 4).Code("DXT5").RandomData(16).File()},
      {"dds_bc7", "dds", DdsBuilder(4, 4).Dxgi(98).RandomData(16).File()},
      {"dds_floats", "dds", DdsBuilder(1, 1).Code(113).Data(Bytes(8, 0x3C)).File()},
  };
}

Bytes BytesOf(const QImage& image) { return {image.constBits(), image.constBits() + image.sizeInBytes()}; }

// --- Reading

std::unique_ptr<QImageIOHandler> HandlerOf(QIODevice& device, const QByteArray& format) {
  if (!(Plugin().capabilities(&device, format) & QImageIOPlugin::CanRead)) return nullptr;
  std::unique_ptr<QImageIOHandler> handler(Plugin().create(&device, format));
  if (handler) handler->setDevice(&device);
  return handler;
}

// Reads all pictures, with what is told of each.
Result ReadAll(QImageIOHandler& handler) {
  Bytes bytes;
  const int count = handler.imageCount();
  for (int i = 0; i < count; ++i) {
    QImage image;
    if (!handler.jumpToImage(i) || !handler.canRead() || !handler.read(&image)) return std::nullopt;
    EXPECT_EQ(handler.option(QImageIOHandler::Size).toSize(), image.size());
    EXPECT_EQ(handler.option(QImageIOHandler::ImageFormat).value<QImage::Format>(), image.format());
    const Bytes read = BytesOf(image);
    bytes.insert(bytes.end(), read.begin(), read.end());
  }
  if (count == 0) return std::nullopt;
  return bytes;
}

// Asks for the size first, as programs do.
Result AskAndRead(QImageIOHandler& handler) {
  if (!handler.option(QImageIOHandler::Size).isValid()) return std::nullopt;
  return ReadAll(handler);
}

Result ReadAtOnce(QImageIOHandler& handler) {
  QImage image;
  if (!handler.read(&image)) return std::nullopt;
  return BytesOf(image);
}

using Read = Result (*)(QImageIOHandler& handler);

// That anything comes out of the plugin but a value is a failure of the test.
Result ReadBy(Read read, QIODevice& device, const QByteArray& format) {
  try {
    const auto handler = HandlerOf(device, format);
    return handler ? read(*handler) : std::nullopt;
  } catch (const std::bad_alloc&) {
    ADD_FAILURE() << "thrown into Qt";
    return std::nullopt;
  }
}

// A device with the file's contents, at its start.
class Contents : public QBuffer {
 public:
  explicit Contents(const File& file) {
    setData(test::ToQt(file.bytes));
    EXPECT_TRUE(open(ReadOnly));
  }
};

Result ReadByQt(const File& file) {
  Contents contents(file);
  QImageReader reader(&contents, file.format);
  const QImage image = reader.read();
  if (!image.isNull()) return BytesOf(image);
  EXPECT_NE(reader.error(), QImageReader::UnknownError) << "nothing is told";
  EXPECT_FALSE(reader.errorString().isEmpty());
  return std::nullopt;
}

Work Reading(const char* how, Read read, const File& file, const QByteArray& format) {
  return {std::string(how) + file.name, [=] {
            Contents contents(file);
            return ReadBy(read, contents, format);
          }};
}

std::vector<Work> Readings() {
  static const test::TemporaryFolder kFolder;
  std::vector<Work> works;
  for (const File& file : Files()) {
    // Where the contents tell the format, no name is given.
    const QByteArray found = std::string_view(file.format) == "yuv" ? file.format : "";
    works.push_back(Reading("All_", ReadAll, file, file.format));
    works.push_back(Reading("Size_", AskAndRead, file, file.format));
    works.push_back(Reading("Found_", ReadAtOnce, file, found));
    works.push_back({std::string("Pipe_") + file.name, [file] {
                       test::PipeDevice pipe(file.bytes);
                       return ReadBy(ReadAll, pipe, file.format);
                     }});
    const QString path = QString::fromStdString(kFolder.Write(file.name, file.bytes));
    works.push_back({std::string("File_") + file.name, [file, path] {
                       QFile device(path);
                       EXPECT_TRUE(device.open(QIODevice::ReadOnly));
                       return ReadBy(ReadAll, device, file.format);
                     }});
    works.push_back({std::string("Qt_") + file.name, [file] { return ReadByQt(file); }});
  }
  return works;
}

// --- Writing

const QImage& Noise() {
  static const QImage kNoise = [] {
    QImage image(720, 486, QImage::Format_RGBA8888);
    const Bytes bytes = test::RandomBytes(static_cast<std::size_t>(image.sizeInBytes()), 3);
    std::ranges::copy(bytes, image.bits());
    return image;
  }();
  return kNoise;
}

// Writes by `write`; a frame that could not be written leaves nothing behind.
Result Written(bool (*write)(QIODevice& device, const QImage& image), const QImage& image) {
  QBuffer buffer;
  EXPECT_TRUE(buffer.open(QIODevice::WriteOnly));
  const bool written = write(buffer, image);
  EXPECT_EQ(buffer.size(), written ? kFrameBytes : 0);
  if (!written) return std::nullopt;
  return Bytes(buffer.data().begin(), buffer.data().end());
}

bool WriteByHandler(QIODevice& device, const QImage& image) {
  try {
    const std::unique_ptr<QImageIOHandler> handler(Plugin().create(&device, "yuv"));
    if (!handler) return false;
    handler->setDevice(&device);
    return handler->write(image);
  } catch (const std::bad_alloc&) {
    ADD_FAILURE() << "thrown into Qt";
    return false;
  }
}

bool WriteByQt(QIODevice& device, const QImage& image) { return QImageWriter(&device, "yuv").write(image); }

std::vector<Work> Writings() {
  static const QImage kSmall = Noise().copy(0, 0, 16, 9);
  return {{"Handler", [] { return Written(WriteByHandler, Noise()); }},
          {"Resampled", [] { return Written(WriteByHandler, kSmall); }},
          {"Qt", [] { return Written(WriteByQt, Noise()); }}};
}

// --- The tests

// Paths of the higher descriptors, which most programs have, are too long to be kept without memory.
class HigherDescriptors : public testing::Test {
 protected:
  void SetUp() override {
    for (QFile& file : mFiles) {
      file.setFileName(QStringLiteral("/dev/null"));
      ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    }
  }

 private:
  std::array<QFile, 10> mFiles;
};

using QtAllocationFailureTest = test::AllocationFailureTest<HigherDescriptors>;

TEST_P(QtAllocationFailureTest, EachIsAFailureOfTheWhole) {
  const auto before = test::OpenFiles();
  RunWithoutEach();
  EXPECT_EQ(test::OpenFiles(), before) << "left open";
}

INSTANTIATE_TEST_SUITE_P(Read, QtAllocationFailureTest, testing::ValuesIn(Readings()), test::CaseName());
INSTANTIATE_TEST_SUITE_P(Write, QtAllocationFailureTest, testing::ValuesIn(Writings()), test::CaseName());

// --- What is left after a failure

using QtAllocationFailure = HigherDescriptors;

// The same handler reads the file when there is memory again.
TEST_F(QtAllocationFailure, APictureMayBeReadAgain) {
  for (const File& file : Files()) {
    SCOPED_TRACE(file.name);
    Contents contents(file);
    const Result expected = ReadBy(ReadAll, contents, file.format);
    ASSERT_TRUE(expected);
    bool failed = true;
    for (int which = 0; failed; ++which) {
      ASSERT_TRUE(contents.seek(0));
      const auto handler = HandlerOf(contents, file.format);
      ASSERT_TRUE(handler);
      {
        const AllocationFailure failure(which);
        (void)ReadAll(*handler);
        failed = failure.FailedSize() > 0;
      }
      EXPECT_EQ(ReadAll(*handler), expected) << which;
    }
  }
}

// What it has handed out is gone.
TEST_F(QtAllocationFailure, APipeIsNotOpenedAgain) {
  int failures = 0;
  for (bool failed = true; failed; ++failures) {
    test::PipeDevice pipe(test::RandomBytes(kFrameBytes, 2));
    const auto handler = HandlerOf(pipe, "yuv");
    ASSERT_TRUE(handler);
    const AllocationFailure failure(failures);
    const int count = handler->imageCount();
    failed = failure.FailedSize() > 0;
    EXPECT_EQ(count, failed ? 0 : 1);
    EXPECT_EQ(handler->canRead(), !failed);
  }
  EXPECT_GT(failures, 1) << "nothing failed";
}

// A device that has no memory for one of its reads.
class PoorDevice : public QIODevice {
 public:
  PoorDevice(const QByteArray& bytes, int reads) : mBytes(bytes), mReads(reads) {
    EXPECT_TRUE(open(ReadOnly));
  }
  qint64 size() const override { return mBytes.size(); }
  bool seek(qint64 position) override {
    mNext = position;
    return QIODevice::seek(position);
  }
  bool HasFailed() const { return mReads < 0; }

 protected:
  qint64 readData(char* data, qint64 maxSize) override {
    if (mReads-- == 0) throw std::bad_alloc();
    const qint64 count = std::min(maxSize, size() - mNext);
    std::copy_n(mBytes.constData() + mNext, count, data);
    mNext += count;
    return count;
  }
  qint64 writeData(const char*, qint64) override { return -1; }

 private:
  QByteArray mBytes;
  qint64 mNext = 0;
  int mReads;
};

TEST_F(QtAllocationFailure, MemoryThatADeviceLacksIsAFailureToo) {
  const QByteArray bytes =
      "before" + test::ToQt(test::SgiBuilder::Verbatim(200, 200, 3, Bytes(120000, 7)).Build());
  int reads = 0;
  for (bool failed = true; failed; ++reads) {
    PoorDevice device(bytes, reads);
    ASSERT_TRUE(device.seek(6));
    const Result result = ReadBy(ReadAll, device, "sgi");
    failed = device.HasFailed();
    EXPECT_EQ(result.has_value(), !failed);
    EXPECT_EQ(device.pos(), failed ? 6 : bytes.size());
  }
  EXPECT_GT(reads, 3) << "what is copied in pieces takes more reads";
  PoorDevice device(bytes, 0);
  const std::unique_ptr<QImageIOHandler> handler(Plugin().create(&device, "sgi"));
  ASSERT_TRUE(handler);
  handler->setDevice(&device);
  EXPECT_NO_THROW(EXPECT_FALSE(handler->canRead()));
  EXPECT_TRUE(device.HasFailed());
}

// A copy of the plugin, of which there is no object yet.
TEST_F(QtAllocationFailure, WithoutItsObjectThePluginIsNotLoaded) {
  const test::TemporaryFolder folder;
  const QString path = QString::fromStdString(folder.Path("libqrimage.so"));
  ASSERT_TRUE(QFile::copy(kPluginPath, path));
  QPluginLoader loader(path);
  ASSERT_TRUE(loader.load()) << loader.errorString().toStdString();
  const QObject* object = nullptr;
  {
    const AllocationFailure failure(0);
    EXPECT_NO_THROW(object = loader.instance());
    EXPECT_GT(failure.FailedSize(), 0U);
  }
  EXPECT_EQ(object, nullptr);
  EXPECT_NE(loader.instance(), nullptr) << "goes well again";
  EXPECT_TRUE(loader.unload());
}

}  // namespace
