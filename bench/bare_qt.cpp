// The least that a Qt program can do to convert a picture: what the command-line host is measured against.
// Usage: rimage_bare_qt IN OUT
#include <QImage>
#include <QSaveFile>

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  QImage image(QString::fromLocal8Bit(argv[1]));
  if (image.isNull()) return 3;
  image = image.convertToFormat(QImage::Format_RGBA8888);
  // As the host: the file is there whole or not at all.
  QSaveFile file(QString::fromLocal8Bit(argv[2]));
  return file.open(QIODevice::WriteOnly) && image.save(&file, "png") && file.commit() ? 0 : 4;
}
