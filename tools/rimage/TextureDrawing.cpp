#include "TextureDrawing.h"

#include <cstring>

#include "HeldMessages.h"
#include "TextureReader.h"
#include "dds/RImageDDS.h"

namespace {

/// Where the stream's picture has the pixels of the file. The loader turns faces of cube maps not at all, and
/// blocks only in pairs of whole block rows: what it leaves stays where the file has it, counted from the
/// top.
class DrawnRows {
 public:
  explicit DrawnRows(const nv_dds::CDDSImage& file)
      : mHeight(file.get_height()),
        mIsTurned(!file.is_cubemap()),
        mIsBlocks(file.is_compressed()),
        mTurnedColumns(mIsTurned ? (mIsBlocks ? file.get_width() / 4 * 4 : file.get_width()) : 0) {}

  /// Returns how many columns from the left are turned; the others are not.
  int TurnedColumns() const { return mTurnedColumns; }
  /// Returns the row of the picture that has row `y` of the file's turned columns.
  int Turned(int y) const {
    if (!mIsBlocks) return mHeight - 1 - y;
    const int blockRows = mHeight / 4;
    const bool isMiddle = blockRows % 2 != 0 && y / 4 == blockRows / 2;
    return y < 4 * blockRows && !isMiddle ? 4 * blockRows - 1 - y : y;
  }

 private:
  int mHeight;
  bool mIsTurned;
  bool mIsBlocks;
  int mTurnedColumns;
};

// Brings the pixels into the image's order.
void TakeRows(RImageDDS& drawn, RImage& image) {
  const DrawnRows rows(drawn.DDSImage());
  constexpr std::size_t kPixel = 4;
  const std::size_t stride = kPixel * static_cast<std::size_t>(image.GetWidth());
  const std::size_t turned = kPixel * static_cast<std::size_t>(rows.TurnedColumns());
  const unsigned char* source = drawn.GetImageBits();
  unsigned char* to = image.GetImageBits();
  for (int y = image.GetHeight() - 1; y >= 0; --y, to += stride) {
    const auto at = [&](int row) { return source + static_cast<std::size_t>(row) * stride; };
    if (turned > 0) std::memcpy(to, at(rows.Turned(y)), turned);
    if (turned < stride) std::memcpy(to + turned, at(y) + turned, stride - turned);
  }
}

// Layouts of fewer than four channels that the driver does not know come as its first ones.
void PlaceChannels(const RDDSInfo& info, RImage& image) {
  unsigned char* pixel = image.GetImageBits();
  const unsigned char* end = pixel + std::size_t{4} * static_cast<std::size_t>(image.GetWidth()) *
                                         static_cast<std::size_t>(image.GetHeight());
  for (; pixel != end; pixel += 4) {
    if (info.isLuminance) {
      if (info.hasAlpha) pixel[3] = pixel[1];
      pixel[1] = pixel[2] = pixel[0];
    }
    if (!info.hasAlpha) pixel[3] = 255;
  }
}

RDestroyPtr<RImage> ReadDrawn(const std::string& path, const RDDSInfo& info) {
  const HeldMessages held;
  RDestroyPtr<RImage> image(RImage::ImageFileRead(path.c_str()));
  // The size is compared because the file is read a second time here.
  const bool isDrawn = image && image->Is(RImageDDS::ClassId) && image->HoldsPixels(1);
  if (isDrawn && image->GetWidth() == info.width && image->GetHeight() == info.height) return image;
  throw Failure(ExitCode::kRead, path, "the graphics driver cannot draw this texture",
                "leave out --gpu=require");
}

}  // namespace

Picture DrawTexture(const std::string& path, const RDDSInfo& info, std::uint64_t maxMemory) {
  CheckMemory(ExitCode::kRead, path, info.width, std::int64_t{info.height} * info.depth, 4, maxMemory);
  const RDestroyPtr<RImage> drawn = ReadDrawn(path, info);
  Picture picture = MakeTexturePicture(path, info, info.width, info.height);
  TakeRows(static_cast<RImageDDS&>(*drawn), *picture.image);
  PlaceChannels(info, *picture.image);
  return picture;
}
