// The general DDS reader: any layout as plain pixels.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "dds/DdsFormat.h"
#include "dds/DdsLayout.h"
#include "image/RImageExport.h"
#include "image/RPixelMemory.h"

class RFile;

/// Reads the largest level of a DDS file, its first face and slice, and decodes it to rows of plain pixels in
/// memory: channels of 8 bits, or 32-bit floats for float layouts and BC6H.
///
/// Beyond the layouts of the loader it takes the Direct3D float codes 111 to 116, the "DX10" extension
/// header, other bit fields, luminance, palettes, DXT2 and DXT4, BC6H and BC7. Luminance is channel 0; alpha
/// of luminance pixels channel 1.
class RIMAGE_API TddsReader {
 public:
  /// Reads the file at `path` (UTF-8), in place of what was held. Returns 0 when there was a header, -1 when
  /// the file cannot be opened or is shorter than 128 bytes; the magic characters are not checked. What
  /// cannot be decoded, or is cut short, does not fail: it becomes the placeholder, 64 x 64 pixels (255, 0,
  /// 0, 0).
  int read(const char* path);
  /// Reads the headers of the file at `path` alone, in place of what was held: sizes, channels and layout are
  /// what `read` gives, but there are no pixels. Returns false for a file that cannot be opened, whose
  /// headers are cut short, or whose layout or size cannot be decoded.
  [[nodiscard]] bool ReadHeaders(const char* path);

  /// Whether the pixels are the placeholder, not the file's picture.
  bool IsPlaceholder() const { return mIsPlaceholder; }

  ///@{
  /// Returns the size in pixels; one slice alone is read.
  int GetWidth() const { return mWidth; }
  int GetHeight() const { return mHeight; }
  int GetDepth() const { return 1; }
  ///@}
  /// Returns the number of channels, 1 to 4, in the order red, green, blue, alpha.
  int GetChannels() const { return mChannels; }
  int GetBitsPerChannel() const { return mBitsPerChannel; }  ///< 8, or 32 for floats
  bool IsFloat() const { return mIsFloat; }                  ///< whether channels are 32-bit floats
  /// Returns row `y` (0 is the top one) of width x channels values, borrowed; null outside the picture.
  const unsigned char* GetRow(int y) const;
  /// Copies row `y` to one row for each channel and returns them, borrowed until the next call; null outside
  /// the picture.
  const unsigned char* const* GetChannelRows(int y);
  /// Returns all rows, tightly packed, top row first; null before the first read. They are shared, not
  /// copied.
  RPixelBuffer GetPixels() const { return mPixels; }
  /// Decodes another slice of the file at `path`, which must be the one that was read: `offset` bytes behind
  /// the largest level's first byte, with the same layout. Returns null when the file ends before it, the
  /// sizes are below 1 or memory runs out, and for a placeholder.
  RPixelBuffer ReadSlice(const char* path, std::int64_t offset, int width, int height) const;

  /// Returns what the file's pixels look like; of no meaning for the placeholder.
  const DdsLayout& GetLayout() const { return mLayout; }
  /// Returns the header as read, alpha pixels noted where four channels were decoded.
  const DdsHeader& GetHeader() const { return mHeader; }
  /// Returns the extension header as read; zeros where there is none.
  const DdsHeaderDx10& GetExtension() const { return mExtension; }

 private:
  bool ReadHeader(RFile& file);
  bool ReadExtension(RFile& file);
  /// Reads what follows the header, up to the pixels, and finds the layout.
  bool Describe(RFile& file);
  bool FindSizes();
  bool DecodePixels(RFile& file);
  /// Decodes a slice at the file's position, which has at least `required` bytes more.
  RPixelBuffer DecodeSlice(RFile& file, int width, int height, std::int64_t required) const;
  void MakePlaceholder();
  bool MakeChannelRows();

  int mWidth = 0;
  int mHeight = 0;
  int mRowLength = 0;  // bytes of a decoded row
  int mChannels = 0;
  bool mIsFloat = false;
  int mBitsPerChannel = 0;
  bool mIsPlaceholder = false;
  DdsLayout mLayout;
  std::vector<unsigned char> mPalette;
  std::int64_t mDataOffset = 0;
  RPixelBuffer mPixels;
  RPixelBuffer mChannelPixels;
  std::array<unsigned char*, 4> mChannelRows{};
  DdsHeader mHeader;
  DdsHeaderDx10 mExtension;
};
