// Qt's view of a file of the plugin's formats.
#pragma once

#include <QImageIOHandler>
#include <memory>

#include "PictureFile.h"

/// Reads all pictures of a file, and writes video frames. A picture is read once: afterwards `canRead` is
/// false until another one is jumped to. Where memory runs out each function fails as for a damaged file; the
/// picture may be jumped to and read again, unless its device is a pipe.
class RQtImageHandler : public QImageIOHandler {
 public:
  explicit RQtImageHandler(PictureFormat format) : mFormat(format) {}

  bool canRead() const override;
  bool read(QImage* image) override;
  bool write(const QImage& image) override;

  bool supportsOption(ImageOption option) const override;
  QVariant option(ImageOption option) const override;

  int imageCount() const override;
  int currentImageNumber() const override { return mCurrent; }
  bool jumpToImage(int imageNumber) override;
  bool jumpToNextImage() override { return jumpToImage(mCurrent + 1); }

 private:
  /// Returns the open file, or null when there is none to read.
  PictureFile* File() const;

  PictureFormat mFormat;
  mutable std::unique_ptr<PictureFile> mFile;
  mutable bool mIsOpened = false;  // or was found not to open
  int mCurrent = 0;
  bool mIsRead = false;
};
