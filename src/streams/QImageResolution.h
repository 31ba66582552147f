// The resolution of pictures that are written through QImage.
#pragma once

#include <QImage>

/// Sets 96 dots per inch: Qt's own value, which some formats store, depends on the screen and on whether
/// there is one.
inline void SetWrittenResolution(QImage& image) {
  constexpr int kDotsPerMeter = 3780;
  image.setDotsPerMeterX(kDotsPerMeter);
  image.setDotsPerMeterY(kDotsPerMeter);
}
