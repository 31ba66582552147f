// The plugin that Qt loads.
#pragma once

#include <QImageIOPlugin>

/// Adds the formats of `PictureFormat` to Qt. It answers for no other name, and not for a file under one of
/// its names that is of another format; a file without a name, or under an unknown one, it takes only when
/// the contents are plainly those of one of the formats.
class RQtImagePlugin : public QImageIOPlugin {
  Q_OBJECT
  Q_PLUGIN_METADATA(IID QImageIOHandlerFactoryInterface_iid FILE "rimage.json")

 public:
  Capabilities capabilities(QIODevice* device, const QByteArray& format) const override;
  /// Returns null for a device without a picture when the name is none of the plugin's either.
  QImageIOHandler* create(QIODevice* device, const QByteArray& format) const override;
};
