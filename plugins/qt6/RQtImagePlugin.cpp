#include "RQtImagePlugin.h"

#include <QIODevice>

#include <new>

#include "RQtImageHandler.h"
#include "WithoutMemory.h"

void* RQtImagePlugin::operator new(std::size_t size) noexcept { return ::operator new(size, std::nothrow); }

void RQtImagePlugin::operator delete(void* plugin) noexcept { ::operator delete(plugin); }

QImageIOPlugin::Capabilities RQtImagePlugin::capabilities(QIODevice* device, const QByteArray& format) const {
  return WithoutMemory(Capabilities(), [&]() -> Capabilities {
    if (format.isEmpty()) return device && FindPictureFormat(*device) ? CanRead : Capabilities();
    const auto named = PictureFormatOf(format);
    if (!named) return {};
    Capabilities found;
    if (!device || MayBe(*named, *device)) found |= CanRead;
    if (*named == PictureFormat::kYuv && (!device || device->isWritable())) found |= CanWrite;
    return found;
  });
}

// Where the contents decided, Qt may hand over any name.
QImageIOHandler* RQtImagePlugin::create(QIODevice* device, const QByteArray& format) const {
  return WithoutMemory<QImageIOHandler*>(nullptr, [&]() -> QImageIOHandler* {
    auto chosen = PictureFormatOf(format);
    if (!chosen && device) chosen = FindPictureFormat(*device);
    return chosen ? new RQtImageHandler(*chosen) : nullptr;
  });
}
