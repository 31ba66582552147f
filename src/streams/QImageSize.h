// The size of a picture that Qt reads.
#pragma once

#include <QImageReader>
#include <algorithm>
#include <cstdlib>
#include <limits>

/// Returns the size that the reader tells before it reads the pixels; not valid when it tells none. Qt tells
/// the height of a BMP file whose top row comes first with a minus sign, which is dropped here.
inline QSize SizeOf(const QImageReader& reader) {
  const QSize size = reader.size();
  return {size.width(), std::abs(std::max(size.height(), -std::numeric_limits<int>::max()))};
}
