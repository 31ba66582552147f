#include "streams/QImageRecordingPlugin.h"

#include <QIODevice>
#include <QImageIOHandler>
#include <QVariant>

namespace {

class Handler : public QImageIOHandler {
 public:
  bool canRead() const override { return false; }
  bool read(QImage* /*image*/) override { return false; }
  bool supportsOption(ImageOption option) const override {
    return option == Quality || option == CompressionRatio || option == Description;
  }
  void setOption(ImageOption option, const QVariant& value) override {
    if (option == Quality) mWrite.quality = value.toInt();
    if (option == CompressionRatio) mWrite.compression = value.toInt();
    if (option == Description) mWrite.description = value.toString();
  }
  bool write(const QImage& image) override {
    mWrite.image = image.copy();
    test::RecordedWrites().push_back(mWrite);
    return device()->write("x", 1) == 1;
  }

 private:
  test::RecordedWrite mWrite;
};

}  // namespace

std::vector<test::RecordedWrite>& test::RecordedWrites() {
  static std::vector<RecordedWrite> writes;
  return writes;
}

QImageIOPlugin::Capabilities QImageRecordingPlugin::capabilities(QIODevice* /*device*/,
                                                                 const QByteArray& format) const {
  if (format == "tga") return CanWrite;
  return format == "DDS" ? CanRead : Capabilities();
}

QImageIOHandler* QImageRecordingPlugin::create(QIODevice* device, const QByteArray& format) const {
  auto* handler = new Handler;
  handler->setDevice(device);
  handler->setFormat(format);
  return handler;
}
