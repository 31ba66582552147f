// A picture in the tool's hands: the image record and what the record does not know.
#pragma once

#include <QImage>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "Failure.h"
#include "image/RDestroyPtr.h"
#include "image/RImage.h"

/// How the colours of a picture with alpha are stored.
enum class AlphaState {
  kStraight,       ///< as they are; also for pictures without alpha
  kPremultiplied,  ///< multiplied with alpha
};

/// An image and the state of its colours. `image` is never null.
struct Picture {
  RDestroyPtr<RImage> image;
  AlphaState alpha = AlphaState::kStraight;
};

/// Returns the name of a pixel layout, such as "RGBA".
const char* FormatName(kImageFormat format);

/// Whether pixels of the layout carry alpha.
bool HasAlpha(kImageFormat format);

/// Whether every pixel shows fully: the layout has no alpha, or alpha is 255 everywhere.
bool IsOpaque(const Picture& picture);

/// Brings the picture to a layout that has alpha as its fourth byte: RGBA, or BGRA where it is that already.
void GiveAlpha(Picture& picture);
void MakeStraight(Picture& picture);
/// Changes nothing where pixels have no alpha.
void MakePremultiplied(Picture& picture);
/// Brings premultiplied colours above their alpha, as additions of light have them, down to it: straight
/// colours cannot say them.
void LimitToAlpha(Picture& picture);
/// Puts the picture over black and drops the alpha, so that what is left is what was seen.
void DropAlpha(Picture& picture);
/// Converts to a layout, in two steps where one does not do; false when neither does. What is seen stays.
bool ConvertTo(Picture& picture, kImageFormat format);

/// Returns a copy of the first layer as Qt's image, top row first, RGBA in the picture's own alpha state.
QImage ToQImage(const Picture& picture);
/// Returns a row of Qt's image, as an image in another format. Larger parts would be divided among threads,
/// for each of which Qt waits even when it cannot be started.
QImage RowOf(const QImage& image, int y, QImage::Format format);
/// Returns Qt's image as an opaque picture.
Picture FromQImage(const QImage& image);

/// Lends the rows of a picture one after the other as RGBA, in the picture's own alpha state.
class RgbaRows {
 public:
  explicit RgbaRows(const Picture& picture);
  /// Returns row `y`, counted from the top, of a layer; valid until the next call.
  std::span<const unsigned char> Row(int layer, int y);

 private:
  RImage& mImage;
  std::vector<unsigned char> mRow;
};

/// Fails with `code` when a picture of that size and layout takes more than `limit` bytes.
void CheckMemory(ExitCode code, const std::string& subject, std::int64_t width, std::int64_t height,
                 int pixelSize, std::uint64_t limit);
