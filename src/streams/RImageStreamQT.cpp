#include "streams/RImageStreamQT.h"

#include <QFileInfo>
#include <QGuiApplication>
#include <QImageIOHandler>
#include <QImageReader>
#include <QImageWriter>
#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <span>
#include <string_view>

#include "image/RDestroyPtr.h"
#include "image/RPixelKernels.h"
#include "streams/QImageLayout.h"
#include "streams/QImageResolution.h"
#include "streams/QImageSize.h"
#include "streams/RCheckedFile.h"
#include "streams/REndingFile.h"
#include "streams/RImageTarget.h"
#include "streams/TgaCodec.h"

namespace {

enum kFileKind : int {
  kFileNone = 0,
  kFileTiff = 1,
  kFileJpeg = 2,
  kFileTga = 3,
  kFileBmp = 4,
  kFilePng = 5,
  kFileDds = 6,
  kFileSvg = 7,
};

struct Suffix {
  std::string_view text;
  kFileKind kind;
};

constexpr std::array kSuffixes{
    Suffix{"tif", kFileTiff},  Suffix{"tiff", kFileTiff}, Suffix{"jpg", kFileJpeg},
    Suffix{"jpeg", kFileJpeg}, Suffix{"tga", kFileTga},   Suffix{"bmp", kFileBmp},
    Suffix{"png", kFilePng},   Suffix{"dds", kFileDds},   Suffix{"svg", kFileSvg},
};

QByteArray SuffixOf(const QString& path) { return QFileInfo(path).suffix().toLower().toUtf8(); }

kFileKind KindOf(const QByteArray& suffix) {
  const std::string_view text(suffix.constData(), static_cast<std::size_t>(suffix.size()));
  const auto* const row = std::ranges::find(kSuffixes, text, &Suffix::text);
  return row == kSuffixes.end() ? kFileNone : row->kind;
}

// The kind of the suffix when Qt has a reader (or writer) of that name.
kFileKind UsableKindOf(const QByteArray& suffix, const QList<QByteArray>& qtFormats) {
  const bool listed = std::ranges::any_of(
      qtFormats, [&](const QByteArray& format) { return format.compare(suffix, Qt::CaseInsensitive) == 0; });
  return listed ? KindOf(suffix) : kFileNone;
}

// Reads the picture that `reader` found to be of `format`.
QImage Read(QImageReader& reader, const QByteArray& format) {
  if (format == "tiff") {
    REndingFile file(reader.fileName());
    return QImageReader(&file).read();
  }
  QImage image;
  // Qt's BMP reader leaves pixels that the file does not tell as the memory happened to be, which is for
  // nobody to see. It draws into an image that has the right size and layout.
  if (format == "bmp" && QImageIOHandler::allocateImage(SizeOf(reader), reader.imageFormat(), &image))
    image.fill(0);
  return reader.read(&image) ? image : QImage();
}

QImage Load(const QString& path, kFileKind kind) {
  QImageReader reader(path);
  // Text in a vector file aborts the process when there is no GUI application. The contents decide what a
  // file is, not its suffix.
  const bool canDrawText = qobject_cast<QGuiApplication*>(QCoreApplication::instance()) != nullptr;
  const QByteArray format = reader.format();
  if (!canDrawText && format.startsWith("svg")) return {};
  // Without a format nobody reads the file; the reader would look for one a second time.
  QImage loaded = format.isEmpty() ? QImage() : Read(reader, format);
  // Deliberate: icons come with the suffix bmp, too.
  if (loaded.isNull() && kind == kFileBmp) loaded = QImageReader(path, "ico").read();
  return loaded;
}

// The formats that Qt's decoders mostly give are converted while their rows are turned over: no pass of its
// own. A 32-bit word of QImage has its bytes in the order BGRA.
struct DirectCopy {
  QImage::Format source;
  RPixelKernels::Convert RPixelKernels::*kernel;
};
constexpr std::array kDirectCopies{
    DirectCopy{QImage::Format_RGB32, &RPixelKernels::swap02Opaque},
    DirectCopy{QImage::Format_ARGB32, &RPixelKernels::swap02},
    DirectCopy{QImage::Format_ARGB32_Premultiplied, &RPixelKernels::swap02},
    DirectCopy{QImage::Format_Grayscale8, &RPixelKernels::grayToRgb},
};
static_assert(std::endian::native == std::endian::little);

RPixelKernels::Convert DirectCopyOf(QImage::Format format) {
  const auto* const row = std::ranges::find(kDirectCopies, format, &DirectCopy::source);
  return row == kDirectCopies.end() ? nullptr : RGetPixelKernels().*row->kernel;
}

void CopyRowsBottomUp(const QImage& source, std::span<unsigned char> destination,
                      RPixelKernels::Convert convert) {
  const std::size_t rowBytes = destination.size() / static_cast<std::size_t>(source.height());
  for (int y = source.height() - 1; y >= 0; --y) {
    const unsigned char* line = source.constScanLine(y);
    if (convert)
      convert(destination.data(), line, static_cast<std::size_t>(source.width()));
    else
      std::memcpy(destination.data(), line, rowBytes);
    destination = destination.subspan(rowBytes);
  }
}

// Qt divides the conversion of a large image among threads, and waits for ever for one that cannot be started
// when memory runs out. Bands of so few pixels are converted at once, and take less memory beside the image.
constexpr int kMostBandPixels = 65536;

[[nodiscard]] bool ConvertRowsBottomUp(const QImage& source, std::span<unsigned char> destination,
                                       QImage::Format format) {
  const int rows = std::max(1, kMostBandPixels / source.width());
  for (int end = source.height(); end > 0; end -= rows) {
    const int start = std::max(0, end - rows);
    const QImage band = source.copy(0, start, source.width(), end - start).convertToFormat(format);
    if (band.isNull()) return false;
    const std::size_t size =
        destination.size() / static_cast<std::size_t>(end) * static_cast<std::size_t>(band.height());
    CopyRowsBottomUp(band, destination.first(size), nullptr);
    destination = destination.subspan(size);
  }
  return true;
}

[[nodiscard]] bool Fill(RImage& image, const QImage& loaded) {
  const QImageLayout& layout = LayoutOf(loaded.format());
  const RPixelKernels::Convert convert = DirectCopyOf(loaded.format());
  std::span<unsigned char> pixels;
  if (!RInitImageTarget(image, layout.format, loaded.width(), loaded.height(), pixels)) return false;
  if (!convert && loaded.format() != layout.converted)
    return ConvertRowsBottomUp(loaded, pixels, layout.converted);
  CopyRowsBottomUp(loaded, pixels, convert);
  return true;
}

// --- Writing.

// The image to hand to Qt, upside down: the caller's own where Qt knows its layout, else a converted copy.
struct Drain {
  RImage* image = nullptr;
  RDestroyPtr<RImage> copy;
};

Drain PrepareDrain(RImage& source) {
  Drain drain{&source, nullptr};
  const kImageFormat format = source.GetFormat();
  if (format != kImageFormatRGBA && format != kImageFormatRGB) {
    drain.copy.reset(source.Clone());
    drain.image = drain.copy.get();
    const kImageFormat target = format == kImageFormatBGR ? kImageFormatRGB : kImageFormatRGBA;
    // A copy for which memory ran out has no pixels, and would get some that nobody wrote.
    if (!drain.image || (source.HoldsPixels(1) && !drain.image->HoldsPixels(1))) return {};
    if (!drain.image->ConvertFormat(target)) return {};
  }
  if (!drain.image->HoldsPixels(1)) return {};
  // Deliberate: the caller's own image stays flipped after the write; who keeps it flips it back.
  drain.image->ImageVerticalFlip();
  return drain;
}

// Shares the pixels of `image`.
QImage Wrap(RImage& image) {
  const bool rgb = image.GetFormat() == kImageFormatRGB;
  // Deliberate: RGBA counts as premultiplied; Qt divides for formats that store straight alpha.
  const QImage::Format format = rgb ? QImage::Format_RGB888 : QImage::Format_RGBA8888_Premultiplied;
  const qsizetype rowBytes = qsizetype{image.GetWidth()} * image.GetPixelSize();
  const unsigned char* bits = image.GetImageBits();
  QImage wrapped(bits, image.GetWidth(), image.GetHeight(), rowBytes, format);
  SetWrittenResolution(wrapped);
  return wrapped;
}

void Apply(const RStreamOptions* options, QImageWriter& writer) {
  if (!options) {
    writer.setQuality(100);
    writer.setCompression(0);
    return;
  }
  const QString text = QString::fromUtf8(options->text.GetChars());
  if (!text.isEmpty()) writer.setText(QString(), text);
  writer.setQuality(options->quality);
  writer.setCompression(options->compression);
}

}  // namespace

