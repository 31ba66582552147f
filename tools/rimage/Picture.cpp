#include "Picture.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <new>

#include "streams/QImageResolution.h"

namespace {

constexpr std::array kFormatNames = {"undefined", "empty",  "RGBA", "RGB", "BGRA",
                                     "BGR",       "RGB555", "ABGR", "ARGB"};

bool HasAlphaLast(kImageFormat format) { return format == kImageFormatRGBA || format == kImageFormatBGRA; }

bool Is(const RImage& image, kImageFormat format) { return const_cast<RImage&>(image).GetFormat() == format; }

void ConvertOrThrow(RImage& image, kImageFormat format) {
  if (!Is(image, format) && !image.ConvertFormat(format)) throw std::bad_alloc();
}

}  // namespace

const char* FormatName(kImageFormat format) { return kFormatNames.at(static_cast<std::size_t>(format)); }

bool HasAlpha(kImageFormat format) {
  return HasAlphaLast(format) || format == kImageFormatABGR || format == kImageFormatARGB;
}

bool IsOpaque(const Picture& picture) {
  RImage& image = *picture.image;
  if (!HasAlpha(image.GetFormat())) return true;
  RgbaRows rows(picture);
  unsigned char everywhere = 255;
  for (int layer = 0; layer < image.GetDepth(); ++layer) {
    for (int y = 0; y < image.GetHeight(); ++y) {
      const auto row = rows.Row(layer, y);
      for (std::size_t i = 3; i < row.size(); i += 4) everywhere &= row[i];
      if (everywhere != 255) return false;
    }
  }
  return true;
}

void GiveAlpha(Picture& picture) {
  if (!HasAlphaLast(picture.image->GetFormat())) ConvertOrThrow(*picture.image, kImageFormatRGBA);
}

void MakeStraight(Picture& picture) {
  if (picture.alpha == AlphaState::kStraight) return;
  GiveAlpha(picture);
  picture.image->RemovePremultiply();
  picture.alpha = AlphaState::kStraight;
}

void MakePremultiplied(Picture& picture) {
  if (picture.alpha == AlphaState::kPremultiplied || !HasAlpha(picture.image->GetFormat())) return;
  GiveAlpha(picture);
  picture.image->Premultiply();
  picture.alpha = AlphaState::kPremultiplied;
}

void LimitToAlpha(Picture& picture) {
  RImage& image = *picture.image;
  if (picture.alpha == AlphaState::kStraight || !HasAlphaLast(image.GetFormat())) return;
  const std::size_t bytes =
      static_cast<std::size_t>(image.GetWidth()) * static_cast<std::size_t>(image.GetHeight()) * 4;
  unsigned char* const bits = image.GetImageBits();
  for (std::size_t i = 0; i < bytes; i += 4) {
    for (std::size_t c = i; c < i + 3; ++c) bits[c] = std::min(bits[c], bits[i + 3]);
  }
}

void DropAlpha(Picture& picture) {
  if (!HasAlpha(picture.image->GetFormat())) return;
  MakePremultiplied(picture);
  ConvertOrThrow(*picture.image, kImageFormatRGBA);
  ConvertOrThrow(*picture.image, kImageFormatRGB);
  picture.alpha = AlphaState::kStraight;
}

bool ConvertTo(Picture& picture, kImageFormat format) {
  RImage& image = *picture.image;
  if (image.GetFormat() == format) return true;
  if (!HasAlpha(format)) DropAlpha(picture);
  if (image.GetFormat() == format || image.ConvertFormat(format)) return true;
  return image.ConvertFormat(kImageFormatRGBA) && image.ConvertFormat(format);
}

QImage ToQImage(const Picture& picture) {
  RImage& image = *picture.image;
  const bool premultiplied = picture.alpha == AlphaState::kPremultiplied;
  QImage copy(image.GetWidth(), image.GetHeight(),
              premultiplied ? QImage::Format_RGBA8888_Premultiplied : QImage::Format_RGBA8888);
  if (copy.isNull()) throw std::bad_alloc();
  SetWrittenResolution(copy);
  RgbaRows rows(picture);
  for (int y = 0; y < copy.height(); ++y) {
    const auto row = rows.Row(0, y);
    std::memcpy(copy.scanLine(y), row.data(), row.size());
  }
  return copy;
}

QImage RowOf(const QImage& image, int y, QImage::Format format) {
  QImage row = image.copy(0, y, image.width(), 1).convertToFormat(format);
  if (row.isNull()) throw std::bad_alloc();
  return row;
}

Picture FromQImage(const QImage& image) {
  Picture picture{RDestroyPtr<RImage>(RImageCreate())};
  const bool made = picture.image && picture.image->Init(kImageFormatRGB, image.width(), image.height(), 0, 0,
                                                         false, kImageTypeFrame, kInterleaveNone,
                                                         kInterpolationNone, RImage::kIncarnationRaw);
  if (!made) throw std::bad_alloc();
  const std::size_t rowBytes = static_cast<std::size_t>(image.width()) * 3;
  for (int y = 0; y < image.height(); ++y) {
    const auto row = static_cast<std::size_t>(image.height() - 1 - y);
    const QImage rgb = RowOf(image, y, QImage::Format_RGB888);
    std::memcpy(picture.image->GetImageBits() + row * rowBytes, rgb.constBits(), rowBytes);
  }
  return picture;
}

RgbaRows::RgbaRows(const Picture& picture)
    : mImage(*picture.image), mRow(static_cast<std::size_t>(mImage.GetWidth()) * 4) {}

std::span<const unsigned char> RgbaRows::Row(int layer, int y) {
  unsigned char* bits = mImage.GetImageBitsAtDepth(static_cast<unsigned int>(layer));
  const auto rowBytes =
      static_cast<std::size_t>(mImage.GetWidth()) * static_cast<std::size_t>(mImage.GetPixelSize());
  unsigned char* source = bits + rowBytes * static_cast<std::size_t>(mImage.GetHeight() - 1 - y);
  RImageConvertFormat(mRow.data(), kImageFormatRGBA, mImage.GetWidth(), 1, source, mImage.GetFormat());
  return mRow;
}

void CheckMemory(ExitCode code, const std::string& subject, std::int64_t width, std::int64_t height,
                 int pixelSize, std::uint64_t limit) {
  constexpr double kMiB = 1024.0 * 1024.0;
  // Floating point cannot overflow here, and a rounding error of 2^-53 does not matter to a limit.
  const double bytes = static_cast<double>(width) * static_cast<double>(height) * pixelSize;
  if (bytes <= static_cast<double>(limit)) return;
  throw Failure(code, subject,
                fmt::format("{} x {} pixels take {:.0f} MiB, more than the limit of {:.0f} MiB", width,
                            height, bytes / kMiB, static_cast<double>(limit) / kMiB),
                "--max-memory raises it");
}
