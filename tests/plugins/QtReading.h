// What the tests of the Qt plugin share: devices, and pictures out of Qt's hands.
#pragma once

#include <QIODevice>
#include <QImage>

#include "support/ByteWriter.h"
#include "support/SampleManifest.h"

namespace test {

/// A device that cannot seek and hands out its bytes in small pieces, as a pipe does.
class PipeDevice : public QIODevice {
 public:
  explicit PipeDevice(const Bytes& bytes) : mBytes(bytes) { open(ReadOnly); }

  bool isSequential() const override { return true; }
  bool atEnd() const override { return bytesAvailable() == 0; }
  qint64 bytesAvailable() const override;
  /// Returns how many bytes were handed out.
  qint64 Taken() const { return static_cast<qint64>(mTaken); }

 protected:
  qint64 readData(char* data, qint64 maxSize) override;
  qint64 writeData(const char* /*data*/, qint64 /*size*/) override { return -1; }

 private:
  Bytes mBytes;
  std::size_t mTaken = 0;
};

inline QByteArray ToQt(const Bytes& bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), static_cast<qsizetype>(bytes.size())};
}

/// Returns the pixels as they are, top row first: neither multiplied with alpha nor divided by it. Floats are
/// clamped to 0 to 1 and rounded to bytes.
Picture PixelsOf(const QImage& image);

}  // namespace test
