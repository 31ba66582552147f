// The formats of the extension header and how they are read.
#pragma once

#include <array>

#include "dds/DdsLayout.h"

/// One value of the published DXGI_FORMAT list.
struct DdsDxgiRow {
  std::uint32_t format;
  const char* name;
  kDdsReader reader;
  std::uint32_t code = 0;
  bool isSigned = false;                    ///< converted after reading
  kBlockFormat blocks = kBlockBC1;          ///< of the block reader
  std::array<std::uint32_t, 4> masks = {};  ///< of the masked reader
  bool hasAlpha = true;                     ///< of four channels: the fourth means something
};

inline constexpr std::array<std::uint32_t, 4> kDdsMasks10 = {0x3FF, 0xFFC00, 0x3FF00000, 0xC0000000};
inline constexpr std::array<std::uint32_t, 4> kDdsMasksRGBA = {0xFF, 0xFF00, 0xFF0000, 0xFF000000};
inline constexpr std::array<std::uint32_t, 4> kDdsMasksBGRA = {0xFF0000, 0xFF00, 0xFF, 0xFF000000};
inline constexpr std::array<std::uint32_t, 4> kDdsMasksA8 = {0, 0, 0, 0xFF};

inline constexpr std::array kDdsDxgiRows = {
    DdsDxgiRow{2, "R32G32B32A32_FLOAT", kDdsReaderFloat, kDdsCodeA32B32G32R32F},
    DdsDxgiRow{6, "R32G32B32_FLOAT", kDdsReaderFloat, kDdsCodeR32G32B32F},
    DdsDxgiRow{10, "R16G16B16A16_FLOAT", kDdsReaderFloat, kDdsCodeA16B16G16R16F},
    DdsDxgiRow{11, "R16G16B16A16_UNORM", kDdsReaderCode, kDdsCodeA16B16G16R16},
    DdsDxgiRow{13, "R16G16B16A16_SNORM", kDdsReaderCode, kDdsCodeA16B16G16R16, true},
    DdsDxgiRow{16, "R32G32_FLOAT", kDdsReaderFloat, kDdsCodeG32R32F},
    DdsDxgiRow{23, "R10G10B10A2_TYPELESS", kDdsReaderMasked, 0, false, {}, kDdsMasks10},
    DdsDxgiRow{24, "R10G10B10A2_UNORM", kDdsReaderMasked, 0, false, {}, kDdsMasks10},
    DdsDxgiRow{25, "R10G10B10A2_UINT", kDdsReaderMasked, 0, false, {}, kDdsMasks10},
    DdsDxgiRow{26, "R11G11B10_FLOAT", kDdsReaderPackedFloat},
    DdsDxgiRow{27, "R8G8B8A8_TYPELESS", kDdsReaderMasked, 0, false, {}, kDdsMasksRGBA},
    DdsDxgiRow{28, "R8G8B8A8_UNORM", kDdsReaderMasked, 0, false, {}, kDdsMasksRGBA},
    DdsDxgiRow{29, "R8G8B8A8_UNORM_SRGB", kDdsReaderMasked, 0, false, {}, kDdsMasksRGBA},
    DdsDxgiRow{30, "R8G8B8A8_UINT", kDdsReaderMasked, 0, false, {}, kDdsMasksRGBA},
    DdsDxgiRow{31, "R8G8B8A8_SNORM", kDdsReaderMasked, 0, true, {}, kDdsMasksRGBA},
    DdsDxgiRow{32, "R8G8B8A8_SINT", kDdsReaderMasked, 0, false, {}, kDdsMasksRGBA},
    DdsDxgiRow{33, "R16G16_TYPELESS", kDdsReaderCode, kDdsCodeG16R16},
    DdsDxgiRow{34, "R16G16_FLOAT", kDdsReaderFloat, kDdsCodeG16R16F},
    DdsDxgiRow{35, "R16G16_UNORM", kDdsReaderCode, kDdsCodeG16R16},
    DdsDxgiRow{36, "R16G16_UINT", kDdsReaderCode, kDdsCodeG16R16},
    DdsDxgiRow{37, "R16G16_SNORM", kDdsReaderCode, kDdsCodeG16R16, true},
    DdsDxgiRow{38, "R16G16_SINT", kDdsReaderCode, kDdsCodeG16R16},
    DdsDxgiRow{41, "R32_FLOAT", kDdsReaderFloat, kDdsCodeR32F},
    DdsDxgiRow{48, "R8G8_TYPELESS", kDdsReaderCode, kDdsCodeL8A8},
    DdsDxgiRow{49, "R8G8_UNORM", kDdsReaderCode, kDdsCodeL8A8},
    DdsDxgiRow{50, "R8G8_UINT", kDdsReaderCode, kDdsCodeL8A8},
    DdsDxgiRow{51, "R8G8_SNORM", kDdsReaderCode, kDdsCodeL8A8, true},
    DdsDxgiRow{52, "R8G8_SINT", kDdsReaderCode, kDdsCodeL8A8},
    DdsDxgiRow{54, "R16_FLOAT", kDdsReaderFloat, kDdsCodeR16F},
    DdsDxgiRow{56, "R16_UNORM", kDdsReaderCode, kDdsCodeL16},
    DdsDxgiRow{57, "R16_UINT", kDdsReaderCode, kDdsCodeL16},
    DdsDxgiRow{58, "R16_SNORM", kDdsReaderCode, kDdsCodeL16, true},
    DdsDxgiRow{59, "R16_SINT", kDdsReaderCode, kDdsCodeL16},
    DdsDxgiRow{60, "R8_TYPELESS", kDdsReaderCode, kDdsCodeL8},
    DdsDxgiRow{61, "R8_UNORM", kDdsReaderCode, kDdsCodeL8},
    DdsDxgiRow{62, "R8_UINT", kDdsReaderCode, kDdsCodeL8},
    DdsDxgiRow{63, "R8_SNORM", kDdsReaderCode, kDdsCodeL8, true},
    DdsDxgiRow{64, "R8_SINT", kDdsReaderCode, kDdsCodeL8},
    DdsDxgiRow{65, "A8_UNORM", kDdsReaderMasked, 0, false, {}, kDdsMasksA8},
    DdsDxgiRow{67, "R9G9B9E5_SHAREDEXP", kDdsReaderSharedExponent},
    DdsDxgiRow{68, "R8G8_B8G8_UNORM", kDdsReaderCode, kDdsCodeRGBG},
    DdsDxgiRow{69, "G8R8_G8B8_UNORM", kDdsReaderCode, kDdsCodeGRGB},
    DdsDxgiRow{70, "BC1_TYPELESS", kDdsReaderBlock, kDdsCodeDXT1, false, kBlockBC1},
    DdsDxgiRow{71, "BC1_UNORM", kDdsReaderBlock, kDdsCodeDXT1, false, kBlockBC1},
    DdsDxgiRow{72, "BC1_UNORM_SRGB", kDdsReaderBlock, kDdsCodeDXT1, false, kBlockBC1},
    DdsDxgiRow{73, "BC2_TYPELESS", kDdsReaderBlock, kDdsCodeDXT3, false, kBlockBC2},
    DdsDxgiRow{74, "BC2_UNORM", kDdsReaderBlock, kDdsCodeDXT3, false, kBlockBC2},
    DdsDxgiRow{75, "BC2_UNORM_SRGB", kDdsReaderBlock, kDdsCodeDXT3, false, kBlockBC2},
    DdsDxgiRow{76, "BC3_TYPELESS", kDdsReaderBlock, kDdsCodeDXT5, false, kBlockBC3},
    DdsDxgiRow{77, "BC3_UNORM", kDdsReaderBlock, kDdsCodeDXT5, false, kBlockBC3},
    DdsDxgiRow{78, "BC3_UNORM_SRGB", kDdsReaderBlock, kDdsCodeDXT5, false, kBlockBC3},
    DdsDxgiRow{79, "BC4_TYPELESS", kDdsReaderBlock, kDdsCodeBC4U, false, kBlockBC4},
    DdsDxgiRow{80, "BC4_UNORM", kDdsReaderBlock, kDdsCodeBC4U, false, kBlockBC4},
    DdsDxgiRow{81, "BC4_SNORM", kDdsReaderBlock, kDdsCodeBC4S, false, kBlockBC4Signed},
    DdsDxgiRow{82, "BC5_TYPELESS", kDdsReaderBlock, kDdsCodeATI2, false, kBlockBC5},
    DdsDxgiRow{83, "BC5_UNORM", kDdsReaderBlock, kDdsCodeATI2, false, kBlockBC5},
    DdsDxgiRow{84, "BC5_SNORM", kDdsReaderBlock, kDdsCodeBC5S, false, kBlockBC5Signed},
    DdsDxgiRow{87, "B8G8R8A8_UNORM", kDdsReaderMasked, 0, false, {}, kDdsMasksBGRA},
    DdsDxgiRow{88, "B8G8R8X8_UNORM", kDdsReaderMasked, 0, false, {}, kDdsMasksBGRA, false},
    DdsDxgiRow{90, "B8G8R8A8_TYPELESS", kDdsReaderMasked, 0, false, {}, kDdsMasksBGRA},
    DdsDxgiRow{91, "B8G8R8A8_UNORM_SRGB", kDdsReaderMasked, 0, false, {}, kDdsMasksBGRA},
    DdsDxgiRow{92, "B8G8R8X8_TYPELESS", kDdsReaderMasked, 0, false, {}, kDdsMasksBGRA, false},
    DdsDxgiRow{93, "B8G8R8X8_UNORM_SRGB", kDdsReaderMasked, 0, false, {}, kDdsMasksBGRA, false},
    DdsDxgiRow{94, "BC6H_TYPELESS", kDdsReaderBlock, kDdsCodeBC6H, false, kBlockBC6H},
    DdsDxgiRow{95, "BC6H_UF16", kDdsReaderBlock, kDdsCodeBC6H, false, kBlockBC6H},
    DdsDxgiRow{96, "BC6H_SF16", kDdsReaderBlock, kDdsCodeBC6H, false, kBlockBC6HSigned},
    DdsDxgiRow{97, "BC7_TYPELESS", kDdsReaderBlock, kDdsCodeBC7, false, kBlockBC7},
    DdsDxgiRow{98, "BC7_UNORM", kDdsReaderBlock, kDdsCodeBC7, false, kBlockBC7},
    DdsDxgiRow{99, "BC7_UNORM_SRGB", kDdsReaderBlock, kDdsCodeBC7, false, kBlockBC7},
};
