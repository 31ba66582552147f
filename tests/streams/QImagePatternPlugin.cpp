#include "streams/QImagePatternPlugin.h"

#include <QIODevice>
#include <QImageIOHandler>

namespace {

constexpr char kMagic[] = "RIMAGE-PATTERN";
constexpr qsizetype kMagicSize = sizeof(kMagic) - 1;

bool HasMagic(QIODevice* device) {
  return device && device->peek(kMagicSize) == QByteArray(kMagic, kMagicSize);
}

class Handler : public QImageIOHandler {
 public:
  bool canRead() const override { return HasMagic(device()); }
  bool read(QImage* image) override {
    const QByteArray bytes = device()->readAll();
    if (bytes.size() != kMagicSize + 3) return false;
    const auto field = [&](qsizetype i) { return static_cast<unsigned char>(bytes[kMagicSize + i]); };
    *image = test::MakePattern(static_cast<QImage::Format>(field(0)), field(1), field(2));
    return true;
  }
};

}  // namespace

QImageIOPlugin::Capabilities QImagePatternPlugin::capabilities(QIODevice* device,
                                                               const QByteArray& format) const {
  return format == "rimage-pattern" || HasMagic(device) ? CanRead : Capabilities();
}

QImageIOHandler* QImagePatternPlugin::create(QIODevice* device, const QByteArray& format) const {
  auto* handler = new Handler;
  handler->setDevice(device);
  handler->setFormat(format);
  return handler;
}

QImage test::MakePattern(QImage::Format format, int width, int height) {
  QImage image(width, height, QImage::Format_ARGB32);
  unsigned noise = 3;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      noise = noise * 1664525U + 1013904223U;
      image.setPixel(x, y, noise ^ (noise >> 13));
    }
  }
  image.convertTo(format);
  for (int y = 0; format == QImage::Format_RGB32 && y < height; ++y) {
    for (int x = 0; x < width; ++x) image.scanLine(y)[4 * x + 3] = static_cast<unsigned char>(31 * x + y);
  }
  return image;
}

std::vector<unsigned char> test::MakePatternFile(QImage::Format format, int width, int height) {
  std::vector<unsigned char> file(kMagic, kMagic + kMagicSize);
  for (const int field : {static_cast<int>(format), width, height})
    file.push_back(static_cast<unsigned char>(field));
  return file;
}
