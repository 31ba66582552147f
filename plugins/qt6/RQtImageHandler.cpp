#include "RQtImageHandler.h"

#include <QIODevice>
#include <QVariant>

#include "VideoFrameWriter.h"
#include "WithoutMemory.h"

PictureFile* RQtImageHandler::File() const {
  if (!mIsOpened && device() && MayBe(mFormat, *device())) {
    // Where memory runs out, what a pipe has handed out is gone; other devices may be tried again.
    mIsOpened = device()->isSequential();
    mFile = PictureFile::Open(mFormat, *device());
    mIsOpened = true;
  }
  return mFile.get();
}

bool RQtImageHandler::canRead() const {
  return WithoutMemory(false, [this] {
    if (mIsRead) return false;
    // Nothing is opened for the question alone.
    const bool can = mIsOpened ? mFile != nullptr : device() && MayBe(mFormat, *device());
    if (can) setFormat(NameOf(mFormat));
    return can;
  });
}

bool RQtImageHandler::read(QImage* image) {
  return WithoutMemory(false, [&] {
    if (mIsRead || !File()) return false;
    mIsRead = true;
    if (!mFile->Read(mCurrent, *image)) return false;
    // All that follows in the device belongs to the file.
    if (!device()->isSequential()) device()->seek(device()->size());
    return true;
  });
}

bool RQtImageHandler::write(const QImage& image) {
  return WithoutMemory(
      false, [&] { return mFormat == PictureFormat::kYuv && device() && WriteVideoFrame(image, *device()); });
}

bool RQtImageHandler::supportsOption(ImageOption option) const {
  return option == Size || option == ImageFormat;
}

QVariant RQtImageHandler::option(ImageOption option) const {
  return WithoutMemory(QVariant(), [&]() -> QVariant {
    if (!supportsOption(option) || !File()) return {};
    if (option == Size) return mFile->SizeOf(mCurrent);
    return mFile->Layout();
  });
}

int RQtImageHandler::imageCount() const {
  return WithoutMemory(0, [this] { return File() ? mFile->Count() : 0; });
}

bool RQtImageHandler::jumpToImage(int imageNumber) {
  if (imageNumber < 0 || imageNumber >= imageCount()) return false;
  mCurrent = imageNumber;
  mIsRead = false;
  return true;
}
