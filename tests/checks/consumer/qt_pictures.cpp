// A Qt program that knows nothing of rimage: qt_pictures PICTURE EXPECTED compares what Qt reads from two
// files and writes the first one as a video frame.
#include <QImage>
#include <QImageReader>
#include <QTemporaryDir>
#include <cstdio>
#include <cstdlib>

namespace {

// Every channel within 2 of the other picture's.
bool IsAlike(const QImage& one, const QImage& other) {
  if (one.isNull() || one.size() != other.size()) return false;
  for (int y = 0; y < one.height(); ++y) {
    for (int x = 0; x < one.width(); ++x) {
      const QRgb a = one.pixel(x, y);
      const QRgb b = other.pixel(x, y);
      if (std::abs(qRed(a) - qRed(b)) > 2 || std::abs(qGreen(a) - qGreen(b)) > 2 ||
          std::abs(qBlue(a) - qBlue(b)) > 2 || std::abs(qAlpha(a) - qAlpha(b)) > 2) {
        return false;
      }
    }
  }
  return true;
}

bool WritesFrames(const QImage& picture) {
  const QTemporaryDir folder;
  const QString path = folder.filePath("frame.yuv");
  return picture.save(path) && QImageReader(path).size() == QSize(720, 486);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  QImageReader reader(argv[1]);
  const QSize size = reader.size();
  const QImage picture = reader.read();
  if (size == picture.size() && IsAlike(picture, QImage(argv[2])) && WritesFrames(picture)) return 0;
  std::fprintf(stderr, "%s: %s\n", argv[1], qPrintable(reader.errorString()));
  return 1;
}
