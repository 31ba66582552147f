#include "RQtImagePlugin.h"

#include <QIODevice>

#include "RQtImageHandler.h"

QImageIOPlugin::Capabilities RQtImagePlugin::capabilities(QIODevice* device, const QByteArray& format) const {
  if (format.isEmpty()) return device && FindPictureFormat(*device) ? CanRead : Capabilities();
  const auto named = PictureFormatOf(format);
  if (!named) return {};
  Capabilities found;
  if (!device || MayBe(*named, *device)) found |= CanRead;
  if (*named == PictureFormat::kYuv && (!device || device->isWritable())) found |= CanWrite;
  return found;
}

// Where the contents decided, Qt may hand over any name.
QImageIOHandler* RQtImagePlugin::create(QIODevice* device, const QByteArray& format) const {
  auto chosen = PictureFormatOf(format);
  if (!chosen && device) chosen = FindPictureFormat(*device);
  return chosen ? new RQtImageHandler(*chosen) : nullptr;
}
