// The plugin that Qt loads.
#pragma once

#include <QImageIOPlugin>
#include <cstddef>

/// Adds the formats of `PictureFormat` to Qt. It answers for no other name, and not for a file under one of
/// its names that is of another format; a file without a name, or under an unknown one, it takes only when
/// the contents are plainly those of one of the formats.
class RQtImagePlugin : public QImageIOPlugin {
  Q_OBJECT
  Q_PLUGIN_METADATA(IID QImageIOHandlerFactoryInterface_iid FILE "rimage.json")

 public:
  /// Null where memory runs out, which Qt takes for a plugin that cannot be loaded.
  static void* operator new(std::size_t size) noexcept;
  /// For Qt's table of types, which can make objects in a given place.
  static void* operator new(std::size_t /*size*/, void* place) noexcept { return place; }
  static void operator delete(void* plugin) noexcept;

  /// None where memory runs out.
  Capabilities capabilities(QIODevice* device, const QByteArray& format) const override;
  /// Returns null for a device without a picture when the name is none of the plugin's either, and where
  /// memory runs out.
  QImageIOHandler* create(QIODevice* device, const QByteArray& format) const override;
};