RImageStreamQT::RImageStreamQT() = default;

RImageStreamQT::~RImageStreamQT() { RunTeardown(); }

bool RImageStreamQT::StreamOpen(RStreamOptions*) {
  const char* name = GetFileName();
  const QString path = QString::fromUtf8(name);
  const kFileKind kind = UsableKindOf(SuffixOf(path), QImageReader::supportedImageFormats());
  if (kind == kFileNone) return false;
  RImage* image = GetImage(true);
  if (!image) return false;
  const QImage loaded = Load(path, kind);
  if (kind == kFileSvg) image->SetVectorSourcePath(name);
  if (loaded.isNull()) return kind == kFileTga && OpenTga(*image);
  if (!Fill(*image, loaded)) return false;
  if (kind != kFileSvg) image->SetVectorSourcePath("");
  return true;
}

bool RImageStreamQT::OpenTga(RImage& image) {
  const kTgaResult result = TgaRead(GetFileName(), image);
  if (result == kTgaRefused) {
    SetImage(nullptr);
    image.Destroy(0);
  }
  if (result == kTgaRead) image.SetVectorSourcePath("");
  return result == kTgaRead;
}

bool RImageStreamQT::StreamCreate(RStreamOptions* options) {
  RImage* source = GetImage(false);
  if (!source) return false;
  const QString path = QString::fromUtf8(GetFileName());
  const QByteArray suffix = SuffixOf(path);
  if (UsableKindOf(suffix, QImageWriter::supportedImageFormats()) == kFileNone) {
    return KindOf(suffix) == kFileTga && TgaWrite(GetFileName(), *source);
  }
  const Drain drain = PrepareDrain(*source);
  if (!drain.image) return false;
  RCheckedFile file(path);
  QImageWriter writer(&file, QByteArray());
  Apply(options, writer);
  return writer.write(Wrap(*drain.image)) && file.Finish();
}
