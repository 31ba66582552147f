// A Qt image writer that notes what it is given, under a suffix that Qt's own plugins do not write.
#pragma once

#include <QImage>
#include <QImageIOPlugin>
#include <QString>
#include <vector>

namespace test {

/// What the plugin was handed in one write.
struct RecordedWrite {
  QImage image;
  int quality = 0;
  int compression = 0;
  QString description;
};

/// Returns the writes of this process so far.
std::vector<RecordedWrite>& RecordedWrites();

}  // namespace test

/// Writes "tga" by noting it and lists "DDS", in capitals, among what is read; it reads nothing itself. Tests
/// bring it in with Q_IMPORT_PLUGIN.
class QImageRecordingPlugin : public QImageIOPlugin {
  Q_OBJECT
  Q_PLUGIN_METADATA(IID QImageIOHandlerFactoryInterface_iid FILE "QImageRecordingPlugin.json")

 public:
  Capabilities capabilities(QIODevice* device, const QByteArray& format) const override;
  QImageIOHandler* create(QIODevice* device, const QByteArray& format) const override;
};
