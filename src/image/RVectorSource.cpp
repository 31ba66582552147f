#include "image/RVectorSource.h"

#include <QGuiApplication>
#include <QPainter>
#include <QSvgRenderer>

QImage RRenderVectorSource(const char* path, int width, int height) {
  if (width < 1 || height < 1 || !qobject_cast<QGuiApplication*>(QCoreApplication::instance())) return {};
  QImage image(width, height, QImage::Format_RGBA8888_Premultiplied);
  if (image.isNull()) return image;
  image.fill(Qt::transparent);
  QSvgRenderer renderer(QString::fromUtf8(path));
  QPainter painter(&image);
  renderer.render(&painter);
  return image;
}
