// How Qt finds the plugin, and what the plugin leaves to others.
#include <gtest/gtest.h>

#include <QBuffer>
#include <QDir>
#include <QImageReader>
#include <QImageWriter>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLibraryInfo>
#include <QPluginLoader>
#include <array>

#include "plugins/QtReading.h"
#include "support/DdsBuilder.h"
#include "support/IlbmBuilder.h"
#include "support/PicBuilder.h"
#include "support/SgiBuilder.h"
#include "support/TestData.h"

namespace {

using test::Bytes;

const QList<QByteArray> kOwn = {"bw", "dds", "iff", "pic", "rgb", "rgba", "sgi", "yuv"};

QString PluginFolder() { return QStringLiteral(RIMAGE_QT_PLUGINS "/imageformats"); }

Bytes Sgi() { return test::SgiBuilder::Verbatim(2, 1, 3, {1, 2, 3, 4, 5, 6}).Build(); }
Bytes Pic() { return test::PicBuilder::Make(1, 1, {{0, 0xE0}}, {1, 2, 3}).Build(); }
Bytes Iff() { return test::IlbmBuilder::Make({8, 1, 1}, Bytes(6), {1, 1}).Build(); }
Bytes Dds() { return test::DdsBuilder::Rgba(1, 1).Data({1, 2, 3, 4}).File(); }
Bytes Yuv() { return Bytes(699840, 128); }

// What Qt finds in bytes that have no name.
QByteArray FormatOf(const Bytes& bytes) {
  QByteArray copy = test::ToQt(bytes);
  QBuffer buffer(&copy);
  buffer.open(QIODevice::ReadOnly);
  return QImageReader::imageFormat(&buffer);
}

class RQtImagePluginTest : public testing::Test {
 protected:
  QString Write(const char* name, const Bytes& bytes) const {
    return QString::fromStdString(mFolder.Write(name, bytes));
  }

