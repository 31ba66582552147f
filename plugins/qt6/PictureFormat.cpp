#include "PictureFormat.h"

#include <QIODevice>
#include <algorithm>
#include <array>
#include <span>

#include "dds/DdsFormat.h"
#include "streams/IlbmFormat.h"
#include "streams/PicFormat.h"
#include "streams/SgiFormat.h"
#include "streams/YuvFormat.h"

namespace {

struct FormatName {
  const char* name;
  PictureFormat format;
};

// The chief name of a format comes first. The plugin's metadata list the same names.
constexpr std::array kNames{
    FormatName{"pic", PictureFormat::kPic}, FormatName{"sgi", PictureFormat::kSgi},
    FormatName{"rgb", PictureFormat::kSgi}, FormatName{"rgba", PictureFormat::kSgi},
    FormatName{"bw", PictureFormat::kSgi},  FormatName{"iff", PictureFormat::kIff},
    FormatName{"dds", PictureFormat::kDds}, FormatName{"yuv", PictureFormat::kYuv},
};

constexpr std::size_t kStartBytes = SgiImageHeader::kHeaderSize;

bool StartsAsPic(std::span<const unsigned char> start) {
  RByteReader in(start);
  std::uint32_t magic = 0;
  std::uint32_t id = 0;
  return in.Big(magic) && magic == PicHeader::kMagic && in.Seek(PicHeader::kSize) && in.Big(id) &&
         id == kPicId;
}

bool StartsAsSgi(std::span<const unsigned char> start) {
  SgiImageHeader header;
  return header.Read(start);
}

// The mark of SGI images is 2 bytes. Where nothing else speaks for the format, its fields have to make sense
// too.
bool IsPlainlySgi(std::span<const unsigned char> start) {
  SgiImageHeader header;
  return header.Read(start) && header.storage <= 1 && (header.bpc == 1 || header.bpc == 2) &&
         header.dimension >= 1 && header.dimension <= 3 && header.xsize > 0 && header.ysize > 0;
}

bool StartsAsIff(std::span<const unsigned char> start) {
  RByteReader in(start);
  IlbmForm form;
  return form.Read(in);
}

bool StartsAsDds(std::span<const unsigned char> start) {
  RByteReader in(start);
  std::uint32_t magic = 0;
  return in.Little(magic) && magic == DdsFourCC("DDS ");
}

bool MayBeYuv(const QIODevice& device) {
  if (device.isSequential()) return true;
  const qint64 size = device.size() - device.pos();
  return YuvLinesOf(size) > 0;
}

bool StartsAs(PictureFormat format, std::span<const unsigned char> start) {
  switch (format) {
    case PictureFormat::kPic:
      return StartsAsPic(start);
    case PictureFormat::kSgi:
      return StartsAsSgi(start);
    case PictureFormat::kIff:
      return StartsAsIff(start);
    case PictureFormat::kDds:
      return StartsAsDds(start);
    default:
      return false;
  }
}

QByteArray StartOf(QIODevice& device) { return device.peek(kStartBytes); }

std::span<const unsigned char> BytesOf(const QByteArray& array) {
  return {reinterpret_cast<const unsigned char*>(array.constData()), static_cast<std::size_t>(array.size())};
}

}  // namespace

std::optional<PictureFormat> PictureFormatOf(const QByteArray& name) {
  const auto* row = std::ranges::find_if(kNames, [&](const FormatName& r) { return name == r.name; });
  if (row == kNames.end()) return std::nullopt;
  return row->format;
}

QByteArray NameOf(PictureFormat format) {
  return std::ranges::find(kNames, format, &FormatName::format)->name;
}

bool MayBe(PictureFormat format, QIODevice& device) {
  if (!device.isReadable()) return false;
  if (format == PictureFormat::kYuv) return MayBeYuv(device);
  const QByteArray start = StartOf(device);
  return StartsAs(format, BytesOf(start));
}

std::optional<PictureFormat> FindPictureFormat(QIODevice& device) {
  if (!device.isReadable()) return std::nullopt;
  const QByteArray start = StartOf(device);
  for (const PictureFormat format : {PictureFormat::kPic, PictureFormat::kIff, PictureFormat::kDds}) {
    if (StartsAs(format, BytesOf(start))) return format;
  }
  if (IsPlainlySgi(BytesOf(start))) return PictureFormat::kSgi;
  return std::nullopt;
}
