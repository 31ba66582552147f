// The pixel layouts that the general DDS reader decodes, and which of them a file has.
#pragma once

#include <array>
#include <cstdint>

#include "dds/DdsFormat.h"
#include "dds/blocks/BlockFormat.h"
#include "image/RImageExport.h"

/// Which reader decodes a layout.
enum kDdsReader : int {
  kDdsReaderFloat,           ///< channels of half or single precision
  kDdsReaderMasked,          ///< channels in bit fields of a word of 8 to 32 bits
  kDdsReaderBlock,           ///< compressed blocks
  kDdsReaderPalette,         ///< indices into a palette before the data
  kDdsReaderCode,            ///< whole channels, and packed 4:2:2
  kDdsReaderPackedFloat,     ///< R11G11B10
  kDdsReaderSharedExponent,  ///< R9G9B9E5
};

/// Codes of layouts. Those of files stand in the four-character code too; others are the reader's own.
enum kDdsCode : std::uint32_t {
  kDdsCodeG16R16 = 34,
  kDdsCodeA16B16G16R16 = 36,
  kDdsCodeR16F = 111,
  kDdsCodeG16R16F = 112,
  kDdsCodeA16B16G16R16F = 113,
  kDdsCodeR32F = 114,
  kDdsCodeG32R32F = 115,
  kDdsCodeA32B32G32R32F = 116,
  kDdsCodeR32G32B32F = 1116,
  kDdsCodeL16 = 134,
  kDdsCodeL8A8 = 135,
  kDdsCodeL8 = 136,
  kDdsCodeRGBG = DdsFourCC("RGBG"),  ///< a pair of pixels in bytes R G0 B G1
  kDdsCodeGRGB = DdsFourCC("GRGB"),  ///< a pair of pixels in bytes G0 R G1 B
  kDdsCodeDXT1 = DdsFourCC("DXT1"),
  kDdsCodeDXT2 = DdsFourCC("DXT2"),
  kDdsCodeDXT3 = DdsFourCC("DXT3"),
  kDdsCodeDXT4 = DdsFourCC("DXT4"),
  kDdsCodeDXT5 = DdsFourCC("DXT5"),
  kDdsCodeATI2 = DdsFourCC("ATI2"),
  kDdsCodeBC4U = DdsFourCC("BC4U"),
  kDdsCodeBC4S = DdsFourCC("BC4S"),
  kDdsCodeBC5U = DdsFourCC("BC5U"),
  kDdsCodeBC5S = DdsFourCC("BC5S"),
  kDdsCodeBC6H = DdsFourCC("DXT6"),
  kDdsCodeBC7 = DdsFourCC("DXT7"),
  kDdsCodeDX10 = DdsFourCC("DX10"),
};

/// A pixel layout.
struct DdsLayout {
  kDdsReader reader = kDdsReaderBlock;   ///< which reader decodes it
  std::uint32_t code = 0;                ///< of the float, block and code readers: a `kDdsCode`
  const char* name = "";                 ///< for people
  int channels = 3;                      ///< decoded, 1 to 4
  bool isFloat = false;                  ///< decoded channels are 32-bit floats, not bytes
  bool isSigned = false;                 ///< bytes are -1 to 1 and converted after reading
  bool isLuminance = false;              ///< channel 0 is grey, not red
  bool hasAlpha = false;                 ///< the last channel is alpha
  int pixelBits = 0;                     ///< bits a pixel in the file; of blocks 0
  kBlockFormat blocks = kBlockBC1;       ///< of the block reader
  std::array<std::uint32_t, 4> masks{};  ///< of the masked reader: red, green, blue, alpha
  int paletteEntries = 0;                ///< four bytes each before the data: red, green, blue, alpha
};

/// Whether the header is followed by the extension header that says the layout.
RIMAGE_API bool DdsHasExtension(const DdsHeader& header);

/// Finds the layout of a file; `extension` counts only where `DdsHasExtension`. Returns false when no reader
/// knows it.
[[nodiscard]] RIMAGE_API bool DdsFindLayout(const DdsHeader& header, const DdsHeaderDx10& extension,
                                            DdsLayout& layout);

/// Returns the bytes that one slice of a level takes in a file, its palette not included.
RIMAGE_API std::int64_t DdsSliceBytes(const DdsLayout& layout, std::int64_t width, std::int64_t height);
