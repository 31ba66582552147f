#include "dds/DdsLayout.h"

#include <algorithm>
#include <array>

#include "dds/DdsDxgiFormats.h"

namespace {

/// What a code says about the pixels.
struct CodeRow {
  std::uint32_t code;
  const char* name;
  int channels;
  int pixelBits;
};

constexpr std::array kFloatCodes = {
    CodeRow{kDdsCodeR16F, "R16F", 1, 16},
    CodeRow{kDdsCodeG16R16F, "G16R16F", 2, 32},
    CodeRow{kDdsCodeA16B16G16R16F, "A16B16G16R16F", 4, 64},
    CodeRow{kDdsCodeR32F, "R32F", 1, 32},
    CodeRow{kDdsCodeG32R32F, "G32R32F", 2, 64},
    CodeRow{kDdsCodeA32B32G32R32F, "A32B32G32R32F", 4, 128},
    CodeRow{kDdsCodeR32G32B32F, "R32G32B32F", 3, 96},
};

constexpr std::array kChannelCodes = {
    CodeRow{kDdsCodeG16R16, "G16R16", 2, 32}, CodeRow{kDdsCodeA16B16G16R16, "A16B16G16R16", 4, 64},
    CodeRow{kDdsCodeL16, "L16", 1, 16},       CodeRow{kDdsCodeL8A8, "L8A8", 2, 16},
    CodeRow{kDdsCodeL8, "L8", 1, 8},          CodeRow{kDdsCodeRGBG, "RGBG", 3, 16},
    CodeRow{kDdsCodeGRGB, "GRGB", 3, 16},
};

struct BlockRow {
  std::uint32_t code;
  const char* name;
  kBlockFormat blocks;
  bool hasAlpha;
};

// DXT2 and DXT4 are DXT3 and DXT5 with colours that were multiplied with alpha; they stay multiplied.
constexpr std::array kBlockCodes = {
    BlockRow{kDdsCodeDXT1, "DXT1", kBlockBC1, true},
    BlockRow{kDdsCodeDXT2, "DXT2", kBlockBC2, true},
    BlockRow{kDdsCodeDXT3, "DXT3", kBlockBC2, true},
    BlockRow{kDdsCodeDXT4, "DXT4", kBlockBC3, true},
    BlockRow{kDdsCodeDXT5, "DXT5", kBlockBC3, true},
    BlockRow{kDdsCodeBC4U, "BC4U", kBlockBC4, false},
    BlockRow{kDdsCodeBC4S, "BC4S", kBlockBC4Signed, false},
    BlockRow{kDdsCodeBC5U, "BC5U", kBlockBC5, false},
    BlockRow{kDdsCodeATI2, "ATI2", kBlockBC5, false},
    BlockRow{kDdsCodeBC5S, "BC5S", kBlockBC5Signed, false},
    BlockRow{kDdsCodeBC6H, "BC6H", kBlockBC6H, false},
    BlockRow{kDdsCodeBC7, "BC7", kBlockBC7, true},
};

bool FindFloat(std::uint32_t code, DdsLayout& layout) {
  const auto* row = std::ranges::find(kFloatCodes, code, &CodeRow::code);
  if (row == kFloatCodes.end()) return false;
  layout.reader = kDdsReaderFloat;
  layout.code = code;
  layout.name = row->name;
  layout.channels = row->channels;
  layout.pixelBits = row->pixelBits;
  layout.isFloat = true;
  layout.hasAlpha = row->channels == 4;
  return true;
}

bool FindChannels(std::uint32_t code, DdsLayout& layout) {
  const auto* row = std::ranges::find(kChannelCodes, code, &CodeRow::code);
  if (row == kChannelCodes.end()) return false;
  layout.reader = kDdsReaderCode;
  layout.code = code;
  layout.name = row->name;
  layout.channels = row->channels;
  layout.pixelBits = row->pixelBits;
  layout.hasAlpha = row->channels == 4;
  return true;
}

bool FindBlocks(std::uint32_t code, DdsLayout& layout) {
  const auto* row = std::ranges::find(kBlockCodes, code, &BlockRow::code);
  if (row == kBlockCodes.end()) return false;
  layout.reader = kDdsReaderBlock;
  layout.code = code;
  layout.name = row->name;
  layout.channels = 4;
  layout.blocks = row->blocks;
  layout.isFloat = RSizeOf(row->blocks).pixelBytes > 4;
  layout.hasAlpha = row->hasAlpha;
  return true;
}

bool FindMasked(const DdsPixelFormat& pixels, DdsLayout& layout) {
  const std::uint32_t bits = pixels.rgbBitCount;
  if (bits != 8 && bits != 16 && bits != 24 && bits != 32) return false;
  layout.reader = kDdsReaderMasked;
  layout.name = "RGB bit fields";
  layout.masks = {pixels.rBitMask, pixels.gBitMask, pixels.bBitMask, pixels.aBitMask};
  layout.pixelBits = static_cast<int>(bits);
  layout.hasAlpha = (pixels.flags & (DdsPixelFormat::kAlphaPixels | DdsPixelFormat::kAlpha)) != 0;
  layout.channels = layout.hasAlpha ? 4 : 3;
  return std::ranges::any_of(layout.masks, [](std::uint32_t mask) { return mask != 0; });
}

bool FindPalette(const DdsPixelFormat& pixels, DdsLayout& layout) {
  const bool four = (pixels.flags & DdsPixelFormat::kPalette4) != 0;
  layout.reader = kDdsReaderPalette;
  layout.name = four ? "4-bit palette" : "8-bit palette";
  layout.pixelBits = four ? 4 : 8;
  layout.paletteEntries = four ? 16 : 256;
  layout.hasAlpha = (pixels.flags & DdsPixelFormat::kAlphaPixels) != 0;
  layout.channels = layout.hasAlpha ? 4 : 3;
  return true;
}

/// A code that the file itself gives: one or two channels are luminance, not the red and green that formats
/// of the extension header mean by the same code.
bool FindCode(std::uint32_t code, DdsLayout& layout) {
  if (!FindChannels(code, layout)) return false;
  layout.isLuminance = code == kDdsCodeL16 || code == kDdsCodeL8A8 || code == kDdsCodeL8;
  if (code == kDdsCodeL8A8) layout.hasAlpha = true;
  return true;
}

bool FindLuminance(const DdsPixelFormat& pixels, DdsLayout& layout) {
  const std::uint32_t one = pixels.rgbBitCount == 16 ? kDdsCodeL16 : kDdsCodeL8;
  return FindCode(pixels.flags & DdsPixelFormat::kAlphaPixels ? kDdsCodeL8A8 : one, layout);
}

/// The layouts of three floats in 32 bits.
void SetThreeFloats(kDdsReader reader, DdsLayout& layout) {
  layout.reader = reader;
  layout.isFloat = true;
  layout.pixelBits = 32;
}

bool FindRow(const DdsDxgiRow& row, DdsLayout& layout) {
  switch (row.reader) {
    case kDdsReaderFloat:
      return FindFloat(row.code, layout);
    case kDdsReaderCode:
      return FindChannels(row.code, layout);
    case kDdsReaderBlock:
      return FindBlocks(row.code, layout);
    case kDdsReaderMasked:
      layout.reader = row.reader;
      layout.masks = row.masks;
      layout.pixelBits = row.masks == kDdsMasksA8 ? 8 : 32;
      layout.channels = 4;
      layout.hasAlpha = row.hasAlpha;
      return true;
    default:
      SetThreeFloats(row.reader, layout);
      return true;
  }
}

bool FindDxgi(const DdsHeaderDx10& extension, DdsLayout& layout) {
  const auto* row = std::ranges::find(kDdsDxgiRows, extension.dxgiFormat, &DdsDxgiRow::format);
  if (row == kDdsDxgiRows.end() || !FindRow(*row, layout)) return false;
  if (layout.code == kDdsCodeDXT5 && extension.IsPremultiplied()) layout.code = kDdsCodeDXT4;
  if (layout.reader == kDdsReaderBlock) layout.blocks = row->blocks;
  layout.isSigned = row->isSigned;
  layout.name = row->name;
  return true;
}

bool IsFloatCode(std::uint32_t code) { return code >= kDdsCodeR16F && code <= kDdsCodeA32B32G32R32F; }

bool IsMasked(const DdsPixelFormat& pixels) {
  return (pixels.flags & (DdsPixelFormat::kRgb | DdsPixelFormat::kAlpha)) != 0;
}

}  // namespace