  test::TemporaryFolder mFolder;
};

// --- Names

TEST_F(RQtImagePluginTest, QtListsTheFormats) {
  const QList<QByteArray> readable = QImageReader::supportedImageFormats();
  const QList<QByteArray> writable = QImageWriter::supportedImageFormats();
  for (const QByteArray& name : kOwn) {
    EXPECT_TRUE(readable.contains(name)) << name.toStdString();
    EXPECT_EQ(writable.contains(name), name == "yuv") << name.toStdString();
  }
}

TEST_F(RQtImagePluginTest, QtKnowsTheirTypes) {
  QList<QByteArray> sgi = QImageReader::imageFormatsForMimeType("image/x-sgi");
  std::ranges::sort(sgi);
  EXPECT_EQ(sgi, QList<QByteArray>({"bw", "rgba", "sgi"}));
  EXPECT_EQ(QImageReader::imageFormatsForMimeType("image/x-dds"), QList<QByteArray>({"dds"}));
  EXPECT_EQ(QImageReader::imageFormatsForMimeType("image/x-ilbm"), QList<QByteArray>({"iff"}));
  EXPECT_TRUE(QImageWriter::supportedMimeTypes().contains("image/x-yuv"));
}

TEST_F(RQtImagePluginTest, MetadataNameWhatThePluginAnswersFor) {
  const QPluginLoader loader(PluginFolder() + QStringLiteral("/libqrimage.so"));
  const QJsonObject metadata = loader.metaData().value(QStringLiteral("MetaData")).toObject();
  QList<QByteArray> keys;
  for (const QJsonValue& key : metadata.value(QStringLiteral("Keys")).toArray())
    keys.append(key.toString().toLatin1());
  EXPECT_EQ(keys.size(), metadata.value(QStringLiteral("MimeTypes")).toArray().size());
  std::ranges::sort(keys);
  EXPECT_EQ(keys, kOwn);
}

// Other plugins' names are looked up in their metadata, without the programs that Qt brings along knowing
// any.
TEST_F(RQtImagePluginTest, NoNameIsThatOfAnotherPlugin) {
  const QDir folder(QLibraryInfo::path(QLibraryInfo::PluginsPath) + QStringLiteral("/imageformats"));
  const QStringList libraries = folder.entryList({QStringLiteral("*.so")});
  EXPECT_TRUE(libraries.contains(QStringLiteral("libqtga.so"))) << "the formats of Qt's add-on are not there";
  QList<QByteArray> others = {"bmp", "cur", "jpeg", "jpg", "pbm", "pgm", "png", "ppm", "xbm", "xpm"};
  for (const QString& library : libraries) {
    const QPluginLoader loader(folder.filePath(library));
    const QJsonObject metadata = loader.metaData().value(QStringLiteral("MetaData")).toObject();
    for (const QJsonValue& key : metadata.value(QStringLiteral("Keys")).toArray())
      others.append(key.toString().toLatin1());
  }
  EXPECT_TRUE(others.contains("tga"));
  for (const QByteArray& name : kOwn) EXPECT_FALSE(others.contains(name)) << name.toStdString();
}

TEST_F(RQtImagePluginTest, AnswersForNoOtherName) {
  QPluginLoader loader(PluginFolder() + QStringLiteral("/libqrimage.so"));
  const auto* plugin = qobject_cast<QImageIOPlugin*>(loader.instance());
  ASSERT_NE(plugin, nullptr);
  QByteArray bytes = test::ToQt(Sgi());
  QBuffer buffer(&bytes);
  buffer.open(QIODevice::ReadOnly);
  for (const char* name : {"png", "tga", "tif", "SGI", "ilbm", "sgii", "s"}) {
    EXPECT_EQ(plugin->capabilities(nullptr, name), QImageIOPlugin::Capabilities()) << name;
    EXPECT_EQ(plugin->capabilities(&buffer, name), QImageIOPlugin::Capabilities()) << name;
  }
  EXPECT_EQ(plugin->capabilities(nullptr, ""), QImageIOPlugin::Capabilities());
  EXPECT_EQ(plugin->create(nullptr, "png"), nullptr);
  QBuffer closed;
  EXPECT_EQ(plugin->capabilities(&closed, ""), QImageIOPlugin::Capabilities());
  EXPECT_EQ(plugin->capabilities(&closed, "yuv"), QImageIOPlugin::Capabilities());
}

// --- Contents

TEST_F(RQtImagePluginTest, FindsFormatsByTheirContents) {
  EXPECT_EQ(FormatOf(Sgi()), "sgi");
  EXPECT_EQ(FormatOf(Pic()), "pic");
  EXPECT_EQ(FormatOf(Iff()), "iff");
  EXPECT_EQ(FormatOf(Dds()), "dds");
}

TEST_F(RQtImagePluginTest, NeverTakesAFileOfUnknownNameForAFrame) { EXPECT_EQ(FormatOf(Yuv()), ""); }

// The mark of SGI images is short: other files may begin with it.
TEST_F(RQtImagePluginTest, TakesAnUnnamedFileForSgiOnlyWhenItsFieldsMakeSense) {
  const auto formatOf = [](auto change) {
    auto file = test::SgiBuilder::Verbatim(2, 1, 3, {1, 2, 3, 4, 5, 6});
    change(file);
    return FormatOf(file.Build());
  };
  EXPECT_EQ(formatOf([](auto& file) { file.bpc = 2; }), "sgi");
  EXPECT_EQ(formatOf([](auto& file) { file.storage = 1; }), "sgi");
  EXPECT_EQ(formatOf([](auto& file) { file.storage = 2; }), "");
  EXPECT_EQ(formatOf([](auto& file) { file.bpc = 0; }), "");
  EXPECT_EQ(formatOf([](auto& file) { file.bpc = 3; }), "");
  EXPECT_EQ(formatOf([](auto& file) { file.dimension = 0; }), "");
  EXPECT_EQ(formatOf([](auto& file) { file.dimension = 4; }), "");
  EXPECT_EQ(formatOf([](auto& file) { file.xsize = 0; }), "");
  EXPECT_EQ(formatOf([](auto& file) { file.ysize = 0; }), "");
  EXPECT_EQ(formatOf([](auto& file) { file.zsize = 2; }), "");
  EXPECT_EQ(FormatOf(test::First(Sgi(), 511)), "") << "the header is cut short";
}

// A name speaks for a file that a name alone would not be enough for.
TEST_F(RQtImagePluginTest, ANamedSgiFileMayHaveOddFields) {
  auto file = test::SgiBuilder::Verbatim(2, 1, 3, {1, 2, 3, 4, 5, 6});
  file.dimension = 4;
  EXPECT_EQ(QImageReader(Write("odd.sgi", file.Build())).size(), QSize(2, 1));
}

TEST_F(RQtImagePluginTest, AllNamesOfSgiImages) {
  for (const char* name : {"a.sgi", "a.rgb", "a.rgba", "a.bw", "a.SGI"}) {
    QImageReader reader(Write(name, Sgi()));
    EXPECT_TRUE(reader.canRead()) << name;
    EXPECT_EQ(reader.format(), "sgi") << name;
    EXPECT_EQ(reader.read().size(), QSize(2, 1)) << name;
  }
}

TEST_F(RQtImagePluginTest, FilesUnderTheNameOfAnotherOfTheFormatsAreReadWhenTheContentsDecide) {
  for (const Bytes& bytes : {Sgi(), Pic(), Iff()}) {
    QImageReader reader(Write("a.dds", bytes));
    EXPECT_FALSE(reader.canRead());
    reader.setDecideFormatFromContent(true);
    EXPECT_EQ(reader.format(), FormatOf(bytes));
    EXPECT_FALSE(reader.read().isNull());
  }
}

TEST_F(RQtImagePluginTest, FilesUnderUnknownNamesAreReadByTheirContents) {
  EXPECT_EQ(QImage(Write("a.dat", Sgi())).size(), QSize(2, 1));
  EXPECT_EQ(QImage(Write("b", Pic())).size(), QSize(1, 1));
  EXPECT_EQ(QImage(Write("c.ilbm", Iff())).size(), QSize(8, 1));
}

TEST_F(RQtImagePluginTest, OtherFilesUnderItsNamesAreLeftToOthers) {
  QImage picture(3, 2, QImage::Format_RGB32);
  picture.fill(0xFF123456);
  for (const char* format : {"png", "bmp", "jpg"}) {
    for (const QByteArray& name : kOwn) {
      const QString path = QString::fromStdString(mFolder.Path("wrong." + name.toStdString()));
      ASSERT_TRUE(picture.save(path, format));
      QImageReader reader(path);
      EXPECT_EQ(reader.format(), QByteArray(format) == "jpg" ? "jpeg" : format) << name.toStdString();
      EXPECT_EQ(reader.read().size(), picture.size()) << name.toStdString();
    }
  }
}

TEST_F(RQtImagePluginTest, ItsFilesUnderOtherNamesAreFoundWhenTheContentsDecide) {
  QImageReader reader(Write("a.png", Sgi()));
  reader.setDecideFormatFromContent(true);
  EXPECT_EQ(reader.format(), "sgi");
  EXPECT_EQ(reader.read().size(), QSize(2, 1));
}

TEST_F(RQtImagePluginTest, AFormatThatIsGivenHolds) {
  QByteArray bytes = test::ToQt(Pic());
  QBuffer buffer(&bytes);
  buffer.open(QIODevice::ReadOnly);
  QImageReader reader(&buffer, "sgi");
  reader.setAutoDetectImageFormat(false);
  EXPECT_FALSE(reader.canRead());
  EXPECT_TRUE(reader.read().isNull());
}

// Every sample of a format that Qt reads itself gives the same picture as without the plugin.
class OtherFormatsTest : public testing::TestWithParam<const char*> {};

TEST_P(OtherFormatsTest, AreNotTouched) {
  QPluginLoader loader(PluginFolder() + QStringLiteral("/libqrimage.so"));
  const auto* plugin = qobject_cast<QImageIOPlugin*>(loader.instance());
  ASSERT_NE(plugin, nullptr);
  for (const test::Sample& sample : test::LoadSamples(GetParam())) {
    QByteArray bytes = test::ToQt(test::ReadFile(sample.path));
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    EXPECT_EQ(plugin->capabilities(&buffer, {}), QImageIOPlugin::Capabilities()) << sample.name;
    EXPECT_EQ(plugin->create(&buffer, {}), nullptr) << sample.name;
    EXPECT_EQ(buffer.pos(), 0) << sample.name;
  }
}

INSTANTIATE_TEST_SUITE_P(Samples, OtherFormatsTest,
                         testing::Values("png", "jpeg", "tiff", "bmp", "bmp-icon", "tga", "svg"),
                         [](const auto& row) {
                           std::string name = row.param;
                           std::ranges::replace(name, '-', '_');
                           return name;
                         });

// --- Frames

TEST_F(RQtImagePluginTest, FramesAreKnownByTheirNameAndSize) {
  for (const std::size_t size : {699840U, 699839U, 829440U, 829439U}) {
    QImageReader reader(Write("a.yuv", Bytes(size, 128)));
    EXPECT_TRUE(reader.canRead()) << size;
    EXPECT_EQ(reader.size(), QSize(720, size > 700000 ? 576 : 486));
  }
  for (const std::size_t size : {0U, 699838U, 699841U, 829438U, 829441U}) {
    QImageReader reader(Write("a.yuv", Bytes(size, 128)));
    EXPECT_FALSE(reader.canRead()) << size;
    EXPECT_TRUE(reader.read().isNull()) << size;
    EXPECT_EQ(reader.error(), QImageReader::UnsupportedFormatError) << size;
  }
}

}  // namespace
