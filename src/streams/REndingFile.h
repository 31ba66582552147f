// A Qt file that ends where the disk fails.
#pragma once

#include <QFile>
#include <algorithm>

/// A file to read, for libtiff, which takes the -1 of a failed read for a number of bytes and then writes
/// before its buffer. Of a file that ends early it knows what to do.
class REndingFile : public QFile {
 public:
  using QFile::QFile;

 protected:
  qint64 readData(char* bytes, qint64 size) override {
    return std::max(QFile::readData(bytes, size), qint64{0});
  }
};