bool DdsHasExtension(const DdsHeader& header) {
  const DdsPixelFormat& pixels = header.pixelFormat;
  return !IsMasked(pixels) && (pixels.flags & DdsPixelFormat::kFourCC) && pixels.fourCC == kDdsCodeDX10;
}

bool DdsFindLayout(const DdsHeader& header, const DdsHeaderDx10& extension, DdsLayout& layout) {
  const DdsPixelFormat& pixels = header.pixelFormat;
  const bool coded = (pixels.flags & DdsPixelFormat::kFourCC) != 0;
  layout = {};
  if (IsFloatCode(pixels.fourCC)) return FindFloat(pixels.fourCC, layout);
  if (IsMasked(pixels)) return FindMasked(pixels, layout);
  if (DdsHasExtension(header)) return FindDxgi(extension, layout);
  if (coded && (header.flags & DdsHeader::kLinearSize)) return FindBlocks(pixels.fourCC, layout);
  if (pixels.flags & DdsPixelFormat::kAnyPalette) return FindPalette(pixels, layout);
  if (coded) return FindCode(pixels.fourCC, layout);
  if (pixels.flags & DdsPixelFormat::kLuminance) return FindLuminance(pixels, layout);
  return FindBlocks(pixels.fourCC, layout);
}

std::int64_t DdsSliceBytes(const DdsLayout& layout, std::int64_t width, std::int64_t height) {
  if (layout.reader == kDdsReaderBlock) return RBlockGridBytes(layout.blocks, width, height);
  const bool paired = layout.code == kDdsCodeRGBG || layout.code == kDdsCodeGRGB;
  const std::int64_t pixels = paired ? (width + 1) / 2 * 2 : width;
  return (pixels * layout.pixelBits + 7) / 8 * height;
}
