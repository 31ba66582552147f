#include "Orientation.h"

#include <cstddef>
#include <cstring>
#include <new>

namespace {

// Where a pixel of the turned picture comes from; rows count from the top in both.
struct Source {
  std::size_t x = 0;
  std::size_t y = 0;
};

Source SourceOf(std::size_t x, std::size_t y, std::size_t width, std::size_t height,
                QImageIOHandler::Transformations orientation) {
  Source source{x, y};
  if (orientation & QImageIOHandler::TransformationRotate90) source = {y, height - 1 - x};
  if (orientation & QImageIOHandler::TransformationMirror) source.x = width - 1 - source.x;
  if (orientation & QImageIOHandler::TransformationFlip) source.y = height - 1 - source.y;
  return source;
}

RDestroyPtr<RImage> CreateLike(RImage& image, bool swapSides) {
  RDestroyPtr<RImage> made(RImageCreate());
  const int width = swapSides ? image.GetHeight() : image.GetWidth();
  const int height = swapSides ? image.GetWidth() : image.GetHeight();
  if (!made ||
      !made->Init(image.GetFormat(), width, height, 0, 0, false, image.GetImageType(),
                  image.GetInterleaveType(), image.GetInterpolationType(), RImage::kIncarnationRaw)) {
    throw std::bad_alloc();
  }
  return made;
}

}  // namespace

void ApplyOrientation(Picture& picture, QImageIOHandler::Transformations orientation) {
  if (orientation == QImageIOHandler::TransformationNone) return;
  RImage& from = *picture.image;
  auto made = CreateLike(from, orientation & QImageIOHandler::TransformationRotate90);
  const auto pixelSize = static_cast<std::size_t>(from.GetPixelSize());
  const auto width = static_cast<std::size_t>(from.GetWidth());
  const auto height = static_cast<std::size_t>(from.GetHeight());
  const auto madeWidth = static_cast<std::size_t>(made->GetWidth());
  const auto madeHeight = static_cast<std::size_t>(made->GetHeight());
  unsigned char* destination = made->GetImageBits();
  for (std::size_t row = 0; row < madeHeight; ++row) {
    for (std::size_t x = 0; x < madeWidth; ++x, destination += pixelSize) {
      const Source source = SourceOf(x, madeHeight - 1 - row, width, height, orientation);
      const std::size_t pixel = (height - 1 - source.y) * width + source.x;
      std::memcpy(destination, from.GetImageBits() + pixel * pixelSize, pixelSize);
    }
  }
  picture.image = std::move(made);
}

const char* OrientationName(QImageIOHandler::Transformations orientation) {
  static constexpr const char* kNames[] = {"",
                                           "mirrored",
                                           "upside down, mirrored",
                                           "upside down",
                                           "turned right",
                                           "mirrored, turned right",
                                           "mirrored, turned left",
                                           "turned left"};
  return kNames[static_cast<unsigned>(orientation.toInt()) & 7U];
}
