#include "plugins/QtReading.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>

namespace test {
namespace {

// Before anything asks Qt for a picture, as a user of the plugin would set it.
[[maybe_unused]] const bool kPluginFolderIsSet = qputenv("QT_PLUGIN_PATH", RIMAGE_QT_PLUGINS);

bool IsFloat(const QImage& image) {
  return image.pixelFormat().typeInterpretation() == QPixelFormat::FloatingPoint;
}

unsigned char ToByte(float value) {
  return value > 0 ? static_cast<unsigned char>(std::lround(std::min(value, 1.0F) * 255)) : 0;
}

// Qt would multiply with alpha on the way.
Picture BytesOfFloats(const QImage& image) {
  Picture picture{image.width(), image.height(), {}};
  std::vector<float> row(std::size_t{4} * static_cast<std::size_t>(image.width()));
  for (int y = 0; y < image.height(); ++y) {
    std::memcpy(row.data(), image.constScanLine(y), row.size() * sizeof(float));
    std::ranges::transform(row, std::back_inserter(picture.rgba), ToByte);
  }
  return picture;
}

}  // namespace

qint64 PipeDevice::bytesAvailable() const {
  return static_cast<qint64>(mBytes.size() - mTaken) + QIODevice::bytesAvailable();
}

qint64 PipeDevice::readData(char* data, qint64 maxSize) {
  constexpr std::size_t kPiece = 1000;
  const std::size_t size = std::min({static_cast<std::size_t>(maxSize), mBytes.size() - mTaken, kPiece});
  if (size > 0) std::memcpy(data, &mBytes[mTaken], size);
  mTaken += size;
  return static_cast<qint64>(size);
}

Picture PixelsOf(const QImage& image) {
  if (IsFloat(image)) return BytesOfFloats(image);
  QImage straight = image;
  if (image.format() == QImage::Format_RGBA8888_Premultiplied)
    straight.reinterpretAsFormat(QImage::Format_RGBA8888);
  const QImage rgba = straight.convertToFormat(QImage::Format_RGBA8888);
  Picture picture{rgba.width(), rgba.height(), {}};
  for (int y = 0; y < rgba.height(); ++y) {
    const unsigned char* row = rgba.constScanLine(y);
    picture.rgba.insert(picture.rgba.end(), row, row + qsizetype{4} * rgba.width());
  }
  return picture;
}

}  // namespace test
