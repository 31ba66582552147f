#include "VideoFrameWriter.h"

#include <QIODevice>
#include <QImage>
#include <cstring>

#include "DeviceFile.h"
#include "image/RDestroyPtr.h"
#include "streams/RImageStreamyuv.h"

namespace {

// Colours that are multiplied with alpha are what is seen over black.
RDestroyPtr<RImage> OverBlack(const QImage& image) {
  const QImage source = image.convertToFormat(QImage::Format_RGBA8888_Premultiplied);
  RDestroyPtr<RImage> copy(RImageCreate());
  if (source.isNull() || !copy ||
      !copy->Init(kImageFormatRGBA, source.width(), source.height(), 0, 0, false, kImageTypeFrame,
                  kInterleaveNone, kInterpolationNone, RImage::kIncarnationRaw)) {
    return nullptr;
  }
  unsigned char* row = copy->GetImageBits();
  const std::size_t rowBytes = std::size_t{4} * static_cast<std::size_t>(source.width());
  for (int y = source.height() - 1; y >= 0; --y, row += rowBytes)
    std::memcpy(row, source.constScanLine(y), rowBytes);
  return copy;
}

}  // namespace

bool WriteVideoFrame(const QImage& image, QIODevice& device) {
  const RDestroyPtr<RImage> picture = OverBlack(image);
  DeviceFile file;
  if (!picture || !file.Create()) return false;
  RImageStreamyuv stream;
  stream.SetFileName(file.Path().c_str());
  stream.SetImage(picture.get());
  return stream.StreamCreate(nullptr) && file.CopyTo(device);
}
