#include "PictureHeader.h"

#include <algorithm>
#include <array>
#include <limits>
#include <string_view>
#include <vector>

#include "FileFormats.h"
#include "rbaselib/RFile.h"
#include "streams/IlbmFormat.h"
#include "streams/PicFormat.h"
#include "streams/SgiFormat.h"
#include "streams/TgaFormat.h"
#include "streams/YuvFormat.h"

namespace {

using Bytes = std::span<const unsigned char>;

// Enough for every header that is at the start of its file.
constexpr std::size_t kStart = SgiImageHeader::kHeaderSize;

std::vector<unsigned char> ReadStart(RFile& file, std::size_t size) {
  std::vector<unsigned char> bytes(size);
  bytes.resize(file.Read(bytes.data(), size));
  return bytes;
}

QSize SizeOfSgi(RFile& file) {
  const auto bytes = ReadStart(file, kStart);
  SgiImageHeader header;
  return header.Read(bytes) ? QSize(header.xsize, header.ysize) : QSize();
}

QSize SizeOfPic(RFile& file) {
  const auto bytes = ReadStart(file, kStart);
  RByteReader in(bytes);
  PicDimensions dimensions;
  if (!in.Skip(PicHeader::kSize + sizeof(kPicId)) || in.Remaining() < PicDimensions::kSize) return {};
  dimensions.Read(in);
  return {dimensions.width, dimensions.height};
}

// The header may stand behind other chunks, and be there twice; the last one before the rows counts.
QSize SizeOfIlbm(RFile& file) {
  const std::int64_t size = file.GetSize();
  // The reader takes no larger file.
  if (size < 0 || size > std::numeric_limits<std::int32_t>::max()) return {};
  const auto bytes = ReadStart(file, static_cast<std::size_t>(size));
  RByteReader in(bytes);
  IlbmForm form;
  IlbmPreamble preamble;
  if (!form.Read(in) || !preamble.Read(in, form.Length())) return {};
  return {preamble.header.width, preamble.header.height};
}

// The module decodes uncompressed true colour, of files that are long enough; nothing else tells such a file
// from text.
QSize SizeOfTga(RFile& file) {
  const auto bytes = ReadStart(file, TgaHeader::kSize);
  RByteReader in(bytes);
  TgaHeader header;
  if (!header.Read(in) || header.imageType != TgaHeader::kTrueColour) return {};
  const std::int64_t pixelBytes = std::int64_t{header.width} * header.height * (header.depth / 8);
  return pixelBytes <= file.GetSize() ? QSize(header.width, header.height) : QSize();
}

// There is no header: the size of the file tells the format.
QSize SizeOfYuv(RFile& file) {
  const int lines = YuvLinesOf(file.GetSize());
  return lines > 0 ? QSize(kYuvWidth, lines) : QSize();
}

struct Format {
  std::string_view extension;
  QSize (*size)(RFile& file);
};
constexpr std::array kFormats{Format{"iff", SizeOfIlbm}, Format{"pic", SizeOfPic}, Format{"rgb", SizeOfSgi},
                              Format{"rgba", SizeOfSgi}, Format{"sgi", SizeOfSgi}, Format{"tga", SizeOfTga},
                              Format{"yuv", SizeOfYuv}};

}  // namespace

QSize SizeInHeader(const std::string& path) {
  const auto* const format = std::ranges::find(kFormats, ExtensionOf(path), &Format::extension);
  RFile file;
  if (format == kFormats.end() || !file.Open(path.c_str(), "rb")) return {};
  return format->size(file);
}
