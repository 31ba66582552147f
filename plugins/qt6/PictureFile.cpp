#include "PictureFile.h"

#include <QImageIOHandler>
#include <QImageReader>
#include <QPixelFormat>
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <vector>

#include "TextureFile.h"
#include "image/RDestroyPtr.h"
#include "rbaselib/RFile.h"
#include "streams/IlbmFormat.h"
#include "streams/PicFormat.h"
#include "streams/RImageStreamiff.h"
#include "streams/RImageStreampict.h"
#include "streams/RImageStreamsgi.h"
#include "streams/RImageStreamyuv.h"
#include "streams/SgiFormat.h"
#include "streams/YuvFormat.h"

namespace {

struct Header {
  QSize size;
  QImage::Format layout = QImage::Format_RGBX8888;
};

std::vector<unsigned char> StartOf(const DeviceFile& file, std::size_t size) {
  std::vector<unsigned char> start(size);
  RFile in;
  start.resize(in.Open(file.Path().c_str(), "rb") ? in.Read(start.data(), size) : 0);
  return start;
}

// --- What the headers say. False for a file that its reader refuses.

bool ReadPicHeader(const DeviceFile& file, Header& header) {
  const auto start = StartOf(file, PicHeader::kSize + sizeof(kPicId) + PicDimensions::kSize);
  RByteReader in(start);
  std::uint32_t id = 0;
  PicDimensions dimensions;
  if (!in.Seek(PicHeader::kSize) || !in.Big(id)) return false;
  dimensions.Read(in);
  header.size = {dimensions.width, dimensions.height};
  return true;
}

bool ReadSgiHeader(const DeviceFile& file, Header& header) {
  const auto start = StartOf(file, SgiImageHeader::kHeaderSize);
  SgiImageHeader read;
  if (!read.Read(start)) return false;
  header.size = {read.xsize, read.ysize};
  if (read.zsize == 4) header.layout = QImage::Format_RGBA8888;
  return true;
}

// Chunks of any size may stand before the one that tells the picture's size.
bool ReadIffHeader(const DeviceFile& file, Header& header) {
  constexpr std::int64_t kUsual = 4096;
  for (const std::int64_t size : {kUsual, file.Size()}) {
    const auto start = StartOf(file, static_cast<std::size_t>(std::min(size, file.Size())));
    RByteReader in(start);
    IlbmForm form;
    IlbmPreamble preamble;
    if (!form.Read(in) || !preamble.Read(in, form.Length())) continue;
    header.size = {preamble.header.width, preamble.header.height};
    return true;
  }
  return false;
}

bool ReadYuvHeader(const DeviceFile& file, Header& header) {
  header.size = {kYuvWidth, YuvLinesOf(file.Size())};
  header.layout = QImage::Format_RGB888;
  return true;
}

// --- The pixels.

template <class Stream>
RDestroyPtr<RImage> ReadWith(const std::string& path) {
  Stream stream;
  stream.SetFileName(path.c_str());
  const bool isRead = stream.StreamOpen(nullptr);
  RDestroyPtr<RImage> image(stream.GetImage(false));
  if (!isRead) image.reset();
  return image;
}

// This reader asks for more of a path than any file has here.
RDestroyPtr<RImage> ReadPic(const std::string& path) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(WideCharFileOpen(path.c_str(), "rb"),
                                                             std::fclose);
  RImageStreampict stream;
  const bool isRead = file && stream.ReadPicture(file.get());
  RDestroyPtr<RImage> image(stream.GetImage(false));
  if (!isRead) image.reset();
  return image;
}

struct Reader {
  PictureFormat format;
  bool (*readHeader)(const DeviceFile& file, Header& header);
  RDestroyPtr<RImage> (*read)(const std::string& path);
};

constexpr std::array kReaders{
    Reader{PictureFormat::kPic, ReadPicHeader, ReadPic},
    Reader{PictureFormat::kSgi, ReadSgiHeader, ReadWith<RImageStreamsgi>},
    Reader{PictureFormat::kIff, ReadIffHeader, ReadWith<RImageStreamiff>},
    Reader{PictureFormat::kYuv, ReadYuvHeader, ReadWith<RImageStreamyuv>},
};

// A file that one of the module's streams reads. It holds one picture.
class StreamFile : public PictureFile {
 public:
  explicit StreamFile(const Reader& reader) : mReader(reader) {}

  bool Open(QIODevice& device) {
    return mFile.Open(device) && mReader.readHeader(mFile, mHeader) && !mHeader.size.isEmpty();
  }

  int Count() const override { return 1; }
  QSize SizeOf(int /*picture*/) const override { return mHeader.size; }
  QImage::Format Layout() const override { return mHeader.layout; }
  bool Read(int /*picture*/, QImage& image) override {
    if (!IsWithinLimit(mHeader.size, mHeader.layout)) return false;
    const RDestroyPtr<RImage> read = mReader.read(mFile.Path());
    // The file may have changed since its header was read.
    const bool isAsDescribed =
        read && QSize(read->GetWidth(), read->GetHeight()) == mHeader.size && read->GetImageBits();
    if (!isAsDescribed || !QImageIOHandler::allocateImage(mHeader.size, mHeader.layout, &image)) return false;
    FillImage(read->GetImageBits(), true, image);
    return true;
  }

 private:
  const Reader& mReader;
  DeviceFile mFile;
  Header mHeader;
};

}  // namespace

std::unique_ptr<PictureFile> PictureFile::Open(PictureFormat format, QIODevice& device) {
  if (format == PictureFormat::kDds) {
    auto texture = std::make_unique<TextureFile>();
    if (!texture->Open(device)) return nullptr;
    return texture;
  }
  auto file = std::make_unique<StreamFile>(*std::ranges::find(kReaders, format, &Reader::format));
  if (!file->Open(device)) return nullptr;
  return file;
}

bool IsWithinLimit(const QSize& size, QImage::Format layout) {
  const qint64 megabytes = QImageReader::allocationLimit();
  const qint64 bits = qint64{size.width()} * QImage::toPixelFormat(layout).bitsPerPixel();
  return megabytes <= 0 || (bits + 31) / 32 * 4 <= (megabytes << 20) / std::max(size.height(), 1);
}

void FillImage(const unsigned char* rows, bool isFlipped, QImage& image) {
  const auto rowBytes = static_cast<std::size_t>(image.width()) * static_cast<std::size_t>(image.depth()) / 8;
  for (int y = 0; y < image.height(); ++y, rows += rowBytes)
    std::memcpy(image.scanLine(isFlipped ? image.height() - 1 - y : y), rows, rowBytes);
}
