// A Qt file that remembers a failed write.
#pragma once

#include <QFile>

/// A file to hand to QImageWriter, which asks neither whether its last bytes left the buffer nor, in some of
/// Qt's formats, whether any write succeeded; seeking forgets an earlier error.
class RCheckedFile : public QFile {
 public:
  using QFile::QFile;

  bool seek(qint64 position) override {
    if (!QFile::seek(position)) mFailed = true;
    return !mFailed;
  }

  qint64 size() const override {
    // Asking brings the buffer out as well, and the answer is 0 when that fails.
    if (isOpen() && !const_cast<RCheckedFile*>(this)->flush()) mFailed = true;
    return QFile::size();
  }

  /// Brings the last bytes out of the buffer and returns whether everything that was written has left it.
  bool Finish() { return flush() && !mFailed && error() == NoError; }

 protected:
  qint64 writeData(const char* bytes, qint64 size) override {
    const qint64 written = QFile::writeData(bytes, size);
    if (written != size) mFailed = true;
    return written;
  }

 private:
  mutable bool mFailed = false;
};
