// The layout that pixels read through QImage get in the image record.
#pragma once

#include <QImage>
#include <array>

#include "image/RImage.h"

/// What becomes of pixels in a QImage format.
struct QImageLayout {
  QImage::Format source;
  QImage::Format converted;  ///< the QImage format to convert to; equal to `source` when the pixels stay
  kImageFormat format;       ///< the same layout as the image record names it
};

/// One row for each format, the value of `source` being the index. Layouts with few bits and without alpha
/// become RGB, also palettes, whatever alpha they hold; what is premultiplied stays premultiplied, what is
/// straight stays straight.
inline constexpr std::array kQImageLayouts{
    QImageLayout{QImage::Format_Invalid, QImage::Format_RGBA8888, kImageFormatRGBA},
    QImageLayout{QImage::Format_Mono, QImage::Format_RGB888, kImageFormatRGB},
    QImageLayout{QImage::Format_MonoLSB, QImage::Format_RGB888, kImageFormatRGB},
    QImageLayout{QImage::Format_Indexed8, QImage::Format_RGB888, kImageFormatRGB},
    QImageLayout{QImage::Format_RGB32, QImage::Format_RGBA8888, kImageFormatRGBA},
    QImageLayout{QImage::Format_ARGB32, QImage::Format_RGBA8888, kImageFormatRGBA},
    QImageLayout{QImage::Format_ARGB32_Premultiplied, QImage::Format_RGBA8888_Premultiplied,
                 kImageFormatRGBA},
    QImageLayout{QImage::Format_RGB16, QImage::Format_RGB888, kImageFormatRGB},
    QImageLayout{QImage::Format_ARGB8565_Premultiplied, QImage::Format_RGBA8888_Premultiplied,
                 kImageFormatRGBA},
    QImageLayout{QImage::Format_RGB666, QImage::Format_RGB888, kImageFormatRGB},
    QImageLayout{QImage::Format_ARGB6666_Premultiplied, QImage::Format_RGBA8888_Premultiplied,
                 kImageFormatRGBA},
    QImageLayout{QImage::Format_RGB555, QImage::Format_RGB888, kImageFormatRGB},
    QImageLayout{QImage::Format_ARGB8555_Premultiplied, QImage::Format_RGBA8888_Premultiplied,
                 kImageFormatRGBA},
    QImageLayout{QImage::Format_RGB888, QImage::Format_RGB888, kImageFormatRGB},
    QImageLayout{QImage::Format_RGB444, QImage::Format_RGB888, kImageFormatRGB},
    QImageLayout{QImage::Format_ARGB4444_Premultiplied, QImage::Format_RGBA8888_Premultiplied,
                 kImageFormatRGBA},
    QImageLayout{QImage::Format_RGBX8888, QImage::Format_RGBX8888, kImageFormatRGBA},
    QImageLayout{QImage::Format_RGBA8888, QImage::Format_RGBA8888, kImageFormatRGBA},
    QImageLayout{QImage::Format_RGBA8888_Premultiplied, QImage::Format_RGBA8888_Premultiplied,
                 kImageFormatRGBA},
    QImageLayout{QImage::Format_BGR30, QImage::Format_RGB888, kImageFormatRGB},
    QImageLayout{QImage::Format_A2BGR30_Premultiplied, QImage::Format_RGBA8888_Premultiplied,
                 kImageFormatRGBA},
    QImageLayout{QImage::Format_RGB30, QImage::Format_RGB888, kImageFormatRGB},
    QImageLayout{QImage::Format_A2RGB30_Premultiplied, QImage::Format_RGBA8888_Premultiplied,
                 kImageFormatRGBA},
    QImageLayout{QImage::Format_Alpha8, QImage::Format_RGB888, kImageFormatRGB},
    QImageLayout{QImage::Format_Grayscale8, QImage::Format_RGB888, kImageFormatRGB},
    QImageLayout{QImage::Format_RGBX64, QImage::Format_RGBA8888, kImageFormatRGBA},
    QImageLayout{QImage::Format_RGBA64, QImage::Format_RGBA8888, kImageFormatRGBA},
    QImageLayout{QImage::Format_RGBA64_Premultiplied, QImage::Format_RGBA8888_Premultiplied,
                 kImageFormatRGBA},
    QImageLayout{QImage::Format_Grayscale16, QImage::Format_RGB888, kImageFormatRGB},
    QImageLayout{QImage::Format_BGR888, QImage::Format_BGR888, kImageFormatBGR},
    QImageLayout{QImage::Format_RGBX16FPx4, QImage::Format_RGBA8888, kImageFormatRGBA},
    QImageLayout{QImage::Format_RGBA16FPx4, QImage::Format_RGBA8888, kImageFormatRGBA},
    QImageLayout{QImage::Format_RGBA16FPx4_Premultiplied, QImage::Format_RGBA8888, kImageFormatRGBA},
    QImageLayout{QImage::Format_RGBX32FPx4, QImage::Format_RGBA8888, kImageFormatRGBA},
    QImageLayout{QImage::Format_RGBA32FPx4, QImage::Format_RGBA8888, kImageFormatRGBA},
    QImageLayout{QImage::Format_RGBA32FPx4_Premultiplied, QImage::Format_RGBA8888, kImageFormatRGBA},
};
static_assert([] {
  for (std::size_t i = 0; i < kQImageLayouts.size(); ++i) {
    if (kQImageLayouts[i].source != static_cast<QImage::Format>(i)) return false;
  }
  return kQImageLayouts.size() <= QImage::NImageFormats;
}());

/// Returns the layout of a QImage format. A format that a newer Qt brings becomes straight RGBA.
constexpr const QImageLayout& LayoutOf(QImage::Format format) {
  const auto index = static_cast<std::size_t>(format);
  return kQImageLayouts[index < kQImageLayouts.size() ? index : 0];
}
