// A Qt image reader that gives pictures in any QImage format: no file format of Qt yields them all.
#pragma once

#include <QImage>
#include <QImageIOPlugin>
#include <vector>

namespace test {

/// Returns a deterministic picture in that format. RGB32 has bytes other than 255 where alpha would be.
QImage MakePattern(QImage::Format format, int width, int height);

/// Returns the bytes of a file for which the plugin gives `MakePattern(format, width, height)`; sides up to
/// 255.
std::vector<unsigned char> MakePatternFile(QImage::Format format, int width, int height);

}  // namespace test

/// Reads the files of `MakePatternFile`, whatever their suffix. Tests bring it in with Q_IMPORT_PLUGIN.
class QImagePatternPlugin : public QImageIOPlugin {
  Q_OBJECT
  Q_PLUGIN_METADATA(IID QImageIOHandlerFactoryInterface_iid FILE "QImagePatternPlugin.json")

 public:
  Capabilities capabilities(QIODevice* device, const QByteArray& format) const override;
  QImageIOHandler* create(QIODevice* device, const QByteArray& format) const override;
};
