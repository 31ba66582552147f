// The layout of DDS files. All numbers are little-endian.
//
//     0       4         128            148
//     "DDS "  header    data ...                      or
//     "DDS "  header    DX10 header    data ...       when the pixel format's code is "DX10"
//
// The data hold, for each cube face or array element, the largest level and then the others; the slices of a
// volume level follow one another. Rows are stored from the top.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "streams/RByteReader.h"

/// Returns a four-character code as it is stored.
consteval std::uint32_t DdsFourCC(const char (&text)[5]) {
  std::uint32_t code = 0;
  for (int i = 3; i >= 0; --i) code = code << 8 | static_cast<unsigned char>(text[i]);
  return code;
}

/// How the pixels are stored: 32 bytes at offset 76 of the file.
struct DdsPixelFormat {
  // Flags.
  static constexpr std::uint32_t kAlphaPixels = 0x1;    ///< RGB or luminance pixels also have alpha
  static constexpr std::uint32_t kAlpha = 0x2;          ///< alpha alone
  static constexpr std::uint32_t kFourCC = 0x4;         ///< the code says it
  static constexpr std::uint32_t kPalette4 = 0x8;       ///< 4-bit indices
  static constexpr std::uint32_t kAnyPalette = 0x38;    ///< indices of 4 or 8 bits, or into another palette
  static constexpr std::uint32_t kRgb = 0x40;           ///< the masks say it
  static constexpr std::uint32_t kLuminance = 0x20000;  ///< one channel, grey

  std::uint32_t size = 0;         ///< of these fields: 32
  std::uint32_t flags = 0;        ///< of those above
  std::uint32_t fourCC = 0;       ///< the code, where the flags have `kFourCC`
  std::uint32_t rgbBitCount = 0;  ///< bits a pixel
  ///@{
  /// The bits of a channel in a pixel, the first byte in the low ones.
  std::uint32_t rBitMask = 0;
  std::uint32_t gBitMask = 0;
  std::uint32_t bBitMask = 0;
  std::uint32_t aBitMask = 0;
  ///@}

  /// Reads the fields; false when the file ends within them.
  bool Read(RByteReader& in) {
    return in.Little(size) && in.Little(flags) && in.Little(fourCC) && in.Little(rgbBitCount) &&
           in.Little(rBitMask) && in.Little(gBitMask) && in.Little(bBitMask) && in.Little(aBitMask);
  }
};

/// What follows the magic characters: 124 bytes.
struct DdsHeader {
  ///@{
  /// Where the header and what follows it begin in a file.
  static constexpr std::size_t kFileOffset = 4;
  static constexpr std::size_t kDataOffset = 128;
  ///@}
  static constexpr std::uint32_t kLinearSize =
      0x80000;  ///< flag: the pitch field holds the size of the largest level
  static constexpr std::uint32_t kCaps2CubeMap = 0x200;    ///< all six faces
  static constexpr std::uint32_t kCaps2Volume = 0x200000;  ///< the slices of a volume

  ///@{
  /// A field as the file has it; sizes in pixels.
  std::uint32_t size = 0;
  std::uint32_t flags = 0;
  std::uint32_t height = 0;
  std::uint32_t width = 0;
  std::uint32_t pitchOrLinearSize = 0;
  std::uint32_t depth = 0;
  ///@}
  std::uint32_t mipMapCount = 0;  ///< levels, the largest included; 0 counts as 1
  DdsPixelFormat pixelFormat;     ///< how the pixels are stored
  std::uint32_t caps1 = 0;        ///< what the surface is for
  std::uint32_t caps2 = 0;        ///< cube map and volume

  /// Reads the header; fields that the file ends before stay as they are.
  bool Read(RByteReader& in) {
    constexpr std::size_t kReserved1 = 44;
    constexpr std::size_t kRest = 12;
    return in.Little(size) && in.Little(flags) && in.Little(height) && in.Little(width) &&
           in.Little(pitchOrLinearSize) && in.Little(depth) && in.Little(mipMapCount) &&
           in.Skip(kReserved1) && pixelFormat.Read(in) && in.Little(caps1) && in.Little(caps2) &&
           in.Skip(kRest);
  }

  bool IsCubeMap() const { return (caps2 & kCaps2CubeMap) != 0; }  ///< whether the file has all six faces
  bool IsVolume() const { return (caps2 & kCaps2Volume) != 0 && depth != 0; }  ///< whether there are slices
};

/// The extension header: 20 bytes after the header.
struct DdsHeaderDx10 {
  static constexpr std::size_t kSize = 20;            ///< bytes
  static constexpr std::uint32_t kDimension3D = 4;    ///< resourceDimension of a volume
  static constexpr std::uint32_t kMiscCubeMap = 0x4;  ///< miscFlag: six faces an array element
  static constexpr std::uint32_t kAlphaMode = 0x7;    ///< the alpha mode in miscFlags2
  static constexpr std::uint32_t kPremultiplied = 2;  ///< alpha mode: colours are multiplied with alpha

  ///@{
  /// A field as the file has it.
  std::uint32_t dxgiFormat = 0;
  std::uint32_t resourceDimension = 0;
  std::uint32_t miscFlag = 0;
  std::uint32_t arraySize = 0;
  std::uint32_t miscFlags2 = 0;
  ///@}

  /// Reads the fields; false when the file ends within them.
  bool Read(RByteReader& in) {
    return in.Little(dxgiFormat) && in.Little(resourceDimension) && in.Little(miscFlag) &&
           in.Little(arraySize) && in.Little(miscFlags2);
  }

  /// Whether colours are stored multiplied with alpha.
  bool IsPremultiplied() const { return (miscFlags2 & kAlphaMode) == kPremultiplied; }
};
