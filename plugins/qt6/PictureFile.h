// One file of the plugin's formats, while Qt reads it.
#pragma once

#include <QImage>
#include <memory>

#include "DeviceFile.h"
#include "PictureFormat.h"

/// The pictures of a file, numbered from 0. What the headers say is known once it is open; pixels are decoded
/// when they are asked for.
class PictureFile {
 public:
  virtual ~PictureFile() = default;

  /// Opens the file that the device holds from its position on. Returns null when its headers cannot be those
  /// of a picture, or `DeviceFile::Open` fails.
  static std::unique_ptr<PictureFile> Open(PictureFormat format, QIODevice& device);

  virtual int Count() const = 0;
  /// Returns the size of a picture in pixels.
  virtual QSize SizeOf(int picture) const = 0;
  /// Returns the layout of all pictures.
  virtual QImage::Format Layout() const = 0;
  /// Decodes a picture. Fails when it is damaged, memory runs out or Qt's allocation limit forbids its size.
  [[nodiscard]] virtual bool Read(int picture, QImage& image) = 0;
};

/// Whether Qt's allocation limit allows a picture of that size.
bool IsWithinLimit(const QSize& size, QImage::Format layout);

/// Copies `height` tightly packed rows of the image's layout into it, the first one at the top or, when
/// `isFlipped`, at the bottom.
void FillImage(const unsigned char* rows, bool isFlipped, QImage& image);
