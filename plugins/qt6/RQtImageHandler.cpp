#include "RQtImageHandler.h"

#include <QIODevice>
#include <QVariant>

#include "VideoFrameWriter.h"

PictureFile* RQtImageHandler::File() const {
  if (!mIsOpened && device() && MayBe(mFormat, *device())) {
    mIsOpened = true;
    mFile = PictureFile::Open(mFormat, *device());
  }
  return mFile.get();
}

bool RQtImageHandler::canRead() const {
  if (mIsRead) return false;
  // Nothing is opened for the question alone.
  const bool can = mIsOpened ? mFile != nullptr : device() && MayBe(mFormat, *device());
  if (can) setFormat(NameOf(mFormat));
  return can;
}

bool RQtImageHandler::read(QImage* image) {
  if (mIsRead || !File()) return false;
  mIsRead = true;
  if (!mFile->Read(mCurrent, *image)) return false;
  // All that follows in the device belongs to the file.
  if (!device()->isSequential()) device()->seek(device()->size());
  return true;
}

bool RQtImageHandler::write(const QImage& image) {
  return mFormat == PictureFormat::kYuv && device() && WriteVideoFrame(image, *device());
}

bool RQtImageHandler::supportsOption(ImageOption option) const {
  return option == Size || option == ImageFormat;
}

QVariant RQtImageHandler::option(ImageOption option) const {
  if (!supportsOption(option) || !File()) return {};
  if (option == Size) return mFile->SizeOf(mCurrent);
  return mFile->Layout();
}

int RQtImageHandler::imageCount() const { return File() ? mFile->Count() : 0; }

bool RQtImageHandler::jumpToImage(int imageNumber) {
  if (imageNumber < 0 || imageNumber >= imageCount()) return false;
  mCurrent = imageNumber;
  mIsRead = false;
  return true;
}
